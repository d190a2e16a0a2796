#include "report/packing.hpp"

#include <cstdlib>
#include <memory>

#include <lodepng.h>

#include "study/base/errors.hpp"

namespace qmx_report {
namespace {

struct freed {
    void operator()(unsigned char* memory) const {
        std::free(memory);
    } // given by the library's malloc
};
using owned_bytes = std::unique_ptr<unsigned char, freed>;

void check(unsigned error) {
    if (error != 0)
        throw qmx_study::analysis_error(std::string("a picture of the report cannot be made: ") +
                                        lodepng_error_text(error));
}

// Four bits a pixel, high half first, without a gap between rows: the encoder begins each row on a byte.
bytes half_bytes(const raster& picture, const layer& shown) {
    bytes pixels((picture.cell.size() + 1) / 2, 0);
    const std::size_t classes = shown.classes.size();
    for (std::size_t k = 0; k < picture.cell.size(); ++k) {
        if (picture.cell[k] < 0) continue;
        const std::uint8_t at = shown.class_of_cell[static_cast<std::size_t>(picture.cell[k])];
        if (at >= classes) continue;
        const int code = at + 1;
        pixels[k / 2] |= static_cast<std::uint8_t>(k % 2 ? code : code << 4);
    }
    return pixels;
}

void choose(LodePNGCompressSettings& settings, content kind) {
    settings.btype = 2;
    settings.use_lz77 = kind == content::sparse ? 1 : 0;
    settings.windowsize = 1024;
    settings.nicematch = 64;
    settings.lazymatching = 0;
}

} // namespace

std::string base64(std::span<const std::uint8_t> data) {
    static constexpr char letters[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text((data.size() + 2) / 3 * 4, '=');
    std::size_t out = 0;
    for (std::size_t k = 0; k < data.size(); k += 3) {
        const std::size_t left = data.size() - k;
        const unsigned word = (unsigned{data[k]} << 16) |
                              (left > 1 ? unsigned{data[k + 1]} << 8 : 0u) |
                              (left > 2 ? unsigned{data[k + 2]} : 0u);
        text[out] = letters[word >> 18];
        text[out + 1] = letters[(word >> 12) & 63];
        if (left > 1) text[out + 2] = letters[(word >> 6) & 63];
        if (left > 2) text[out + 3] = letters[word & 63];
        out += 4;
    }
    return text;
}

bytes png_of(const raster& picture, const layer& shown, content kind) {
    lodepng::State state;
    state.encoder.auto_convert = 0;
    state.encoder.filter_palette_zero = 1;
    state.encoder.filter_strategy = LFS_ZERO;
    choose(state.encoder.zlibsettings, kind);
    for (LodePNGColorMode* mode : {&state.info_raw, &state.info_png.color}) {
        mode->colortype = LCT_PALETTE;
        mode->bitdepth = 4;
        check(lodepng_palette_add(mode, 255, 255, 255, 0));
        for (const colour_class& one : shown.classes)
            check(lodepng_palette_add(mode, one.shade[0], one.shade[1], one.shade[2], 255));
    }
    const bytes pixels = half_bytes(picture, shown);
    bytes png;
    check(lodepng::encode(png, pixels, static_cast<unsigned>(picture.columns),
                          static_cast<unsigned>(picture.rows), state));
    return png;
}

bytes packed(std::span<const std::uint8_t> data, content kind) {
    LodePNGCompressSettings settings;
    lodepng_compress_settings_init(&settings);
    choose(settings, kind);
    unsigned char* stream = nullptr;
    std::size_t size = 0;
    const unsigned error =
        lodepng_zlib_compress(&stream, &size, data.data(), data.size(), &settings);
    const owned_bytes owner(stream);
    check(error);
    return bytes(stream, stream + size);
}

} // namespace qmx_report
