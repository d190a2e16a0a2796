// What the further columns of a lot's rows hold: machines, lifts, times, ranges.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "study/lot/row_survey.hpp"
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
    std::int64_t rows_without_vibration = 0; // that the column says to be made with vibration off
    column& operator[](trait which) { return columns[static_cast<std::size_t>(which)]; }
    const column& operator[](trait which) const { return columns[static_cast<std::size_t>(which)]; }
};

// Counts of some rows, to be added up.
struct trait_counts {
    struct column {
        std::vector<std::int64_t> rows_of_name;
        std::int64_t numbers = 0, missing = 0;
        double sum = 0, least = 0, most = 0;
    };
    std::array<column, every_trait.size()> columns;
    std::int64_t times = 0, unreadable_times = 0;
    std::int64_t first_time = 0, last_time = 0;

    void add(const trait_counts& further);
};

// Reads the traits of one row after the other. Which of the rows are in use may be known only later:
// the caller keeps the counts.
class trait_reader {
public:
    // Throws usage_error for a named column that is not there.
    trait_reader(table_source& source, const row_survey& survey, const trait_names& named);

    const trait_columns& columns() const { return found; }
    void read();                        // of the present row
    void count(trait_counts& to) const; // the row read last
    trait_summary summary(const trait_counts& of) const;

private:
    // Texts by number, in the order in which they came.
    struct names {
        std::unordered_map<std::string, std::uint32_t> numbers;
        std::vector<std::string> texts;
        std::string last;
        std::uint32_t last_number = 0;
        std::uint32_t number_of(std::string_view text);
    };
    table_source& source;
    const row_survey& survey;
    trait_columns found;
    std::array<names, every_trait.size()> texts;

    // Of the present row.
    std::array<std::optional<std::uint32_t>, every_trait.size()> name_now;
    std::array<double, every_trait.size()> number_now{};
    std::optional<std::int64_t> time_now;
    bool has_time_text = false;
};

// Of these records, ascending, in a run of its own through the table.
trait_summary summarise_traits(table_source& source, const row_survey& survey,
                               const trait_names& named, const std::vector<std::int64_t>& records);

} // namespace qmx_study
