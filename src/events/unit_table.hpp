// Output units: the numbers 11 to 99, each free or connected to one file.
//
// For the event report, the logs and the text reports, which check whether a unit is connected and
// write lines to it. It stores no events and allocates nothing.
#pragma once

#include "base/base_types.hpp"

#include <string_view>

namespace qmx {

inline constexpr i32 first_unit = 11;
inline constexpr i32 last_unit = 99;
inline constexpr i32 no_unit = -1;

enum class open_status {
    unknown, // an existing file is rewritten, a missing one made
    old,     // the file must exist
};
enum class open_position { start, append };
enum class open_form { formatted, binary };

bool unit_exists(i32 unit);
bool unit_is_connected(i32 unit); // false for a unit that does not exist

// The lowest unit that is not connected, or no_unit.
i32 find_free_unit();

// Connects a free unit to the file of that path (trailing blanks are dropped). Returns 0, or the
// system's error number; the unit is then still free.
i32 connect_unit(i32 unit, std::string_view path, open_status status,
                 open_position position = open_position::start,
                 open_form form = open_form::formatted);

// Writes one line of two parts, or nothing to a unit that is not connected.
void write_line(i32 unit, std::string_view text, std::string_view more = {});

void close_unit(i32 unit);

} // namespace qmx
