// The job file: what is written is read back, and what is wrong is named with its line.
#include "study/job/job_file.hpp"

#include <filesystem>
#include <fstream>
#include <tuple>
#include <utility>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "study/base/errors.hpp"
#include "study/job/job_keys.hpp"
#include "temporary_file.hpp"

using namespace qmx_study;

namespace qmx_study { // found by the lookup of the variant's comparison
bool operator==(const number_range& a, const number_range& b) {
    return a.least == b.least && a.most == b.most;
}
} // namespace qmx_study

namespace {

std::string failure_of(const std::string& text, std::int64_t* line = nullptr) {
    try {
        job_from_text(text, "job.toml");
    } catch (const usage_error& error) {
        if (line) *line = error.place.line;
        return error.what();
    }
    return "read without an error";
}

void expect_same(const job_settings& found, const job_settings& expected) {
    for (const job_key& key : job_keys())
        EXPECT_TRUE(value_of(found, key) == value_of(expected, key)) << key.table << "." << key.key;
    ASSERT_EQ(found.thresholds.size(), expected.thresholds.size());
    for (std::size_t i = 0; i < found.thresholds.size(); ++i) {
        EXPECT_EQ(found.thresholds[i].key, expected.thresholds[i].key);
        EXPECT_EQ(found.thresholds[i].value, expected.thresholds[i].value);
        EXPECT_EQ(found.thresholds[i].rule, expected.thresholds[i].rule);
    }
}

// Every key once, written by hand.
const char* const all_keys = R"(# a comment
[input]
files = ["day 1.csv", 'sub\day 2.csv', "/abs/Straße \"A\".csv"]
tests = "spots.csv"
area = "area.geojson"
excluded_area = "bridge.csv"
layer = "cells"
crs = "EPSG:25832"
project = "utm"
decimal = "comma"
header_line = 3
comment = "#"
missing = ["x", -9999, 1.5]
where = '"PassCount" >= 2'
[columns]
x = "E"
y = "N"
value = 17
pass = "P"
time = "T"
machine = "M"
lift = "L"
speed = "S"
direction = "D"
vibration = "V"
frequency = "F"
amplitude = "A"
temperature = "W"
tests_value = "EVD"
[units]
value = "MN/m²"
[filter]
value = [0, 150.5]
speed = [2, inf]
vibration = "on"
direction = "reverse"
machines = "Roller-1"
lifts = [1, "2a"]
time = [2025-10-01T07:00:00, "02.10.2025"]
polygon = "lane.csv"
[analysis]
target = 40
below = true
minimum = -3.5
target_passes = 4
radius = 0.75
tests_any_pass = true
lag = 1.5
lags = 30
window = 20
all_records = true
[thresholds]
preset = "austria"
coverage_percent = 95
target_share_percent = 91
target_fraction_percent = 75
growth_percent = 4
correlation_r = 0.8
correlation_tests = 12
variation_percent = "off"
minimum_share_percent = 92
floor_share_percent = 99
floor_fraction_percent = 81
cell_size = 0.4
[texts]
title = "Daily report"
project = "Bypass"
lot = 7
contractor = "C"
inspector = "I"
remarks = "two\nlines"
[output]
report = "report.html"
document = "-"
tables = "tables"
cells = "cells.gpkg"
language = "de"
logo = "logo.png"
time_stamp = "2025-10-01T18:00:00Z"
)";

} // namespace

