// Reports of generated lots and of lots that lack something.
#include "study/analyses/report.hpp"
#include "study/base/errors.hpp"
#include "study/document/coverage_document.hpp"
#include "study/document/curve_document.hpp"
#include "study/document/report_document.hpp"
#include "study/document/semivariogram_document.hpp"
#include "study/document/spots_document.hpp"
#include "study/document/stats_document.hpp"
#include "study/generate/lot_files.hpp"

#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include <boost/math/distributions/students_t.hpp>
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "temporary_file.hpp"

namespace {

using namespace qmx_study;
using study_test::temporary_file;

struct generated_files {
    temporary_file lot{".csv", ""}, spots{".csv", ""}, area{".csv", ""};

    explicit generated_files(const lot_settings& settings) {
        progress shown;
        const generated_lot made = generate_lot(settings);
        write_records(made, settings, lot.name(), shown);
        write_spots(made, spots.name());
        write_alignment(made, area.name());
    }
    job_settings job() const {
        job_settings settings;
        settings.reading.file = lot.name();
        settings.tests = spots.name();
        settings.area = area.name();
        settings.target = 40;
        settings.thresholds = thresholds_of("general");
        return settings;
    }
};

lot_report reported(const job_settings& settings) {
    progress shown;
    return report_of(settings, shown);
}

// The part as a command's own document has it.
json command_part(json document) {
    for (const char* const key : {"schema", "program", "input", "columns", "output"})
        document.erase(key);
    return document;
}

TEST(Report, PartsAreTheCommandsOwnDocuments) {
    lot_settings made;
    made.length = 60;
    made.azimuth = 0;
    made.lattice = true; // so that the coverage command finds the mesh
    made.missed = 0.1;
    made.bad_rows = 0.01;
    const generated_files files(made);
    const job_settings settings = files.job();
    const json document = document_of(reported(settings).answer);
    progress shown;

    stats_question stats;
    stats.target = 40;
    stats.target_percent = 90;
    loaded_lot lot = load(settings.reading, needs_of(stats), shown);
    const json of_stats = document_of(analyse(stats, lot));
    EXPECT_EQ(document["stats"], command_part(of_stats));
    EXPECT_EQ(document["input"], of_stats["input"]);
    EXPECT_EQ(document["columns"], of_stats["columns"]);

    lot = load(settings.reading, needs_of(curve_question{}), shown);
    const curve_answer curve = analyse(curve_question{}, lot);
    EXPECT_EQ(document["curve"], command_part(document_of(curve)));

    coverage_question coverage;
    coverage.included = read_polygons(settings.area, "");
    coverage.target_passes = curve.grown_out;
    coverage.target_coverage = 90;
    lot = load(settings.reading, needs_of(coverage), shown);
    EXPECT_EQ(document["coverage"], command_part(document_of(analyse(coverage, lot))));

    reading_options tests;
    tests.file = settings.tests;
    spots_question spots;
    spots.radius = 0.5;
    spot_tables tables = load_spots(settings.reading, tests, shown);
    json of_spots = document["spots"];
    of_spots.erase("band");
    EXPECT_EQ(of_spots, command_part(document_of(analyse(spots, tables))));

    lot = load(settings.reading, needs_of(semivariogram_question{}), shown);
    EXPECT_EQ(document["semivariogram"],
              command_part(document_of(analyse(semivariogram_question{}, lot, shown, {}))));
    EXPECT_TRUE(document["missing"].empty());
}

TEST(Report, TakesTheMeshOfATurnedLot) {
    for (const bool lattice : {false, true}) {
        lot_settings made;
        made.length = 50;
        made.lattice = lattice;
        made.bad_rows = 0;
        made.missed = 0;
        const generated_files files(made);
        const lot_report report = reported(files.job());
        ASSERT_TRUE(report.answer.coverage);
        EXPECT_DOUBLE_EQ(report.answer.coverage->mesh.x, 0.3);
        EXPECT_DOUBLE_EQ(report.answer.coverage->mesh.y, 0.5);
        EXPECT_DOUBLE_EQ(report.answer.coverage->angle, 30);
        EXPECT_NEAR(report.answer.coverage->coverage, 100, 0.6);
        EXPECT_TRUE(report.answer.coverage->has_verdict());
        EXPECT_EQ(static_cast<std::int64_t>(report.cells.size()), report.answer.cells.cells);
        EXPECT_NEAR(report.answer.road->frame.length, 50, 0.4);
        EXPECT_EQ(report.answer.lattice->rows_are_shifted, !lattice);
    }
}

TEST(Report, SaysTheSameTwice) {
    lot_settings made;
    made.length = 30;
    const generated_files files(made);
    EXPECT_EQ(text_of(document_of(reported(files.job()).answer)),
              text_of(document_of(reported(files.job()).answer)));
}

TEST(Report, ManyCellsAreDrawnTheSameEachTime) {
    lot_settings made;
    made.length = 700;
    made.final_coverage = true;
    made.spots = 3;
    const generated_files files(made);
    const lot_report first = reported(files.job()), second = reported(files.job());
    ASSERT_TRUE(first.answer.semivariogram);
    EXPECT_GT(first.answer.semivariogram->drawn, 1000U);
    EXPECT_LT(first.answer.semivariogram->drawn, first.cells.size());
    EXPECT_EQ(document_of(*first.answer.semivariogram), document_of(*second.answer.semivariogram));
    // Drawn by chance, they show the ground that the lot was made of.
    EXPECT_NEAR(first.answer.semivariogram->result.sill, made.sill, 0.25 * made.sill);
}

// A lot in few words: rows of x, y, pass and value.
std::string rows_of(int columns, int lanes, double value_step,
                    const char* head = "x,y,PassCount,CMV") {
    std::string text = std::string(head) + "\n";
    for (int i = 0; i < columns; ++i)
        for (int k = 0; k < lanes; ++k)
            text += fmt::format("{},{},{},{}\n", 1000 + i, 2000 + k, 1 + (i + k) % 3,
                                30 + value_step * ((i * 7 + k) % 10));
    return text;
}

json document_of_text(const std::string& text, job_settings settings = {}) {
    const temporary_file file(".csv", text);
    settings.reading.file = file.name();
    if (settings.thresholds.empty()) settings.thresholds = thresholds_of("general");
    return document_of(reported(settings).answer);
}

std::string key_of_missing(const json& document, const std::string& part) {
    for (const json& one : document["missing"])
        if (one["part"] == part) return one["key"];
    return "";
}

bool has_caution(const json& document, const std::string& key) {
    for (const json& one : document["cautions"])
        if (one["key"] == key) return true;
    return false;
}

TEST(Report, SaysWhatALotLacks) {
    struct lack {
        const char* name;
        std::string text;
        const char* part;
        const char* key;
    };
    const lack lacks[] = {
        {"no area", rows_of(20, 5, 1), "coverage", "no_area"},
        {"no tests", rows_of(20, 5, 1), "spots", "no_tests"},
        {"no passes", "x,y,CMV\n1,1,5\n2,1,6\n3,1,7\n", "curve", "no_passes"},
        {"no passes", "x,y,CMV\n1,1,5\n2,1,6\n3,1,7\n", "pass_counts", "no_passes"},
        {"no positions", "PassCount,CMV\n1,5\n2,6\n3,7\n", "road", "no_positions"},
        {"one place", "x,y,CMV\n1,1,5\n1,1,6\n1,1,7\n", "semivariogram", "one_place"},
        {"degrees", "Longitude,Latitude,CMV\n-93,43.9,1\n-93,43.90001,2\n-93,43.90005,4\n", "road",
         "degrees"},
        {"no values", "x,y,PassCount\n1,1,1\n2,1,1\n3,1,2\n", "stats", "no_value"},
    };
    for (const lack& one : lacks) {
        SCOPED_TRACE(one.name);
        const json document = document_of_text(one.text);
        EXPECT_EQ(key_of_missing(document, one.part), one.key);
        EXPECT_TRUE(document[one.part].is_null());
        EXPECT_EQ(text_of(document).find("nan"), std::string::npos);
    }
}

TEST(Report, TwoCellsAndEqualValuesAreLots) {
    const json two = document_of_text("x,y,PassCount,CMV\n1,1,1,5\n4,5,2,6\n");
    EXPECT_EQ(two["cells"]["count"], 2);
    EXPECT_NEAR(two["road"]["frame"]["length"].get<double>(), 10, 1e-9);
    EXPECT_TRUE(has_caution(two, "few_values") || !two["missing"].empty());
    job_settings settings;
    settings.target = 30;
    const json equal = document_of_text(rows_of(40, 6, 0), settings);
    EXPECT_EQ(equal["stats"]["statistics"]["mean"], 30);
    EXPECT_TRUE(has_caution(equal, "constant"));
    for (const json& one : equal["verdicts"])
        if (one["key"] == "target") {
            EXPECT_EQ(one["outcome"], "met");
        }
}

TEST(Report, CoverageTakesRowsWithoutAValue) {
    std::string text = "x,y,PassCount,CMV\n";
    for (int i = 0; i < 20; ++i)
        for (int k = 0; k < 10; ++k)
            text += fmt::format("{}.5,{}.5,{},{}\n", i, k, 2, i == 3 ? "" : std::to_string(30 + k));
    const temporary_file area(".csv", "x,y\n0,0\n20,0\n20,10\n0,10\n");
    job_settings settings;
    settings.area = area.name();
    settings.target_passes = 2;
    const json document = document_of_text(text, settings);
    EXPECT_EQ(document["stats"]["statistics"]["count"], 190);
    EXPECT_EQ(document["input"]["rows_dropped"], 10);
    EXPECT_EQ(document["input"]["rows_used"], 190);
    EXPECT_EQ(document["coverage"]["selection"]["inside"], 200);
    EXPECT_EQ(document["coverage"]["target"]["achieved_percent"], 100);
}

TEST(Report, MixedLiftsAndStillDrumsAreCautioned) {
    std::string text = "x,y,PassCount,CMV,Lift,Machine,VibeState\n";
    for (int i = 0; i < 90; ++i)
        text += fmt::format("{},{},1,{},{},{},{}\n", i % 30, i / 30, i == 7 ? "" : "20", 1 + i % 3,
                            i % 2 ? "A" : "B", i < 10 ? "Off" : "On");
    json document = document_of_text(text);
    EXPECT_TRUE(has_caution(document, "mixed_lifts"));
    EXPECT_TRUE(has_caution(document, "several_machines"));
    EXPECT_EQ(document["data"]["lifts"].size(), 3U);
    // Row 7, without a value, is in no count.
    EXPECT_EQ(document["data"]["vibration"], json::parse(R"([{"name":"On","rows":80},
                                                             {"name":"Off","rows":9}])"));
    job_settings settings;
    settings.filters.lifts = {"2"};
    document = document_of_text(text, settings);
    EXPECT_FALSE(has_caution(document, "mixed_lifts"));
    EXPECT_EQ(document["input"]["rows_left_out_by_filter"], 60);
    EXPECT_EQ(document["data"]["lifts"], json::parse(R"([{"name":"2","rows":29}])"));
}

TEST(Report, ThePolygonOfTheFilterHoldsForAllCounts) {
    const temporary_file polygon(".csv", "x,y\n999,1999\n1009.5,1999\n1009.5,2010\n999,2010\n");
    job_settings settings;
    settings.filters.polygon = polygon.name();
    std::string text = rows_of(30, 5, 1);
    text.replace(0, text.find('\n'), "x,y,Machine,CMV"); // numbers are names, too
    const json document = document_of_text(text, settings);
    EXPECT_EQ(document["input"]["rows_used"], 50);
    EXPECT_EQ(document["input"]["rows_left_out_by_filter"], 100);
    std::int64_t rows = 0;
    for (const json& machine : document["data"]["machines"]) rows += machine["rows"].get<int>();
    EXPECT_EQ(rows, 50);
    EXPECT_EQ(document["outlines"].size(), 1U);
}

TEST(Report, ACappedSensorIsNamed) {
    std::string text = "x,y,CMV\n";
    for (int i = 0; i < 200; ++i)
        text += fmt::format("{},{},{}\n", i % 50, i / 50, std::min(i, 150));
    const json document = document_of_text(text);
    EXPECT_TRUE(has_caution(document, "capped_sensor"));
}

// One row for each ending of each verdict.
TEST(Verdicts, AreMetMissedOrNotGiven) {
    struct ending {
        const char* key;
        job_settings settings;
        const char* outcome;
        const char* reason;
    };
    const auto with = [](auto&& change) {
        job_settings settings;
        settings.thresholds = thresholds_of("austria");
        for (const threshold& more : thresholds_of("general"))
            if (!find_threshold(settings.thresholds, more.key)) settings.thresholds.push_back(more);
        change(settings);
        return settings;
    };
    const temporary_file area(".csv",
                              "x,y\n999.5,1999.5\n1039.5,1999.5\n1039.5,2009.5\n999.5,2009.5\n");
    const auto nothing = [](job_settings&) {};
    const auto passes = [&](int count) {
        return [&area, count](job_settings& s) {
            s.area = area.name();
            s.target_passes = count;
        };
    };
    const ending endings[] = {
        {"coverage", with(nothing), "not_given", "no_area"},
        {"coverage", with(passes(1)), "met", nullptr},
        {"coverage", with(passes(3)), "missed", nullptr},
        {"target", with(nothing), "not_given", "no_target"},
        {"target", with([](job_settings& s) { s.target = 40; }), "met", nullptr},    // 70 % are 28
        {"target", with([](job_settings& s) { s.target = 50; }), "missed", nullptr}, // 35
        {"target", with([](job_settings& s) {
             s.target = 38;
             s.below = true;
         }),
         "met", nullptr},
        {"minimum", with(nothing), "not_given", "no_minimum"},
        {"minimum", with([](job_settings& s) { s.minimum = 31; }), "met", nullptr},
        {"minimum", with([](job_settings& s) { s.minimum = 32; }), "missed", nullptr},
        {"floor", with([](job_settings& s) { s.minimum = 37.5; }), "met", nullptr}, // 80 % are 30
        {"floor", with([](job_settings& s) { s.minimum = 38; }), "missed", nullptr},
        {"variation", with(nothing), "met", nullptr},
        {"correlation", with(nothing), "not_given", "no_tests"},
        {"cell_size", with(nothing), "not_given", "unknown_unit"},
    };
    for (const ending& one : endings) {
        SCOPED_TRACE(fmt::format("{} {}", one.key, one.reason ? one.reason : one.outcome));
        const json document = document_of_text(rows_of(40, 10, 1), one.settings);
        int found = 0;
        for (const json& verdict : document["verdicts"]) {
            if (verdict["key"] != one.key) continue;
            ++found;
            EXPECT_EQ(verdict["outcome"], one.outcome) << verdict.dump();
            EXPECT_EQ(verdict["reason_key"], one.reason ? json(one.reason) : json(nullptr));
            EXPECT_EQ(verdict["measured"].is_null(), one.reason != nullptr);
        }
        EXPECT_EQ(found, 1);
    }
}

TEST(Verdicts, ACoverageNeedsATargetPass) {
    const temporary_file area(".csv", "x,y\n999,1999\n1020,1999\n1020,2005\n999,2005\n");
    job_settings settings;
    settings.area = area.name();
    const json document = document_of_text(rows_of(20, 5, 1), settings); // too few for a curve
    EXPECT_EQ(document["verdicts"][0]["key"], "coverage");
    EXPECT_EQ(document["verdicts"][0]["reason_key"], "no_target_passes");
    EXPECT_FALSE(document["coverage"].is_null());
}

TEST(Verdicts, CountTheShareInTheNumbersOfTheFile) {
    // 70 % of 40.1 is 28.07, which a sum of binary fractions misses.
    std::string text = "x,y,CMV\n";
    for (int i = 0; i < 10; ++i) text += fmt::format("{},1,{}\n", i, i == 0 ? "28.06" : "28.07");
    job_settings settings;
    settings.target = 40.1;
    const json document = document_of_text(text, settings);
    EXPECT_EQ(document["settings"]["cell_limit"]["value"], 28.07);
    for (const json& verdict : document["verdicts"])
        if (verdict["key"] == "target") {
            EXPECT_EQ(verdict["measured"], 90);
            EXPECT_EQ(verdict["outcome"], "met");
        }
}

TEST(Verdicts, CellSizeIsInMetres) {
    for (const auto& [unit, is_met] : {std::pair{"_m", false}, {"_ft", true}}) {
        const json document = document_of_text(
            rows_of(40, 10, 1, fmt::format("E{0},N{0},PassCount,CMV", unit).c_str()));
        for (const json& verdict : document["verdicts"])
            if (verdict["key"] == "cell_size") {
                EXPECT_EQ(verdict["outcome"], is_met ? "met" : "missed");
                EXPECT_NEAR(verdict["measured"].get<double>(), is_met ? 0.3048 : 1, 1e-9);
            }
    }
}

TEST(Band, IsTheTextbooksConfidenceBand) {
    lot_settings made;
    made.length = 40;
    const generated_files files(made);
    const report_answer answer = reported(files.job()).answer;
    ASSERT_EQ(answer.band.size(), 41U);
    const spot_line& line = *answer.spots->line;
    double mean = 0, squares = 0;
    int n = 0;
    for (const spot_row& spot : answer.spots->spots)
        if (spot.state == spot_state::in_line) mean += spot.test.d_val, ++n;
    mean /= n;
    for (const spot_row& spot : answer.spots->spots)
        if (spot.state == spot_state::in_line)
            squares += (spot.test.d_val - mean) * (spot.test.d_val - mean);
    const double t = boost::math::quantile(boost::math::students_t(n - 2), 0.975);
    for (const band_point& point : answer.band) {
        const double half =
            t * line.statistics.standard_error *
            std::sqrt(1.0 / n + (point.value - mean) * (point.value - mean) / squares);
        EXPECT_NEAR(point.upper - point.fitted, half, 1e-9);
        EXPECT_NEAR(point.fitted - point.lower, half, 1e-9);
    }
    for (const int freedom : {1, 2, 5, 28, 1000})
        EXPECT_NEAR(student_quantile(95, freedom) /
                        boost::math::quantile(boost::math::students_t(freedom), 0.975),
                    1, 1e-9);
}

TEST(Mark, IsTheStandardsHash) {
    // The examples of FIPS 180-4 for no byte, "abc" and two blocks.
    const std::pair<std::string, const char*> known[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {std::string(1000000, 'a'),
         "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"}};
    for (const auto& [text, sha256] : known) {
        const temporary_file file(".bin", text);
        EXPECT_EQ(mark_of_file(file.name()).sha256, sha256);
        EXPECT_EQ(mark_of_file(file.name()).bytes, static_cast<std::int64_t>(text.size()));
    }
    EXPECT_THROW(mark_of_file("/no/such/file"), usage_error);
    // Of a packed lot the bytes on the disk count.
    const temporary_file packed(".csv.gz", study_test::gzipped(rows_of(20, 5, 1)));
    job_settings settings;
    settings.reading.file = packed.name();
    EXPECT_EQ(reported(settings).answer.inputs[0].mark.sha256, mark_of_file(packed.name()).sha256);
}

TEST(Report, UnreadableInputsAreRefused) {
    const temporary_file file(".csv", rows_of(20, 5, 1));
    job_settings settings;
    settings.reading.file = "/no/such/file.csv";
    EXPECT_THROW(reported(settings), usage_error);
    settings.reading.file = file.name();
    settings.area = "/no/such/area.csv";
    EXPECT_THROW(reported(settings), usage_error);
    settings.area.clear();
    settings.tests = "/no/such/tests.csv";
    EXPECT_THROW(reported(settings), usage_error);
}

} // namespace
