// The cells of a report read back with GDAL and as text.
#include "study/output/cell_file.hpp"

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "study/base/errors.hpp"
#include "study/output/cell_style.hpp"
#include "study/output/table_writer.hpp"
#include "temporary_file.hpp"

#if QMX_IC_WITH_GDAL
#include <cpl_minixml.h>
#include <ogrsf_frmts.h>
#endif

using namespace qmx_study;

namespace {

constexpr int rows = 400;

// Every tenth row has no value; texts carry commas, marks and umlauts.
std::string dirty_csv() {
    std::string text = "Easting,Northing,LastCMV,PassCount,Machine,VALUE,Temp\n";
    for (int i = 1; i <= rows; ++i)
        text += fmt::format("{},{},{},{},\"Wälze, \"\"{}\"\"\",v{},{}\n", 500000 + i * 0.3,
                            5400000 + i % 7, i % 10 == 0 ? "?" : fmt::format("{}", i % 50),
                            1 + i % 4, i % 3, i, i % 2 == 0 ? "" : fmt::format("{}.5", i));
    return text;
}

lot_report report_on(const std::string& file, const std::string& crs) {
    lot_report report;
    report.answer.settings.reading.file = file;
    report.answer.settings.reading.crs = crs;
    report.answer.settings.reading.value = "LastCMV";
    report.answer.settings.time_stamp = "2025-10-01T18:00:00Z";
    progress quiet;
    const loaded_lot lot = load(report.answer.settings.reading, {}, quiet);
    report.answer.reading = account_of(lot);
    for (std::size_t i = 0; i < lot.data.points.size(); ++i) {
        const t_icdata& point = lot.data.points[i];
        report.cells.x.push_back(point.d_x);
        report.cells.y.push_back(point.d_y);
        report.cells.value.push_back(point.d_val);
        report.cells.pass.push_back(point.i_passno);
        report.cells.verdict.push_back(static_cast<std::uint8_t>(i % 3));
        report.cells.records.push_back(lot.data.records[i]);
    }
    return report;
}

std::string contents_of(const std::string& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

class folder {
public:
    folder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "qmx-study-XXXXXX").string();
        path = mkdtemp(pattern.data());
    }
    ~folder() { std::filesystem::remove_all(path); }
    std::string file(const std::string& name) const { return (path / name).string(); }
    std::size_t files() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path),
                                                      std::filesystem::directory_iterator()));
    }

private:
    std::filesystem::path path;
};

} // namespace

TEST(CellFile, CarriesTheColumnsOfTheFileThroughAsText) {
    const study_test::temporary_file input(".csv", dirty_csv());
    const lot_report report = report_on(input.name(), "");
    ASSERT_EQ(report.cells.size(), static_cast<std::size_t>(rows * 9 / 10));
    const folder out;
    progress quiet;
    write_cells(out.file("cells.csv"), report, quiet);
    std::string expected = "x,y,pass,value,verdict,Machine,VALUE_file,Temp\n";
    std::size_t cell = 0;
    const char* const verdicts[] = {"missed", "met", "not_given"};
    for (int i = 1; i <= rows; ++i)
        if (i % 10 != 0)
            expected +=
                fmt::format("{},{},{},{},{},\"Wälze, \"\"{}\"\"\",v{},{}\n", 500000 + i * 0.3,
                            5400000 + i % 7, 1 + i % 4, i % 50, verdicts[cell++ % 3], i % 3, i,
                            i % 2 == 0 ? "" : fmt::format("{}.5", i));
    EXPECT_EQ(contents_of(out.file("cells.csv")), expected);
    write_cells(out.file("cells.csv.gz"), report, quiet);
    EXPECT_EQ(out.files(), 2U);
}

TEST(CellFile, IsRefusedUnderNamesThatNothingIsWrittenUnder) {
    const study_test::temporary_file input(".csv", dirty_csv());
    lot_report report = report_on(input.name(), "");
    const folder out;
    progress quiet;
    const auto message_for = [&](const std::string& output) -> std::string {
        try {
            write_cells(output, report, quiet);
        } catch (const usage_error& error) {
            return error.what();
        }
        return "written";
    };
    EXPECT_EQ(
        message_for(out.file("c.xlsx")).rfind("--cells " + out.file("c.xlsx") + ": no table", 0),
        0U);
    EXPECT_NE(message_for(out.file("c.geojson")).find("coordinate system"), std::string::npos);
    report.answer.settings.reading.file = "-";
    EXPECT_NE(message_for(out.file("c.csv")).find("cannot be read twice"), std::string::npos);
#if !QMX_IC_WITH_GDAL
    report = report_on(input.name(), "EPSG:25832");
    EXPECT_NE(message_for(out.file("c.gpkg")).find("has no GDAL"), std::string::npos);
    EXPECT_NE(message_for(out.file("c.geojson")).find("has no GDAL"), std::string::npos);
#endif
    EXPECT_EQ(out.files(), 0U);
}

