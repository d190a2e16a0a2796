// Where the head stands in files that do not open with it.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "study/base/errors.hpp"
#include "study/table/table_source.hpp"
#include "temporary_file.hpp"

namespace {

using namespace qmx_study;

// Behind the opening come four rows, unless it has rows of its own.
constexpr const char* four_rows = "1,2,3\n2,3,4\n3,4,5\n4,5,6\n";

struct layout_case {
    const char *title, *opening;
    bool is_whole;
    text_layout layout;
    const char* columns;
    std::int64_t rows, first_line; // of the first row
    const char* note;              // a piece of the first one, "" for none
};
const layout_case layouts[] = {
    {"the usual one", "x,y,CMV\n", false, {}, "x, y, CMV", 4, 2, ""},
    {"a title",
     "Lot 7\nday 3, east\n\nx,y,CMV\n",
     false,
     {},
     "x, y, CMV",
     4,
     5,
     "line 4 is taken as the head"},
    {"a title, named", "a,b,c\nx,y,CMV\n", false, {2, ""}, "x, y, CMV", 4, 3, ""},
    {"comments",
     "# made by hand\n# second, line\nx,y,CMV\n",
     false,
     {},
     "x, y, CMV",
     4,
     4,
     "2 lines before line 3"},
    {"the head in a comment",
     "# all in metres\n# x,y,CMV\n",
     false,
     {},
     "x, y, CMV",
     4,
     3,
     "1 line before line 2"},
    {"comments between rows",
     "%x\nx,y,CMV\n1,2,3\n%\n2,3,4\n",
     true,
     {0, "%"},
     "x, y, CMV",
     2,
     3,
     ""},
    {"a line of units",
     "x,y,CMV\nm,[m],(-)\n",
     false,
     {},
     "x, y, CMV",
     4,
     3,
     "line 2 is taken as the units"},
    {"two heading lines",
     "Cell,Cell,Value\neast,north,CMV\n",
     false,
     {},
     "Cell east, Cell north, Value CMV",
     4,
     3,
     "lines 1 and 2 are taken as headings"},
    {"a first row of words", "x,y,CMV\n1,2,overrange\n", false, {}, "x, y, CMV", 5, 2, ""},
    {"a separator line", "sep=,\nx,y,CMV\n", false, {}, "x, y, CMV", 4, 3, ""},
    {"few rows of odd widths", "x,y\n1,2,3\n", true, {}, "x, y", 1, 2, ""}};

TEST(Head, IsFoundOrNamed) {
    for (const layout_case& each : layouts) {
        SCOPED_TRACE(each.title);
        const study_test::temporary_file file(".csv", std::string(each.opening) +
                                                          (each.is_whole ? "" : four_rows));
        progress quiet;
        table_source source(file.name(), "", quiet, each.layout);
        EXPECT_EQ(source.column_list(), each.columns);
        EXPECT_EQ(source.rows, each.rows);
        EXPECT_EQ(source.line_of(1), each.first_line);
        std::int64_t read = 0;
        while (source.next()) ++read;
        EXPECT_EQ(read, each.rows);
        const std::string note =
            source.part(0).lines.notes.empty() ? "" : source.part(0).lines.notes[0];
        EXPECT_EQ(note.empty(), std::string(each.note).empty()) << note;
        EXPECT_NE(note.find(each.note), std::string::npos) << note;
    }
    const study_test::temporary_file file(".csv", "x,y,CMV\nm,[m],km/h\n1,2,3\n");
    progress quiet;
    const table_source source(file.name(), "", quiet);
    EXPECT_EQ(source.columns[1].unit, "m");
    EXPECT_EQ(source.columns[2].unit, "km/h");
    EXPECT_THROW(table_source(file.name(), "", quiet, {9, ""}), usage_error);
}

} // namespace
