// What a column holds, by its name.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "study/table/source_column.hpp"

namespace qmx_study {

enum class column_role { other, easting, northing, longitude, latitude, pass_count, measured };

struct column_meaning {
    column_role role = column_role::other;
    int rank = 0;     // among the columns of a role the smallest rank is taken first
    std::string unit; // as written in the name, "" where the name tells none
};

// The name may carry its unit: CellE_m, yield_bu_ac, "Speed (km/h)", "Temp [°C]". Case, blanks,
// underscores and hyphens do not count, nor does a leading "Last".
column_meaning meaning_of_name(std::string_view name);

// The place of a name among those of the values of spot tests, -1 for another name. Written like the
// others: "EVD [MN/m²]", dry_density_t_m3.
int spot_rank(std::string_view name);

// The place of a name in a list of names without separators, in lower case; -1 where it is not there.
// It may be written like the others: LastTemp, "Speed (km/h)", speed_km_h.
int rank_of_name(std::string_view name, std::span<const std::string_view> list);

// The unit that stands over a column: in its name, or in a line of units.
std::string heading_unit(const source_column& column);

// The order in which measured values are taken, for messages and help.
std::string measured_value_order();
std::string spot_value_order();

} // namespace qmx_study
