// Further columns of roller records: when, by which machine, in which lift and how a value was measured.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "study/table/table_source.hpp"

namespace qmx_study {

enum class trait {
    time,
    machine,
    lift,
    speed,
    direction,
    vibration,
    frequency,
    amplitude,
    temperature
};
inline constexpr std::array every_trait{trait::time,      trait::machine,   trait::lift,
                                        trait::speed,     trait::direction, trait::vibration,
                                        trait::frequency, trait::amplitude, trait::temperature};
const char* name_of(trait which); // "time", "machine", ...: keys of documents and job files

// Names of columns that the user gives; empty ones are found by their names.
struct trait_names {
    std::array<std::string, every_trait.size()> names;
    std::string& operator[](trait which) { return names[static_cast<std::size_t>(which)]; }
    const std::string& operator[](trait which) const {
        return names[static_cast<std::size_t>(which)];
    }
};

// Indices in the source, -1 where there is none.
struct trait_columns {
    std::array<int, every_trait.size()> columns;
    int date = -1; // where the column of times may hold times of day alone
    int operator[](trait which) const { return columns[static_cast<std::size_t>(which)]; }
};

// Throws usage_error for a named column that is not there.
trait_columns traits_of(const table_source& source, const trait_names& named);

// Those that there are, the date's too: what is to be asked for in a run through the records.
std::vector<int> columns_of(const trait_columns& traits);

// The time of the present row, milliseconds as read_time gives them; nothing where it is missing or not
// understood.
std::optional<std::int64_t> time_of(const table_source& row, const trait_columns& traits);

// What the field of a state says in the words, letters or numbers of rollers: On, true, 1, Vibrating;
// Forward, F, vorwärts. Nothing for a text that is not known.
enum class vibration_state { off, on };
std::optional<vibration_state> vibration_of(std::string_view text);
enum class drive_direction { forward, reverse, standing };
std::optional<drive_direction> direction_of(std::string_view text);

} // namespace qmx_study
