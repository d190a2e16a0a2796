// What the commands print: statistics, selections, columns.
#include "run_program.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

namespace {

using app_test::expect_numbers;
using app_test::outcome;
using app_test::text_of;
class Stats : public app_test::Program {};
class Select : public app_test::Program {};
class RealData : public app_test::RealFiles {};

TEST_F(Stats, JsonHoldsEveryNumberOfAKnownLot) {
    std::string text = "x,y,CMV_MPa\n";
    for (int i = 0; i < 100; ++i) text += fmt::format("{0},0,{0}\n", i);
    write("lot.csv", text);
    const auto document = run("stats lot.csv --json --target 49.5 --target-percent 50").json();
    EXPECT_EQ(document["schema"], "qmx-ic/stats/2");
    EXPECT_EQ(document["units"]["mean"], "MPa");
    EXPECT_EQ(document["units"]["variance"], "MPa²");
    const auto& values = document["statistics"];
    const double variance = 100.0 * 101.0 / 12; // of 0..n-1: n(n+1)/12
    expect_numbers(values, {{"mean", 49.5, 1e-5},
                            {"variance", variance, 1e-3},
                            {"coefficient_of_variation", std::sqrt(variance) / 49.5, 1e-6},
                            {"skewness", 0, 1e-6},
                            {"maximum", 99, 0}});
    EXPECT_EQ(document["histogram"].size(), 21);
    EXPECT_EQ(document["histogram"][0]["percent"], 1);
    EXPECT_NEAR(document["histogram"][20]["cumulative_percent"], 100, 1e-4);
    EXPECT_EQ(document["target"]["met"], true);
    EXPECT_EQ(document["target"]["counted"], 50);
    EXPECT_NEAR(document["read_off_histogram"]["target"]["achieved_percent"], 50, 1);
    EXPECT_EQ(run("stats lot.csv --json --target 49.5 --target-percent 60").json()["target"]["met"],
              false);
    const auto below = run("stats lot.csv --json --below --target 9 --levels 25,75").json();
    EXPECT_EQ(below["target"]["counted_percent"], 10);
    EXPECT_EQ(below["quantiles"].size(), 3);
    EXPECT_EQ(below["quantiles"][2]["value"], 74.25);
    EXPECT_NEAR(below["read_off_histogram"]["percent_levels"][1]["value"], 74, 1);
}

// A long tail: the histogram's twenty classes know nothing of what lies inside one of them.
TEST_F(Stats, TheVerdictCountsTheValuesThemselves) {
    std::string text = "x,y,CMV\n0,0,0\n";
    for (int i = 1; i < 200; ++i) text += fmt::format("{},0,{}\n", i, 800 + i % 100);
    write("tail.csv", text);
    const std::string asked = "stats tail.csv --target-percent 50 --target 875 --exit-code";
    const outcome missed = run(asked);
    EXPECT_EQ(missed.code, 3);
    EXPECT_TRUE(missed.says("25.00 % of the values (50 of 200) are at or above 875"));
    EXPECT_TRUE(missed.says("NOT MET"));
    const auto document = run(asked + " --json").json();
    EXPECT_EQ(document["target"]["counted"], 50);
    EXPECT_GT(document["read_off_histogram"]["target"]["achieved_percent"], 40);
    EXPECT_EQ(run("stats tail.csv --target 875 --target-percent 25 --exit-code").code, 0);
    expect_refused("stats", {{"tail.csv --exit-code", "--exit-code needs --target"}});
}

TEST_F(Stats, PassCountsAreExactAndTheirFailureIsTheAnalysis) {
    std::string text = "x,y,PassCount\n";
    for (int i = 0; i < 20; ++i) text += fmt::format("{0},0,{1}\n", i, 1 + i % 4);
    write("lot.csv", text);
    const auto document = run("stats lot.csv --pass-counts --json --target 3").json();
    EXPECT_EQ(document["kind"], "pass_counts");
    EXPECT_EQ(document["histogram"].size(), 5);
    EXPECT_EQ(document["histogram"][4]["passes"], 4);
    EXPECT_EQ(document["histogram"][4]["percent"], 25);
    EXPECT_EQ(document["target"]["counted_percent"], 50); // at least 3 of 1, 2, 3, 4
    EXPECT_TRUE(run("stats lot.csv --pass-counts --target 3").says("at or above 3 passes"));

    write("high.csv", text + "20,0,200\n");
    const std::string high = "high.csv --pass-counts";
    expect_refused("stats", {{high, "histogram intervals exceeding the maximum 200", 1},
                             {high, "qmx_stats/qmx_icdata_stats_drv/ICdata_stats", 1}});
    write("short.csv", "x,y,CMV\n1,1,5\n2,2,6\n");
    expect_refused("stats", {{"short.csv", "Data points are less than 3. aborted.", 1}});

    // All 200 classes used: the library's record has no room for its test of the target.
    write("full.csv", text + "20,0,199\n");
    const auto full = run("stats full.csv --pass-counts --json --target 3").json();
    EXPECT_EQ(full["histogram"].size(), 200);
    EXPECT_EQ(full["read_off_histogram"]["target"]["value"], 3);
    EXPECT_EQ(full["read_off_histogram"]["target"]["met"], nullptr);
    EXPECT_EQ(full["target"]["counted"], 11);
}

TEST_F(Stats, WhatTheDataDoNotDefineIsNull) {
    write("equal.csv", "x,y,CMV\n1,1,5\n2,2,5\n3,3,5\n");
    const outcome equal = run("stats equal.csv --json --target 4");
    ASSERT_EQ(equal.code, 0);
    const auto document = equal.json();
    EXPECT_EQ(document["histogram"].size(), 1);
    EXPECT_EQ(document["read_off_histogram"]["percent_levels"][0]["value"], nullptr);
    EXPECT_EQ(document["read_off_histogram"]["target"]["met"], nullptr);
    EXPECT_EQ(document["target"]["met"], true); // all three are at or above 4
    EXPECT_EQ(equal.out.find("nan"), std::string::npos);
    write("huge.csv", "x,y,CMV\n1,1,5\n2,2,1e39\n3,3,5\n");
    expect_refused("stats", {{"huge.csv", "line 3, column CMV"}});
}

TEST_F(Stats, DataOfAllPassesAreNamedAndTheLastPassIsTaken) {
    // Pass 3 of each cell stands before pass 2; its value is 30 + cell.
    std::string text = "CellE_m,CellN_m,PassCount,CMV\n";
    for (int cell = 0; cell < 10; ++cell)
        for (const int pass : {1, 3, 2}) text += fmt::format("{0}.34,5,{1},{1}{0}\n", cell, pass);
    write("lot.csv", text);
    EXPECT_TRUE(run("stats lot.csv").says("10 cells, the last pass of each; 20 earlier records"));
    EXPECT_EQ(run("stats lot.csv --all-records --json").json()["statistics"]["count"], 30);
    const auto document = run("stats lot.csv --json").json();
    EXPECT_EQ(document["statistics"]["count"], 10);
    EXPECT_NEAR(document["statistics"]["mean"], 34.5, 1e-5);
    EXPECT_EQ(document["cells"]["earlier_records_left_out"], 20);
    const auto& input = document["input"];
    EXPECT_EQ(input["rows_read"].get<int>(),
              input["rows_used"].get<int>() + input["rows_of_earlier_passes"].get<int>());
}

TEST_F(Select, CirclesAndPolygonsHoldTheirPointsByTheRules) {
    // A grid of whole coordinates 0..10, in line order.
    std::string text = "x,y,note\n";
    for (int y = 0; y <= 10; ++y)
        for (int x = 0; x <= 10; ++x) text += fmt::format("{},{},\"a, \"\"b\"\"\"\n", x, y);
    write("grid.csv", text);
    write("square.csv", "x,y\n2,2\n8,2\n8,8\n2,8\n");
    write("closed.csv", "id,x,y\n1,2,2\n1,8,2\n1,8,8\n1,2,8\n1,2,2\n");
    write("wkt.csv", "WKT\n\"POLYGON((2 2,8 2,8 8,2 8,2 2))\"\n");
    write("hole.csv", "WKT\n\"POLYGON((2 2,8 2,8 8,2 8,2 2),(4 4,6 4,6 6,4 6,4 4))\"\n");
    write("two.csv", "WKT\n\"MULTIPOLYGON(((0 0,2 0,2 2,0 2,0 0)),((1 1,3 1,3 3,1 3,1 1)))\"\n");
    write("parts.csv", "part,x,y\na,0,0\na,2,0\na,2,2\na,0,2\nb,1,1\nb,3,1\nb,3,3\nb,1,3\n");
    write("planar.geojson",
          R"({"type":"Polygon","coordinates":[[[2,2],[800,2],[800,800],[2,800],[2,2]]]})");
    const std::pair<const char*, int> cases[] = {
        {"--circle 5,5,5", 81}, // the rim included: 81 whole points within 5
        {"--circle 5,5,0", 1},        {"--circle 50,50,5", 0},
        {"--polygon square.csv", 36}, // half-open: 6 by 6
        {"--polygon closed.csv", 36}, {"--polygon wkt.csv", 36},
        {"--polygon hole.csv", 32}, // less the 2 by 2 of the hole
        {"--polygon two.csv", 7},   // 4 + 4 with 1 in both
        {"--polygon parts.csv", 7},   {"--polygon planar.geojson", 72}};
    for (const auto& [shape, count] : cases) {
        const outcome result = run(std::string("select grid.csv --json ") + shape);
        ASSERT_EQ(result.code, 0) << shape << result.err;
        EXPECT_EQ(result.json()["selected"], count) << shape;
        EXPECT_EQ(result.json()["lines"].size(), count) << shape;
    }
    const outcome one = run("select grid.csv --circle 3,4,0 --output one.csv --json");
    EXPECT_EQ(one.json()["lines"], std::vector<int>{2 + 4 * 11 + 3});
    EXPECT_EQ(text_of(path("one.csv")), "x,y,note\n3,4,\"a, \"\"b\"\"\"\n");
    EXPECT_EQ(run("select grid.csv --circle 3,4,0 --output grid.csv").code, 2);
    EXPECT_TRUE(text_of(path("grid.csv")) == text);
}

TEST_F(Select, WrongShapesAreRefused) {
    write("lot.csv", "x,y\n1,1\n2,2\n");
    write("line.csv", "x,y\n1,1\n2,2\n");
    write("hole.csv", "x,y\n1,1\n2,?\n3,3\n4,1\n");
    write("point.geojson", R"({"type":"Point","coordinates":[1,1]})");
    write("degrees.geojson", R"({"type":"Polygon","coordinates":[[[2,2],[8,2],[8,8],[2,2]]]})");
    write("lonlat.csv", "Longitude,Latitude\n-93.9,43.9\n-93.8,43.9\n");
    expect_refused("select",
                   {{"lot.csv", "--circle x,y,r"},
                    {"lot.csv --circle 1,2", "three numbers"},
                    {"lot.csv --circle 1,2,3x", "three numbers"},
                    {"lot.csv --circle 1,2,-3", "radius"},
                    {"lot.csv --polygon line.csv", "at least 3"},
                    {"lot.csv --polygon hole.csv", "line 3, column y: \"?\""},
                    {"lot.csv --polygon point.geojson", "POINT is no area"},
                    {"lot.csv --polygon degrees.geojson", "in degrees"},
                    {"lonlat.csv --circle 1,2,3", "--project"},
                    {"lonlat.csv --circle 1,2,3 --project EPSG:4326",
                     app_test::can_project ? "no planar" : "needs a build with GDAL"},
                    {"lonlat.csv --circle 1,2,3 --project nowhere",
                     app_test::can_project ? "no such coordinate system" : "build with GDAL"}});
}

TEST_F(Select, DegreesAreProjected) {
    if (!app_test::can_project) GTEST_SKIP() << "projecting needs GDAL";
    // On the central meridian of zone 15 the easting is 500,000 m, and a degree's hundred-thousandth
    // of latitude is 1.111 m.
    write("lonlat.csv", "Longitude,Latitude\n-93,43.90000\n-93,43.90001\n-93,43.90005\n");
    write("area.geojson", R"({"type":"Polygon","coordinates":
        [[[-93.001,43.89],[-92.999,43.89],[-92.999,43.900005],[-93.001,43.900005],[-93.001,43.89]]]})");
    const auto document =
        run("select lonlat.csv --project utm --json --polygon area.geojson").json();
    EXPECT_EQ(document["lines"], std::vector<int>{2});
    EXPECT_EQ(document["input"]["coordinate_system"], "WGS 84 / UTM zone 15N");
    EXPECT_NEAR(document["extents"]["west"], 500000, 1e-3);
    const double south = document["extents"]["south"];
    EXPECT_NEAR(static_cast<double>(document["extents"]["north"]) - south, 5.554, 5e-3);
}

