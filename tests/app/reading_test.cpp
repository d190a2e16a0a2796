// How the program reads tables: formats, separators, dirt, and the account of rows that it dropped.
#include "run_program.hpp"

#include <fmt/format.h>

#if QMX_IC_WITH_GDAL
#include <cpl_vsi.h>
#include <gdal_priv.h>
#include <ogrsf_frmts.h>
#endif

namespace {

using app_test::outcome;
class Reading : public app_test::Program {
protected:
    // Ten sound rows with values 1..10, so mean 5.5 and standard deviation 3.02765.
    static std::string sound(const char* format) {
        std::string text;
        for (int i = 1; i <= 10; ++i) text += fmt::format(fmt::runtime(format), i);
        return text;
    }
    void expect_ten(const outcome& result) {
        ASSERT_EQ(result.code, 0) << result.err;
        const auto document = result.json();
        EXPECT_EQ(document["statistics"]["count"], 10);
        EXPECT_NEAR(document["statistics"]["mean"], 5.5, 1e-6);
        EXPECT_NEAR(document["statistics"]["standard_deviation"], 3.0276504, 1e-6);
        EXPECT_EQ(document["input"]["rows_dropped"], 0);
    }
};

TEST_F(Reading, EveryWayOfWritingATextGivesTheSameStatistics) {
    write("comma.csv", "x,y,CMV\n" + sound("{0},{0}.25,{0}.0\n"));
    write("bom_crlf.csv", "\xEF\xBB\xBFx;y;CMV\r\n" + sound("{0},5;{0},25;{0},0\r\n"));
    write("tab.txt", "Easting_m\tNorthing_m\tCMV\n" + sound("{0}\t{0}\t{0}\n"));
    write("quoted.tsv",
          "\"Easting (m)\"\t\"Northing (m)\"\t\"CMV (-)\"\n" + sound("{0}\t{0}\t\"{0}\"\n"));
    write("bars.psv", "x|y|CMV\n" + sound("{0}|{0}|\"{0}\"\n"));
    write("trailing.csv", "x,y,CMV,\n" + sound("{0},{0},{0},\n"));
    write("blank_lines.csv", "x,y,CMV\n\n" + sound("{0},{0},{0}\n\n"));
    write("units.csv", "x,y,CMV\n" + sound("{0}m,{0}m,{0}.0 MN/m\n"));
    write("single.csv", "CMV\r\n\r\n" + sound("\"{0}\"\r\n"));
    write("no_end.csv", "x,y,CMV\n" + sound("{0},{0},{0}\n").substr(0, 69));
    for (const char* const file :
         {"comma.csv", "bom_crlf.csv", "tab.txt", "quoted.tsv", "bars.psv", "trailing.csv",
          "blank_lines.csv", "units.csv", "single.csv", "no_end.csv"}) {
        SCOPED_TRACE(file);
        expect_ten(run(std::string("stats --json ") + file));
    }
    EXPECT_TRUE(run("stats bom_crlf.csv").says("decimal comma"));
    EXPECT_TRUE(run("stats units.csv").says("the unit \"MN/m\" from 10 values of CMV"));
}

#if QMX_IC_WITH_GDAL
TEST_F(Reading, GzipAndSpatialFormatsGiveTheSameStatistics) {
    if (!app_test::can_project) GTEST_SKIP() << "spatial formats need GDAL";
    const std::string text = "x,y,CMV\n" + sound("{0},{0},{0}\n");
    VSILFILE* const file = VSIFOpenL(("/vsigzip/" + path("lot.csv.gz")).c_str(), "wb");
    ASSERT_NE(file, nullptr);
    VSIFWriteL(text.data(), 1, text.size(), file);
    VSIFCloseL(file);
    expect_ten(run("stats --json lot.csv.gz"));

    GDALAllRegister();
    for (const char* const format : {"GPKG", "ESRI Shapefile", "GeoJSON"}) {
        SCOPED_TRACE(format);
        const std::string name = std::string("lot.") + (format[1] == 'P'   ? "gpkg"
                                                        : format[1] == 'S' ? "shp"
                                                                           : "geojson");
        GDALDatasetUniquePtr dataset(GetGDALDriverManager()->GetDriverByName(format)->Create(
            path(name).c_str(), 0, 0, 0, GDT_Unknown, nullptr));
        OGRSpatialReference system;
        system.importFromEPSG(format[1] == 'e' ? 4326 : 26915);
        system.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
        OGRLayer* const layer = dataset->CreateLayer("lot", &system, wkbPoint, nullptr);
        OGRFieldDefn field("CMV", OFTReal);
        ASSERT_EQ(layer->CreateField(&field), OGRERR_NONE);
        for (int i = 1; i <= 10; ++i) {
            OGRFeature feature(layer->GetLayerDefn());
            feature.SetField(0, static_cast<double>(i));
            const OGRPoint point(format[1] == 'e' ? -93.97 + i * 1e-5 : 421000.0 + i,
                                 43.9 + i * 1e-5);
            feature.SetGeometry(&point);
            ASSERT_EQ(layer->CreateFeature(&feature), OGRERR_NONE);
        }
        dataset.reset();
        expect_ten(run("stats --json " + name));
        const outcome selected = run("select --json --circle 421005,43.9,1.5 " + name);
        if (format[1] == 'e') {
            EXPECT_EQ(selected.code, 2);
            EXPECT_TRUE(selected.says("--project utm"));
        } else {
            ASSERT_EQ(selected.code, 0) << selected.err;
            EXPECT_EQ(selected.json()["records"], (std::vector<int>{4, 5, 6}));
        }
    }
}

#endif

// One row for each way of being wrong, with an empty line and a field over two lines before them, so
// that lines and records differ.
TEST_F(Reading, EveryDroppedRowIsCountedUnderItsReasonWithTheLineOfTheFile) {
    std::string text = "x_m,y_m,note,PassCount,CMV,Freq,Gear\n\n"; // lines 1, 2
    text += "0,0,\"two\nlines\",1,40.0,30.1Hz,Forward\n";          // lines 3, 4
    for (int i = 1; i <= 60; ++i)
        text += fmt::format("{0},{0},a,1,4{1}.5,30.1Hz,Forward\n", i, i % 10);
    text += "61,61,a,1,?,30.1Hz,Forward\n"              // line 65
            "62,62,a,1,overrange,30.1Hz,Forward\n"      // 66
            "63,63,a,1\n"                               // 67
            "64,64,a,1,44,30.1Hz,Forward,more,fields\n" // 68
            ",,,,,,\n"                                  // 69
            "65,a,1,44.5,30.1Hz,Forward,\n"             // 70: one field lacks
            "66,66,a,1,44.5psi,30.1Hz,Forward\n"        // 71: a unit that no other value has
            "67,67,a,1,44MPa,30.1Hz,Forward\n"          // 72: another
            "68,,a,1,44,30.1Hz,Forward\n"               // 73: kept, no position
            "69,69,a,1,-9999,30.1Hz,Forward\n";         // 74
    write("dirt.csv", text);
    const outcome result = run("stats --json --missing -9999 dirt.csv");
    ASSERT_EQ(result.code, 0) << result.err;
    const auto document = result.json();
    EXPECT_EQ(document["input"]["rows_read"], 71);
    EXPECT_EQ(document["input"]["rows_used"], 62);
    EXPECT_EQ(document["input"]["rows_dropped"], 9);
    EXPECT_EQ(document["input"]["rows_without_position"], 1);
    std::map<std::string, std::pair<int, int>> reasons;
    for (const auto& row : document["input"]["dropped"])
        reasons[row["reason"]] = {row["count"], row["first_line"]};
    const std::map<std::string, std::pair<int, int>> expected{{"value_missing", {2, 65}},
                                                              {"value_not_a_number", {1, 66}},
                                                              {"too_few_fields", {1, 67}},
                                                              {"too_many_fields", {1, 68}},
                                                              {"empty_row", {1, 69}},
                                                              {"fields_out_of_place", {1, 70}},
                                                              {"value_in_another_unit", {2, 71}}};
    EXPECT_EQ(reasons, expected);

    const outcome selected = run("select --json --circle 0,0,1000 dirt.csv");
    EXPECT_EQ(selected.json()["columns"]["value"], nullptr);
    EXPECT_EQ(selected.json()["selected"], 66); // without a position: 1; bad fields: 4
}

TEST_F(Reading, RowsThatOnlyLookOddAreKept) {
    // A text in two of the columns of numbers, but every field under its own column.
    std::string text = "x,y,CMV,Freq,Amp\n";
    for (int i = 0; i < 50; ++i) text += fmt::format("{0},{0},{0},30,0.9\n", i);
    text += "50,50,50,off,off\n";
    write("odd.csv", text);
    EXPECT_EQ(run("stats --json odd.csv").json()["input"]["rows_used"], 51);
}

TEST_F(Reading, TheValueIsNeverSilentlyAColumnThatIsNearlyEmpty) {
    std::string text = "x,y,CMV,MDP,Temp\n";
    for (int i = 0; i < 20; ++i)
        text += fmt::format("{0},{0},{1},1{0},30\n", i, i < 4 ? "50" : "?");
    write("lot.csv", text);
    const outcome result = run("stats lot.csv");
    EXPECT_TRUE(result.says("Value     MDP"));
    EXPECT_TRUE(result.says("CMV (4 values)"));
    EXPECT_TRUE(run("stats lot.csv --value CMV").says("20 read, 4 used, 16 dropped"));

    write("none.csv", "x,y,Temp,Speed\n1,1,30,2\n2,2,31,3\n3,3,32,4\n4,4,30,2\n");
    expect_refused("stats", {{"none.csv", "columns with numbers: Temp, Speed"}});
    write("single.csv", "x,y,Temp\n1,1,30\n2,2,31\n3,3,32\n");
    EXPECT_TRUE(run("stats single.csv").says("the only other column with numbers"));
}

TEST_F(Reading, FiltersCompareNumbersAsNumbers) {
    std::string text = "x,y,CMV,Speed,Gear\n";
    for (int i = 1; i <= 20; ++i)
        text += fmt::format("{0},{0},{0},{0}.5km/h,{1}\n", i, i % 2 ? "Forward" : "Reverse");
    text += "21,21,21,?,Forward\n";
    write("lot.csv", text);
    const std::pair<const char*, int> filters[] = {
        {"CMV > 9", 12}, // as text "10" would come before "9"
        {"Speed >= 10.5", 11},
        {"Speed IS NULL", 1},
        {"Gear = 'Forward' AND CMV BETWEEN 5 AND 10", 3},
        {"FID <= 4", 4}};
    for (const auto& [filter, count] : filters) {
        const outcome result =
            run(fmt::format("select --circle 0,0,99 --json lot.csv --where \"{}\"", filter));
        ASSERT_EQ(result.code, 0) << filter << result.err;
        EXPECT_EQ(result.json()["input"]["rows_used"], count) << filter;
        EXPECT_EQ(result.json()["input"]["rows_left_out_by_filter"], 21 - count) << filter;
    }
    const std::string misspelt = "lot.csv --where \"Gaer = 'Forward'\"";
    expect_refused("stats", {{misspelt, "Gaer"},
                             {misspelt, "x, y, CMV, Speed, Gear"},
                             {"lot.csv --where \"CMV > 1000\"", "no row is left"}});
}

TEST_F(Reading, UnreadableInputIsRefusedWithTheRemedy) {
    write("empty.csv", "");
    write("head.csv", "x,y,CMV\n");
    write("numbers.csv", "1,2,3\n4,5,6\n");
    write("text.csv", "x,y,CMV\n1,1,a\n2,2,b\n3,3,c\n");
    write("zero.csv", std::string("x\0,\0y\0", 6) + "\n1,2\n");
    write("quote.csv", "x,y,CMV\n1,1,\"1\n2,2,2\n3,3,3\n4,4,4\n");
    write("something.bin", "not a table at all");
    expect_refused("", {{"stats gone.csv", "no such file"},
                        {"stats empty.csv", "the file is empty"},
                        {"stats head.csv", "no row is left of 0 read"},
                        {"stats numbers.csv", "add a head line"},
                        {"stats text.csv --value CMV", "line 2 (\"a\")"},
                        {"stats zero.csv", "UTF-8"},
                        {"stats quote.csv", "line 2: a quotation mark opens here"},
                        {"stats something.bin", ".csv"},
                        {"stats text.csv --value CNV", "its columns are: x, y, CMV"},
                        {"stats text.csv --x x", "--x and --y go together"},
                        {"stats", "FILE is required"},
                        {"stats text.csv --levels 10,190", "--levels"},
                        {"stats text.csv --levels 10", "--levels"},
                        {"stats text.csv --decimal dot", "--decimal"},
                        {"stats text.csv --project utm", "planar already"},
                        {"frobnicate", "frobnicate"},
                        {"", "a command is wanted"}});
    EXPECT_EQ(run("--version").code, 0);
    EXPECT_TRUE(run("stats --help").says("--target-percent"));
}

} // namespace
