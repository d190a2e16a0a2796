// A GeoPackage by batches of columns and by features: the same records, in the same order and words.
#include <filesystem>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "temporary_file.hpp"

#if QMX_IC_WITH_GDAL
#include <ogrsf_frmts.h>

#include "study/base/errors.hpp"
#include "study/output/table_writer.hpp"
#include "study/table/vector_table.hpp"
#include "written_shape.hpp"

namespace {

using namespace qmx_study;
using study_test::temporary_file;
using study_test::written;

class Batches : public testing::Test {
protected:
    static constexpr int whole_columns = 5;            // of which a batch has all
    static constexpr int features_alone[] = {5, 6, 7}; // which one reads
    using record = std::string; // what it holds, as whoever reads it asks for it

    std::mt19937_64 random{3};
    const temporary_file file{".gpkg", ""};

    static bool has_gdal() { // the same tests are linked with the study that knows none
        try {
            check_output_name("lot.gpkg");
            return true;
        } catch (const usage_error&) {
            return false;
        }
    }

    double real() {
        switch (random() % 7) {
        case 0: return std::numeric_limits<double>::denorm_min();
        case 1: return -1e300;
        case 2: return 0.1 + 0.2;
        case 3: return -0.0;
        case 4: return std::numeric_limits<double>::infinity();
        default: return static_cast<double>(random() % 100000) / 7;
        }
    }
    std::string text() {
        const char* const some[] = {"",           " ", "NaN", "12.5", "1,5", "Walze \xC3\xA4",
                                    "line\nline", "x"};
        return random() % 3 ? some[random() % 8] : std::string(random() % 300, 'y');
    }
    OGRGeometry* geometry() {
        const char* const some[] = {"POINT (1 2.5)",
                                    "POINT Z (-1e9 2 3)",
                                    "POINT EMPTY",
                                    "POINT M (5 6 7)",
                                    "LINESTRING (0 0,1 0.5,2 2)",
                                    "POLYGON ((0 0,9 0,9 9,0 0),(2 1,3 1,3 2,2 1))",
                                    "POLYGON EMPTY",
                                    "MULTIPOINT ((0 0),(1 2))",
                                    "GEOMETRYCOLLECTION (POINT (1 2),LINESTRING (0 0,1 1))",
                                    "CIRCULARSTRING (0 0,1 1,2 0)"};
        if (random() % 3) return new OGRPoint(static_cast<double>(random() % 1000) / 3, 4862000.25);
        OGRGeometry* made = nullptr;
        OGRGeometryFactory::createFromWkt(some[random() % 10], nullptr, &made);
        return made;
    }