TEST(JobFile, SetsEveryKey) {
    const job_settings job = job_from_text(all_keys, "jobs/job.toml");
    for (const job_key& key : job_keys())
        EXPECT_FALSE(std::holds_alternative<std::monostate>(value_of(job, key))) << key.key;
    EXPECT_EQ(job.job_file, "jobs/job.toml");
    EXPECT_EQ(job.reading.files(),
              (std::vector<std::string>{"jobs/day 1.csv", "jobs/sub\\day 2.csv",
                                        "/abs/Straße \"A\".csv"}));
    EXPECT_EQ(job.tests, "jobs/spots.csv");
    EXPECT_EQ(job.area, "jobs/area.geojson");
    EXPECT_EQ(job.excluded_area, "jobs/bridge.csv");
    EXPECT_EQ(job.reading.layer, "cells");
    EXPECT_EQ(job.reading.crs, "EPSG:25832");
    EXPECT_EQ(job.reading.project, "utm");
    EXPECT_EQ(job.reading.decimal, "comma");
    EXPECT_EQ(job.reading.header_line, 3);
    EXPECT_EQ(job.reading.comment, "#");
    EXPECT_EQ(job.reading.missing, (std::vector<std::string>{"x", "-9999", "1.5"}));
    EXPECT_EQ(job.reading.where, "\"PassCount\" >= 2");
    EXPECT_EQ(job.reading.x + job.reading.y + job.reading.value + job.reading.pass, "EN17P");
    std::string traits;
    for (const trait which : every_trait) traits += job.traits[which];
    EXPECT_EQ(traits, "TMLSDVFAW");
    EXPECT_EQ(job.tests_value, "EVD");
    EXPECT_EQ(job.value_unit, "MN/m²");
    EXPECT_EQ(job.filters.value, (number_range{0, 150.5}));
    EXPECT_EQ(job.filters.speed, (number_range{2, {}}));
    EXPECT_EQ(job.filters.vibration + job.filters.direction, "onreverse");
    EXPECT_EQ(job.filters.machines, std::vector<std::string>{"Roller-1"});
    EXPECT_EQ(job.filters.lifts, (std::vector<std::string>{"1", "2a"}));
    EXPECT_EQ(job.filters.time_from, "2025-10-01T07:00:00");
    EXPECT_EQ(job.filters.time_to, "02.10.2025");
    EXPECT_EQ(job.filters.polygon, "jobs/lane.csv");
    EXPECT_EQ(job.target, 40);
    EXPECT_EQ(job.minimum, -3.5);
    EXPECT_EQ(job.target_passes, 4);
    EXPECT_EQ(job.radius, 0.75);
    EXPECT_EQ(job.lag, 1.5);
    EXPECT_EQ(job.lags, 30);
    EXPECT_EQ(job.window, 20);
    EXPECT_TRUE(job.below && job.tests_any_pass && job.all_records);
    EXPECT_EQ(job.preset, "austria");
    EXPECT_EQ(find_threshold(job.thresholds, "variation_percent"), nullptr);
    const threshold* const coverage = find_threshold(job.thresholds, "coverage_percent");
    ASSERT_NE(coverage, nullptr);
    EXPECT_EQ(coverage->value, 95);
    EXPECT_EQ(coverage->from, "jobs/job.toml, line 54");
    EXPECT_EQ(job.texts.title, "Daily report");
    EXPECT_EQ(job.texts.project, "Bypass");
    EXPECT_EQ(job.texts.lot, "7");
    EXPECT_EQ(job.texts.contractor + job.texts.inspector, "CI");
    EXPECT_EQ(job.texts.remarks, "two\nlines");
    EXPECT_EQ(job.report, "jobs/report.html");
    EXPECT_EQ(job.document, "-");
    EXPECT_EQ(job.tables, "jobs/tables");
    EXPECT_EQ(job.cells, "jobs/cells.gpkg");
    EXPECT_EQ(job.language, "de");
    EXPECT_EQ(job.logo, "jobs/logo.png");
    EXPECT_EQ(job.time_stamp, "2025-10-01T18:00:00Z");
}

TEST(JobFile, IsWrittenSoThatTheSameSettingsAreRead) {
    job_settings awkward;
    awkward.thresholds = thresholds_of(awkward.preset);
    awkward.reading.file = "Prüfung \"a\" 'b' \\ c.csv";
    awkward.reading.where = "\"a\" = 'b' AND\t\"c\" = '\\'";
    awkward.reading.x = "CellE [m] #1";
    awkward.texts.remarks = "first\r\nsecond \x01\x7f end";
    awkward.filters.value.most = 1e-300;
    awkward.target = 0.1 + 0.2;
    awkward.reading.header_line = 2147483647;
    const job_remarks remarks{{"columns.x", {"a \"remark\"\nx = 3", "\xff\xed\xa0\x80"}},
                              {"thresholds.preset", {"ü"}}};
    for (const job_settings& settings :
         {job_from_text("", "job.toml"), job_from_text(all_keys, "job.toml"), awkward}) {
        const std::string text = job_text(settings, {"head"}, remarks);
        SCOPED_TRACE(text);
        expect_same(job_from_text(text, "job.toml"), settings);
    }
    EXPECT_EQ(job_from_text(job_text(awkward, {}, {}), "job.toml").texts.remarks,
              awkward.texts.remarks);
    awkward.reading.file = "latin \xfc.csv";
    EXPECT_THROW(job_text(awkward, {}, {}), usage_error);
}

