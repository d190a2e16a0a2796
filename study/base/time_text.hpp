// Times as rollers write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qmx_study {

// Milliseconds since 1970-01-01T00:00:00 of the clock that wrote them; a zone is not applied. Takes
// 2025/Oct/01 09:31:49.500, ISO 8601 with T or a blank, with or without seconds, fraction and zone,
// 2025/10/01, 01-Oct-2025 and 01.10.2025 with or without a time of day, AM and PM. 10/01/2025 could be a
// day of two months: nothing, as for any other text.
std::optional<std::int64_t> read_time(std::string_view text);

// "2025-10-01T09:31:49.500", without the fraction where it is 0.
std::string time_text(std::int64_t milliseconds);

} // namespace qmx_study
