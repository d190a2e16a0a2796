// Delimited text taken apart: whatever it is written in, the same records.
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "study/base/errors.hpp"
#include "study/base/progress.hpp"
#include "study/table/line_scan.hpp"
#include "study/table/table_source.hpp"
#include "study/table/text_records.hpp"
#include "temporary_file.hpp"

#if QMX_IC_WITH_GDAL
#include <ogrsf_frmts.h>
#endif

namespace {

using namespace qmx_study;
using study_test::gzipped;
using study_test::temporary_file;
using table = std::vector<std::vector<std::string>>;

// Without the head; each record with as many fields as the head has.
table records_of(const std::string& file, std::size_t columns, char separator) {
    text_records source(file);
    std::string scratch;
    std::vector<std::string_view> fields;
    table records;
    source.rewind();
    source.next();
    while (source.next()) {
        split_fields(source.text, separator, source.has_quotes, scratch, fields);
        fields.resize(columns);
        records.emplace_back(fields.begin(), fields.end());
    }
    EXPECT_EQ(source.failure(), "");
    return records;
}

#if QMX_IC_WITH_GDAL
table by_gdal(const std::string& file, std::size_t columns) {
    GDALAllRegister();
    const char* const drivers[] = {"CSV", nullptr};
    const char* const options[] = {"AUTODETECT_TYPE=NO", "HEADERS=YES", "MAX_LINE_SIZE=-1",
                                   nullptr};
    const GDALDatasetUniquePtr dataset(
        GDALDataset::Open(("CSV:" + file).c_str(), GDAL_OF_VECTOR, drivers, options, nullptr));
    if (!dataset) return {{CPLGetLastErrorMsg()}};
    OGRLayer* const layer = dataset->GetLayer(0);
    table records;
    while (const OGRFeatureUniquePtr feature{layer->GetNextFeature()}) {
        records.emplace_back();
        for (int column = 0; column < static_cast<int>(columns); ++column)
            records.back().emplace_back(feature->GetFieldAsString(column));
    }
    return records;
}

TEST(TextRecords, AreThoseOfGdalForAnyMixOfQuotesSeparatorsAndLineEnds) {
    const std::string pieces[] = {"a",
                                  "2.5",
                                  "\"",
                                  "\"",
                                  "\"\"",
                                  ",",
                                  ",",
                                  ",",
                                  ";",
                                  "\n",
                                  "\n",
                                  "\r\n",
                                  "\n\n",
                                  " ",
                                  "\t",
                                  "é",
                                  "'",
                                  "|",
                                  "\"a,b\"",
                                  "\"a\nb\"",
                                  " \"",
                                  "\\",
                                  "\"\"\"a\"\"\"",
                                  "#",
                                  "0"};
    std::mt19937 generator(7);
    const temporary_file file(".csv", "");
    for (int round = 0; round < 3000; ++round) {
        const char separator = ",;\t"[round % 3];
        std::string text = std::string("one") + separator + "\"two\"" + separator + "three" +
                           (round % 5 == 0 ? "\r\n" : "\n");
        for (auto left = generator() % 40; left > 0; --left) {
            const std::string& piece = pieces[generator() % std::size(pieces)];
            text += piece == "," ? std::string(1, separator) : piece;
        }
        file.write(text);
        ASSERT_EQ(records_of(file.name(), 3, separator), by_gdal(file.name(), 3)) << text;
    }
}
#endif

TEST(TextRecords, AreWholeAcrossTheBlocksThatTheFileIsReadIn) {
    std::string text = "one,two\r\n";
    table wanted;
    std::mt19937 generator(11);
    while (text.size() < (std::size_t{5} << 20)) {
        const std::size_t length = generator() % 1000 == 0 ? 1500000 : generator() % 300;
        if (generator() % 3 == 0) {
            text += "\"x,\r\n" + std::string(length, 'q') + "\",1\r\n";
            wanted.push_back({"x,\n" + std::string(length, 'q'), "1"});
        } else {
            text += std::string(length, 'p') + ",2\r\n";
            wanted.push_back({std::string(length, 'p'), "2"});
        }
    }
    const temporary_file file(".csv", text);
    EXPECT_EQ(records_of(file.name(), 2, ','), wanted);
    file.write(gzipped(text));
    EXPECT_EQ(records_of(file.name(), 2, ','), wanted);
}

std::string utf16(const std::u16string& text, bool big) {
    std::string bytes = big ? "\xFE\xFF" : "\xFF\xFE";
    for (const char16_t unit : text) {
        const char low = static_cast<char>(unit & 0xFF), high = static_cast<char>(unit >> 8);
        bytes += big ? high : low;
        bytes += big ? low : high;
    }
    return bytes;
}

TEST(TextRecords, AreTheSameInEveryEncodingAndWithEveryLineEnd) {
    const table wanted{{"Größe", "1"}, {"a,b\nc", "2"}, {"€ 3", "–"}};
    const std::string utf8 = "Name;Wert\nGröße;1\n\"a,b\nc\";2\n€ 3;–\n";
    const std::u16string wide = u"Name;Wert\nGröße;1\n\"a,b\nc\";2\n€ 3;–\n";
    const auto with_ends = [&](const std::string& end) {
        std::string text;
        for (const char c : utf8) text += c == '\n' ? end : std::string(1, c);
        return text;
    };
    const std::pair<const char*, std::string> ways[] = {
        {"UTF-8", utf8},
        {"with a mark", "\xEF\xBB\xBF" + utf8},
        {"UTF-16, little end first", utf16(wide, false)},
        {"UTF-16, big end first", utf16(wide, true)},
        {"UTF-16, packed", gzipped(utf16(wide, true))},
        {"Windows-1252", "Name;Wert\nGr\xF6\xDF"
                         "e;1\n\"a,b\nc\";2\n\x80 3;\x96\n"},
        {"packed", gzipped(utf8)},
        {"packed in two members", gzipped(utf8.substr(0, 20)) + gzipped(utf8.substr(20))},
        {"packed, filled up", gzipped(utf8) + std::string(100, '\0')},
        {"carriage returns and line feeds", with_ends("\r\n")},
        {"carriage returns alone", with_ends("\r")},
        {"two carriage returns", with_ends("\r\r\n")},
        {"empty lines, none at the end", "\n\n" + with_ends("\n").substr(0, utf8.size() - 1)}};
    for (const auto& [title, text] : ways) {
        const temporary_file file(".csv", text);
        EXPECT_EQ(records_of(file.name(), 2, ';'), wanted) << title;
    }
    // A pair of surrogates, and halves of one.
    const temporary_file file(".csv", utf16(u"a;b\n\U0001F69C;\xD83D\n\xDE9C;x", false));
    EXPECT_EQ(records_of(file.name(), 2, ';'), (table{{"🚜", "\uFFFD"}, {"\uFFFD", "x"}}));
}

TEST(TextRecords, KnowTheLinesThatTheyStandOn) {
    const temporary_file file(".csv", "\na,b\n\n1,\"2\n\n3\"\n4,5\n\n\n6,7,8\n");
    text_records records(file.name());
    progress quiet;
    const line_scan scan = scan_lines(records, "lot.csv", quiet);
    ASSERT_EQ(scan.records, 3);
    EXPECT_EQ(scan.line_of(1), 4);
    EXPECT_EQ(scan.line_of(2), 7);
    EXPECT_EQ(scan.line_of(3), 10);
    ASSERT_EQ(scan.odd.size(), 1);
    EXPECT_EQ(scan.odd[0].record, 3);
    EXPECT_EQ(scan.odd[0].fields, 3);
}

// An archive that breaks off or has a wrong bit is told, never taken for a shorter file, and reading
// it leaves nothing behind.
TEST(PackedText, ThatIsDamagedIsRefusedWhateverItsSize) {
    std::string text = "x,y,CMV\n";
    std::mt19937 generator(3);
    for (const int rows : {3, 200, 20000}) {
        for (int i = 0; i < rows; ++i) text += std::to_string(generator()) + ",1,2\n";
        const std::string sound = gzipped(text);
        const temporary_file file(".csv.gz", sound);
        const auto outcome = [&] {
            try {
                progress quiet;
                table_source source(file.name(), "", quiet);
                while (source.next()) {}
                return std::string();
            } catch (const usage_error& error) {
                return std::string(error.what());
            }
        };
        EXPECT_EQ(outcome(), "");
        for (const std::size_t kept : {sound.size() - 1, sound.size() - 8, sound.size() - 9,
                                       sound.size() / 2, std::size_t{19}}) {
            file.write(sound.substr(0, kept));
            EXPECT_NE(outcome().find("reading stopped: the gzip file breaks off"),
                      std::string::npos)
                << rows << ", " << kept << " of " << sound.size() << ": " << outcome();
        }
        for (const std::size_t place : {sound.size() / 2, sound.size() - 6, sound.size() - 2}) {
            std::string flipped = sound;
            flipped[place] = static_cast<char>(flipped[place] ^ 0x10);
            file.write(flipped);
            EXPECT_NE(outcome(), "") << rows << ", bit at " << place;
        }
        for (const auto& entry :
             std::filesystem::directory_iterator(std::filesystem::path(file.name()).parent_path()))
            EXPECT_FALSE(entry.path().string().starts_with(file.name() + ".")) << entry.path();
    }
}

} // namespace