TEST(CellFile, HasClassesOfAboutAsManyCellsEach) {
    std::vector<double> values;
    for (int i = 0; i <= 100; ++i) values.push_back(100 - i);
    values.push_back(NAN);
    EXPECT_EQ(class_limits(values), (std::vector<double>{0, 20, 40, 60, 80, 100}));
    EXPECT_EQ(class_limits({3, 3, 3}), std::vector<double>{3});
    EXPECT_EQ(class_limits({1, 1, 1, 1, 1, 9}), (std::vector<double>{1, 9}));
    EXPECT_TRUE(class_limits({NAN}).empty());
}

#if QMX_IC_WITH_GDAL
// The same tests are linked with the study that knows no GDAL.
bool writes_maps() {
    try {
        check_output_name("cells.gpkg");
        return true;
    } catch (const usage_error&) {
        return false;
    }
}

TEST(CellFile, IsAMapThatDrawsItself) {
    if (!writes_maps()) GTEST_SKIP() << "spatial formats need GDAL";
    const study_test::temporary_file input(".csv", dirty_csv());
    const lot_report report = report_on(input.name(), "EPSG:25832");
    const folder out;
    progress quiet;
    const std::string name = out.file("cells.gpkg");
    write_cells(name, report, quiet);
    EXPECT_EQ(out.files(), 1U);
    GDALAllRegister();
    {
        const GDALDatasetUniquePtr file(GDALDataset::Open(name.c_str(), GDAL_OF_VECTOR));
        ASSERT_TRUE(file);
        OGRLayer* const layer = file->GetLayerByName("cells");
        ASSERT_TRUE(layer);
        EXPECT_STREQ(layer->GetSpatialRef()->GetAuthorityCode(nullptr), "25832");
        ASSERT_EQ(layer->GetFeatureCount(), static_cast<GIntBig>(report.cells.size()));
        std::size_t cell = 0;
        for (const auto& feature : *layer) {
            const std::int64_t i = report.cells.records[cell];
            EXPECT_EQ(feature->GetGeometryRef()->toPoint()->getX(), report.cells.x[cell]);
            EXPECT_EQ(feature->GetFieldAsDouble("y"), report.cells.y[cell]);
            EXPECT_EQ(feature->GetFieldAsDouble("value"), static_cast<double>(i % 50));
            EXPECT_EQ(feature->GetFieldAsInteger("pass"), 1 + i % 4);
            EXPECT_STREQ(feature->GetFieldAsString("verdict"),
                         verdict_text(report.cells.verdict[cell]));
            EXPECT_EQ(feature->GetFieldAsString("Machine"), fmt::format("Wälze, \"{}\"", i % 3));
            const int temperature = feature->GetFieldIndex("Temp");
            EXPECT_EQ(feature->GetFieldDefnRef(temperature)->GetType(), OFTReal);
            EXPECT_EQ(feature->IsFieldSetAndNotNull(temperature), i % 2 != 0);
            ++cell;
        }
        OGRLayer* const styles = file->GetLayerByName("layer_styles");
        ASSERT_TRUE(styles);
        int defaults = 0;
        for (const auto& style : *styles) {
            EXPECT_STREQ(style->GetFieldAsString("f_table_name"), "cells");
            EXPECT_STREQ(style->GetFieldAsString("f_geometry_column"), layer->GetGeometryColumn());
            defaults += style->GetFieldAsInteger("useAsDefault");
            for (const char* const text : {"styleQML", "styleSLD"}) {
                CPLXMLTreeCloser tree(CPLParseXMLString(style->GetFieldAsString(text)));
                EXPECT_TRUE(tree.get()) << style->GetFieldAsString(text);
            }
        }
        EXPECT_EQ(styles->GetFeatureCount(), 2);
        EXPECT_EQ(defaults, 1);
    }
    const std::string first = contents_of(name);
    write_cells(name, report, quiet);
    EXPECT_TRUE(contents_of(name) == first); // a job run twice
}

TEST(CellFile, LiesOnTheGlobeAsGeoJson) {
    if (!writes_maps()) GTEST_SKIP() << "spatial formats need GDAL";
    const study_test::temporary_file input(".csv", dirty_csv());
    const lot_report report = report_on(input.name(), "EPSG:25832");
    const folder out;
    progress quiet;
    write_cells(out.file("cells.geojson"), report, quiet);
    const GDALDatasetUniquePtr file(
        GDALDataset::Open(out.file("cells.geojson").c_str(), GDAL_OF_VECTOR));
    ASSERT_TRUE(file);
    OGRLayer* const layer = file->GetLayer(0);
    EXPECT_EQ(layer->GetFeatureCount(), static_cast<GIntBig>(report.cells.size()));
    const OGRFeatureUniquePtr feature(layer->GetNextFeature());
    EXPECT_NEAR(feature->GetGeometryRef()->toPoint()->getX(), 9, 0.01); // the zone's middle
    EXPECT_NEAR(feature->GetGeometryRef()->toPoint()->getY(), 48.75, 0.05);
    EXPECT_STREQ(feature->GetFieldAsString("verdict"), "missed");
    EXPECT_EQ(contents_of(out.file("cells.geojson")).find("25832"), std::string::npos);
}
#endif
