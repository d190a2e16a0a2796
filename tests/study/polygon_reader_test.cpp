// The same areas from every kind of file.
#include <string>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "study/base/errors.hpp"
#include "study/shapes/polygon_reader.hpp"
#include "study/table/shape.hpp"
#include "temporary_file.hpp"

namespace {

using namespace qmx_study;
using study_test::gzipped;
using study_test::temporary_file;

TEST(Polygons, AreTheSameFromEveryKindOfFile) {
    const char* const outer = "(10 20,30 20,30 50.5,10 20)";
    const std::string first = fmt::format("POLYGON ({},(15 22, 16 22, 16 23, 15 22))", outer);
    const std::string second = "POLYGON ((0 0, 5 0, 5 5, 0 0))";
    const std::string json_first =
        R"("coordinates":[[[10,20],[30,20],[30,50.5],[10,20]],[[15,22],[16,22],[16,23],[15,22]]])";
    const std::string json_second =
        R"("coordinates":[[[0,0,312.5],[5,0,312.5],[5,5,312.5],[0,0,312.5]]])";
    const std::string head = R"({"type":"FeatureCollection","features":[)";
    const std::pair<const char*, std::string> files[] = {
        {".csv", "name,WKT\na,\"" + first + "\"\nb,\"" + second + "\"\n"},
        {".csv",
         fmt::format("wkt;name\n\"SRID=26915;MULTIPOLYGON Z (({},(15 22 1, 16 22 1, 16 23 1, "
                     "15 22 1)), ((0 0,5 0,5 5,0 0)))\";a\n",
                     outer)},
        {".wkt", "\n" + first + "\n" + second + ";\n"},
        {".wkt.gz", gzipped("geometrycollection(" + first + ", linestring (0 0,5 0,5 5,0 0))")},
        {".geojson", head + R"({"type":"Feature","properties":{},"geometry":{"type":"Polygon",)" +
                         json_first +
                         R"(}},{"type":"Feature","properties":{},"geometry":{"type":"Polygon",)" +
                         json_second + "}}]}"}};
    for (const auto& [ending, text] : files) {
        SCOPED_TRACE(text);
        const temporary_file file(ending, text);
        const polygon_set set = read_polygons(file.name(), "");
        ASSERT_EQ(set.polygons.size(), 2);
        EXPECT_EQ(set.polygons[0].outer.x, (std::vector<double>{10, 30, 30, 10}));
        EXPECT_EQ(set.polygons[0].outer.y, (std::vector<double>{20, 20, 50.5, 20}));
        ASSERT_EQ(set.holes, 1);
        EXPECT_EQ(set.polygons[0].holes[0].x, (std::vector<double>{15, 16, 16, 15}));
        EXPECT_EQ(set.polygons[1].outer.y, (std::vector<double>{0, 0, 5, 0}));
        EXPECT_EQ(set.is_geographic, std::string(ending) == ".geojson");
    }
    const temporary_file vertices(".csv",
                                  "area,x,y\n1,10,20\n1,30,20\n1,30,50.5\n2,0,0\n2,5,0\n2,5,5\n");
    const polygon_set set = read_polygons(vertices.name(), "");
    ASSERT_EQ(set.polygons.size(), 2);
    EXPECT_EQ(set.polygons[0].outer.y, (std::vector<double>{20, 20, 50.5}));
}

TEST(Polygons, AreRefusedWithTheirPlaceWhereTheyAreNone) {
    const std::tuple<const char*, const char*, const char*> files[] = {
        {".csv", "WKT,n\n\"POLYGON ((0 0,1 0,1 1,0 0))\",1\n\"POLYGON ((0 0,1 0\",2\n",
         "line 3: \"POLYGON ((0 0,1 0\" is no well-known text"},
        {".wkt", "POLYGON ((0 0,1 0,1 1,0 0))\n\nPOLYGON 0 0,1 0\n", "line 3: \"POLYGON 0 0,1 0\""},
        {".wkt", "POINT (1 2)\n", "line 1: a POINT is no area"},
        {".wkt", "POLYGON EMPTY", "there is no polygon in it"},
        {".wkt", "POLYGON ((0 0,1 1,0 0))", "an outline has 2 vertices"},
        {".geojson",
         R"({"type":"Feature","properties":{},"geometry":{"type":"Point","coordinates":[1,2]}})",
         "a POINT is no area"}};
    for (const auto& [ending, text, message] : files) {
        const temporary_file file(ending, text);
        try {
            read_polygons(file.name(), "");
            ADD_FAILURE() << text;
        } catch (const usage_error& error) {
            EXPECT_NE(std::string(error.what()).find(message), std::string::npos) << error.what();
        }
    }
    shape nested;
    std::string deep;
    for (int i = 0; i < 100000; ++i) deep += "GEOMETRYCOLLECTION(";
    EXPECT_FALSE(read_wkt(deep, nested));
}

} // namespace
