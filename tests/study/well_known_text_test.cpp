// Geometries as columns of text hold them: what is one, and what is none.
#include "study/table/shape.hpp"

#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "written_shape.hpp"

namespace {

using namespace qmx_study;

std::string read_as_text(const std::string& text) {
    shape found;
    return read_wkt(text, found) ? study_test::written(found) : "none";
}

TEST(WellKnownText, IsReadInEveryWayOfWritingIt) {
    const std::pair<const char*, const char*> texts[] = {
        {"POINT (1 2)", "POINT 1 2"},
        {"  point(\t+1.5\r\n-2e3 ) ", "POINT 1.5 -2000"},
        {"POINT Z (1 2 3)", "POINT 1 2"},
        {"POINTZ(1 2 3)", "POINT 1 2"},
        {"POINTM(1 2 3)", "POINT 1 2"},
        {"Point ZM (1 2 3 4)", "POINT 1 2"},
        {"POINTZM (1 2 3 4)", "POINT 1 2"},
        {"SRID=26915;POINT (1 2)", "POINT 1 2"},
        {"POINT EMPTY", "POINT EMPTY"},
        {"POINT Z EMPTY", "POINT EMPTY"},
        {"LINESTRING M (0 0 9,1 0 9)", "LINESTRING(0 0,1 0)"},
        {"LINEARRING (0 0,1 0,0 0)", "LINEARRING(0 0,1 0,0 0)"},
        {"POLYGON ((0 0,5 0,5 5,0 0),(1 1,2 1,2 2,1 1))",
         "POLYGON(0 0,5 0,5 5,0 0)(1 1,2 1,2 2,1 1)"},
        {"MULTIPOINT (1 2, 3 4)", "MULTIPOINT[POINT 1 2][POINT 3 4]"},
        {"MULTIPOINT ((1 2), (3 4))", "MULTIPOINT[POINT 1 2][POINT 3 4]"},
        {"MULTIPOLYGONZ (((0 0 1,1 0 1,1 1 1,0 0 1)))", "MULTIPOLYGON[POLYGON(0 0,1 0,1 1,0 0)]"},
        {"MULTILINESTRING ((0 0,1 1),(2 2,3 3))", "MULTILINESTRING(0 0,1 1)(2 2,3 3)"},
        {"GEOMETRYCOLLECTION (POINT (1 2), GEOMETRYCOLLECTION (LINESTRING (0 0,1 1)))",
         "GEOMETRYCOLLECTION[POINT 1 2][GEOMETRYCOLLECTION[LINESTRING(0 0,1 1)]]"}};
    for (const auto& [text, wanted] : texts) EXPECT_EQ(read_as_text(text), wanted) << text;
}

TEST(WellKnownText, IsNoneWhereAnythingElseStands) {
    for (const char* const text : {"",
                                   " ",
                                   "POINT",
                                   "POINT (",
                                   "POINT (1",
                                   "POINT (1 )",
                                   "POINT (1 x)",
                                   "POINT (1 2",
                                   "POINT (1 2 3 4 5)",
                                   "POINT (1 2 x)",
                                   "POINT 1 2",
                                   "POINT Z",
                                   "POINT Q (1 2)",
                                   "POINT (1 2) (3 4)",
                                   "POINT (1,2)",
                                   "POINTS (1 2)",
                                   "Z (1 2)",
                                   "CIRCLE (1 2, 3)",
                                   "CIRCULARSTRING (0 0,1 1,2 0)",
                                   "SRID POINT (1 2)",
                                   "SRID=x;POINT (1 2)",
                                   "SRID=26915 POINT (1 2)",
                                   "SRID=26915;",
                                   "LINESTRING (0 0,1)",
                                   "LINESTRING (0 0,)",
                                   "POLYGON (0 0,1 0,1 1,0 0)",
                                   "POLYGON ((0 0,1 0,1 1,0 0)",
                                   "MULTIPOINT ((1 2, 3 4))",
                                   "MULTIPOINT (EMPTY)",
                                   "MULTIPOLYGON ((0 0,1 0,1 1,0 0))",
                                   "1 2",
                                   "GEOMETRYCOLLECTION (1 2)",
                                   "GEOMETRYCOLLECTION (POINT (1 2),)"})
        EXPECT_EQ(read_as_text(text), "none") << text;
}

TEST(WellKnownText, IsCutOffWhereItIsReadAndLeftWhereItIsNot) {
    shape found;
    std::string_view text = "POINT (1 2); POINT (3 4)";
    ASSERT_TRUE(take_wkt(text, found));
    EXPECT_EQ(text, "; POINT (3 4)");
    EXPECT_FALSE(take_wkt(text, found));
    EXPECT_EQ(text, "; POINT (3 4)");
    // Collections in one another end somewhere.
    const auto nested = [](int depth) {
        std::string all;
        for (int i = 0; i < depth; ++i) all += "GEOMETRYCOLLECTION (";
        return all + "POINT (1 2)" + std::string(static_cast<std::size_t>(depth), ')');
    };
    EXPECT_TRUE(read_wkt(nested(32), found));
    EXPECT_FALSE(read_wkt(nested(33), found));
    EXPECT_FALSE(read_wkt(nested(100000), found));
}

TEST(WellKnownText, RingsAreClosedWhereTheyEndWhereTheyBegin) {
    const std::pair<ring, bool> rings[] = {{{{}, {}}, false},
                                           {{{1}, {1}}, false},
                                           {{{1, 1}, {1, 1}}, true},
                                           {{{1, 2, 1}, {1, 2, 1}}, true},
                                           {{{1, 2, 1}, {1, 2, 2}}, false},
                                           {{{1, 2, 2}, {1, 2, 1}}, false}};
    for (const auto& [each, is_closed] : rings) EXPECT_EQ(each.is_closed(), is_closed);
}

} // namespace
