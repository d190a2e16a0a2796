// Filters of a lot in the field's terms: what a row must be to count as one of the lot.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace qmx_study {

// Numbers from least to most, both included; either may be missing.
struct number_range {
    std::optional<double> least, most;
    bool is_given() const { return least || most; }
};

struct lot_filters {
    number_range value;
    number_range speed;
    std::string vibration;             // "on" or "off"; "" takes both
    std::string direction;             // "forward" or "reverse"; "" takes both
    std::vector<std::string> machines; // names, case does not count; empty takes all
    std::vector<std::string> lifts;
    std::string time_from, time_to; // as read_time takes them; "" is open
    std::string polygon;            // file: rows outside are left out

    bool is_given() const {
        return value.is_given() || speed.is_given() || !vibration.empty() || !direction.empty() ||
               !machines.empty() || !lifts.empty() || !time_from.empty() || !time_to.empty() ||
               !polygon.empty();
    }
};

} // namespace qmx_study
