// The page without its data, as the build makes it of the folder page/.
#pragma once

#include <span>
#include <string_view>

namespace qmx_report {

// Pieces to be joined.
std::span<const std::string_view> page_template();

} // namespace qmx_report
