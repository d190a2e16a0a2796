// Reports of lots in which positions, passes, values or units are not all there.
#include "study/analyses/report.hpp"

#include <cmath>
#include <functional>
#include <numbers>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "temporary_file.hpp"

namespace {

using namespace qmx_study;
using study_test::temporary_file;

lot_report report_on(const std::string& text, job_settings settings = {}) {
    const temporary_file file(".csv", text);
    settings.reading.file = file.name();
    if (settings.thresholds.empty()) settings.thresholds = thresholds_of("general");
    progress quiet;
    return report_of(settings, quiet);
}

// Forty columns of five cells, a unit apart; the row of the cell in place i.
std::string lot_of(const char* head, const std::function<std::string(int i, int x, int y)>& row) {
    std::string text = std::string(head) + "\n";
    for (int i = 0; i < 200; ++i) text += row(i, 1000 + i / 5, 2000 + i % 5) + "\n";
    return text;
}

std::string key_of(const lot_report& report, const std::string& part) {
    for (const missing_part& each : report.answer.missing)
        if (each.part == part) return each.key;
    return "";
}

TEST(OddReport, RowsWithoutAPositionCountWhereNoneIsAsked) {
    const lot_report report = report_on(lot_of("x,y,CMV,PassCount", [](int i, int x, int y) {
        return i % 50 == 7 ? fmt::format("?,{},50,2", y) : fmt::format("{},{},40,2", x, y);
    }));
    ASSERT_TRUE(report.answer.stats);
    EXPECT_EQ(report.answer.stats->result.i_numdata, 200);
    EXPECT_NEAR(report.answer.stats->result.x_stat[0], (196 * 40 + 4 * 50) / 200.0, 1e-5);
    EXPECT_EQ(report.answer.reading.without_position, 4);
    EXPECT_EQ(report.cells.size(), 196U); // those that a map shows
    for (std::size_t i = 0; i < report.cells.size(); ++i) {
        EXPECT_FALSE(std::isnan(report.cells.x[i]));
        EXPECT_EQ(report.cells.value[i], 40);
        EXPECT_NE((report.cells.records[i] - 1) % 50, 7);
    }
    ASSERT_TRUE(report.answer.semivariogram);
    EXPECT_EQ(report.answer.semivariogram->layout.points, 196);
}

TEST(OddReport, RowsWithoutAPassAreInNoCurve) {
    // Three passes of each cell; some rows lack theirs.
    std::string text = "x,y,CMV,PassCount\n";
    for (int pass = 1; pass <= 3; ++pass)
        for (int i = 0; i < 200; ++i)
            text += fmt::format("{},{},{},{}\n", i / 5, i % 5, 20 + 10 * pass,
                                i % 40 == 3 && pass == 2 ? "?" : std::to_string(pass));
    const lot_report report = report_on(text);
    EXPECT_EQ(report.answer.rows_without_pass, 5);
    ASSERT_TRUE(report.answer.curve);
    ASSERT_EQ(report.answer.curve->passes.size(), 3U);
    EXPECT_EQ(report.answer.curve->passes[1].points, 195);
    EXPECT_NEAR(report.answer.curve->passes[1].mean, 40, 1e-9);
    EXPECT_EQ(report.cells.size(), 200U);
    for (const double value : report.cells.value) EXPECT_EQ(value, 50);
}

struct odd_lot {
    const char* what;
    std::string text;
    std::function<void(job_settings&)> change;
    const char *part, *key;
};

TEST(OddReport, SaysWhatKeepsAPartOut) {
    const temporary_file area(".csv", "x,y\n999,1999\n1041,1999\n1041,2006\n999,2006\n");
    const temporary_file tests(".csv", "x,y,EVD\n1001,2001,40\n1005,2002,50\n1009,2003,60\n");
    const auto nothing = [](job_settings&) {};
    const auto with_area = [&](job_settings& job) { job.area = area.name(); };
    const auto plain = [](int i, int x, int y) { return fmt::format("{},{},{}", x, y, i % 9); };
    const odd_lot lots[] = {
        {"no pass in any row",
         lot_of("x,y,CMV,PassCount",
                [](int i, int x, int y) { return fmt::format("{},{},{},?", x, y, i % 9); }),
         nothing, "curve", "no_passes"},
        {"no value in any row",
         lot_of("x,y,CMV,PassCount",
                [](int, int x, int y) { return fmt::format("{},{},?,1", x, y); }),
         nothing, "stats", "no_value"},
        {"no value in any row",
         lot_of("x,y,CMV,PassCount",
                [](int, int x, int y) { return fmt::format("{},{},?,1", x, y); }),
         nothing, "road", "no_value"},
        {"an area and no column of passes", lot_of("x,y,CMV", plain), with_area, "coverage",
         "no_passes"},
        {"an area and no pass in any row",
         lot_of("x,y,CMV,PassCount",
                [](int i, int x, int y) { return fmt::format("{},{},{},?", x, y, i % 9); }),
         with_area, "coverage", "no_passes"},
        {"an area and no positions",
         lot_of("CMV,PassCount", [](int i, int, int) { return fmt::format("{},1", i % 9); }),
         with_area, "coverage", "no_positions"},
        {"tests and no value",
         lot_of("x,y,PassCount", [](int, int x, int y) { return fmt::format("{},{},1", x, y); }),
         [&](job_settings& job) { job.tests = tests.name(); }, "spots", "no_value"},
        {"tests and no positions",
         lot_of("CMV,PassCount", [](int i, int, int) { return fmt::format("{},1", i % 9); }),
         [&](job_settings& job) { job.tests = tests.name(); }, "spots", "no_positions"},
        {"a window against all sense", lot_of("x,y,CMV", plain),
         [](job_settings& job) { job.window = -3; }, "road", "failed"},
        {"a window without an end", lot_of("x,y,CMV", plain),
         [](job_settings& job) { job.window = INFINITY; }, "road", "failed"},
        {"a lag against all sense", lot_of("x,y,CMV", plain),
         [](job_settings& job) { job.lag = -1; }, "semivariogram", "failed"}};
    for (const odd_lot& each : lots) {
        SCOPED_TRACE(fmt::format("{}: {}", each.part, each.what));
        job_settings settings;
        each.change(settings);
        const lot_report report = report_on(each.text, settings);
        EXPECT_EQ(key_of(report, each.part), each.key);
        for (const missing_part& part : report.answer.missing) EXPECT_NE(part.text, "");
    }
}

TEST(OddReport, LengthsAreInMetresWhateverTheUnit) {
    const std::tuple<const char*, double, double> units[] = {
        {"E_m,N_m,CMV", 1, 1},
        {"E_ft,N_ft,CMV", 1 / 0.3048, 0.3048},
        {"Easting (US survey ft),Northing (US survey ft),CMV", 3937.0 / 1200, 1200.0 / 3937},
        {"Easting [km],Northing [km],CMV", 0.001, 1000}};
    for (const auto& [head, metre, size] : units) {
        SCOPED_TRACE(head);
        const lot_report report = report_on(
            lot_of(head, [](int i, int x, int y) { return fmt::format("{},{},{}", x, y, i % 9); }));
        EXPECT_DOUBLE_EQ(report.answer.metre, metre);
        for (const verdict& each : report.answer.verdicts)
            if (each.key == "cell_size") {
                EXPECT_NEAR(each.measured.value_or(0), size, 1e-9 * size);
            }
    }
}

TEST(OddReport, TargetAndMinimumAreHeldApart) {
    const std::string text = lot_of(
        "x,y,CMV", [](int i, int x, int y) { return fmt::format("{},{},{}", x, y, 20 + i % 40); });
    job_settings settings;
    settings.thresholds = thresholds_of("austria");
    set_threshold(settings.thresholds, "target_share_percent", 50, "test");
    settings.minimum = 30; // 30 of 40 values lie above it, and 36 above 80 % of it
    lot_report report = report_on(text, settings);
    EXPECT_EQ(report.answer.limit_from, "minimum");
    EXPECT_EQ(report.answer.limit_of_cells->value, 30);
    EXPECT_EQ(report.answer.minimum_share->share.counted, 150);
    EXPECT_EQ(report.answer.floor_share->limit, 24);
    EXPECT_EQ(report.answer.floor_share->share.counted, 180);
    EXPECT_FALSE(report.answer.target_share);
    settings.target = 49;
    settings.below = true;
    report = report_on(text, settings);
    EXPECT_EQ(report.answer.limit_from, "target");
    EXPECT_EQ(report.answer.limit_of_cells->value, 49); // below: the whole target
    EXPECT_EQ(report.answer.target_share->share.counted, 150);
    EXPECT_EQ(report.answer.minimum_share->share.counted, 150);
    ASSERT_TRUE(report.answer.stats->target);
    EXPECT_EQ(report.answer.stats->target->share.counted, 150);
    std::int64_t met = 0;
    for (const std::uint8_t verdict : report.cells.verdict) met += verdict == cell_met;
    EXPECT_EQ(met, 150);
}

// Positions that scatter about the nodes of a mesh along the axes: two records of a cell have become two
// places, which are one cell again when they are moved to their node.
TEST(OddReport, CoverageOfScatteredPositionsIsThatOfTheirCells) {
    std::mt19937 random(8);
    std::normal_distribution<double> off(0, 0.02);
    const auto text_with = [&](double scatter) {
        std::string text = "x_m,y_m,PassCount,CMV\n";
        for (int pass = 1; pass <= 2; ++pass)
            for (int i = 0; i < 120; ++i)
                for (int k = 0; k < 12; ++k)
                    if (pass == 1 || k < 6)
                        text += fmt::format("{:.3f},{:.3f},{},{}\n",
                                            1000.17 + 0.34 * i + scatter * off(random),
                                            2000.17 + 0.34 * k + scatter * off(random), pass,
                                            30 + 5 * pass + (i + k) % 7);
        return text;
    };
    const temporary_file area(".csv",
                              "x,y\n1000,2000\n1040.8,2000\n1040.8,2004.08\n1000,2004.08\n");
    job_settings settings;
    settings.area = area.name();
    settings.target_passes = 2;
    const lot_report exact = report_on(text_with(0), settings);
    const lot_report scattered = report_on(text_with(1), settings);
    ASSERT_TRUE(exact.answer.coverage);
    ASSERT_TRUE(scattered.answer.coverage);
    const coverage_answer& wanted = *exact.answer.coverage;
    const coverage_answer& found = *scattered.answer.coverage;
    EXPECT_NEAR(wanted.target.achieved, 50, 0.01);
    EXPECT_FALSE(wanted.scatter);
    ASSERT_TRUE(found.scatter);
    EXPECT_NEAR(*found.scatter, 0.02 * std::sqrt(2), 0.002);
    EXPECT_EQ(found.target.achieved, wanted.target.achieved);
    EXPECT_EQ(found.coverage, wanted.coverage);
    EXPECT_EQ(found.cells.cells, wanted.cells.cells);
    EXPECT_EQ(found.cells.shared_cells, wanted.cells.shared_cells);
    EXPECT_EQ(found.cells.most_records, 2);
}

TEST(OddReport, OutlinesOfManyVerticesAreThinnedForMapsAlone) {
    // Three circles of radius 30; the cells lie in the first.
    std::string text = "part,x,y\n";
    constexpr int vertices = 8000;
    for (int part = 0; part < 3; ++part)
        for (int i = 0; i < vertices; ++i) {
            const double angle = 2 * std::numbers::pi * i / vertices;
            text +=
                fmt::format("{},{:.6f},{:.6f}\n", part, 1020 + 100 * part + 30 * std::cos(angle),
                            2002 + 30 * std::sin(angle));
        }
    const temporary_file area(".csv", text);
    job_settings settings;
    settings.area = area.name();
    settings.target_passes = 1;
    const lot_report report = report_on(
        lot_of("x,y,CMV,PassCount",
               [](int i, int x, int y) { return fmt::format("{},{},{},1", x, y, i % 9); }),
        settings);
    EXPECT_TRUE(report.answer.outlines_are_thinned);
    ASSERT_EQ(report.answer.outlines.size(), 1U);
    ASSERT_EQ(report.answer.outlines[0].polygons.size(), 3U);
    for (const polygon& drawn : report.answer.outlines[0].polygons)
        EXPECT_EQ(drawn.outer.x.size(), 4000U);
    // The area is that of all vertices.
    ASSERT_TRUE(report.answer.coverage);
    EXPECT_NEAR(report.answer.coverage->plan_area, 3 * std::numbers::pi * 900, 2e-3);
    bool is_said = false;
    for (const std::string& note : report.answer.notes)
        is_said = is_said || note.find("outlines have more vertices") != std::string::npos;
    EXPECT_TRUE(is_said);
}

} // namespace
