// Filters of a lot against a plain loop over the same rows.
#include "study/lot/lot_filters.hpp"

#include <map>
#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "study/analyses/polygon_filter.hpp"
#include "study/base/errors.hpp"
#include "study/lot/load.hpp"
#include "temporary_file.hpp"

using namespace qmx_study;

namespace {

std::vector<std::int64_t> listed(const record_numbers& records) {
    return {records.begin(), records.end()};
}

// One field as it is written, and what it means; a lacking one satisfies no filter.
template <class Value> struct field_text {
    std::string text;
    Value value;
    bool is_lacking = false;
};

struct dirty_row {
    double x, y, value;
    field_text<int> machine, lift, minute;
    field_text<bool> vibrates, drives_forward;
    field_text<double> speed;
    bool stands_still = false;
};

template <class Value> const Value& one_of(const std::vector<Value>& all, std::mt19937_64& random) {
    return all[random() % all.size()];
}

dirty_row random_row(std::mt19937_64& random) {
    const std::vector<field_text<int>> machines{
        {"Roller-1", 1}, {" roller-1 ", 1}, {"Roller 2", 2}, {"?", 0, true}, {"", 0, true}};
    const std::vector<field_text<int>> lifts{{"1", 1}, {"1.0", 1}, {"2", 2}, {"NA", 0, true}};
    const std::vector<field_text<bool>> states{{"On", true},       {"OFF", false},
                                               {"1", true},        {"0", false},
                                               {"?", false, true}, {"broken", false, true}};
    const std::vector<field_text<bool>> gears{{"Forward", true},  {"f", true},
                                              {"Reverse", false}, {"rückwärts", false},
                                              {"Neutral", false}, {"sideways", false, true}};
    dirty_row row;
    row.x = static_cast<double>(random() % 100);
    row.y = static_cast<double>(random() % 100);
    row.value = static_cast<double>(random() % 600) / 10;
    row.machine = one_of(machines, random);
    row.lift = one_of(lifts, random);
    row.vibrates = one_of(states, random);
    row.drives_forward = one_of(gears, random);
    row.stands_still = row.drives_forward.text == "Neutral";
    const int minute = static_cast<int>(random() % 1440);
    row.minute = {
        fmt::format("2025/Oct/{:02} {:02}:{:02}:00.000", 1 + minute % 3, minute / 60, minute % 60),
        minute % 3 * 1440 + minute};
    if (random() % 20 == 0) row.minute = {"10/01/2025 09:00", 0, true};
    const double speed = static_cast<double>(random() % 60) / 10;
    row.speed = {fmt::format("{}km/h", speed), speed};
    if (random() % 20 == 0) row.speed = {fmt::format("{}mph", speed), 0, true};
    if (random() % 20 == 0) row.speed = {"?", 0, true};
    return row;
}

std::string csv_of(const std::vector<dirty_row>& rows) {
    std::string text = "x,y,CMV,Machine,LiftNo,Time,VibeState,MachineGear,Speed,PassCount\n";
    for (const dirty_row& row : rows)
        text += fmt::format("{},{},{},{},{},{},{},{},{},1\n", row.x, row.y, row.value,
                            row.machine.text, row.lift.text, row.minute.text, row.vibrates.text,
                            row.drives_forward.text, row.speed.text);
    return text;
}

// "" where the row stays, otherwise the first filter that it does not satisfy.
std::string first_unsatisfied(const dirty_row& row, const lot_filters& filters, bool& lacks) {
    lacks = false;
    const auto fails = [&](bool is_given, bool is_lacking, bool is_wanted) {
        if (!is_given || (is_wanted && !is_lacking)) return false;
        lacks = is_lacking;
        return true;
    };
    if (fails(!filters.machines.empty(), row.machine.is_lacking, row.machine.value == 1))
        return "machines";
    if (fails(!filters.lifts.empty(), row.lift.is_lacking, row.lift.value == 1)) return "lifts";
    if (fails(!filters.time_from.empty(), row.minute.is_lacking,
              row.minute.value >= 600 && row.minute.value < 2 * 1440))
        return "time"; // from 10:00 of the first day to the end of the second
    if (fails(!filters.vibration.empty(), row.vibrates.is_lacking, row.vibrates.value))
        return "vibration";
    if (fails(!filters.direction.empty(), row.drives_forward.is_lacking,
              !row.drives_forward.value && !row.stands_still))
        return "direction";
    if (fails(filters.speed.is_given(), row.speed.is_lacking,
              row.speed.value >= 2 && row.speed.value <= 4))
        return "speed";
    if (fails(filters.value.is_given(), false, row.value >= 10)) return "value";
    return "";
}

lot_filters random_filters(std::mt19937_64& random) {
    const auto is_chosen = [&] { return random() % 3 == 0; };
    lot_filters filters;
    if (is_chosen()) filters.machines = {"ROLLER-1"};
    if (is_chosen()) filters.lifts = {"1"};
    if (is_chosen()) {
        filters.time_from = "2025-10-01 10:00";
        filters.time_to = "2025-10-02";
    }
    if (is_chosen()) filters.vibration = "on";
    if (is_chosen()) filters.direction = "reverse";
    if (is_chosen()) filters.speed = {2, 4};
    if (is_chosen()) filters.value.least = 10;
    return filters;
}

std::string failure_of(const std::string& csv, const lot_conditions& conditions) {
    const study_test::temporary_file file(".csv", csv);
    reading_options options;
    options.file = file.name();
    progress quiet;
    try {
        load(options, {}, quiet, &conditions);
    } catch (const usage_error& error) {
        return error.what();
    }
    return "";
}

} // namespace