// What stands in it as a comment may be switched on: each sample is a value of its key.
TEST(JobFile, OffersSamplesThatAreRead) {
    const job_settings settings = job_from_text("", "job.toml");
    std::string text = job_text(settings, {}, {});
    for (const job_key& key : job_keys()) {
        const std::string line = fmt::format("\n#{} = ", key.key);
        for (std::size_t at = 0; (at = text.find(line, at)) != std::string::npos;)
            text.erase(at + 1, 1);
    }
    const job_settings all = job_from_text(text, "job.toml");
    for (const job_key& key : job_keys())
        EXPECT_TRUE(key.table == "texts" || key.kind == job_kind::flag ||
                    !std::holds_alternative<std::monostate>(value_of(all, key)))
            << key.key;
}

TEST(JobFile, NamesWhatIsWrongWithItsLine) {
    struct wrong_case {
        const char* text;
        std::int64_t line;
        const char* message; // what it starts with
    };
    const wrong_case cases[] = {
        {"\n[tresholds]\n", 2, "there is no table \"tresholds\"; did you mean [thresholds]?"},
        {"[thresholds]\n\ncovrage_percent = 3\n", 3,
         "there is no key \"covrage_percent\" in [thresholds]; did you mean coverage_percent?"},
        {"[thresholds]\ntarget = 40\n", 2,
         "there is no key \"target\" in [thresholds]; it belongs to [analysis]"},
        {"target = 40\n", 1, "the key \"target\" stands in no table; it belongs to [analysis]"},
        {"xyzzy = 40\n", 1, "there is no table or key \"xyzzy\"\n  the tables are: input"},
        {"[output]\nzz = 1\n[aa]\n", 2, "there is no key \"zz\" in [output]"}, // the first of two
        {"input = \"a.csv\"\n", 1, "input is a table: write [input]"},
        {"[analysis]\ntarget = \"40\"\n", 2,
         "target is a text, not a number; write it like: target"},
        {"[analysis]\ntarget = nan\n", 2, "target = nan is out of its range"},
        {"[analysis]\nradius = 0\n", 2, "radius = 0 is out of its range; it must be above 0"},
        {"[analysis]\nlags = 2.5\n", 2, "lags is a number, not a whole number"},
        {"[analysis]\nlags = 3000000000\n", 2, "lags = 3000000000 is out of its range"},
        {"[analysis]\nbelow = 1\n", 2, "below is a whole number, not true or false"},
        {"[input]\nfiles = 3\n", 2, "files is a whole number, not the name of a file"},
        {"[input]\nfiles = [\n\"a\",\n[\"b\"]]\n", 4, "files is a list, not the name of a file"},
        {"[input]\ntests = \"C:\\new.csv\"\n", 2, "the name of the file tests holds a control"},
        {"[input]\ntests = \"C:\\data.csv\"\n", 2, ""}, // no escape sequence
        {"[input]\ndecimal = \"comm\"\n", 2,
         "decimal = \"comm\" is not known; did you mean comma?"},
        {"[filter]\nvalue = 3\n", 2, "value is a whole number, not a list of two numbers"},
        {"[filter]\nvalue = [3]\n", 2, "value is a list, not a list of two numbers"},
        {"[filter]\nvalue = [3, 2]\n", 2, "value = [3, 2] holds no number"},
        {"[filter]\nvalue = [nan, 2]\n", 2, "value = [nan, 2] holds no number"},
        {"[filter]\nvibration = true\n", 2, "vibration is true or false, not a text"},
        {"[filter]\ntime = [\"\", \"10/01/2025\"]\n", 2, "\"10/01/2025\" is not understood"},
        {"[filter]\ntime = [\"2025-10-02\", \"2025-10-01\"]\n", 2,
         "filter time: 2025-10-02 is later"},
        {"[thresholds]\npreset = \"us-soli\"\n", 2,
         "there is no preset \"us-soli\"; did you mean us-soil?"},
        {"[thresholds]\ncoverage_percent = 101\n", 2,
         "coverage_percent = 101 is out of its range, 0 to 100 %"},
        {"[thresholds]\ncorrelation_tests = 9.5\n", 2, "correlation_tests = 9.5 is not a whole"},
        {"[thresholds]\ncell_size = true\n", 2, "cell_size is true or false, not a number or"},
        {"[output]\nlanguage = \"fr\"\n", 2, "language = \"fr\" is not known"},
        {"[filter]\ntime = [2025-10-01]\n", 2, "time is a list, not a list of two times"},
        {"[filter]\ntime = 2025-10-01\n", 2, "time is a date, not a list of two times"},
        {"[filter]\ntime = [07:00:00, \"\"]\n", 2, "time is a time of day, not a list of two"},
        {"[filter]\ntime = [1, 2]\n", 2, "time is a whole number, not a list of two times"},
        {"[filter]\nvalue = [1, \"2\"]\n", 2, "value is a list, not a list of two numbers"},
        {"[filter]\nvalue = [\"1\", 2]\n", 2, "value is a list, not a list of two numbers"},
        {"[filter]\nvalue = [inf, inf]\n", 2, "value = [inf, inf] holds no number"},
        {"[filter]\nvalue = [-inf, -inf]\n", 2, "value = [-inf, -inf] holds no number"},
        {"[filter]\nmachines = [\"A\", false]\n", 2, "machines is true or false, not a list of"},
        {"[filter]\ndirection = 2025-10-01T07:00:00\n", 2, "direction is a time, not a text"},
        {"[filter]\ndirection = inf\n", 2, "direction is a number, not a text"},
        {"[units.value]\nx = 1\n", 1, "value is a table, not a text"},
        {"[analysis]\nlags = -3000000000\n", 2, "lags = -3000000000 is out of its range"},
        {"[input]\nfiles = [\"a.csv\", \"b\\nc.csv\"]\n", 2, "the name of the file files holds"},
        {"\n[é]\n", 2, "Error while parsing"},
        {"[.]\n", 1, "Error while parsing"},
        {"[a.]\n", 1, "Error while parsing"},
        {"[[ \n", 1, "Error while parsing"},
        {"[texts]\nlot = \"a\"\nlot = \"b\"\n", 3, ""}, // twice
        {"[texts]\nlot = \xfc\n", 2, ""},               // no UTF-8
    };
    for (const wrong_case& each : cases) {
        SCOPED_TRACE(each.text);
        std::int64_t line = 0;
        const std::string message = failure_of(each.text, &line);
        EXPECT_EQ(line, each.line);
        const std::string start = fmt::format("job.toml, line {}: {}", each.line, each.message);
        EXPECT_EQ(message.substr(0, start.size()), start);
        EXPECT_GT(message.size(), start.size() - std::string(each.message).size());
    }
}

