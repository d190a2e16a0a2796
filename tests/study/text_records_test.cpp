// Delimited text taken apart by the program and by the I/O library: the same records, byte by byte.
#include <random>
#include <string>
#include <vector>

#include <cpl_error.h>
#include <gtest/gtest.h>
#include <ogrsf_frmts.h>

#include "run_program.hpp"
#include "study/base/progress.hpp"
#include "study/table/line_scan.hpp"
#include "study/table/table_source.hpp"
#include "study/table/text_records.hpp"

namespace {

using namespace qmx_study;
using table = std::vector<std::vector<std::string>>;

constexpr const char* file_name = "/vsimem/records.csv";

class memory_file {
public:
    explicit memory_file(std::string text) : held(std::move(text)) {
        VSIFCloseL(VSIFileFromMemBuffer(file_name, reinterpret_cast<GByte*>(held.data()),
                                        held.size(), FALSE));
    }
    ~memory_file() { VSIUnlink(file_name); }

private:
    std::string held;
};

// Without the head; each record with as many fields as the head has.
table by_the_library(std::size_t columns) {
    const char* const drivers[] = {"CSV", nullptr};
    const char* const options[] = {"AUTODETECT_TYPE=NO", "HEADERS=YES", "MAX_LINE_SIZE=-1",
                                   nullptr};
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(
        std::string("CSV:").append(file_name).c_str(), GDAL_OF_VECTOR, drivers, options, nullptr));
    if (!dataset) return {{CPLGetLastErrorMsg()}};
    OGRLayer* const layer = dataset->GetLayer(0);
    EXPECT_EQ(layer->GetLayerDefn()->GetFieldCount(), static_cast<int>(columns));
    table records;
    while (const OGRFeatureUniquePtr feature{layer->GetNextFeature()}) {
        records.emplace_back();
        for (int column = 0; column < static_cast<int>(columns); ++column)
            records.back().emplace_back(feature->GetFieldAsString(column));
    }
    return records;
}

table taken_apart(std::size_t columns, char separator) {
    text_records source(file_name);
    std::string scratch;
    std::vector<std::string_view> fields;
    table records;
    source.next();
    while (source.next()) {
        split_fields(source.text, separator, source.has_quotes, scratch, fields);
        fields.resize(columns);
        records.emplace_back(fields.begin(), fields.end());
    }
    EXPECT_TRUE(source.is_plain);
    return records;
}

class TextRecords : public testing::Test {
protected:
    TextRecords() { GDALAllRegister(); }
};

TEST_F(TextRecords, AreThoseOfTheLibraryForAnyMixOfQuotesSeparatorsAndLineEnds) {
    const std::string pieces[] = {"a",  "2.5",  "\"",   "\"", "\"\"",         ",",        ",",
                                  ",",  ";",    "\n",   "\n", "\r\n",         "\n\n",     " ",
                                  "\t", "\xE9", "\xC3", "'",  "\"a,b\"",      "\"a\nb\"", " \"",
                                  "\\", "|",    "#",    "0",  "\"\"\"a\"\"\""};
    std::mt19937 generator(7);
    for (int round = 0; round < 3000; ++round) {
        const char separator = ",;\t"[round % 3];
        std::string text = std::string("one") + separator + "\"two\"" + separator + "three" +
                           (round % 5 == 0 ? "\r\n" : "\n");
        for (auto left = generator() % 40; left > 0; --left) {
            const std::string& piece = pieces[generator() % std::size(pieces)];
            text += piece == "," ? std::string(1, separator) : piece;
        }
        const memory_file file(text);
        ASSERT_EQ(taken_apart(3, separator), by_the_library(3)) << text;
    }
}

TEST_F(TextRecords, AreWholeAcrossTheBlocksThatTheFileIsReadIn) {
    std::string text = "one,two\r\n";
    std::mt19937 generator(11);
    while (text.size() < (std::size_t{5} << 20)) {
        const std::size_t length = generator() % 1000 == 0 ? 1500000 : generator() % 300;
        const bool quoted = generator() % 3 == 0;
        text += quoted ? "\"x,\r\n" + std::string(length, 'q') + "\",1\r\n"
                       : std::string(length, 'p') + ",2\r\n";
    }
    const memory_file file(text);
    EXPECT_EQ(taken_apart(2, ','), by_the_library(2));
}

TEST_F(TextRecords, ArePlainOnlyWhereEveryReaderFindsTheSameLines) {
    struct sample {
        const char* title;
        std::string text;
        bool is_plain;
    };
    const sample samples[] = {
        {"line ends of both kinds", "a,b\r\n1,2\n3,4\r\n", true},
        {"a quoted line end", "a,b\n\"1\r\n2\",3\n", true},
        {"no line end at all", "a,b\r\n1,2\r", true},
        {"a carriage return alone", "a,b\n1,2\r3,4\n", false},
        {"two of them", "a,b\n1,2\r\r\n3,4\n", false},
        {"the pair the wrong way round", "a,b\n\r1,2\n\r", false},
        {"a null character", std::string("a,b\n1,2\n3,\0 4\n", 14), false},
        {"empty lines before the head", "\n\na,b\n1,2\n", false},
    };
    progress shown;
    for (const sample& each : samples) {
        const memory_file file(each.text);
        EXPECT_EQ(scan_lines(file_name, file_name, shown).is_plain, each.is_plain) << each.title;
    }
}

// What the library alone can read, it reads: old line ends, types named in a second file, geometries.
TEST_F(TextRecords, AreLeftToTheLibraryWhereItKnowsMore) {
    progress shown;
    const auto first_value = [&](const char* column) {
        table_source source(file_name, "", shown);
        EXPECT_TRUE(source.next());
        return source.value(source.column_named(column), {}).value;
    };
    {
        const memory_file file("x,y,CMV\n1,2,3\n");
        EXPECT_EQ(first_value("CMV"), 3);
        const std::string types = "Real,Real,Integer";
        VSILFILE* const second = VSIFOpenL("/vsimem/records.csvt", "wb");
        VSIFWriteL(types.data(), 1, types.size(), second);
        VSIFCloseL(second);
        EXPECT_EQ(table_source(file_name, "", shown).columns[2].type, OFTInteger);
        EXPECT_EQ(first_value("CMV"), 3);
        VSIUnlink("/vsimem/records.csvt");
    }
    const memory_file file("WKT,CMV\nPOINT (3 4),5\n");
    table_source source(file_name, "", shown);
    ASSERT_TRUE(source.next());
    ASSERT_NE(source.geometry(), nullptr);
    EXPECT_EQ(source.geometry()->toPoint()->getY(), 4);
    EXPECT_EQ(source.value(source.column_named("CMV"), {}).value, 5);
}

// An archive that breaks off is told, not taken for a shorter file.
using BrokenFile = app_test::Program;
TEST_F(BrokenFile, IsRefusedWithTheReason) {
    std::string text = "x,y,CMV\n";
    std::mt19937 generator(3);
    for (int i = 0; i < 20000; ++i) text += std::to_string(generator()) + ",1,2\n";
    const std::string name = path("lot.csv.gz");
    VSILFILE* const file = VSIFOpenL(("/vsigzip/" + name).c_str(), "wb");
    VSIFWriteL(text.data(), 1, text.size(), file);
    VSIFCloseL(file);
    std::filesystem::resize_file(name, std::filesystem::file_size(name) / 2);
    const app_test::outcome result = run("stats lot.csv.gz");
    EXPECT_EQ(result.code, 2);
    EXPECT_TRUE(result.says("reading stopped"));
}

} // namespace
