// Which rows and columns of a lot are read where something is odd about them, and in which words they are
// refused.
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "study/analyses/polygon_filter.hpp"
#include "study/analyses/semivariogram.hpp"
#include "study/base/errors.hpp"
#include "study/lot/load.hpp"
#include "temporary_file.hpp"

namespace {

using namespace qmx_study;
using study_test::temporary_file;

// "1 2 5" for each point, and "-" for a position that is not there.
std::string points_text(const lot& data) {
    std::string text;
    for (const t_icdata& point : data.points)
        text += std::isnan(point.d_x) ? fmt::format("- {};", point.d_val)
                                      : fmt::format("{} {} {};", point.d_x, point.d_y, point.d_val);
    return text;
}

std::map<std::string, std::int64_t> reasons_of(const lot& data) {
    std::map<std::string, std::int64_t> reasons;
    for (const dropped_rows& each : data.dropped) reasons[each.reason] = each.count;
    return reasons;
}

TEST(Positions, OfGeometriesAreThoseOfPoints) {
    const temporary_file file(".csv", "WKT,CMV\n"
                                      "POINT (1 2),1\n"
                                      "\"LINESTRING (0 0,1 1)\",2\n"
                                      "POINT EMPTY,3\n"
                                      ",4\n"
                                      "nowhere,5\n"
                                      "\"MULTIPOINT (3 4,5 6,nan 1,1e300 2)\",6\n"
                                      "MULTIPOINT EMPTY,7\n"
                                      "\"POLYGON ((0 0,1 0,1 1,0 0))\",8\n"
                                      "POINT (2e12 1),9\n"
                                      "\"MULTIPOINT (7 8)\",10\n");
    reading_options options;
    options.file = file.name();
    reading_needs needs;
    progress quiet;
    const loaded_lot all = load(options, needs, quiet); // rows that need no position stay
    EXPECT_EQ(points_text(all.data),
              "1 2 1;- 2;- 3;- 4;- 5;3 4 6;5 6 6;- 6;- 6;- 7;- 8;- 9;7 8 10;");
    EXPECT_EQ(all.data.rows_read, 13); // three points more than records
    EXPECT_EQ(all.data.without_position, 9);
    EXPECT_TRUE(all.data.dropped.empty());
    needs.position = need::complete;
    const loaded_lot placed = load(options, needs, quiet);
    EXPECT_EQ(points_text(placed.data), "1 2 1;3 4 6;5 6 6;7 8 10;");
    EXPECT_EQ(placed.data.rows_read, 13);
    EXPECT_EQ(reasons_of(placed.data),
              (std::map<std::string, std::int64_t>{{"position_missing", 5},
                                                   {"position_not_a_point", 2},
                                                   {"position_not_on_earth", 2}}));
    for (const dropped_rows& each : placed.data.dropped) {
        if (each.reason == "position_not_a_point") {
            EXPECT_EQ(each.value, "LINESTRING");
        }
        if (each.reason == "position_not_on_earth") {
            EXPECT_EQ(each.value, "1e+300, 2");
        }
    }
}

TEST(Positions, OfDegreesStayInTheirRange) {
    const temporary_file file(".csv", "Longitude,Latitude,CMV\n"
                                      "-93,43,1\n361,43,2\n-93,91,3\n360,-90,4\n?,43,5\n-93,,6\n");
    reading_options options;
    options.file = file.name();
    reading_needs needs;
    progress quiet;
    EXPECT_EQ(points_text(load(options, needs, quiet).data), "-93 43 1;- 2;- 3;360 -90 4;- 5;- 6;");
    needs.position = need::required;
    const loaded_lot placed = load(options, needs, quiet);
    EXPECT_EQ(points_text(placed.data), "-93 43 1;360 -90 4;");
    EXPECT_EQ(reasons_of(placed.data),
              (std::map<std::string, std::int64_t>{
                  {"position_not_degrees", 2}, {"x_missing", 1}, {"y_missing", 1}}));
    // Two quantities that are no positions have no range.
    needs.are_pairs = true;
    EXPECT_EQ(points_text(load(options, needs, quiet).data),
              "-93 43 1;361 43 2;-93 91 3;360 -90 4;");
}

TEST(Passes, AreWholeNumbersOrMissing) {
    const temporary_file file(".csv", "x,y,CMV,PassCount\n1,1,1,2\n2,1,2,2.5\n3,1,3,?\n4,1,4,\n"
                                      "5,1,5,2147483648\n6,1,6,-3\n7,1,7,2e0\n");
    reading_options options;
    options.file = file.name();
    progress quiet;
    const auto passes_of = [&](need wanted, bool marks) {
        reading_needs needs;
        needs.pass = wanted;
        needs.mark_missing_passes = marks;
        std::string text;
        const loaded_lot lot = load(options, needs, quiet);
        for (const t_icdata& point : lot.data.points)
            text += point.i_passno == no_pass ? "- " : fmt::format("{} ", point.i_passno);
        for (const auto& [reason, count] : reasons_of(lot.data))
            text += fmt::format("{} {} ", reason, count);
        return text;
    };
    EXPECT_EQ(passes_of(need::taken, false), "2 0 0 0 0 -3 2 ");
    EXPECT_EQ(passes_of(need::taken, true), "2 - - - - -3 2 ");
    EXPECT_EQ(passes_of(need::complete, false), "2 -3 2 pass_missing 2 pass_not_whole 2 ");
    EXPECT_EQ(passes_of(need::unused, true), "- - - - - - - ");
}

struct refused_lot {
    const char* what;
    std::vector<std::string> files;
    std::function<void(reading_options&, reading_needs&)> change;
    const char* option;
    const char* words;
};

std::string rows_with(const char* head, const char* row) {
    std::string text = std::string(head) + "\n";
    for (int i = 1; i < 10; ++i) text += fmt::format(fmt::runtime(row), i) + "\n";
    return text;
}

TEST(Lot, IsRefusedInWordsThatHelp) {
    const auto nothing = [](reading_options&, reading_needs&) {};
    const std::string plain = rows_with("x,y,CMV", "{0},1,4{0}");
    std::string wide = "c1";
    for (int i = 2; i < 80; ++i) wide += fmt::format(",c{}", i);
    std::string names_of_two_bytes;
    for (int i = 0; i < 80; ++i) names_of_two_bytes += "ö";
    const refused_lot lots[] = {
        {"no positions",
         {rows_with("CMV,a", "{0},b")},
         [](reading_options&, reading_needs& n) { n.position = need::required; },
         "--x",
         "no columns of positions were recognised; name them with --x and --y\n  its columns are: "
         "CMV, a"},
        {"no passes",
         {plain},
         [](reading_options&, reading_needs& n) { n.pass = need::required; },
         "--pass",
         "no column of pass numbers was recognised"},
        {"no pass counts",
         {plain},
         [](reading_options&, reading_needs& n) { n.value_is_pass = true; },
         "--pass",
         "no column of pass counts was recognised"},
        {"no value, and many columns",
         {wide + "\n" + rows_with("a", "b")},
         nothing,
         "--value",
         "c21, c22,…\n  name another with --header-line"},
        {"no value, and long names with letters of two bytes",
         {"a" + names_of_two_bytes + "\n" + rows_with("a", "b")},
         nothing,
         "--value",
         "aööööööööööööööööööööööööööööööööööööööööööööööööö…\n  name another with --header-line"},
        {"several columns that might be it",
         {rows_with("x,y,Temp,Speed", "{0},1,2,3{0}")},
         nothing,
         "--value",
         "columns with numbers: Temp, Speed"},
        {"x without y",
         {plain},
         [](reading_options& o, reading_needs&) { o.x = "x"; },
         "--y",
         "--x and --y go together"},
        {"a pass that is not there",
         {plain},
         [](reading_options& o, reading_needs&) { o.pass = "Pass"; },
         "--pass",
         "--pass names the column \"Pass\", which is not there"},
        {"two units in two files",
         {rows_with("x,y,CMV,Speed", "{0},1,4{0},3 km/h"),
          rows_with("x,y,CMV,Speed", "{0},2,4{0},2 mph")},
         [](reading_options& o, reading_needs&) { o.value = "Speed"; },
         "",
         "the column Speed is in km/h in one file and in mph in another"},
        {"a column that one file lacks",
         {plain, rows_with("x,y,Temp", "{0},1,2{0}")},
         nothing,
         "--value",
         "it has no column CMV, which"},
        {"a pass that one file lacks",
         {rows_with("x,y,CMV,PassCount", "{0},1,4{0},1"), plain},
         [](reading_options&, reading_needs& n) { n.pass = need::required; },
         "--pass",
         "it has no column PassCount, which"},
        {"a system without positions",
         {rows_with("CMV,a", "{0},b")},
         [](reading_options& o, reading_needs&) { o.crs = "EPSG:26915"; },
         "--crs",
         "--crs needs positions, and no columns of them were recognised"},
        {"a projection without positions",
         {rows_with("CMV,a", "{0},b")},
         [](reading_options& o, reading_needs&) { o.project = "utm"; },
         "--project",
         "--project needs positions"},
        {"a projection of a plane",
         {plain},
         [](reading_options& o, reading_needs&) { o.project = "utm"; },
         "--project",
         "--project is for longitudes and latitudes, but x and y are planar already"},
        {"a system that is none",
         {plain},
         [](reading_options& o, reading_needs&) { o.crs = "here"; },
         "--crs",
         "--crs \"here\": no such coordinate system"},
        {"no row that the filter takes",
         {plain},
         [](reading_options& o, reading_needs&) { o.where = "CMV > 900"; },
         "",
         "9 left out by --where \"CMV > 900\""},
        {"a text and a table with geometries",
         {plain, rows_with("WKT,CMV", "POINT ({0} 1),4{0}")},
         nothing,
         "",
         "but {1} is in no named coordinate system: files of one lot are of one kind"}};
    for (const refused_lot& each : lots) {
        SCOPED_TRACE(each.what);
        std::vector<std::unique_ptr<temporary_file>> files;
        reading_options options;
        for (const std::string& text : each.files) {
            files.push_back(std::make_unique<temporary_file>(".csv", text));
            if (files.size() > 1) options.further_files.push_back(files.back()->name());
        }
        options.file = files.front()->name();
        reading_needs needs;
        each.change(options, needs);
        std::string words = each.words;
        if (const std::size_t at = words.find("{1}"); at != std::string::npos)
            words.replace(at, 3, files.back()->name());
        try {
            progress quiet;
            load(options, needs, quiet);
            ADD_FAILURE() << "it was read";
        } catch (const usage_error& error) {
            EXPECT_NE(std::string(error.what()).find(words), std::string::npos) << error.what();
            EXPECT_EQ(error.place.option, each.option);
        }
    }
}

TEST(Lot, InTwoUnitsOfLengthHasNoDistances) {
    const temporary_file file(".csv", rows_with("E_m,N_ft,CMV", "{0},1,4{0}"));
    reading_options options;
    options.file = file.name();
    progress quiet;
    loaded_lot lot = load(options, needs_of(semivariogram_question{}), quiet);
    try {
        analyse(semivariogram_question{}, lot, quiet, {});
        ADD_FAILURE() << "it was analysed";
    } catch (const usage_error& error) {
        EXPECT_EQ(error.what(), std::string("E_m is in m but N_ft in ft: a distance takes both "
                                            "in one unit; name other columns with --x and --y"));
    }
}

TEST(Lot, OfSeveralFilesKeepsTheColumnsApart) {
    // The second file has its columns in another order, one more, and a decimal comma.
    const temporary_file first(".csv", "x,y,CMV,note\n1,2,3.5,a\n2,2,4.5,b\n");
    const temporary_file second(".csv", "# by hand\nnote;CMV;y;x;z\nc;5,5;7;6;9\n;6,5;8;7;9\n");
    reading_options options;
    options.file = first.name();
    options.further_files = {second.name()};
    progress quiet;
    loaded_lot lot = load(options, {}, quiet);
    EXPECT_EQ(points_text(lot.data), "1 2 3.5;2 2 4.5;6 7 5.5;7 8 6.5;");
    EXPECT_EQ(lot.source().column_list(), "x, y, CMV, note, z");
    EXPECT_EQ(lot.source().file, first.name() + " and 1 more");
    EXPECT_EQ(lot.place(3), second.name() + ", line 3");
    SCOPED_TRACE(fmt::format("{}", fmt::join(lot.data.notes, "; ")));
    bool says_comma = false, says_comment = false;
    for (const std::string& note : lot.data.notes) {
        says_comma =
            says_comma ||
            note == second.name() + " is written with a decimal comma, unlike " + first.name();
        says_comment =
            says_comment ||
            note.starts_with(second.name() +
                             ": the 1 line before line 2 that starts with # is taken as a comment");
    }
    EXPECT_TRUE(says_comma);
    EXPECT_TRUE(says_comment);
    table_source& source = *lot.table.source;
    std::string texts;
    for (source.rewind(); source.next();) {
        texts += fmt::format("{}|{};", source.text(3), source.text(4));
        EXPECT_EQ(source.value(4, {}).kind,
                  source.part_index() == 0 ? text_kind::missing : text_kind::number);
    }
    EXPECT_EQ(texts, "a|;b|;c|9;|9;");
}

// Rows outside the polygon are filtered, but those that lack a value are dropped wherever they lie.
TEST(Lot, KeepsItsAccountInAPolygon) {
    std::string text = "x,y,CMV\n";
    for (int i = 0; i < 100; ++i)
        text += i % 10 == 4   ? fmt::format("{},1,?\n", i)
                : i % 10 == 7 ? fmt::format("?,1,{}\n", i)
                              : fmt::format("{},1,{}\n", i, i);
    const temporary_file file(".csv", text);
    const temporary_file polygon(".csv", "x,y\n-1,0\n49.5,0\n49.5,2\n-1,2\n");
    const temporary_file elsewhere(".csv", "x,y\n-9,0\n-8,0\n-8,2\n-9,2\n");
    reading_options options;
    options.file = file.name();
    progress quiet;
    for (const bool keeps : {true, false}) {
        SCOPED_TRACE(keeps);
        reading_needs needs;
        needs.keep_rows_without_value = keeps;
        loaded_lot lot = load(options, needs, quiet);
        keep_points_inside(lot, polygon.name());
        // 50 rows inside, less five without a position; five of these have no value.
        EXPECT_EQ(lot.data.points.size(), keeps ? 45U : 40U);
        EXPECT_EQ(lot.data.without_value, keeps ? 5 : 0);
        EXPECT_EQ(lot.data.rows_dropped(), 10);
        EXPECT_EQ(lot.data.rows_filtered, 50);
        ASSERT_EQ(lot.data.filters.size(), 1U);
        EXPECT_EQ(lot.data.filters[0].what, "polygon");
        EXPECT_EQ(lot.data.filters[0].rows, 50);
        EXPECT_EQ(lot.data.filters[0].lacking, 10);
        EXPECT_EQ(lot.data.without_position, 0);
        leave_out_rows_without_value(lot.data);
        const reading_account account = account_of(lot);
        EXPECT_EQ(account.rows_read,
                  account.rows_used + account.rows_dropped + account.rows_filtered);
        EXPECT_EQ(account.files[0].left_out(), 0);
        EXPECT_EQ(account.files[0].dropped, 10);
        for (const t_icdata& point : lot.data.points) EXPECT_LT(point.d_x, 49.5);
    }
    loaded_lot lot = load(options, {}, quiet);
    EXPECT_THROW(keep_points_inside(lot, elsewhere.name()), usage_error);
    const temporary_file values(".csv", "CMV\n1\n2\n3\n");
    options.file = values.name();
    loaded_lot without = load(options, {}, quiet);
    EXPECT_THROW(keep_points_inside(without, polygon.name()), usage_error);
}

} // namespace