TEST(JobFile, TakesMomentsAsTheyStand) {
    const std::tuple<const char*, const char*, const char*> times[] = {
        {"[2025-10-01, 2025-10-02]", "2025-10-01", "2025-10-02"},
        {"[2025-10-01T07:00:00.250, \"\"]", "2025-10-01T07:00:00.250", ""},
        {"[\"\", 2025-10-01 07:05:09]", "", "2025-10-01T07:05:09"}};
    for (const auto& [list, from, to] : times) {
        const job_settings job =
            job_from_text(fmt::format("[filter]\ntime = {}\n", list), "a.toml");
        EXPECT_EQ(job.filters.time_from, from);
        EXPECT_EQ(job.filters.time_to, to);
        expect_same(job_from_text(job_text(job, {}, {}), "a.toml"), job);
    }
}

TEST(JobFile, LeavesNamesThatAreNoneOfItsFolder) {
    const std::pair<const char*, const char*> names[] = {
        {"lot.csv", "jobs/lot.csv"},
        {"", ""},
        {"-", "-"},
        {"/a/lot.csv", "/a/lot.csv"},
        {"\\\\host\\lot.csv", "\\\\host\\lot.csv"},
        {"C:lot.csv", "C:lot.csv"},
        {"https://host/lot.csv", "https://host/lot.csv"},
        {"é:lot.csv", "jobs/é:lot.csv"}};
    for (const auto& [name, wanted] : names) {
        EXPECT_EQ(
            job_from_text(fmt::format("[input]\ntests = '{}'\n", name), "jobs/job.toml").tests,
            wanted);
        EXPECT_EQ(job_from_text(fmt::format("[input]\ntests = '{}'\n", name), "job.toml").tests,
                  name);
    }
}

