// Coverage of areas: selection, last passes, mesh, bins, target, and what is said about odd areas.
#include "run_program.hpp"

#include <cmath>
#include <random>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace {

using app_test::outcome;
using app_test::text_of;

// Twenty by ten cells of 0.5 m by 0.25 m, 10 m by 2.5 m from (1000, 2000) on, their centres written.
// Column by column the cells have 1, 2, 3, ... passes, and every pass has its record.
class Coverage : public app_test::Program {
protected:
    static constexpr int columns = 20, rows = 10;

    static std::string cells(int first_pass_shown, double from_x = 1000.25,
                             const char* head = "CellE_m,CellN_m,PassCount\n") {
        std::string text = head;
        for (int column = 0; column < columns; ++column)
            for (int row = 0; row < rows; ++row)
                for (int pass = first_pass_shown > 0 ? first_pass_shown : column + 1;
                     pass <= column + 1; ++pass)
                    text += fmt::format("{:.3f},{:.3f},{}\n", from_x + 0.5 * column,
                                        2000.125 + 0.25 * row, pass);
        return text;
    }
    void SetUp() override {
        write("all.csv", cells(1));
        write("last.csv", cells(0));
        write("whole.csv", "x,y\n1000,2000\n1010,2000\n1010,2002.5\n1000,2002.5\n");
    }
    outcome coverage(const std::string& arguments) const { return run("coverage " + arguments); }
};

TEST_F(Coverage, LastPassesOfALatticeFillTheirBins) {
    for (const char* const file : {"all.csv", "last.csv"}) {
        SCOPED_TRACE(file);
        const outcome result =
            coverage(std::string(file) + " --area whole.csv --json --bins 1-2,3-4,3,10-"
                                         " --target-passes 5 --target-coverage 80");
        ASSERT_EQ(result.code, 0) << result.err;
        const auto document = result.json();
        EXPECT_EQ(document["schema"], "qmx-ic/coverage/1");
        EXPECT_EQ(document["mesh"]["x"], 0.5);
        EXPECT_EQ(document["mesh"]["y"], 0.25);
        EXPECT_EQ(document["mesh"]["how"], "spacing_of_positions");
        EXPECT_EQ(document["plan_area"], 25);
        EXPECT_EQ(document["units"]["area"], "m²");
        const int expected[] = {20, 20, 0, 110}; // points of 0.125 m², 0.5 % each
        for (std::size_t i = 0; i < std::size(expected); ++i) {
            const auto& bin = document["bins"][i];
            EXPECT_EQ(bin["points"], expected[i]) << i;
            EXPECT_EQ(bin["area"], 0.125 * expected[i]) << i;
            EXPECT_EQ(bin["coverage_percent"], 0.5 * expected[i]) << i;
        }
        EXPECT_EQ(document["bins"][3]["upper"], nullptr);
        EXPECT_EQ(document["all_bins"]["coverage_percent"], 75);
        EXPECT_EQ(document["points_in_no_bin"], 50);
        EXPECT_EQ(document["target"]["achieved_percent"], 80);
        EXPECT_EQ(document["target"]["met"], true);
        EXPECT_EQ(document["cells"]["earlier_records_left_out"],
                  std::string(file) == "all.csv" ? 10 * (20 * 21 / 2) - 200 : 0);
    }
    const auto all = coverage("all.csv --area whole.csv --all-records --json").json();
    EXPECT_EQ(all["all_bins"]["coverage_percent"], 1050);
    EXPECT_EQ(all["bins"].size(), 10); // 1 to 9, and from 10 on
    const outcome several = coverage("all.csv --area whole.csv --all-records --target-passes 4");
    EXPECT_EQ(several.code, 1); // 1050 % carry no verdict
    EXPECT_TRUE(several.says("count several times"));
    EXPECT_TRUE(several.says("NO VERDICT"));
}

