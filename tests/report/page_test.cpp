// The page as a text: what stands in it, how large it is, and that nothing of the document is markup.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <random>
#include <string>

#include <gtest/gtest.h>
#include <zlib.h>

#include "report/maps.hpp"
#include "report/page.hpp"
#include "study/base/errors.hpp"

namespace {

using qmx_study::cell_table;
using qmx_study::json;

cell_table strip_of_cells(std::int64_t columns, std::int64_t rows, bool noise) {
    cell_table cells;
    std::mt19937_64 chance(5);
    for (std::int64_t i = 0; i < columns; ++i)
        for (std::int64_t j = 0; j < rows; ++j) {
            cells.x.push_back(1000 + 0.3 * static_cast<double>(i));
            cells.y.push_back(2000 + 0.3 * static_cast<double>(j));
            const double part = static_cast<double>(chance() >> 11) * 0x1p-53;
            cells.value.push_back(noise ? 1000 * part : 0.01 * std::floor(1000 + 4000 * part));
            cells.pass.push_back(static_cast<std::int32_t>(1 + chance() % (noise ? 500 : 9)));
            cells.verdict.push_back(static_cast<std::uint8_t>(chance() % 3));
        }
    return cells;
}

json document_of(double length, double width) {
    const double middle = 2000 + width / 2 - 0.15;
    json document = {{"schema", "qmx-ic/report/1"},
                     {"settings", {{"target", 30}, {"target_passes", 4}}}};
    document["road"] = {{"frame",
                         {{"axis", {{999.85, middle}, {999.85 + length, middle}}},
                          {"length", length},
                          {"least_offset", -width / 2},
                          {"most_offset", width / 2}}},
                        {"lattice",
                         {{"along", 0.3},
                          {"across", 0.3},
                          {"angle", 0},
                          {"origin", {1000, 2000}},
                          {"is_lattice", true}}}};
    return document;
}

// The data of a page, out of its element.
json data_in(const std::string& page) {
    const std::string begin = "<script type=\"application/json\" id=\"data\">";
    const std::size_t from = page.find(begin) + begin.size();
    return json::parse(page.substr(from, page.find("</script>", from) - from));
}

std::string decoded(const std::string& text) {
    const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string data;
    unsigned word = 0;
    int bits = 0;
    for (const char letter : text) {
        if (letter == '=') break;
        word = (word << 6) | static_cast<unsigned>(letters.find(letter));
        if ((bits += 6) >= 8) data += static_cast<char>((word >> (bits -= 8)) & 255);
    }
    return data;
}

std::string unpacked(const json& plane) {
    const std::string stream = decoded(plane.get<std::string>());
    std::string data(4000000, '\0');
    uLongf size = data.size();
    EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(data.data()), &size,
                         reinterpret_cast<const Bytef*>(stream.data()), stream.size()),
              Z_OK);
    data.resize(size);
    return data;
}

TEST(Page, IsBelowFiveMegabytesWhateverTheNumberOfCells) {
    for (const bool noise : {false, true}) {
        const cell_table cells = strip_of_cells(75000, 40, noise);
        ASSERT_EQ(cells.size(), 3000000u);
        const std::string page = qmx_report::page_of(document_of(22500, 12), cells, {});
        EXPECT_LT(page.size(), 5000000u);
        EXPECT_GT(page.size(), 2000000u); // and not thinned without need
        const json frame = data_in(page)["maps"]["strip"]["frame"];
        EXPECT_GT(frame["thinning"].get<double>(), 1);
        EXPECT_LE(frame["columns"].get<int>() * frame["rows"].get<int>() *
                      frame["folds"].get<int>(),
                  1500000);
    }
}

// What the pointer reads is what the cell holds.
TEST(Page, GridGivesBackEachCell) {
    for (const bool noise : {false, true}) {
        const cell_table cells = strip_of_cells(500, 20, noise);
        const json maps = qmx_report::maps_of(document_of(150, 6), cells, {});
        const json& frame = maps["strip"]["frame"];
        const json& grid = maps["grid"];
        EXPECT_EQ(grid["exact"].get<bool>(), !noise);
        const std::string low = unpacked(grid["low"]), high = unpacked(grid["high"]);
        const std::string passes = unpacked(grid["passes"]), verdicts = unpacked(grid["verdicts"]);
        const std::string more = noise ? unpacked(grid["more_passes"]) : "";
        const auto byte = [](const std::string& plane, std::size_t at) {
            return plane.empty() ? 0 : static_cast<int>(static_cast<unsigned char>(plane[at]));
        };
        const double least = grid["least"], step = grid["step"];
        for (std::size_t k = 0; k < cells.size(); ++k) {
            const double station = cells.x[k] - 999.85;
            const double offset = 2000 + 3 - 0.15 - cells.y[k];
            const auto column =
                static_cast<std::int64_t>((station - frame["first_station"].get<double>()) /
                                          frame["station_step"].get<double>());
            const auto row =
                static_cast<std::int64_t>((offset - frame["first_offset"].get<double>()) /
                                          frame["offset_step"].get<double>());
            const std::int64_t columns = frame["columns"], rows = frame["rows"];
            const auto pixel = static_cast<std::size_t>((column / columns * rows + row) * columns +
                                                        column % columns);
            const int code = byte(low, pixel) + 256 * byte(high, pixel);
            ASSERT_GE(code, 2);
            ASSERT_NEAR(least + (code - 2) * step, cells.value[k], noise ? 0.51 * step : 1e-9);
            ASSERT_EQ(byte(passes, pixel) + 256 * byte(more, pixel), cells.pass[k]);
            ASSERT_EQ((byte(verdicts, pixel / 4) >> (pixel % 4 * 2)) & 3, cells.verdict[k]);
        }
    }
}

