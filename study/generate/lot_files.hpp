// The files of an artificial lot: roller records, spot tests and outline, as CSV.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "study/base/progress.hpp"
#include "study/generate/generate_lot.hpp"

namespace qmx_study {

// Of each kind of damage.
struct damage_account {
    std::array<std::int64_t, damage_kinds + 1> rows{};
    std::array<std::int64_t, damage_kinds + 1>
        first_line{}; // 0 where there is none; the header is 1

    std::int64_t sound_rows() const; // whose value can be read
};

// All throw usage_error where a file cannot be written.
damage_account write_records(const generated_lot& made, const lot_settings& settings,
                             const std::string& name, progress& shown);
void write_spots(const generated_lot& made, const std::string& name);
void write_alignment(const generated_lot& made, const std::string& name);

} // namespace qmx_study