// Text is written only as what can be read again.
TEST(JobFile, WritesNoBytesThatAreNoCharacters) {
    const char* const sound[] = {"é", "\xE0\xA0\x80",    "\xED\x9F\xBF", "\xF0\x90\x80\x80", "€ 🚜",
                                 "~", "\xF4\x8F\xBF\xBF"};
    const char* const broken[] = {"\x80",
                                  "\xC1\x81",
                                  "\xC3",
                                  "\xC3(",
                                  "\xE0\x9F\x80",
                                  "\xED\xA0\x80",
                                  "\xE2\x82",
                                  "\xF0\x8F\x80\x80",
                                  "\xF4\x90\x80\x80",
                                  "\xF5\x80\x80\x80",
                                  "a\xF0\x9F\x9A"};
    job_settings job;
    for (const char* const text : sound) {
        job.texts.title = text;
        EXPECT_EQ(job_from_text(job_text(job, {}, {}), "a.toml").texts.title, text);
    }
    for (const char* const text : broken) {
        job.texts.title = text;
        EXPECT_THROW(job_text(job, {}, {}), usage_error) << text;
    }
}

TEST(JobFile, StartsRelativeNamesAtItsFolder) {
    const auto folder = std::filesystem::temp_directory_path();
    const study_test::temporary_file file(".toml", "\xEF\xBB\xBF[input]\r\nfiles = \"a.csv\"\r\n");
    EXPECT_EQ(read_job(file.name()).reading.file, (folder / "a.csv").string());
    EXPECT_THROW(read_job((folder / "no such job.toml").string()), usage_error);
}

TEST(Presets, HoldSoundThresholdsInTheOrderOfTheKeys) {
    for (const preset& each : presets()) {
        std::vector<threshold> rebuilt;
        for (auto set = each.thresholds.rbegin(); set != each.thresholds.rend(); ++set) {
            set_threshold(rebuilt, set->key, set->value, "test"); // in its range
            EXPECT_EQ(set->rule, each.name);
        }
        ASSERT_EQ(rebuilt.size(), each.thresholds.size());
        for (std::size_t i = 0; i < rebuilt.size(); ++i)
            EXPECT_EQ(rebuilt[i].key, each.thresholds[i].key);
    }
    EXPECT_EQ(find_threshold(thresholds_of("china-railway"), "target_share_percent")->value, 95);
    EXPECT_TRUE(thresholds_of("none").empty());
}

TEST(Presets, AreChangedUnderTheThresholdsThatTheUserSet) {
    std::vector<threshold> thresholds = thresholds_of("us-soil");
    set_threshold(thresholds, "coverage_percent", 95, "command line");
    choose_preset(thresholds, "europe");
    ASSERT_EQ(thresholds.size(), 4U);
    EXPECT_EQ(find_threshold(thresholds, "coverage_percent")->value, 95);
    EXPECT_EQ(find_threshold(thresholds, "correlation_r")->rule, "europe");
    EXPECT_EQ(find_threshold(thresholds, "cell_size"), nullptr);
    drop_threshold(thresholds, "growth_percent");
    EXPECT_EQ(find_threshold(thresholds, "growth_percent"), nullptr);
    EXPECT_THROW(set_threshold(thresholds, "growth", 5, ""), usage_error);
    EXPECT_THROW(set_threshold(thresholds, "correlation_r", NAN, ""), usage_error);
}
