// What a column accepts as a number: its own unit, and no code that stands for a missing value.
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "study/lot/row_survey.hpp"
#include "temporary_file.hpp"

namespace {

using namespace qmx_study;

struct column_case {
    const char* heading;
    std::vector<const char*> usual; // repeated to fill forty rows
    const char* last;
    text_kind kind; // of the last
    double value;   // where it has one
};

TEST(Column, AcceptsItsOwnUnitAndNoCodeThatItsValuesCannotReach) {
    using enum text_kind;
    const column_case cases[] = {
        {"CMV", {"40.1", "38"}, "4O.2", not_a_number, 0},
        {"CMV", {"40.1", "38"}, "41 m", not_a_number, 0}, // a unit where no other value has one
        {"Speed", {"2.5km/h", "3 km/h"}, "2.7KM/H", unit_number, 2.7},
        {"Speed", {"2.5km/h", "3 km/h"}, "2.7mph", not_a_number, 0},
        {"Speed", {"2.5km/h", "3 km/h"}, "2.7", number, 2.7},
        {"Speed (km/h)", {"2.5", "3"}, "2.7 km/h", unit_number, 2.7},
        {"CMV", {"40.1", "38"}, "-999", missing, 0},
        {"CMV", {"40.1", "0"}, "-9999.00", missing, 0},
        {"CMV", {"40.1", "38"}, "-9.9999e4", missing, 0},
        {"CMV", {"40.1", "38"}, "3.4028235e+38", missing, 0},
        {"CMV", {"40.1", "38"}, "1E38", missing, 0},
        {"CMV", {"40.1", "38"}, "-998", number, -998},
        {"Temp", {"-20", "30"}, "-999", missing, 0},
        {"Offset", {"-800", "300"}, "-999", number, -999}, // one that the others may reach
        {"Level", {"-9998", "-10001"}, "-9999", number, -9999},
        {"Level", {"1e30", "3e38"}, "5", number, 5}};
    for (const column_case& each : cases) {
        SCOPED_TRACE(fmt::format("{} {}", each.heading, each.last));
        std::string text = fmt::format("x,{}\n", each.heading);
        for (std::size_t i = 0; i < 40; ++i)
            text += fmt::format("{},{}\n", i, each.usual[i % each.usual.size()]);
        const study_test::temporary_file file(".csv", text + "40," + each.last + "\n");
        progress quiet;
        table_source source(file.name(), "", quiet);
        const row_survey survey = survey_rows(source, default_missing_texts(), '\0');
        text_value field{};
        while (source.next()) field = survey.read(source, 1);
        EXPECT_EQ(field.kind, each.kind);
        if (each.kind == number || each.kind == unit_number) {
            EXPECT_EQ(field.value, each.value);
        } else if (each.kind == missing) {
            EXPECT_EQ(field.extra, each.last);
        }
    }
}

} // namespace
