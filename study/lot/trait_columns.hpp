// Further columns of roller records: when, by which machine, in which lift and how a value was measured.
#pragma once

#include <array>
#include <string>
#include <string_view>

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
    int operator[](trait which) const { return columns[static_cast<std::size_t>(which)]; }
};

// Throws usage_error for a named column that is not there.
trait_columns traits_of(const table_source& source, const trait_names& named);

} // namespace qmx_study
