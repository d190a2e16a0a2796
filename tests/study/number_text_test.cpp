// Numbers in cells, and what the names of columns say.
#include <cmath>
#include <string>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "study/base/number_text.hpp"
#include "study/base/value_text.hpp"
#include "study/lot/column_names.hpp"

using namespace qmx_study;

namespace {

struct cell_case {
    const char* text;
    char decimal;
    text_kind kind;
    double value;
    const char* extra;
};
constexpr double none = NAN;
const cell_case cells[] = {{"150.0", '.', text_kind::number, 150, ""},
                           {"  -240125.170\r", '.', text_kind::number, -240125.17, ""},
                           {"+.5", '.', text_kind::number, 0.5, ""},
                           {"1e-3", '.', text_kind::number, 0.001, ""},
                           {"1E+05", '.', text_kind::number, 1e5, ""},
                           {"12,5", ',', text_kind::number, 12.5, ""},
                           {"12,5", '.', text_kind::not_a_number, none, ""},
                           {"1.234,5", ',', text_kind::not_a_number, none, ""},
                           {"1,234.5", '.', text_kind::not_a_number, none, ""},
                           {"2.7km/h", '.', text_kind::unit_number, 2.7, "km/h"},
                           {"22,1 Hz", ',', text_kind::unit_number, 22.1, "Hz"},
                           {"35 %", '.', text_kind::unit_number, 35, "%"},
                           {"21.5°C", '.', text_kind::unit_number, 21.5, "°C"},
                           {"2 ea", '.', text_kind::not_a_number, none, ""},
                           {"5e", '.', text_kind::not_a_number, none, ""},
                           {"Medium (0.045)", '.', text_kind::labelled, 0.045, "Medium"},
                           {"(0.045)", '.', text_kind::not_a_number, none, ""},
                           {"?", '.', text_kind::missing, none, ""},
                           {" nan ", '.', text_kind::missing, none, ""},
                           {"-", '.', text_kind::missing, none, ""},
                           {"-9999", '.', text_kind::missing, none, ""},
                           {"", '.', text_kind::missing, none, ""},
                           {"inf", '.', text_kind::not_a_number, none, ""},
                           {"1e999", '.', text_kind::not_a_number, none, ""},
                           {"1-2", '.', text_kind::not_a_number, none, ""},
                           {"--5", '.', text_kind::not_a_number, none, ""},
                           {"0x1F", '.', text_kind::not_a_number, none, ""},
                           {"4O.2", '.', text_kind::not_a_number, none, ""},
                           {"4l", '.', text_kind::not_a_number, none, ""},
                           {"22.1hz", '.', text_kind::unit_number, 22.1, "hz"},
                           {"-9999.00", '.', text_kind::missing, none, ""},
                           {"-9.999e3", '.', text_kind::missing, none, ""},
                           {"-9999 m", '.', text_kind::unit_number, -9999, "m"},
                           {"2025/Oct/01 09:31:49.500", '.', text_kind::not_a_number, none, ""},
                           {"overrange", '.', text_kind::not_a_number, none, ""}};

TEST(Cell, IsReadStrictly) {
    for (const cell_case& row : cells) {
        number_style style{row.decimal};
        std::vector<std::string> missing = default_missing_texts();
        missing.push_back("-9999");
        name_missing(style, missing);
        const text_value cell = read_text_value(row.text, style);
        EXPECT_EQ(cell.kind, row.kind) << row.text;
        EXPECT_EQ(cell.extra, row.extra) << row.text;
        if (std::isnan(row.value)) {
            EXPECT_TRUE(std::isnan(cell.value)) << row.text;
        } else {
            EXPECT_EQ(cell.value, row.value) << row.text;
        }
    }
}

struct name_case {
    const char* name;
    column_role role;
    const char* unit;
};
const name_case names[] = {{"CellE_m", column_role::easting, "m"},
                           {"CellN_m", column_role::northing, "m"},
                           {"Easting (US survey ft)", column_role::easting, "US survey ft"},
                           {"y_ft", column_role::northing, "ft"},
                           {"X", column_role::easting, ""},
                           {"Longitude", column_role::longitude, ""},
                           {"Lat [deg]", column_role::latitude, "deg"},
                           {"PassCount", column_role::pass_count, ""},
                           {"pass_number", column_role::pass_count, ""},
                           {"TargPassCount", column_role::other, ""},
                           {"TotalPasses", column_role::other, ""},
                           {"LastCMV", column_role::measured, ""},
                           {"TargCMV", column_role::other, ""},
                           {"yield_bu_ac", column_role::measured, "bu/ac"},
                           {"Value_MPa", column_role::measured, "MPa"},
                           {"k_s (MN/m)", column_role::measured, "MN/m"},
                           {"Speed [km/h]", column_role::other, "km/h"},
                           {"moisture_pct", column_role::other, "%"},
                           {"elev_m", column_role::other, "m"},
                           {"m", column_role::other, ""},
                           {"", column_role::other, ""}};

TEST(ColumnName, TellsRoleAndUnit) {
    for (const name_case& row : names) {
        const column_meaning meaning = meaning_of_name(row.name);
        EXPECT_EQ(meaning.role, row.role) << row.name;
        EXPECT_EQ(meaning.unit, row.unit) << row.name;
    }
}

TEST(ValueText, IsShortAndWhole) {
    EXPECT_EQ(number_text(none), "-");
    EXPECT_EQ(number_text(1234567.0), "1.23457e+06");
    const std::tuple<double, double, const char*> spreads[] = {{432000.123456, 10, "432000.123"},
                                                               {432000.5, 1e-4, "432000.5"},
                                                               {12.3456, 1e6, "12"},
                                                               {-0.0000001, 10, "0"},
                                                               {7, 0, "7"},
                                                               {none, 1, "-"},
                                                               {2e15, 1, "2e+15"},
                                                               {HUGE_VAL, 1, "inf"},
                                                               {100, 1, "100"},
                                                               {1.5, 2e4, "2"}};
    for (const auto& [value, spread, text] : spreads)
        EXPECT_EQ(number_in_spread(value, spread), text) << value << " " << spread;
    EXPECT_EQ(coordinate_text(-93.97123456789, true), "-93.9712346");
    EXPECT_EQ(coordinate_text(432000.12345, false), "432000.123");
    EXPECT_EQ(coordinate_text(1e15, false), "1e+15");
    EXPECT_EQ(coordinate_text(none, true), "-");
    const std::pair<std::int64_t, const char*> counts[] = {
        {0, "0"},       {999, "999"},      {1000, "1 000"},      {1234567, "1 234 567"},
        {-999, "-999"}, {-1000, "-1 000"}, {-123456, "-123 456"}};
    for (const auto& [count, text] : counts) EXPECT_EQ(count_text(count), text);
}

TEST(ValueText, OfAnExampleIsItsFirstLineInWholeLetters) {
    const std::string sixty(60, 'a');
    const std::pair<std::string, std::string> examples[] = {
        {"", ""},
        {"4O.2", "4O.2"},
        {"two\nlines", "two…"},
        {"two\r\n", "two…"},
        {sixty, sixty},
        {sixty + "b", sixty + "…"},
        {std::string(59, 'a') + "é", std::string(59, 'a') + "…"},
        {std::string(58, 'a') + "éb", std::string(58, 'a') + "é…"},
        {std::string(57, 'a') + "🚜", std::string(57, 'a') + "…"},
        {std::string(90, '\x80'), "…"}};
    for (const auto& [text, example] : examples) EXPECT_EQ(example_text(text), example) << text;
    EXPECT_EQ(unit_suffix("m"), " [m]");
    EXPECT_EQ(unit_suffix(""), "");
    EXPECT_EQ(squared_unit("MPa") + squared_unit("km/h") + squared_unit("US survey ft") +
                  squared_unit(""),
              "MPa²(km/h)²(US survey ft)²");
}

} // namespace