    void write(int rows, bool with_shapes) {
        GDALAllRegister();
        std::filesystem::remove(file.name());
        const GDALDatasetUniquePtr dataset(GetGDALDriverManager()->GetDriverByName("GPKG")->Create(
            file.name().c_str(), 0, 0, 0, GDT_Unknown, nullptr));
        OGRSpatialReference system;
        system.importFromEPSG(26915);
        OGRLayer& layer = *dataset->CreateLayer("lot", with_shapes ? &system : nullptr,
                                                with_shapes ? wkbUnknown : wkbNone, nullptr);
        const auto add = [&](const char* name, OGRFieldType type, OGRFieldSubType kind = OFSTNone) {
            OGRFieldDefn field(name, type);
            field.SetSubType(kind);
            ASSERT_EQ(layer.CreateField(&field), OGRERR_NONE);
        };
        add("real", OFTReal);
        add("whole", OFTInteger);
        add("long", OFTInteger64);
        add("text", OFTString);
        add("real_too", OFTReal);
        add("flag", OFTInteger, OFSTBoolean);
        add("date", OFTDateTime);
        add("small", OFTReal, OFSTFloat32);
        ASSERT_EQ(dataset->StartTransaction(), OGRERR_NONE);
        for (int i = 0; i < rows; ++i) {
            OGRFeature feature(layer.GetLayerDefn());
            const auto is_there = [&] { return random() % 5 > 0; };
            if (is_there()) feature.SetField(0, real());
            if (is_there()) feature.SetField(1, static_cast<int>(random()));
            if (is_there()) feature.SetField(2, static_cast<GIntBig>(random()));
            if (is_there()) feature.SetField(3, text().c_str());
            if (is_there()) feature.SetField(4, real());
            if (is_there()) feature.SetField(5, static_cast<int>(random() % 2));
            if (is_there()) feature.SetField(6, 2026, 1, 2, 3, 4, 5.678F, 104);
            if (is_there()) feature.SetField(7, 0.1);
            if (with_shapes && random() % 9) feature.SetGeometryDirectly(geometry());
            if (random() % 50 == 0)
                feature.SetFID(100'000 + static_cast<GIntBig>(random() % 1'000'000));
            if (layer.CreateFeature(&feature) != OGRERR_NONE) continue; // the number is taken
        }
        ASSERT_EQ(dataset->CommitTransaction(), OGRERR_NONE);
        // What no column of its type should hold, and records that are gone.
        for (const char* const change :
             {"UPDATE lot SET real = 'no number' WHERE fid % 41 = 3",
              "UPDATE lot SET real = 7 WHERE fid % 41 = 4",
              "UPDATE lot SET whole = 2.75 WHERE fid % 41 = 5",
              "UPDATE lot SET whole = '12 t' WHERE fid % 41 = 6",
              "UPDATE lot SET whole = 99999999999 WHERE fid % 41 = 7",
              "UPDATE lot SET text = 12.5 WHERE fid % 41 = 8",
              "UPDATE lot SET text = CAST(x'57E44C' AS TEXT) WHERE fid % 41 = 9",
              "UPDATE lot SET long = 1e300 WHERE fid % 41 = 10",
              "DELETE FROM lot WHERE fid % 13 = 0"})
            dataset->ReleaseResultSet(dataset->ExecuteSQL(change, nullptr, nullptr));
    }

    static std::vector<record> records_of(vector_table& table, const std::vector<int>& asked,
                                          bool with_geometry) {
        std::vector<record> all;
        while (table.next()) {
            record& next = all.emplace_back();
            for (const int column : asked) {
                const bool is_missing = table.is_missing(column);
                const source_column& known = table.columns()[static_cast<std::size_t>(column)];
                next += is_missing ? known.name + " missing" : known.name;
                if (!is_missing && known.is_numeric())
                    next += fmt::format(" {:a}", table.number(column));
                next += fmt::format(" \"{}\"; ", table.text(column));
            }
            if (!with_geometry) continue;
            const shape* const where = table.geometry();
            next += where ? fmt::format("{} {} {}", static_cast<int>(where->kind), where->name,
                                        written(*where))
                          : "no geometry";
        }
        EXPECT_EQ(table.failure(), "");
        return all;
    }

    // Some of the columns, by features and then twice by batches.
    void expect_alike(vector_table& table, const std::vector<int>& asked, bool with_shapes,
                      bool are_batches) {
        table.rewind();
        const std::vector<record> by_features = records_of(table, asked, with_shapes);
        ASSERT_EQ(static_cast<std::int64_t>(by_features.size()), table.rows());
        for (int time = 0; time < 2; ++time) {
            table.rewind_for(asked, with_shapes);
            ASSERT_EQ(table.reads_batches(), are_batches);
            const std::vector<record> by_batches = records_of(table, asked, with_shapes);
            ASSERT_EQ(by_batches.size(), by_features.size());
            for (std::size_t i = 0; i < by_batches.size(); ++i)
                ASSERT_EQ(by_batches[i], by_features[i]) << "record " << i;
        }
    }
};

TEST_F(Batches, HoldWhatTheFeaturesHold) {
    if (!has_gdal()) GTEST_SKIP() << "vector formats need GDAL";
    for (const int rows : {0, 1, 300, 40'000})
        for (const bool has_shapes : {true, false}) {
            SCOPED_TRACE(rows);
            write(rows, has_shapes);
            vector_table table(file.name(), "");
            for (unsigned some = 0; some < 1U << whole_columns; ++some) {
                if (rows > 1000 && some % 15 != 1) continue;
                SCOPED_TRACE(some);
                std::vector<int> asked;
                for (int column = 0; column < whole_columns; ++column)
                    if (some >> column & 1) asked.push_back(column);
                expect_alike(table, asked, has_shapes && some % 3 > 0, !asked.empty());
                asked.push_back(features_alone[random() % 3]);
                expect_alike(table, asked, has_shapes, false);
            }
            // Left off in the middle; columns that are not wanted are missing.
            table.rewind_for({0}, false);
            for (int i = 0; i < rows / 3; ++i) ASSERT_TRUE(table.next());
            if (rows < 10) continue;
            EXPECT_TRUE(table.is_missing(1));
            EXPECT_EQ(table.text(3), "");
            EXPECT_EQ(table.geometry(), nullptr);
        }
}

// A file that breaks off says so after as many records as its features give.
TEST_F(Batches, GiveTheWordToTheFeaturesWhereTheyFail) {
    if (!has_gdal()) GTEST_SKIP() << "vector formats need GDAL";
    write(40'000, true);
    std::string bytes;
    {
        std::ifstream stream(file.name(), std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(stream), {});
    }
    int failures = 0;
    for (int round = 0; round < 12; ++round) {
        std::string damaged = bytes;
        const std::size_t page =
            4096 * (damaged.size() / 4096 / 4 + random() % (damaged.size() / 8192));
        for (std::size_t i = 0; i < 4096; ++i) damaged[page + i] = static_cast<char>(random());
        file.write(damaged);
        const auto outcome_of = [&](bool by_batches) {
            try {
                vector_table table(file.name(), "");
                by_batches ? table.rewind_for({0, 3}, true) : table.rewind();
                std::vector<double> numbers;
                while (table.next()) numbers.push_back(table.is_missing(0) ? -1 : table.number(0));
                failures += !table.failure().empty();
                return std::pair(numbers, table.failure());
            } catch (const usage_error& error) {
                return std::pair(std::vector<double>(), std::string(error.what()));
            }
        };
        EXPECT_EQ(outcome_of(true), outcome_of(false)) << round;
    }
    EXPECT_GT(failures, 0);
}

} // namespace
#endif