TEST_F(Coverage, AVerdictIsAnExitCodeOnlyWhereAsked) {
    const std::string missed = "last.csv --area whole.csv --target-passes 4 --target-coverage 85.1";
    const std::string met = "last.csv --area whole.csv --target-passes 4 --target-coverage 85";
    EXPECT_EQ(coverage(missed).code, 0);
    const outcome asked = coverage(missed + " --exit-code");
    EXPECT_EQ(asked.code, 3);
    EXPECT_EQ(asked.err, "");
    EXPECT_TRUE(asked.says("85 % of the area has 4 or more passes; 85.1 % are required: NOT MET"));
    EXPECT_EQ(coverage(met + " --exit-code").code, 0);
    EXPECT_TRUE(coverage(met).says("required: MET"));
}

TEST_F(Coverage, PointsAreSelectedByEveryKindOfOutlineFirst) {
    // The left half with a hole of 2 m by 1 m; the same with the hole as an exclusion, which reaches
    // over half a metre of the right half.
    write("holed.geojson", R"({"type":"MultiPolygon","coordinates":[[
        [[1000,2000],[1005,2000],[1005,2002.5],[1000,2002.5],[1000,2000]],
        [[1001,2001],[1003,2001],[1003,2002],[1001,2002],[1001,2001]]]]})");
    write("left.csv",
          "WKT\n\"POLYGON((1000 2000,1000 2002.5,1005 2002.5,1005 2000,1000 2000))\"\n");
    write("inside.csv", "x,y\n1001,2001\n1003,2001\n1003,2002\n1001,2002\n");
    write("across.csv", "x,y\n1004,2001\n1005.5,2001\n1005.5,2002\n1004,2002\n");
    struct {
        const char* areas;
        double plan_area;
        int inside, outside, excluded;
        const char* note;
    } const rows_of[] = {
        {"--area holed.geojson", 10.5, 84, 116, 0, nullptr},
        {"--area left.csv --exclude inside.csv", 10.5, 84, 100, 16, nullptr},
        {"--area whole.csv --exclude holed.geojson", 14.5, 116, 0, 84, nullptr},
        {"--area left.csv --exclude across.csv", 11, 92, 100, 8,
         "0.5 m² of the excluded areas lie outside"},
    };
    for (const auto& row : rows_of) {
        SCOPED_TRACE(row.areas);
        const outcome result = coverage(std::string("all.csv --json --bins 0- ") + row.areas);
        ASSERT_EQ(result.code, row.note ? 1 : 0) << result.err;
        const auto document = result.json();
        EXPECT_EQ(document["plan_area"], row.plan_area);
        EXPECT_EQ(document["all_bins"]["points"], row.inside);
        EXPECT_EQ(document["bins"][0]["area"], row.inside * 0.125);
        if (row.note) {
            EXPECT_TRUE(result.says(row.note));
        } else {
            EXPECT_EQ(document["notes"].size(), 0) << document["notes"];
            EXPECT_EQ(document["all_bins"]["coverage_percent"], 100);
        }
        const auto last = coverage(std::string("last.csv --json ") + row.areas).json();
        EXPECT_EQ(last["selection"]["inside"], row.inside);
        EXPECT_EQ(last["selection"]["outside"], row.outside);
        EXPECT_EQ(last["selection"]["in_excluded_areas"], row.excluded);
    }
    EXPECT_TRUE(coverage("last.csv --area left.csv --exclude inside.csv")
                    .says("84 inside the areas; left out: 100 outside, 16 in an excluded area"));
}