TEST(Page, TextsOfTheDocumentStayTexts) {
    json document = document_of(30, 6);
    const std::string hostile =
        "</script><script>alert(1)</script><!--<img src=x onerror=alert(2)>&amp;";
    document["inputs"] = {{{"role", "points"}, {"file", hostile}, {"bytes", 1}, {"sha256", "0"}}};
    document["notes"] = {hostile, "\xff\xfe no UTF-8"};
    const std::string page = qmx_report::page_of(document, strip_of_cells(100, 20, false), {});
    EXPECT_EQ(page.find("alert(1)</script>"), std::string::npos);
    EXPECT_EQ(page.find("<img src=x"), std::string::npos);
    EXPECT_EQ(data_in(page)["document"]["inputs"][0]["file"], hostile);
    std::size_t ends = 0;
    for (std::size_t at = page.find("</script"); at != std::string::npos;
         at = page.find("</script", at + 1))
        ++ends;
    EXPECT_EQ(ends, 2u); // data and program
}

TEST(Page, IsMadeOfAnyPartOfADocument) {
    const cell_table none;
    cell_table two;
    two.x = {1, 2};
    two.y = two.value = {5, 5};
    two.pass = {0, 0};
    two.verdict = {2, 2};
    cell_table one_place = two;
    one_place.x = {1, 1};
    one_place.value = {std::nan(""), 4};
    cell_table no_place = two;
    no_place.x = {std::nan(""), HUGE_VAL};
    const json documents[] = {
        json::object(),
        {{"road", nullptr}, {"settings", nullptr}},
        {{"road", {{"frame", nullptr}, {"lattice", nullptr}}}},
        {{"road",
          {{"frame", {{"axis", {{0, 0}}}}}, {"lattice", {{"along", 0}, {"is_lattice", true}}}}}},
        {{"road",
          {{"frame",
            {{"axis", {{0, 0}, {0, 0}, {9, 0}}},
             {"length", 9},
             {"least_offset", 0},
             {"most_offset", 0}}},
           {"lattice", {{"along", 1}, {"across", nullptr}, {"origin", {nullptr, 0}}}}}}}};
    for (const json& document : documents) {
        for (const cell_table* cells :
             std::initializer_list<const cell_table*>{&none, &two, &one_place, &no_place}) {
            const json data = data_in(qmx_report::page_of(document, *cells, {}));
            EXPECT_EQ(data["maps"].is_null(), cells == &none || cells == &no_place) << document;
            EXPECT_EQ(data["document"], document);
        }
    }
}

TEST(Page, TakesLogosAndLanguagesThatItKnows) {
    const std::string folder = testing::TempDir();
    const auto write = [&](const char* name, const std::string& data) {
        std::ofstream(folder + name, std::ios::binary) << data;
        return folder + name;
    };
    qmx_report::page_options options;
    options.logo = write("logo.svg", "<svg xmlns='http://www.w3.org/2000/svg'/>");
    options.language = "de";
    const json data = data_in(qmx_report::page_of(json::object(), {}, options));
    EXPECT_EQ(data["language"], "de");
    EXPECT_EQ(data["logo"].get<std::string>().rfind("data:image/svg+xml;base64,PHN2Zy", 0), 0u);
    const auto error_with = [](const qmx_report::page_options& wrong) {
        try {
            qmx_report::page_of(json::object(), {}, wrong);
        } catch (const qmx_study::usage_error& error) {
            return error.place.option;
        }
        return std::string("none");
    };
    EXPECT_EQ(error_with({"en", write("logo.txt", "no picture")}), "--logo");
    EXPECT_EQ(error_with({"en", folder + "not there.png"}), "--logo");
    EXPECT_EQ(error_with({"fr", ""}), "--lang");
}

} // namespace
