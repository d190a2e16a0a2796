// What is told of a coordinate system, the same with and without GDAL.
#include "study/table/spatial_reference.hpp"

#include <string>

#include <gtest/gtest.h>

namespace {

using qmx_study::coordinate_system;
using qmx_study::system_from_text;
using qmx_study::wgs84;

#define DEGREES_OF_WGS84                                                                           \
    "GEOGCS[\"GCS_WGS_1984\",DATUM[\"D_WGS_1984\",SPHEROID[\"WGS_1984\",6378137,298.257223563]],"  \
    "PRIMEM[\"Greenwich\",0],UNIT[\"Degree\",0.0174532925199433]]"
#define PLANE_IN(unit)                                                                             \
    "PROJCS[\"A plane with [brackets]\"," DEGREES_OF_WGS84 ",PROJECTION[\"Transverse_Mercator\"]," \
    "PARAMETER[\"False_Easting\",500000],PARAMETER[\"False_Northing\",0],"                         \
    "PARAMETER[\"Central_Meridian\",9],PARAMETER[\"Scale_Factor\",0.9996],"                        \
    "PARAMETER[\"Latitude_Of_Origin\",0]," unit "]"
#define HEIGHTS                                                                                    \
    "VERT_CS[\"heights\",VERT_DATUM[\"a datum\",2005],UNIT[\"metre\",1],AXIS[\"Up\",UP]]"

TEST(SpatialReference, IsKnownByItsText) {
    const struct {
        const char* text;
        bool is_geographic;
        const char* unit; // null where only GDAL knows it
    } cases[] = {{"EPSG:4326", true, "deg"},
                 {"epsg:4326", true, "deg"},
                 {"urn:ogc:def:crs:EPSG::4326", true, "deg"},
                 {"urn:ogc:def:crs:OGC:1.3:CRS84", true, "deg"},
                 {"EPSG:26915", false, nullptr},
                 {"urn:ogc:def:crs:EPSG::25832", false, nullptr},
                 {DEGREES_OF_WGS84, true, "deg"},
                 {PLANE_IN("UNIT[\"Meter\",1]"), false, "m"},
                 {PLANE_IN("UNIT[\"metre\",1]"), false, "m"},
                 {PLANE_IN("UNIT[\"US survey foot\",0.304800609601219]"), false, "US survey ft"},
                 {PLANE_IN("UNIT[\"Foot_US\",0.304800609601219]"), false, "US survey ft"},
                 {PLANE_IN("UNIT[\"foot\",0.3048]"), false, "ft"},
                 {PLANE_IN("UNIT[\"link\",0.201168]"), false, "link"},
                 {PLANE_IN("UNIT[\"kilometre\",1000]"), false, "km"},
                 {PLANE_IN("UNIT[\"Kilometer\",1000]"), false, "km"},
                 {"COMPD_CS[\"both\"," PLANE_IN("UNIT[\"metre\",1]") "," HEIGHTS "]", false, "m"},
                 {"COMPD_CS[\"both\"," DEGREES_OF_WGS84 "," HEIGHTS "]", true, "deg"}};
    for (const auto& [text, is_geographic, unit] : cases) {
        SCOPED_TRACE(text);
        const coordinate_system found = system_from_text(text);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->is_geographic(), is_geographic);
        EXPECT_FALSE(found->name().empty());
        if (unit) {
            EXPECT_EQ(found->length_unit(), unit);
        }
        EXPECT_TRUE(found->is_same_as(*system_from_text(text)));
        EXPECT_FALSE(found->is_same_as(*system_from_text("EPSG:32633")));
    }
    EXPECT_EQ(wgs84()->length_unit(), "deg");
    EXPECT_TRUE(wgs84()->is_same_as(*system_from_text("EPSG:4326")));
}

TEST(SpatialReference, IsNoneOfOtherTexts) {
    for (const char* const text :
         {"", "here", "EPSG:", "EPSG:0", "EPSG:1000", "EPSG:70000", "EPSG:4294967297",
          "EPSG:26915x", "epsg:2691 5", "EPSG:26915;", "PROJCS[\"open"})
        EXPECT_FALSE(system_from_text(text)) << text;
}

} // namespace