TEST_F(Coverage, AreasThatDoNotSimplyAddUpAreNamed) {
    write("twice.csv", "part,x,y\na,1000,2000\na,1006,2000\na,1006,2002.5\na,1000,2002.5\n"
                       "b,1004,2000\nb,1010,2000\nb,1010,2002.5\nb,1004,2002.5\n");
    write("overlapping.csv", "part,x,y\na,1000,2000\na,1002,2000\na,1002,2002.5\na,1000,2002.5\n"
                             "b,1001,2000\nb,1003,2000\nb,1003,2002.5\nb,1001,2002.5\n");
    write("side_by_side.csv", "part,x,y\na,1000,2000\na,1006,2000\na,1006,2002.5\na,1000,2002.5\n"
                              "b,1006,2000\nb,1010,2000\nb,1010,2002.5\nb,1006,2002.5\n");
    write("bow.csv", "x,y\n1000,2000\n1010,2002.5\n1010,2000\n1000,2005\n");
    // The numbers are printed, but no verdict is drawn from them.
    for (const auto& [areas, reason] :
         {std::pair<const char*, const char*>{"twice.csv", "5 m² count twice"},
          {"bow.csv", "is not simple (Self-intersection"},
          {"whole.csv --exclude twice.csv", "the alignment area is -5"},
          {"whole.csv --exclude overlapping.csv",
           "are subtracted twice from the alignment area"}}) {
        const outcome odd =
            coverage(std::string("last.csv --target-passes 2 --exit-code --area ") + areas);
        EXPECT_EQ(odd.code, 1) << areas;
        EXPECT_TRUE(odd.says(reason)) << areas;
    }
    const auto twice = coverage("last.csv --area twice.csv --target-passes 2 --json").json();
    EXPECT_EQ(twice["plan_area"], 30);
    EXPECT_EQ(twice["target"]["met"], nullptr);
    EXPECT_FALSE(coverage("last.csv --area side_by_side.csv").says("twice"));
    expect_refused("coverage",
                   {{"last.csv --area bow.csv --exclude whole.csv", "the alignment area is ", 1}});
}

TEST_F(Coverage, NoVerdictIsDrawnFromAreasThatDoNotCarryOne) {
    const auto box = [](double x0, double y0, double x1, double y1) {
        return fmt::format("[[[{0},{1}],[{2},{1}],[{2},{3}],[{0},{3}],[{0},{1}]]]", x0, y0, x1, y1);
    };
    const auto areas = [&](const std::string& name, const std::vector<std::string>& boxes) {
        write(name, fmt::format(R"({{"type":"MultiPolygon","coordinates":[{}]}})",
                                fmt::join(boxes, ",")));
    };
    const std::string all = box(1000, 2000, 1010, 2002.5);
    areas("whole.geojson", {all});
    areas("beside.geojson", {box(1020, 2000, 1022, 2002)});
    areas("partly.geojson", {box(1009, 2000, 1011, 2002)});
    areas("crossed.geojson", {"[[[1001,2000.5],[1009,2002],[1009,2000.5],[1001,2001.5],"
                              "[1001,2000.5]]]"});
    areas("twice.geojson", {all, box(1002, 2000, 1004, 2001)});
    areas("holes_twice.geojson", {box(1002, 2000, 1004, 2001), box(1003, 2000, 1005, 2001)});
    areas("touching.geojson", {box(1000, 2000, 1005, 2002.5), box(1005, 2000, 1010, 2002.5)});
    write("points.geojson", R"({"type":"MultiPoint","coordinates":[[1000,2000],[1010,2002]]})");
    write("line.geojson", R"({"type":"LineString","coordinates":[[1000,2000],[1010,2002]]})");
    write("empty.geojson", R"({"type":"FeatureCollection","features":[]})");
    const struct {
        const char* areas;
        int code;
        const char* words;
    } cases[] = {
        {"--area whole.geojson", 3, "NOT MET"},
        {"--area touching.geojson", 3, "NOT MET"},
        {"--area whole.geojson --exclude beside.geojson", 1, "of the excluded areas lie outside"},
        {"--area whole.geojson --exclude partly.geojson", 1, "of the excluded areas lie outside"},
        {"--area twice.geojson", 1, "count twice"},
        {"--area whole.geojson --exclude holes_twice.geojson", 1, "subtracted twice"},
        {"--area crossed.geojson", 1, "Self-intersection"},
        {"--area whole.geojson --exclude crossed.geojson", 1, "Self-intersection"},
        {"--area last.csv", 2, "not the vertices of an outline"},
        {"--area points.geojson", 2, "is no area"},
        {"--area line.geojson", 2, "is no area"},
        {"--area empty.geojson", 2, "empty.geojson"}};
    for (const auto& [options, code, words] : cases) {
        SCOPED_TRACE(options);
        const outcome result =
            coverage(std::string("last.csv --target-passes 15 --exit-code ") + options);
        EXPECT_EQ(result.code, code);
        EXPECT_TRUE(result.says(words));
        EXPECT_EQ(static_cast<bool>(result.says("NO VERDICT")), code == 1);
        const auto document =
            coverage(std::string("last.csv --target-passes 15 --json ") + options).json();
        if (code == 1) {
            EXPECT_EQ(document["target"]["met"], nullptr);
            EXPECT_TRUE(document["failure"]["explanation"].get<std::string>().starts_with(
                "There is no verdict."));
        } else if (code == 2) {
            EXPECT_EQ(document["schema"], "qmx-ic/failure/1");
        }
    }
}

