// GeoJSON as it is read without any other library: columns, values and geometries of its features.
#include "study/table/geojson_table.hpp"

#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>

#include "study/base/errors.hpp"
#include "study/table/vector_table.hpp"
#include "temporary_file.hpp"
#include "written_shape.hpp"

namespace {

using namespace qmx_study;
using study_test::temporary_file;
using study_test::written;

std::string collection(const std::vector<std::string>& features, const std::string& more = "") {
    return fmt::format(R"({{"type":"FeatureCollection",{}"features":[{}]}})", more,
                       fmt::join(features, ","));
}
std::string feature(const std::string& geometry, const std::string& properties = "{}") {
    return fmt::format(R"({{"type":"Feature","geometry":{},"properties":{}}})", geometry,
                       properties);
}
const char* const somewhere = R"({"type":"Point","coordinates":[1,2]})";

std::string message_of(const std::string& text, const std::string& layer = "") {
    const temporary_file file(".geojson", text);
    try {
        geojson_table table(file.name(), layer);
        while (table.next()) {}
        return table.failure();
    } catch (const usage_error& error) {
        return error.what();
    }
}

TEST(GeoJson, HasTheColumnsOfAllItsFeatures) {
    const temporary_file file(
        ".geojson", collection({feature("null", R"({"id":7,"CMV":41.25,"on":true,"name":"a"})"),
                                feature("null", R"({"CMV":null,"on":false,"name":12,"tags":[1]})"),
                                feature("null", "null"), R"({"type":"Feature","properties":[]})",
                                feature("null", R"({"name":2.5,"CMV":1e300,"late":"x"})")}));
    geojson_table table(file.name(), "");
    std::string columns;
    for (const source_column& column : table.columns())
        columns += column.name + (column.is_numeric() ? ":number " : ":text ");
    EXPECT_EQ(columns, "id:number CMV:number on:number name:text tags:text late:text ");
    EXPECT_EQ(table.rows(), 5);
    const std::vector<std::vector<std::string>> rows{{"7", "41.25", "1", "a", "", ""},
                                                     {"", "", "0", "12", "[1]", ""},
                                                     {"", "", "", "", "", ""},
                                                     {"", "", "", "", "", ""},
                                                     {"", "1e+300", "", "2.5", "", "x"}};
    for (int run = 0; run < 2; ++run, table.rewind()) {
        for (const auto& row : rows) {
            ASSERT_TRUE(table.next());
            EXPECT_EQ(table.geometry(), nullptr);
            for (int i = 0; i < 6; ++i) {
                const std::string& wanted = row[static_cast<std::size_t>(i)];
                EXPECT_EQ(table.text(i), wanted);
                EXPECT_EQ(table.is_missing(i), wanted.empty());
                if (i < 3 && !wanted.empty()) {
                    EXPECT_EQ(table.number(i), std::stod(wanted));
                }
            }
        }
        EXPECT_FALSE(table.next());
        EXPECT_EQ(table.failure(), "");
    }
}

TEST(GeoJson, HasGeometriesOfEveryKind) {
    const std::pair<const char*, const char*> kinds[] = {
        {somewhere, "POINT 1 2"},
        {R"({"type":"Point","coordinates":[]})", "POINT EMPTY"},
        {R"({"type":"LineString","coordinates":[[0,0],[1,0.5]]})", "LINESTRING(0 0,1 0.5)"},
        {R"({"type":"Polygon","coordinates":[]})", "POLYGON EMPTY"},
        {R"({"type":"Polygon","coordinates":[[[0,0],[9,0],[9,9],[0,0]],[[2,1],[3,1],[3,2],[2,1]]]})",
         "POLYGON(0 0,9 0,9 9,0 0)(2 1,3 1,3 2,2 1)"},
        {R"({"type":"MultiPoint","coordinates":[[0,0,5],[1,2]]})",
         "MULTIPOINT[POINT 0 0][POINT 1 2]"},
        {R"({"type":"MultiPolygon","coordinates":[[[[0,0],[1,0],[1,1],[0,0]]],[]]})",
         "MULTIPOLYGON[POLYGON(0 0,1 0,1 1,0 0)][POLYGON EMPTY]"},
        {R"({"type":"MultiLineString","coordinates":[[[0,0],[1,1]]]})", "MULTILINESTRING"},
        {R"({"type":"GeometryCollection","geometries":[{"type":"Point","coordinates":[1,2]},
            {"type":"GeometryCollection","geometries":[]}]})",
         "GEOMETRYCOLLECTION[POINT 1 2][GEOMETRYCOLLECTION EMPTY]"}};
    std::vector<std::string> features;
    for (const auto& [geometry, wanted] : kinds) {
        SCOPED_TRACE(geometry);
        features.push_back(feature(geometry));
        // By itself, as a feature, and among others.
        for (const std::string& text : {std::string(geometry), features.back()}) {
            const temporary_file file(".geojson", text);
            geojson_table table(file.name(), "");
            EXPECT_TRUE(table.has_geometry());
            ASSERT_TRUE(table.next());
            EXPECT_EQ(written(*table.geometry()), wanted);
            EXPECT_FALSE(table.next());
        }
    }
    const temporary_file file(".geojson", collection(features));
    geojson_table table(file.name(), "");
    for (const auto& [geometry, wanted] : kinds) {
        ASSERT_TRUE(table.next());
        EXPECT_EQ(written(*table.geometry()), wanted);
    }
}