TEST(LotFilters, KeepWhatAPlainLoopKeepsAndCountTheRest) {
    std::mt19937_64 random(20251001);
    for (int lot = 0; lot < 60; ++lot) {
        std::vector<dirty_row> rows;
        for (int i = 0; i < 300; ++i) rows.push_back(random_row(random));
        const std::size_t half = rows.size() / 2;
        const study_test::temporary_file first(".csv", csv_of({rows.begin(), rows.begin() + 150}));
        const study_test::temporary_file second(".csv", csv_of({rows.begin() + 150, rows.end()}));
        lot_conditions conditions;
        conditions.filters = random_filters(random);
        reading_options options;
        options.file = first.name();
        options.further_files = {second.name()};
        if (random() % 2 == 0) options.where = "x >= 20";

        std::vector<std::int64_t> kept;
        std::map<std::string, filtered_rows> counted;
        std::int64_t out_of_second = 0;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            bool lacks = false;
            std::string out = !options.where.empty() && rows[i].x < 20
                                  ? "where"
                                  : first_unsatisfied(rows[i], conditions.filters, lacks);
            if (out.empty()) {
                kept.push_back(static_cast<std::int64_t>(i) + 1);
                continue;
            }
            ++counted[out].rows;
            counted[out].lacking += lacks;
            out_of_second += i >= half;
        }
        progress quiet;
        reading_needs needs;
        needs.allow_empty = true;
        const loaded_lot found = load(options, needs, quiet, &conditions);
        EXPECT_EQ(listed(found.data.records), kept);
        EXPECT_EQ(found.data.rows_dropped(), 0);
        std::int64_t all = 0;
        for (const filtered_rows& each : account_of(found).filters) {
            SCOPED_TRACE(each.what + ": " + each.text);
            EXPECT_EQ(each.rows, counted[each.what].rows);
            EXPECT_EQ(each.lacking, counted[each.what].lacking);
            all += each.rows;
        }
        EXPECT_EQ(all, found.data.rows_filtered);
        EXPECT_EQ(all + static_cast<std::int64_t>(kept.size()), 300);
        EXPECT_EQ(account_of(found).files[1].filtered, out_of_second);
    }
}

TEST(LotFilters, TakeTheDateOfASecondColumn) {
    const study_test::temporary_file file(
        ".csv", "x,y,CMV,Date,Time\n1,1,1,2025-10-01,07:00\n2,1,2,01.10.2025,8:30:00.5\n"
                "3,1,3,2025-10-02,07:00\n4,1,4,?,07:00\n5,1,5,2025-10-01,?\n"
                "6,1,6,2024-01-01,2025-10-01 09:00\n");
    reading_options options;
    options.file = file.name();
    lot_conditions conditions;
    conditions.filters.time_from = "2025-10-01 08:00";
    conditions.filters.time_to = "2025-10-01";
    progress quiet;
    const loaded_lot found = load(options, {}, quiet, &conditions);
    EXPECT_EQ(listed(found.data.records), (std::vector<std::int64_t>{2, 6}));
    EXPECT_EQ(found.data.filters.at(0).lacking, 2);
}