TEST_F(Coverage, OutlinesTakeTenThousandVerticesAndNoMore) {
    const auto ring = [](int vertices) {
        std::string text = "x,y\n";
        for (int i = 0; i <= vertices; ++i) // the last one closes
            text += fmt::format("{:.6f},{:.6f}\n", 1005 + 4 * std::cos(2 * M_PI * i / vertices),
                                2001 + 4 * std::sin(2 * M_PI * i / vertices));
        return text;
    };
    write("most.csv", ring(10000));
    write("more.csv", ring(10001));
    const outcome most = coverage("last.csv --area most.csv --json");
    ASSERT_EQ(most.code, 0) << most.err;
    EXPECT_NEAR(most.json()["plan_area"], 16 * M_PI, 1e-4);
    expect_refused("coverage", {{"last.csv --area more.csv",
                                 "10001 vertices; the analysis takes at most 10000"}});
}

TEST_F(Coverage, AMeshThatIsNotThatOfTheDataIsExplained) {
    const outcome wide = coverage("last.csv --area whole.csv --mesh 0.5,0.5");
    EXPECT_EQ(wide.code, 1);
    EXPECT_TRUE(wide.says("the mesh is 0.5 × 0.5: each point stands for 2 times"));
    // Half a cell over the outline: more than 100 %, though nothing is wrong.
    write("tight.csv", "x,y\n1000.2,2000.1\n1009.8,2000.1\n1009.8,2002.4\n1000.2,2002.4\n");
    EXPECT_TRUE(coverage("last.csv --area tight.csv")
                    .says("by no more than the cells that the outline cuts"));
    // Positions that differ from pass to pass do not share cells.
    std::string text = "x,y,pass\n";
    for (int i = 0; i < 4000; ++i)
        text += fmt::format("{:.3f},{:.3f},{}\n", 1000 + std::fmod(i * 0.61803398875, 1.0) * 10,
                            2000 + std::fmod(i * 0.7548776662, 1.0) * 2.5, 1 + i / 1000);
    write("wandering.csv", text);
    expect_refused("coverage", {{"wandering.csv --area whole.csv", "--mesh DX,DY"}});
    EXPECT_TRUE(coverage("wandering.csv --area whole.csv --mesh 0.1,0.25")
                    .says("several passes over the same"));
}

// Records of several passes about the middles of cells, no two in one place.
TEST_F(Coverage, PositionsThatScatterAboutCellsAreMovedToThem) {
    std::string text = "Easting_m,Northing_m,PassCount\n";
    int seen = 0;
    const auto off = [&] { return 0.02 * std::cos(2.39996 * ++seen); };
    for (int i = 0; i < 40; ++i) // of a hundred columns
        for (int j = 0; j < 30; ++j)
            for (int pass = 1; pass <= 3; ++pass)
                text += fmt::format("{:.3f},{:.3f},{}\n", 1000.17 + 0.34 * i + off(),
                                    2000.17 + 0.34 * j + off(), pass);
    write("jittered.csv", text);
    write("strip.csv", "x,y\n1000,2000\n1034,2000\n1034,2010.2\n1000,2010.2\n");
    const std::string asked = "jittered.csv --area strip.csv --target-passes 3 ";
    const auto document = coverage(asked + "--json").json();
    EXPECT_EQ(document["mesh"]["x"], 0.34);
    EXPECT_EQ(document["mesh"]["y"], 0.34);
    EXPECT_EQ(document["cells"]["count"], 1200);
    EXPECT_NEAR(document["target"]["achieved_percent"], 40, 1e-3);
    EXPECT_NEAR(document["not_covered"]["percent"], 60, 1e-3);
    EXPECT_NEAR(document["not_covered"]["area_m2"], 0.6 * 34 * 10.2, 1e-2);
    const outcome shown = coverage(asked + "--exit-code");
    EXPECT_EQ(shown.code, 3);
    EXPECT_TRUE(shown.says("Each counts for the cell that it is nearest to"));
    EXPECT_TRUE(shown.says("not covered"));
}

