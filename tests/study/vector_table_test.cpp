// Layers, columns and geometries of vector formats, as the build with GDAL reads them.
#include "study/table/vector_table.hpp"

#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "study/base/errors.hpp"
#include "study/output/table_writer.hpp"
#include "temporary_file.hpp"
#include "written_shape.hpp"

#if QMX_IC_WITH_GDAL
#include <ogrsf_frmts.h>

namespace {

using namespace qmx_study;
using study_test::temporary_file;
using study_test::written;

// A GeoPackage with as many layers as there are names, each of which holds these geometries.
class VectorTable : public testing::Test {
protected:
    void SetUp() override {
        try { // the same tests are linked with the study that knows no GDAL
            check_output_name("lot.gpkg");
        } catch (const usage_error&) {
            GTEST_SKIP() << "spatial formats need GDAL";
        }
    }
    static void write_layers(const std::string& name, const std::vector<const char*>& layers,
                             const std::vector<const char*>& geometries) {
        GDALAllRegister();
        std::filesystem::remove(name);
        const GDALDatasetUniquePtr dataset(GetGDALDriverManager()->GetDriverByName("GPKG")->Create(
            name.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
        for (const char* const layer : layers) write_layer(*dataset, layer, geometries);
    }
    static void write_layer(GDALDataset& dataset, const char* name,
                            const std::vector<const char*>& geometries) {
        OGRSpatialReference system;
        system.importFromEPSG(26915);
        OGRLayer& layer = *dataset.CreateLayer(name, &system, wkbUnknown, nullptr);
        for (const auto& [column, type] : {std::pair<const char*, OGRFieldType>{"CMV", OFTReal},
                                           {"passes", OFTInteger},
                                           {"note", OFTString},
                                           {"day", OFTDate}}) {
            OGRFieldDefn field(column, type);
            ASSERT_EQ(layer.CreateField(&field), OGRERR_NONE);
        }
        for (std::size_t i = 0; i < geometries.size(); ++i) {
            OGRFeature feature(layer.GetLayerDefn());
            if (i % 2 == 0) feature.SetField("CMV", 40.5 + static_cast<double>(i));
            feature.SetField("note", name);
            feature.SetField("day", 2026, 1, 2);
            OGRGeometry* geometry = nullptr;
            if (geometries[i]) {
                OGRGeometryFactory::createFromWkt(geometries[i], nullptr, &geometry);
                ASSERT_NE(geometry, nullptr);
                feature.SetGeometryDirectly(geometry);
            }
            ASSERT_EQ(layer.CreateFeature(&feature), OGRERR_NONE);
        }
    }
    static std::string refusal_of(const std::string& file, const std::string& layer) {
        try {
            vector_table(file, layer);
            return "";
        } catch (const usage_error& error) {
            return error.what();
        }
    }
};

TEST_F(VectorTable, IsTheLayerThatIsNamed) {
    const temporary_file file(".gpkg", "");
    write_layers(file.name(), {"lot", "base"}, {"POINT (1 2)", nullptr});
    EXPECT_EQ(refusal_of(file.name(), ""),
              file.name() + ": it holds several layers; name one with --layer: lot, base");
    EXPECT_EQ(refusal_of(file.name(), "lots"),
              file.name() + ": it has no layer \"lots\"; its layers are: lot, base");
    vector_table table(file.name(), "BASE");
    std::string columns;
    for (const source_column& column : table.columns())
        columns += column.name + (column.is_numeric() ? ":number "
                                  : column.is_text()  ? ":text "
                                                      : ":other ");
    EXPECT_EQ(columns, "CMV:number passes:number note:text day:other ");
    EXPECT_EQ(table.rows(), 2);
    EXPECT_TRUE(table.has_geometry());
    EXPECT_EQ(table.system()->length_unit(), "m");
    // All columns, then those that are wanted alone.
    for (const bool are_all : {true, false}) {
        SCOPED_TRACE(are_all);
        if (are_all) table.rewind();
        if (!are_all) table.rewind_for({0}, false);
        ASSERT_TRUE(table.next());
        EXPECT_EQ(table.number(0), 40.5);
        EXPECT_EQ(table.is_missing(1), true);
        EXPECT_EQ(table.text(1), "");
        EXPECT_EQ(table.text(2), are_all ? "base" : "");
        EXPECT_EQ(table.geometry() != nullptr, are_all);
        ASSERT_TRUE(table.next());
        EXPECT_TRUE(table.is_missing(0));
        EXPECT_EQ(table.geometry(), nullptr);
        EXPECT_FALSE(table.next());
        EXPECT_EQ(table.failure(), "");
    }
    write_layers(file.name(), {}, {});
    EXPECT_NE(refusal_of(file.name(), "").find(file.name() + ": "), std::string::npos);
}

// The same text read by ourselves.
TEST_F(VectorTable, HasTheGeometriesOfTheirText) {
    const std::vector<const char*> geometries{
        "POINT (1 2.5)",
        "POINT EMPTY",
        "POINT Z (1 2 3)",
        "LINESTRING (0 0,1 0.5,2 2)",
        "POLYGON EMPTY",
        "POLYGON ((0 0,9 0,9 9,0 0),(2 1,3 1,3 2,2 1))",
        "MULTIPOINT ((0 0),(1 2))",
        "MULTIPOLYGON (((0 0,1 0,1 1,0 0)),((5 5,6 5,6 6,5 5),(5.5 5.1,5.6 5.1,5.6 5.2,5.5 5.1)))",
        "GEOMETRYCOLLECTION (POINT (1 2),LINESTRING (0 0,1 1),POLYGON ((0 0,1 0,1 1,0 0)))"};
    const temporary_file file(".gpkg", "");
    write_layers(file.name(), {"lot"}, geometries);
    vector_table table(file.name(), "");
    for (const char* const text : geometries) {
        SCOPED_TRACE(text);
        shape ours;
        ASSERT_TRUE(read_wkt(text, ours));
        ASSERT_TRUE(table.next());
        ASSERT_NE(table.geometry(), nullptr);
        EXPECT_EQ(written(*table.geometry()), written(ours));
        EXPECT_EQ(table.geometry()->kind, ours.kind);
    }
    // Of these nothing is made but a message.
    const std::vector<const char*> others{"CIRCULARSTRING (0 0,1 1,2 0)",
                                          "MULTILINESTRING ((0 0,1 1),(2 2,3 3))"};
    write_layers(file.name(), {"lot"}, others);
    vector_table curves(file.name(), "lot");
    for (const char* const text : others) {
        ASSERT_TRUE(curves.next());
        EXPECT_EQ(curves.geometry()->kind, shape_kind::other);
        EXPECT_TRUE(std::string(text).starts_with(curves.geometry()->name));
    }
}

TEST_F(VectorTable, IsReadFromAPackedFileAndRefusedWhereItIsNone) {
    const std::string text =
        R"({"type":"Feature","geometry":{"type":"Point","coordinates":[1,2]},"properties":{"CMV":7}})";
    const temporary_file packed(".geojson.gz", study_test::gzipped(text));
    vector_table table(packed.name(), "");
    ASSERT_TRUE(table.next());
    EXPECT_EQ(table.number(0), 7);
    const std::string whole = study_test::gzipped(text);
    const temporary_file damaged(".geojson.gz", whole.substr(0, whole.size() - 6));
    EXPECT_NE(refusal_of(damaged.name(), "").find(damaged.name()), std::string::npos);
    const temporary_file nothing(".bin", "not a table at all");
    EXPECT_NE(refusal_of(nothing.name(), "").find("no table of points was recognised"),
              std::string::npos);
    const temporary_file no_archive(".zip", "not an archive");
    EXPECT_NE(refusal_of(no_archive.name(), "").find("no table of points was recognised"),
              std::string::npos);
}

} // namespace
#endif
