// Filters of a lot in the field's terms: what a row must be to count as one of the lot.
#pragma once

#include <cstdint>
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
    // As read_time takes them; "" is open. A date alone as the end means the whole of that day.
    std::string time_from, time_to;
    std::string polygon; // file: rows outside are left out

    bool is_given() const {
        return value.is_given() || speed.is_given() || !vibration.empty() || !direction.empty() ||
               !machines.empty() || !lifts.empty() || !time_from.empty() || !time_to.empty() ||
               !polygon.empty();
    }
};

// Rows that one filter left out. A row counts at the first filter that it does not satisfy, in the order
// where, machines, lifts, time, vibration, direction, speed, value, polygon.
struct filtered_rows {
    std::string what;         // one of these words
    std::string text;         // "2 to 4", "on", "Roller-1, Roller-2", a file
    std::int64_t rows = 0;    // left out
    std::int64_t lacking = 0; // of them, with a field that is missing or not understood
};

// The filters given, in that order, without any row.
std::vector<filtered_rows> described(const lot_filters& filters);

// Throws usage_error: a range upside down, a time or a state that is not understood.
void check_filters(const lot_filters& filters);

// The last moment that a time as the end of a range still holds. The time must be readable.
std::int64_t last_moment_of(const std::string& time_to);

} // namespace qmx_study