TEST(GeoJson, LiesInTheSystemThatItNames) {
    const auto system = [](const std::string& member) {
        const temporary_file file(".geojson", collection({feature(somewhere)}, member));
        return geojson_table(file.name(), "").system();
    };
    const auto named = [](const char* name) {
        return fmt::format(R"("crs":{{"type":"name","properties":{{"name":"{}"}}}},)", name);
    };
    EXPECT_TRUE(system("")->is_geographic());
    EXPECT_TRUE(system(named("urn:ogc:def:crs:OGC:1.3:CRS84"))->is_geographic());
    EXPECT_FALSE(system(named("urn:ogc:def:crs:EPSG::26915"))->is_geographic());
    EXPECT_FALSE(system(named("EPSG:26915"))->is_same_as(*wgs84()));
    for (const std::string& nothing : {named("nowhere"), std::string(R"("crs":null,)"),
                                       std::string(R"("crs":{"properties":{"name":5}},)")})
        EXPECT_EQ(system(nothing), nullptr) << nothing;
}

TEST(GeoJson, IsRefusedInWordsWhereItIsNone) {
    const std::string several = collection({feature(somewhere)}, R"("name":"lot",)");
    EXPECT_EQ(message_of(several, "lot"), "");
    constexpr int depth = 200000;
    std::string deep, ends;
    for (int i = 0; i < depth; ++i) deep += R"({"type":"GeometryCollection","geometries":[)";
    for (int i = 0; i < depth; ++i) ends += "]}";
    const std::string list = std::string(depth, '[') + std::string(depth, ']');
    std::string sound = somewhere; // as deep as well-known text may be
    for (int i = 0; i < 32; ++i)
        sound = R"({"type":"GeometryCollection","geometries":[)" + sound + "]}";
    const struct {
        std::string text, layer;
        const char* words;
    } cases[] = {
        {"{\"type\":", "", "this is no JSON; write the file again"},
        {R"({"type":"Point","coordinates":[1e999,2]})", "", "this is no JSON"},
        {R"({"type":"Topology"})", "", "this JSON is no GeoJSON; features are wanted"},
        {R"({"type":"FeatureCollection"})", "", "this JSON is no GeoJSON"},
        {several, "other", "it has no layer \"other\"; a GeoJSON holds just one"},
        {collection({feature(somewhere)}), "lot", "it has no layer \"lot\""},
        {collection({feature(somewhere), feature(R"({"type":"Point"})")}), "",
         "feature 2 has a geometry that is no GeoJSON"},
        {feature("5"), "", "feature 1 has a geometry"},
        {feature(R"({"type":"Point","coordinates":["a","b"]})"), "", "feature 1 has a geometry"},
        {feature(R"({"type":"Polygon","coordinates":[[[1],[2]]]})"), "",
         "feature 1 has a geometry"},
        {feature(deep + ends), "", "its brackets are nested more than 100 deep"},
        {deep + ends, "", "its brackets are nested more than 100 deep"},
        {feature(sound), "", ""},
        {feature(somewhere, "{\"a\":" + list + "}"), "",
         "its brackets are nested more than 100 deep"},
        {feature(somewhere, "{\"a\":\"\\\"" + std::string(200, '[') + "\"}"), "", ""}};
    for (const auto& [text, layer, words] : cases) {
        SCOPED_TRACE(text.substr(0, 200));
        const std::string message = message_of(text, layer);
        EXPECT_NE(message.find(words), std::string::npos) << message;
        EXPECT_EQ(message.empty(), *words == '\0') << message;
    }
    for (const char* const text : {"", " \n", "[1]", "POINT (1 2)"})
        EXPECT_NE(message_of(text), "");
}

// The build with GDAL reads the same of random features.
TEST(GeoJson, IsReadAsByTheVectorTable) {
    std::mt19937 random(19);
    const auto one_of = [&](const std::vector<std::string>& all) {
        return all[random() % all.size()];
    };
    for (int round = 0; round < 40; ++round) {
        std::vector<std::string> features;
        for (int i = 0; i < 30; ++i)
            features.push_back(feature(
                one_of({"null", somewhere, R"({"type":"LineString","coordinates":[[0,0],[1,1]]})",
                        fmt::format(R"({{"type":"MultiPoint","coordinates":[[{},7]]}})", i)}),
                fmt::format(R"({{"CMV":{},"note":{},"whole":{}}})",
                            one_of({"null", "41.5", "-3", "1e-7", "0.1", "123456789.25"}),
                            one_of({"null", "\"\"", "\"a b\"", "\"3\"", "\"\\u00e4\\\"\""}),
                            one_of({"null", "0", "-12", "2147483648", "7"}))));
        const temporary_file file(".geojson", collection(features));
        geojson_table ours(file.name(), "");
        vector_table theirs(file.name(), "");
        ASSERT_EQ(ours.columns().size(), theirs.columns().size());
        EXPECT_EQ(ours.rows(), theirs.rows());
        while (ours.next()) {
            ASSERT_TRUE(theirs.next());
            EXPECT_EQ(ours.geometry() ? written(*ours.geometry()) : "",
                      theirs.geometry() ? written(*theirs.geometry()) : "");
            for (int i = 0; i < 3; ++i) {
                ASSERT_EQ(ours.is_missing(i), theirs.is_missing(i));
                if (ours.is_missing(i)) continue;
                if (i == 1) {
                    EXPECT_EQ(ours.text(i), theirs.text(i));
                } else {
                    EXPECT_EQ(ours.number(i), theirs.number(i));
                }
            }
        }
        EXPECT_FALSE(theirs.next());
    }
}

} // namespace
