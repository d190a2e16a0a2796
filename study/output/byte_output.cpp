#include "study/output/byte_output.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include <fmt/format.h>
#include <zlib.h>

#include "study/base/errors.hpp"
#include "study/base/output_file.hpp"

namespace qmx_study {

struct byte_output::state {
    std::optional<unfinished_file> file; // otherwise standard output
    bool is_packed = false;
    z_stream packer{};
    gz_header head{};
    int error = 0;

    void put(std::string_view bytes) {
        if (file) return file->write(bytes);
        if (error == 0 && std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size())
            error = errno;
    }

    void pack(std::string_view bytes, int flush) {
        std::array<unsigned char, 65536> packed{};
        packer.next_in = reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data()));
        packer.avail_in = static_cast<unsigned>(bytes.size());
        do {
            packer.next_out = packed.data();
            packer.avail_out = static_cast<unsigned>(packed.size());
            deflate(&packer, flush);
            put({reinterpret_cast<const char*>(packed.data()), packed.size() - packer.avail_out});
        } while (packer.avail_out == 0);
    }
};

byte_output::byte_output(const std::string& output, bool is_packed)
    : now(std::make_unique<state>()), name(output) {
    if (output != "-") now->file.emplace(output);
    constexpr int window_with_gzip_head = 15 + 16;
    if (is_packed)
        now->is_packed = deflateInit2(&now->packer, Z_DEFAULT_COMPRESSION, Z_DEFLATED,
                                      window_with_gzip_head, 8, Z_DEFAULT_STRATEGY) == Z_OK;
    if (is_packed && !now->is_packed) now->error = ENOMEM;
    now->head.os = 3; // the same mark on every system
    if (now->is_packed) deflateSetHeader(&now->packer, &now->head);
}

byte_output::~byte_output() {
    if (now->is_packed) deflateEnd(&now->packer);
}

void byte_output::write(std::string_view bytes) {
    if (!now->is_packed) return now->put(bytes);
    constexpr std::size_t at_once = std::size_t{1} << 30; // the packer counts in 32 bits
    for (; !bytes.empty(); bytes.remove_prefix(std::min(at_once, bytes.size())))
        now->pack(bytes.substr(0, at_once), Z_NO_FLUSH);
}

void byte_output::close() {
    if (now->is_packed) now->pack({}, Z_FINISH);
    int error = now->error;
    if (now->file) {
        const int at_the_end = now->error == 0 ? now->file->finish() : 0;
        if (error == 0) error = at_the_end;
    } else if (std::fflush(stdout) != 0 && error == 0) {
        error = errno;
    }
    if (error != 0)
        throw usage_error(fmt::format("--output {}: {}", name, std::strerror(error)),
                          error_place{"--output", name, 0, {}});
}

} // namespace qmx_study
