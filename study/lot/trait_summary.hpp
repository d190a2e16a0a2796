// What the further columns of a lot's rows hold: machines, lifts, times, ranges.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "study/lot/trait_columns.hpp"

namespace qmx_study {

struct named_rows {
    std::string name;
    std::int64_t rows = 0;
};

struct trait_range {
    std::int64_t count = 0; // rows with a number
    double least = 0, mean = 0, most = 0;
};

// Of the rows in use. A trait without a column is empty.
struct trait_summary {
    struct column {
        std::string name; // "" where there is none
        std::string unit;
        std::vector<named_rows>
            names; // texts, most rows first, then by name: machine, lift, direction, vibration
        std::int64_t further_names = 0; // beyond the twenty listed
        trait_range range;              // numbers: speed, frequency, amplitude, temperature
        std::int64_t missing = 0;       // rows without it
    };
    std::array<column, every_trait.size()> columns;
    std::int64_t first_time = 0,
                 last_time = 0; // as read_time gives them; meaningless without times
    std::int64_t times = 0;     // rows with one
    std::int64_t unreadable_times = 0;
    column& operator[](trait which) { return columns[static_cast<std::size_t>(which)]; }
    const column& operator[](trait which) const { return columns[static_cast<std::size_t>(which)]; }
};

} // namespace qmx_study