// A lot whose coverage is known, with each position moved by some centimetres.
std::string jittered(const std::string& lot, double deviation) {
    std::mt19937 bits(5);
    std::normal_distribution<double> off(0, deviation);
    std::istringstream lines(lot);
    std::string line;
    std::string text;
    while (std::getline(lines, line)) {
        std::vector<std::string> fields;
        std::istringstream parts(line);
        for (std::string part; std::getline(parts, part, ',');) fields.push_back(part);
        if (!text.empty()) // a head line
            for (const std::size_t field : {1U, 2U})
                fields[field] = fmt::format("{:.3f}", std::stod(fields[field]) + off(bits));
        text += fmt::format("{}\n", fmt::join(fields, ","));
    }
    return text;
}

TEST_F(Coverage, ScatteredPositionsGiveTheCoverageOfTheirLot) {
    struct {
        const char* lot;
        double deviation;
    } const lots[] = {
        {"--lattice 0.34 --drum-width 2.04 --overlap 0.34 --width 12.24 --passes 3", 0.02},
        {"--lattice 0.34 --drum-width 2.04 --overlap 0.34 --width 12.24 --length 400", 0.02},
        {"--lattice 0.25 --drum-width 2 --overlap 0.5 --missed 0.3", 0.02},
        {"--lattice 0.3 --drum-width 2.1 --overlap 0.3 --length 20 --width 6 --missed 0.2", 0.03}};
    for (const auto& [lot, deviation] : lots) {
        SCOPED_TRACE(lot);
        ASSERT_EQ(run(std::string("generate lot --force --bad-rows 0 ") + lot).code, 0);
        write("moved.csv", jittered(text_of(path("lot.csv")), deviation));
        const std::string asked = ".csv --area lot-alignment.csv --target-passes 3 --json";
        const auto truth = coverage("lot" + asked).json();
        const auto moved = coverage("moved" + asked).json();
        for (const char* const part : {"bins", "not_covered", "target", "plan_area", "failure"})
            EXPECT_EQ(moved[part], truth[part]) << part;
        EXPECT_EQ(moved["cells"], truth["cells"]);
        EXPECT_NEAR(moved["mesh"]["scatter_of_positions"], deviation * std::sqrt(2), 0.001);
        // The finished layer of other analyses is the same too.
        const auto layer = run("stats lot.csv --json").json();
        const auto moved_layer = run("stats moved.csv --json").json();
        EXPECT_EQ(moved_layer["statistics"], layer["statistics"]);
        EXPECT_EQ(moved_layer["input"]["rows_of_earlier_passes"],
                  layer["input"]["rows_of_earlier_passes"]);
    }
}

TEST_F(Coverage, WhatCannotBeMeantIsRefused) {
    write("nowhere.csv", "x,y\n0,0\n10,0\n10,10\n0,10\n");
    write("lonlat.csv", "Longitude,Latitude,PassCount\n-93,43,1\n-93,43.1,2\n");
    write("mixed.csv", cells(0, 1000.25, "Easting_m,Northing_ft,PassCount\n"));
    write("no_pass.csv", "x,y,CMV\n1,1,1\n2,2,2\n");
    expect_refused(
        "coverage",
        {{"last.csv", "--area is required"},
         {"last.csv --area whole.csv --bins 1-x", "\"1-x\" is no bin"},
         {"last.csv --area whole.csv --bins 1-2,,5-", "\"\" is no bin"},
         {"last.csv --area whole.csv --bins -3", "\"-3\" is no bin"},
         {"last.csv --area whole.csv --bins 4-2", "4-2 holds no pass count"},
         {"last.csv --area whole.csv --bins 10001-", "10000 for an open bin"},
         {"last.csv --area whole.csv --mesh 0.5", "two lengths above 0"},
         {"last.csv --area whole.csv --mesh 0.5,0", "two lengths above 0"},
         {"last.csv --area whole.csv --mesh 0.5,-1", "two lengths above 0"},
         {"last.csv --area whole.csv --target-coverage 90", "needs --target-passes"},
         {"last.csv --area whole.csv --exit-code", "needs --target-passes"},
         {"last.csv --area whole.csv --target-passes 0", "no number of passes"},
         {"last.csv --area whole.csv --target-passes 4 --target-coverage 101", "no percentage"},
         {"last.csv --area nowhere.csv", "lie apart from all points"},
         {"lonlat.csv --area whole.csv", "--project"},
         {"mixed.csv --area whole.csv", "in one unit"},
         {"last.csv --area last.csv", "not the vertices of an outline"},
         {"no_pass.csv --area whole.csv", "pass counts"}});
    // Nothing rolled is an answer.
    write("between.csv", "x,y\n1009.3,2002.2\n1009.7,2002.2\n1009.7,2002.3\n1009.3,2002.3\n");
    const outcome none = coverage("last.csv --area between.csv --mesh 0.5,0.25 --json");
    ASSERT_EQ(none.code, 0) << none.err;
    EXPECT_EQ(none.json()["all_bins"]["coverage_percent"], 0);
    EXPECT_EQ(none.json()["selection"]["outside"], 200);
}

