// Delimited text taken apart: whatever it is written in, the same records.
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>
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
    source.separator = separator;
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

TEST(TextRecords, AreThoseOfGdalForSoundQuotations) {
    const std::string fields[] = {
        "a", "2.5", "",  "é",    "\"a,b;c\"", "\"a\nb\"", "\"\"", "\"\"\"a\"\" b\"",
        "'", "\\",  "#", "\t 0", "\" x \""};
    std::mt19937 generator(7);
    const temporary_file file(".csv", "");
    for (int round = 0; round < 1000; ++round) {
        const char separator = ",;|"[round % 2];
        std::string text = fmt::format("one{0}\"two\"{0}three\n", separator);
        for (auto rows = generator() % 8; rows > 0; --rows) {
            for (auto left = 1 + generator() % 4; left > 0; --left)
                text += fields[generator() % std::size(fields)] +
                        (left > 1 ? std::string(1, separator) : "");
            text += std::string(generator() % 2, '\r') + '\n' + (generator() % 5 == 0 ? "\n" : "");
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

struct quote_case {
    const char *text, *wanted; // fields joined by '|', records by '/'
};
// A mark means something at the start of a field, and inside a quoted one.
const quote_case quotes[] = {
    {"1,12\" pipe,3\n2,5,6\n", "1|12\" pipe|3/2|5|6"},
    {"1,12\",3\n2,\"5\",6\n", "1|12\"|3/2|5|6"},
    {"\"a \"\"b\"\",c\",2\n", "a \"b\",c|2|"},
    {"\"a\"b\"c\",2,3\n", "ab\"c\"|2|3"},
    {" \"a\",2,3\n", " \"a\"|2|3"},
    {"\"\",\"\"\"\",\"\n\"\n", "|\"|\n"},
    {"\"two\nlines, and\n\nmore\",2,3\n4,5,6", "two\nlines, and\n\nmore|2|3/4|5|6"}};

TEST(TextRecords, TakeQuotationMarksAsTheStandardHasThem) {
    for (const quote_case& each : quotes) {
        const temporary_file file(".csv", std::string("a,b,c\n") + each.text);
        std::string found;
        for (const auto& record : records_of(file.name(), 3, ',')) {
            if (!found.empty()) found += '/';
            found += record[0] + "|" + record[1] + "|" + record[2];
        }
        EXPECT_EQ(found, each.wanted) << each.text;
    }
}

TEST(TextRecords, EndAtAQuotationThatTakesInRows) {
    std::string rows;
    for (int i = 0; i < 200; ++i) rows += fmt::format("{0},{0},note {0}\n", i);
    std::string lines;
    for (int i = 0; i < 99; ++i) lines += "a line, with words\n";
    const std::pair<std::string, const char*> files[] = {
        {"1,2,\"12 inch\n" + rows, "line 3: a quotation mark opens here, but it takes in line 4"},
        {"1,2,3\n1,2,\"12 inch\n2,3,\"5 inch\n",
         "line 4: a quotation mark opens here, but it takes in line 5"},
        {"1,2,\"open\n", "line 3: a quotation mark opens here, but it is not closed before"},
        {"1,2,\"a\n" + lines + "b\n\"\n",
         "line 3: a quotation mark opens here, but it is still open 100 lines"},
        {"1,2,\"a\nb\"c\n",
         "line 3: a quotation mark opens here, but text follows where it is closed on line 4"}};
    for (const auto& [text, message] : files) {
        const temporary_file file(".csv", "x,y,note\n0,0,0\n" + text);
        try {
            progress quiet;
            table_source(file.name(), "", quiet);
            ADD_FAILURE() << text;
        } catch (const usage_error& error) {
            EXPECT_NE(std::string(error.what()).find(message), std::string::npos) << error.what();
            EXPECT_GT(error.place.line, 0);
        }
    }
    const temporary_file whole(".csv", "x,y,note\n1,2,\"a\n" + lines + "b\"\n");
    EXPECT_EQ(records_of(whole.name(), 3, ',').size(), 1);
}

TEST(Columns, AreChosenByNameByNumberAndByPlaceAmongNamesakes) {
    std::string wide = "x,CMV,cmv, x ,\"a b\",,2\n1,2,3,4,5,6,7\n";
    const temporary_file file(
        ".csv", "sep=;\n" + [&] {
            std::string other = wide;
            for (char& c : other)
                if (c == ',') c = ';';
            return other;
        }());
    progress quiet;
    table_source source(file.name(), "", quiet);
    EXPECT_EQ(source.column_list(), "x#1, CMV#1, cmv#2, x#2, a b, field_6, 2");
    const std::pair<const char*, int> names[] = {
        {"cmv", 2}, {"Cmv", 1}, {"CMV#2", 2}, {"x#2", 3},  {"4", 3},   {"2", 6},      {"7", 6},
        {"8", -1},  {"0", -1},  {"x#3", -1},  {"q#1", -1}, {"#1", -1}, {"field_6", 5}};
    for (const auto& [name, column] : names) EXPECT_EQ(source.column_chosen(name), column) << name;
    ASSERT_TRUE(source.next());
    EXPECT_EQ(source.text(5), "6");
    EXPECT_EQ(source.place(1), "line 3");
    EXPECT_FALSE(source.next());

    std::string many = "c1", row = "1";
    for (int i = 2; i <= 5000; ++i) {
        many += fmt::format(",c{}", i);
        row += fmt::format(",{}", i);
    }
    file.write(many + "\n" + row + "\n");
    table_source broad(file.name(), "", quiet);
    ASSERT_TRUE(broad.next());
    EXPECT_EQ(broad.text(broad.column_chosen("c5000")), "5000");
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
    line_scan scan = scan_head(records, {}, "lot.csv");
    ASSERT_TRUE(count_records(records, scan, {}, 100, "lot.csv", quiet));
    ASSERT_EQ(scan.records, 3);
    EXPECT_EQ(scan.line_of(1), 4);
    EXPECT_EQ(scan.line_of(2), 7);
    EXPECT_EQ(scan.line_of(3), 10);
    ASSERT_EQ(scan.odd.size(), 1);
    EXPECT_EQ(scan.odd[0].record, 3);
    EXPECT_EQ(scan.odd[0].fields, 3);
}

// An archive that breaks off or has a wrong byte is told, or gives what it held (a byte of its head that
// names no content): never other rows. Reading it leaves nothing behind.
TEST(PackedText, ThatIsDamagedIsRefusedWhateverItsSize) {
    std::string text = "x,y,CMV\n";
    std::mt19937 generator(3);
    for (const int rows : {3, 200, 20000}) {
        for (int i = 0; i < rows; ++i) text += std::to_string(generator()) + ",1,2\n";
        const std::string sound = gzipped(text);
        const temporary_file file(".csv.gz", sound);
        std::string read;
        const auto outcome = [&] {
            read = "x,y,CMV\n";
            try {
                progress quiet;
                table_source source(file.name(), "", quiet);
                while (source.next())
                    for (int column = 0; column < 3; ++column)
                        read.append(source.text(column)) += column < 2 ? ',' : '\n';
                return std::string();
            } catch (const usage_error& error) {
                return std::string(error.what());
            }
        };
        EXPECT_EQ(outcome(), "");
        EXPECT_EQ(read, text);
        const bool is_small = rows == 3;
        const std::size_t step = is_small ? 1 : sound.size() / 16;
        for (std::size_t kept = is_small ? 1 : 19; kept < sound.size(); kept += step) {
            file.write(sound.substr(0, kept));
            EXPECT_NE(outcome().find("reading stopped: the gzip file"), std::string::npos)
                << rows << ", " << kept << " of " << sound.size() << ": " << outcome();
        }
        int harmless = 0;
        for (std::size_t place = 0; place < sound.size(); place += step)
            for (const int change : {0x01, 0x10, 0xFF}) {
                std::string flipped = sound;
                flipped[place] = static_cast<char>(flipped[place] ^ change);
                file.write(flipped);
                if (!outcome().empty()) continue;
                ++harmless;
                EXPECT_EQ(read, text) << rows << ", byte " << place;
            }
        EXPECT_LE(harmless, 10 * 3); // in the ten bytes of the head
        for (const auto& entry :
             std::filesystem::directory_iterator(std::filesystem::path(file.name()).parent_path()))
            EXPECT_FALSE(entry.path().string().starts_with(file.name() + ".")) << entry.path();
    }
}

} // namespace
