// The classes that maps are coloured by.
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "study/analyses/report.hpp"
#include "study/document/json.hpp"

namespace qmx_report {

using colour = std::array<std::uint8_t, 3>;

// Values from `from` to below `to`; open ends are infinite.
struct colour_class {
    double from = -std::numeric_limits<double>::infinity();
    double to = std::numeric_limits<double>::infinity();
    colour shade{};
};

// One layer: classes in ascending order, and each cell's class.
struct layer {
    const char* name = "";
    std::vector<colour_class> classes;
    std::vector<std::uint8_t> class_of_cell; // 255 where it has none
};

// Between round limits; the limit that verdicts go by is one of them where there is one. Colours go from dark to light:
// told apart by colour-blind readers, and in grey.
layer value_layer(const qmx_study::cell_table& cells, std::optional<double> target);
// The number of passes asked for begins a class where there is one. More passes are darker.
layer pass_layer(const qmx_study::cell_table& cells, std::optional<std::int32_t> target_passes);
layer verdict_layer(const qmx_study::cell_table& cells);

qmx_study::json legend_of(const layer& shown);

} // namespace qmx_report