TEST_F(Coverage, LanesThatEachBeginElsewhereTakeTheirTwoDistancesAsMesh) {
    ASSERT_EQ(run("generate lanes --length 60 --missed 0 --bad-rows 0").code, 0);
    expect_refused("coverage", {{"lanes.csv --area lanes-alignment.csv", "--mesh DX,DY"}});
    const auto lanes =
        coverage("lanes.csv --area lanes-alignment.csv --mesh 0.5,0.3 --json").json();
    EXPECT_NEAR(lanes["all_bins"]["coverage_percent"], 100, 0.5);
}

// An outline of 20 m by 10 m in longitudes and latitudes round cells in UTM zone 15.
TEST_F(Coverage, AreasInAnotherSystemNeedTheNameOfThatOfThePoints) {
    std::string cells = "x,y,passes\n";
    for (int i = 0; i < 800; ++i)
        cells +=
            fmt::format("{},{},{}\n", 421500 + 0.5 * (i / 20), 4864200 + 0.5 * (i % 20), 1 + i % 4);
    write("planar.csv", cells);
    write("degrees.geojson",
          R"({"type": "Polygon", "coordinates": [[[-93.9779176656, 43.9267302235],
              [-93.9776685513, 43.9267323553], [-93.9776700259, 43.9268223785],
              [-93.9779191406, 43.9268202467], [-93.9779176656, 43.9267302235]]]})");
    expect_refused("coverage planar.csv --area degrees.geojson", {{"--value passes", "--crs"}});
    if (!app_test::can_project) return;
    const std::string named = "planar.csv --area degrees.geojson --value passes --crs EPSG:26915 ";
    const auto document = coverage(named + "--target-passes 2 --json").json();
    EXPECT_EQ(document["all_bins"]["points"], 800);
    EXPECT_NEAR(document["plan_area"], 200, 0.01);
    EXPECT_NEAR(document["target"]["achieved_percent"], 75, 0.01);
}

class CoverageOfRealCells : public app_test::RealFiles {};
TEST_F(CoverageOfRealCells, HaveTheirSpacing) {
    write("site.csv", "x,y\n-242449,1032543\n-239821,1032543\n-239821,1033085\n-242449,1033085\n");
    const auto document = run("coverage '" + data_folder +
                              "/roller_all_passes_sample.csv' --area "
                              "site.csv --json --bins 1-3,4-")
                              .json();
    EXPECT_EQ(document["mesh"]["x"], 0.34);
    EXPECT_EQ(document["mesh"]["y"], 0.34);
    EXPECT_EQ(document["plan_area"], 2628 * 542);
    EXPECT_EQ(document["all_bins"]["points"], 80);
    EXPECT_NEAR(document["all_bins"]["area"], 80 * 0.34 * 0.34, 1e-4);
    const auto& dropped = document["input"]["dropped"];
    ASSERT_EQ(dropped.size(), 1);
    EXPECT_EQ(dropped[0]["first_line"], 52);
}

} // namespace