TEST_F(RealData, HarvesterHasItsCheckValues) {
    const auto document =
        run("stats --json '" + data_folder + "/harvester_track_corn_utm15n.csv'").json();
    const auto& values = document["statistics"];
    EXPECT_EQ(document["columns"]["value"]["name"], "yield_bu_ac");
    expect_numbers(values, {{"count", 4949, 0},
                            {"mean", 134.038, 5e-4},
                            {"standard_deviation", 23.341, 5e-4},
                            {"coefficient_of_variation", 0.1741, 5e-5},
                            {"minimum", 0, 0},
                            {"maximum", 566.2, 1e-4}});
    EXPECT_EQ(document["units"]["mean"], "bu/ac");
    if (!app_test::can_project) return;
    const std::string circle = " --json --circle 421500,4864000,100";
    const auto planar =
        run("select '" + data_folder + "/harvester_track_corn_utm15n.csv'" + circle).json();
    const auto degrees =
        run("select '" + data_folder + "/harvester_track_corn.csv' --project EPSG:26915" + circle)
            .json();
    EXPECT_GT(planar["selected"], 100);
    EXPECT_EQ(planar["lines"], degrees["lines"]); // the two files hold the same rows
}

TEST_F(RealData, RollerLosesItsShiftedRowWhateverIsAsked) {
    const std::string sample = "'" + data_folder + "/roller_all_passes_sample.csv'";
    for (const auto& [value, used] : {std::pair<const char*, int>{"LastCMV", 15},
                                      {"LastMDP", 60},
                                      {"LastFreq", 15},
                                      {"Speed", 80},
                                      {"GPSAccTol", 80},
                                      {"PassCount", 80}}) {
        const auto document = run("stats --json " + sample + " --value " + value).json();
        EXPECT_EQ(document["input"]["rows_used"], used) << value;
        const auto& dropped = document["input"]["dropped"];
        EXPECT_TRUE(std::any_of(dropped.begin(), dropped.end(), [](const auto& row) {
            return row["reason"] == "fields_out_of_place" && row["count"] == 1 &&
                   row["first_line"] == 52;
        })) << value;
    }
    EXPECT_TRUE(run("stats " + sample).says("18 of 60 values equal the largest, 150"));
}

} // namespace
