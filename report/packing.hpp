// Bytes for a page: pictures, compressed numbers, text without quotes.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "report/classes.hpp"
#include "report/frames.hpp"

namespace qmx_report {

using bytes = std::vector<std::uint8_t>;

std::string base64(std::span<const std::uint8_t> data);

// A picture of a layer with a palette: colour 0 is transparent, colour k + 1 that of class k.
bytes png_of(const raster& picture, const layer& shown);

// A zlib stream. Noise is packed without a search for repetitions, which would find none.
bytes packed(std::span<const std::uint8_t> data, bool is_noise);

} // namespace qmx_report
