// Tables written in the format that their name tells, and raw tracks put on a lattice.
#include "run_program.hpp"

#include <fmt/format.h>

namespace {

using app_test::outcome;
using app_test::text_of;

// Four lanes of 2 m, 30 m long, from (1000, 2000) on: rolled 1, 4, 6 and 3 times, back and forth, a
// record each 0.3 m in the middle of the drum. The value says lane and run.
class Tables : public app_test::Program {
protected:
    void SetUp() override {
        std::string text = "Machine,Easting_m,Northing_m,CMV\n";
        for (int lane = 0; lane < 4; ++lane)
            for (int run = 0; run < std::vector<int>{1, 4, 6, 3}[static_cast<std::size_t>(lane)];
                 ++run)
                for (int k = 0; k <= 100; ++k)
                    text += fmt::format("A,{:.3f},{:.3f},{}\n",
                                        1000 + 0.3 * (run % 2 == 0 ? k : 100 - k),
                                        2001 + 2.0 * lane, 10 * lane + run + 1);
        write("tracks.csv", text);
        write("strip.csv", "x,y\n1001,2000\n1029,2000\n1029,2008\n1001,2008\n");
    }
};

constexpr const char* on_lattice =
    "grid tracks.csv --crs EPSG:26915 --cell 0.25 --drum-width 2 --gap 3 ";

TEST_F(Tables, RawTracksHaveTheCoverageOfTheirLanes) {
    const auto grid = run(std::string(on_lattice) + "--json --output cells.csv").json();
    EXPECT_EQ(grid["input"]["rows_used"], 14 * 101);
    EXPECT_EQ(grid["output"], "cells.csv");
    const auto coverage =
        run("coverage cells.csv --area strip.csv --target-passes 3 --json --bins 1,3,4,6").json();
    EXPECT_EQ(coverage["mesh"]["x"], 0.25);
    EXPECT_EQ(coverage["all_bins"]["coverage_percent"], 100);
    for (const auto& bin : coverage["bins"]) EXPECT_EQ(bin["coverage_percent"], 25) << bin;
    EXPECT_EQ(coverage["target"]["achieved_percent"], 75);
    // The last value and the mean of the passes of each cell, off the ends.
    for (const auto& [passes, wanted] :
         {std::pair<const char*, double>{"last", (1 + 14 + 26 + 33) / 4.0},
          {"mean", (1 + 12.5 + 23.5 + 32) / 4.0}}) {
        ASSERT_EQ(run(std::string(on_lattice) + "--output cells.csv --passes " + passes).code, 0);
        ASSERT_EQ(run("select cells.csv --polygon strip.csv --output inside.csv").code, 0);
        EXPECT_EQ(run("stats inside.csv --json").json()["statistics"]["mean"], wanted);
    }
    // All passes: what commands for data of all passes take.
    ASSERT_EQ(run(std::string(on_lattice) + "--output all.csv --passes all").code, 0);
    const auto layer = run("coverage all.csv --area strip.csv --bins 1,3,4,6 --json").json();
    EXPECT_EQ(layer["bins"], coverage["bins"]);
    // Records of two machines that stand mixed; taken as one track they would jump to and fro.
    std::string mixed = "Machine,Easting_m,Northing_m,CMV\n";
    for (int k = 0; k <= 100; ++k)
        mixed += fmt::format("A,{0},2001,5\nB,{0},2007,7\n", 1000 + 0.3 * k);
    write("mixed.csv", mixed);
    const auto two = run("grid mixed.csv --cell 0.25 --drum-width 2 --track Machine --json").json();
    EXPECT_EQ(two["tracks"], 2);
    EXPECT_EQ(two["cells"], 120 * 16 + 2); // and the cells that the last records stand in
    EXPECT_EQ(two["cells_by_passes"].size(), 1);
}

TEST_F(Tables, AreWhatTheirNamesSay) {
    ASSERT_EQ(run(std::string(on_lattice) + "--output cells.csv").code, 0);
    const auto truth = run("stats cells.csv --json").json();
    for (const char* const name : {"cells.tsv", "cells.txt", "cells.csv.gz", "cells.geojson",
                                   "CELLS.GPKG", "cells.parquet"}) {
        SCOPED_TRACE(name);
        const outcome made = run(std::string(on_lattice) + "--output " + name);
        const bool is_vector = std::string(name).find("GPKG") != std::string::npos;
        if (std::string(name) == "cells.parquet" && made.code == 2) { // not every GDAL can
            EXPECT_TRUE(made.says("cells.parquet: "));
            EXPECT_FALSE(std::filesystem::exists(path(name)));
            continue;
        }
        if (is_vector && !app_test::can_project) {
            EXPECT_EQ(made.code, 2);
            EXPECT_TRUE(made.says("this build has no GDAL"));
            continue;
        }
        ASSERT_EQ(made.code, 0) << made.err;
        const outcome read = run("stats '" + std::string(name) + "' --json");
        ASSERT_EQ(read.code, 0) << read.err;
        EXPECT_EQ(read.json()["statistics"], truth["statistics"]);
        EXPECT_EQ(read.json()["input"]["rows_used"], truth["input"]["rows_used"]);
    }
    EXPECT_TRUE(
        text_of(path("cells.tsv")).starts_with("Easting (m)\tNorthing (m)\tPassCount\tCMV\n"));
    EXPECT_TRUE(text_of(path("cells.csv.gz")).starts_with("\x1f\x8b"));
    const auto features = nlohmann::json::parse(text_of(path("cells.geojson")));
    EXPECT_EQ(features["features"][0]["geometry"]["coordinates"].size(), 2);
    expect_refused("grid tracks.csv --cell 1", {{"--output x.geojson", "--crs EPSG:26915"}});
    for (const char* const name : {"x.foo", "x.csv.zip", "x.gpkg.gz"}) {
        expect_refused("stats cells.csv --output",
                       {{name, "no table is written under such a name"}});
        EXPECT_FALSE(std::filesystem::exists(path(name)));
    }
    // Standard output takes the table, standard error the rest.
    const outcome piped = run("stats cells.csv --output -");
    EXPECT_EQ(piped.code, 0);
    EXPECT_TRUE(piped.out.starts_with("part,name,value,unit,percent,cumulative_percent\n"));
    EXPECT_NE(piped.err.find("Standard deviation"), std::string::npos);
    expect_refused("stats cells.csv", {{"--output - --missing x --target", "--target"}});
    EXPECT_EQ(run("stats cells.csv --output - --json").code, 2);
    EXPECT_EQ(run("stats cells.csv --output - --json").json()["schema"], "qmx-ic/failure/1");
}

TEST_F(Tables, SelectedRowsKeepAllColumnsInEveryFormat) {
    write("odd.csv", "id,Easting_m,Northing_m,CMV,note,CMV\n1,1,1,5,\"a, b\",x\n2,2,2,?,,7\n"
                     "3,3,3,8,\"say \"\"so\"\"\",9\n");
    for (const char* const name : {"rows.csv", "rows.geojson", "rows.gpkg"}) {
        if (std::string(name) == "rows.gpkg" && !app_test::can_project) continue;
        SCOPED_TRACE(name);
        ASSERT_EQ(
            run(std::string("select odd.csv --crs EPSG:26915 --circle 2,2,5 --output ") + name)
                .code,
            0);
        const auto columns = run(std::string("columns ") + name + " --json").json();
        EXPECT_EQ(columns["input"]["rows_read"], 3);
        std::string names;
        for (const auto& column : columns["file_columns"])
            names += column["name"].get<std::string>() + " ";
        EXPECT_NE(names.find("note "), std::string::npos) << names;
        EXPECT_EQ(columns["file_columns"].size(), 6) << names;
    }
}

TEST_F(Tables, EveryCommandWritesItsOwn) {
    ASSERT_EQ(run(std::string(on_lattice) + "--output cells.csv --passes all").code, 0);
    write("tests.csv", "Spot,x,y,Value\nA,1005,2001,3\nB,1010,2003,12\nC,1015,2005,22\n"
                       "D,1020,2007,31\n");
    const struct {
        const char* arguments;
        const char* head;
        int rows;
    } tables[] = {
        {"columns cells.csv", "name,taken_as,content,numbers", 4},
        {"coverage cells.csv --area strip.csv --bins 1-3,4-", "passes,points,area (m²)", 4},
        {"curve cells.csv", "pass,CMV", 100},
        {"fit cells.csv --x PassCount --y CMV", "PassCount,CMV", 100},
        {"select tests.csv --value Value --circle 1005,2001,6", "Spot,x,y,Value", 2},
        {"semivariogram cells.csv --nlag 5", "part,class,lag", 107},
        {"spots cells.csv tests.csv --radius 1", "test,Easting (m),Northing (m),pass,value", 4}};
    for (const auto& [arguments, head, rows] : tables) {
        SCOPED_TRACE(arguments);
        write("old.csv", "old\n");
        const outcome made = run(std::string(arguments) + " --output old.csv");
        ASSERT_EQ(made.code, 0) << made.err;
        const std::string text = text_of(path("old.csv"));
        EXPECT_TRUE(text.starts_with(head)) << text.substr(0, 100);
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), rows + 1);
        const outcome full = run(std::string(arguments) + " --output /dev/full");
        EXPECT_EQ(full.code, 2);
        EXPECT_TRUE(full.says("No space left"));
        for (const std::string input : {"cells.csv", "tests.csv", "strip.csv"}) {
            if (std::string(arguments).find(input) == std::string::npos) continue;
            EXPECT_TRUE(run(std::string(arguments) + " --output " + input)
                            .says("this is the file that is read"));
        }
        EXPECT_EQ(run(std::string(arguments) + " --output nowhere/x.csv").code, 2);
    }
}

TEST_F(Tables, OfTracksThatCannotBeMeantAreRefused) {
    expect_refused("grid tracks.csv",
                   {{"", "--cell is required"},
                    {"--cell 0", "a length above 0"},
                    {"--cell nan", "a length above 0"},
                    {"--cell 0.25 --drum-width -1", "a length above 0"},
                    {"--cell 0.25 --drum-width 100", "more than 200 cells"},
                    {"--cell 0.25 --gap 0", "a length above 0"},
                    {"--cell 0.25 --track Nothing", "there is no column Nothing"},
                    {"--cell 0.001 --drum-width 0.1", "too far for such cells"},
                    {"--cell 1e-7", "more than 1e9 cells from 0, 0"},
                    {"--cell 0.25 --passes some", "--passes"}});
    write("lonlat.csv", "Longitude,Latitude,CMV\n-93,43.9,1\n-93,43.90001,2\n");
    expect_refused("grid lonlat.csv --cell 1", {{"", "--project"}});
}

} // namespace
