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

// Where cells stand close, neighbouring bytes hardly ever repeat: a search for repetitions takes its
// time and finds none worth a code. Sparse pictures are mostly empty.
enum class content { dense, sparse };

// A picture of a layer with a palette: colour 0 is transparent, colour k + 1 that of class k.
bytes png_of(const raster& picture, const layer& shown, content kind);

bytes packed(std::span<const std::uint8_t> data, content kind); // a zlib stream

} // namespace qmx_report