TEST(LotFilters, LeaveOutWhatLiesOutsideThePolygon) {
    const study_test::temporary_file file(".csv", "x,y,CMV\n1,1,1\n9,9,2\n5,5,3\n5,5.5,4\n");
    const study_test::temporary_file ring(".csv", "x,y\n0,0\n8,0\n8,8\n0,8\n");
    reading_options options;
    options.file = file.name();
    progress quiet;
    loaded_lot found = load(options, {}, quiet);
    keep_points_inside(found, ring.name());
    EXPECT_EQ(listed(found.data.records), (std::vector<std::int64_t>{1, 3, 4}));
    const reading_account account = account_of(found);
    EXPECT_EQ(account.rows_filtered, 1);
    EXPECT_EQ(account.files.at(0).filtered, 1);
    EXPECT_EQ(account.filters.at(0).what, "polygon");
    const study_test::temporary_file far(".csv", "x,y\n100,0\n108,0\n108,8\n");
    EXPECT_THROW(keep_points_inside(found, far.name()), usage_error);
}

TEST(LotFilters, AreRefusedWhereTheyCannotHold) {
    const std::string csv = "x,y,CMV,Time\n1,1,1,2025-10-01\n2,1,2,2025-10-02\n";
    lot_conditions wanted;
    wanted.filters.lifts = {"1"};
    EXPECT_NE(failure_of(csv, wanted).find("needs a column of the lift"), std::string::npos);
    EXPECT_NE(failure_of(csv, wanted).find("its columns are: x, y, CMV, Time"), std::string::npos);
    wanted.traits[trait::lift] = "Schicht 1";
    EXPECT_NE(failure_of(csv, wanted).find("\"Schicht 1\", which is not there"), std::string::npos);
    wanted = {};
    wanted.filters.time_from = "2025-10-03";
    EXPECT_NE(failure_of(csv, wanted).find("2 left out by the filter time: from 2025-10-03"),
              std::string::npos);
    wanted.filters.time_to = "yesterday";
    EXPECT_NE(failure_of(csv, wanted).find("\"yesterday\" is not understood"), std::string::npos);
    wanted = {};
    wanted.filters.vibration = "yes";
    EXPECT_NE(failure_of(csv, wanted).find("\"yes\" is neither on nor off"), std::string::npos);
    wanted = {};
    wanted.filters.speed = {3, 2};
    EXPECT_NE(failure_of(csv, wanted).find("3 to 2 holds no number"), std::string::npos);
}

TEST(TraitColumns, AreFoundByTheirNames) {
    struct name_case {
        const char* name;
        const char* trait; // "" for none
    };
    const name_case cases[] = {{"Time", "time"},
                               {"TimeStamp", "time"},
                               {"date_time", "time"},
                               {"Date", "time"},
                               {"Time_s", ""},
                               {"t_s", ""},
                               {"Machine ID", "machine"},
                               {"Roller", "machine"},
                               {"LiftNo", "lift"},
                               {"Layer", "lift"},
                               {"Speed (km/h)", "speed"},
                               {"speed_kmh", "speed"},
                               {"MachineGear", "direction"},
                               {"Direction", "direction"},
                               {"VibeState", "vibration"},
                               {"Vibration On", "vibration"},
                               {"LastFreq", "frequency"},
                               {"Frequency [Hz]", "frequency"},
                               {"LastAmp_mm", "amplitude"},
                               {"LastTemp", "temperature"},
                               {"Temp [°C]", "temperature"},
                               {"TargThickness", ""},
                               {"GPSAccTol", ""},
                               {"LastRadioLtncy", ""}};
    progress quiet;
    for (const name_case& each : cases) {
        const study_test::temporary_file file(".csv", fmt::format("a,b,{}\n1,2,3\n", each.name));
        const table_source source(file.name(), "", quiet);
        const trait_columns traits = traits_of(source, {});
        std::string found;
        for (const trait which : every_trait)
            if (traits[which] >= 0) found += name_of(which);
        EXPECT_EQ(found, each.trait) << each.name;
    }
}
