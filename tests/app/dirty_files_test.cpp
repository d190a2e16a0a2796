// Files as they come from machines, spreadsheets and mail: of each row it is known whether it is used,
// or under which reason and from which line on it is dropped; or the file is refused in words that help.
#include "run_program.hpp"

#include <map>

#include <fmt/format.h>

namespace {

using app_test::outcome;

// Rows first to last of a lot; {0} is the number, {1} a value from 40 to 46.
std::string rows(const char* format, int first, int last) {
    std::string text;
    for (int i = first; i <= last; ++i) text += fmt::format(fmt::runtime(format), i, 40 + i % 7);
    return text;
}
const std::string head = "x,y,CMV\n";
std::string lot(int first, int last) {
    return rows("{0},{0}.5,{1}\n", first, last);
}
std::string utf16(const std::string& text) {
    std::string pairs = "\xFF\xFE";
    for (const char c : text) pairs += {c, '\0'};
    return pairs;
}
std::string with_returns(std::string text, const std::string& end) {
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += end.size())
        text.replace(at, 1, end);
    return text;
}

using reasons = std::map<std::string, std::pair<int, int>>; // how many, and the line of the first

struct dirty_file {
    const char* name;
    std::string bytes;
    int code; // of `stats`, or the command that options begin with
    int used; // rows; -1 where there is no answer
    reasons dropped;
    std::vector<const char*> words; // in the answer or in the message
    std::string options = "stats";
};

const std::vector<dirty_file> quotes{
    {"note_with_a_mark.csv",
     "x,y,CMV,note\n" + rows("{0},{0}.5,{1},pipe 12\" at edge\n", 1, 20),
     0,
     20,
     {},
     {}},
    {"doubled_marks.csv",
     "x,y,note,CMV\n" + rows("{0},1,\"so \"\"it\"\", is\",{1}\n", 1, 9),
     0,
     9,
     {},
     {}},
    {"honest_breaks.csv",
     "x,y,note,CMV\n" + rows("{0},1,\"two\nlines\",{1}\n", 1, 9) + "10,1,a,-\n",
     0,
     9,
     {{"value_missing", {1, 20}}},
     {}},
    {"long_example.csv",
     head + lot(1, 9) + "10,1,\"4\n0\"\n",
     0,
     9,
     {{"value_not_a_number", {1, 11}}},
     {"\"4…\""}},
    {"stays_open.csv",
     "x,y,note,CMV\n" + rows("{0},1,a,{1}\n", 1, 9) + "1,1,\"a,4\n\n",
     2,
     -1,
     {},
     {"line 11: a quotation mark opens here", "not closed before the end"}},
    {"two_stray_marks.csv",
     "x,y,note,CMV\n1,1,\"a,4\n" + rows("{0},1,a,{1}\n", 2, 9) + "1,1,b\",4\n",
     2,
     -1,
     {},
     {"line 2: a quotation mark opens here", "takes in line 3"}},
    {"a_page_in_a_field.csv",
     "x,y,note,CMV\n1,1,\"" + rows("line {0}\n", 1, 150) + "\",4\n" + rows("{0},1,a,{1}\n", 2, 9),
     2,
     -1,
     {},
     {"line 2: a quotation mark opens here", "100 lines further on"}},
};

const std::vector<dirty_file> numbers{
    {"typing_errors.csv",
     head + lot(1, 20) + "21,1,4O.2\n22,1,4l\n23,1,0x1F\n",
     0,
     20,
     {{"value_not_a_number", {3, 22}}},
     {"is not a number"}},
    {"typing_errors_everywhere.csv",
     head + rows("{0},1,4O.{0}\n", 1, 9),
     2,
     -1,
     {},
     {"no row is left", "4O.1"}},
    {"another_unit.csv",
     "x,y,CMV,Speed\n" + rows("{0},1,{1},3 km/h\n", 1, 9) + "10,1,40,2 mph\n",
     0,
     9,
     {{"value_in_another_unit", {1, 11}}},
     {"km/h"},
     "stats --value Speed"},
    {"unit_in_the_heading.csv",
     "x,y,Speed (km/h)\n" + rows("{0},1,3\n", 1, 9) + "10,1,2 km/h\n",
     0,
     10,
     {},
     {"km/h"},
     "stats --value 3"},
    {"missing_codes.csv",
     head + lot(1, 20) + "21,1,-9999\n22,1,-999.0\n23,1,-9.9999e4\n24,1,1E+38\n25,1,3.4028235e38\n",
     0,
     20,
     {{"value_missing_code", {5, 22}}},
     {"stands for a missing value"}},
    {"codes_within_reach.csv", "x,y,CMV\n" + rows("{0},1,-{0}99\n", 1, 20), 0, 20, {}, {}},
    {"named_code.csv",
     head + lot(1, 9) + "10,1,-1.00\n11,1,-1e0\n",
     0,
     9,
     {{"value_missing", {2, 11}}},
     {},
     "stats --missing -1"},
    {"beyond_32_bits.csv", head + lot(1, 9) + "10,1,1e39\n", 2, -1, {}, {"line 11", "32-bit"}},
    {"decimal_comma.csv",
     "x;y;CMV\n" + rows("{0},5;1,5;{1},25\n", 1, 9) + "10;1;4.5\n",
     0,
     9,
     {{"value_not_a_number", {1, 11}}},
     {"\"decimal_mark\": \",\""}},
};

const std::vector<dirty_file> fields{
    {"too_few_and_too_many.csv",
     head + lot(1, 9) + "10,1\n11,1,40,5,6\n",
     0,
     9,
     {{"too_few_fields", {1, 11}}, {"too_many_fields", {1, 12}}},
     {}},
    {"empty_rows.csv", head + lot(1, 9) + "\n,,\n , ,\n", 0, 9, {{"empty_row", {2, 12}}}, {}},
    {"a_field_is_lacking.csv",
     "x,y,note,CMV,Gear\n" + rows("{0},1,a,{1},On\n", 1, 20) + "21,1,44,On,\n",
     0,
     20,
     {{"fields_out_of_place", {1, 22}}},
     {}},
    {"duplicate_headings.csv",
     "x,y,CMV,CMV\n" + rows("{0},1,?,{1}\n", 1, 9),
     0,
     9,
     {},
     {"CMV#2"},
     "stats --value CMV#2"},
    {"duplicate_by_number.csv",
     "x,y,CMV,CMV\n" + rows("{0},1,?,{1}\n", 1, 9),
     0,
     9,
     {},
     {"CMV#2"},
     "stats --value 4"},
    {"three_thousand_columns.csv",
     "x,y" + rows(",c{0}", 1, 3000) + ",CMV\n" +
         rows(("{0},1" + std::string(3000, ',') + ",{1}\n").c_str(), 1, 9),
     0,
     9,
     {},
     {}},
};

const std::vector<dirty_file> heads{
    {"preamble.csv",
     "Project 17\nRoller: A, drum 2 m\n\n" + head + lot(1, 9),
     0,
     9,
     {},
     {"line 4 is taken as the head line"}},
    {"comments.csv",
     "# made today\n# by hand\n" + head + lot(1, 9),
     0,
     9,
     {},
     {"taken as comments"}},
    {"comment_lines.csv",
     head + lot(1, 5) + "% refuelled\n" + lot(6, 9),
     0,
     9,
     {},
     {},
     "stats --comment %"},
    {"named_head.csv", "a,b,c\n1,2,3\n" + head + lot(1, 9), 0, 9, {}, {}, "stats --header-line 3"},
    {"head_behind_the_end.csv",
     head + lot(1, 9),
     2,
     -1,
     {},
     {"--header-line 99"},
     "stats --header-line 99"},
    {"line_of_units.csv",
     "x,y,CMV,Speed\nm,m,-,km/h\n" + rows("{0},1,{1},3\n", 1, 9),
     0,
     9,
     {},
     {"taken as the units", "km/h"},
     "stats --value Speed"},
    {"two_headings.csv",
     "x,y,CMV\neast,north,roller\n" + lot(1, 9),
     0,
     9,
     {},
     {"taken as headings"},
     "stats --value 3"},
    {"no_numbers.csv",
     "one,two\na,b\nc,d\n",
     2,
     -1,
     {},
     {"line 1 was taken as its head: one, two"}},
    {"no_head.csv", lot(1, 9), 2, -1, {}, {"line 1", "add a head line"}},
    {"separator_line.csv", "sep=;\nx;y;CMV\n" + rows("{0};1;{1}\n", 1, 9), 0, 9, {}, {}},
    {"returns_only.csv",
     with_returns(head + lot(1, 9) + "10,1,?\n", "\r"),
     0,
     9,
     {{"value_missing", {1, 11}}},
     {}},
    {"latin1.csv",
     "x,y,Stei\xDF"
     "e,CMV\n" +
         rows("{0},1,\xE9,{1}\n", 1, 9),
     0,
     9,
     {},
     {}},
    {"utf16.csv", utf16(head + lot(1, 9)), 0, 9, {}, {}},
    {"only_a_head.csv", head, 2, -1, {}, {"no row is left of 0 read"}},
    {"nothing.csv", "", 2, -1, {}, {"the file is empty"}},
    {"null_bytes.csv", std::string("x\0,y\0,\0", 7) + head + lot(1, 9), 2, -1, {}, {"no text"}},
    {"not_packed.csv.gz", "\x1F\x8C\x08" + head + lot(1, 9), 2, -1, {}, {"gzip file is damaged"}},
};

const std::string around =
    rows("43200{0},486200{0},{1}\n", 1, 9) + rows("4320{0},4862010,{1}\n", 10, 30);
const std::vector<dirty_file> positions{
    {"degrees_as_x_y.csv",
     head + rows("-93.97{0},43.9{0},{1}\n", 1, 9),
     0,
     9,
     {},
     {"taken as longitude and latitude"}},
    {"degrees_as_easting.csv",
     "Easting,Northing,CMV\n" + rows("-93.97{0},43.9{0},{1}\n", 1, 9),
     2,
     -1,
     {},
     {"--project"},
     "semivariogram"},
    {"unknown_system.csv",
     head + lot(1, 9),
     2,
     -1,
     {},
     {"no such coordinate system"},
     "stats --crs EPSG:0"},
    {"degrees_with_a_stray.csv",
     head + rows("-93.97{0},43.9{0},{1}\n", 10, 60) + "0,0,40\n",
     0,
     52,
     {},
     {"taken as longitude and latitude", "far from all others: line 53 (0, 0)"}},
    {"no_fix.csv",
     head + around + "0,0,40\n",
     0,
     31,
     {},
     {"far from all others: line 32 (0, 0)", "\"x\": 432016"},
     "semivariogram"},
    {"far_off_the_earth.csv",
     head + around + "1e300,4862010,40\n4320000,1e39,5\n",
     0,
     30,
     {{"position_not_on_earth", {2, 32}}},
     {"\"x\": 432016"},
     "semivariogram"},
    {"beyond_degrees.csv",
     "Longitude,Latitude,CMV\n" + rows("-93.97{0},43.9{0},{1}\n", 1, 9) + "-93.97,143.9,40\n",
     0,
     10,
     {},
     {"\"rows_without_position\": 1"}},
    {"multipoints.csv",
     "WKT,CMV\n" + rows("\"MULTIPOINT ({0} 1, {0} 2, {0} 4)\",{1}\n", 1, 9) + "POINT (10 1),?\n",
     0,
     27,
     {{"value_missing", {1, 11}}},
     {"18 points are further ones"}},
    {"one_place.csv", head + rows("0,0,{1}\n", 1, 9), 0, 9, {}, {}},
};

class Dirty : public app_test::Program {
protected:
    // Of every answer: no row is lost between those that are read and those that are accounted for.
    static void expect_every_row_accounted_for(const nlohmann::json& input) {
        const auto sum = [](const nlohmann::json& of, std::initializer_list<const char*> keys) {
            int total = 0;
            for (const char* const key : keys) total += of[key].get<int>();
            return total;
        };
        EXPECT_EQ(input["rows_read"],
                  sum(input, {"rows_used", "rows_dropped", "rows_left_out_by_filter",
                              "rows_of_earlier_passes", "rows_left_without_position"}));
        int read = 0, used = 0, dropped = 0, reasons_given = 0;
        for (const auto& file : input["files"]) {
            read += file["rows_read"].get<int>();
            used += file["rows_used"].get<int>();
            dropped += file["rows_dropped"].get<int>();
        }
        for (const auto& reason : input["dropped"]) reasons_given += reason["count"].get<int>();
        EXPECT_EQ(input["rows_read"], read);
        EXPECT_EQ(input["rows_used"], used);
        EXPECT_EQ(input["rows_dropped"], dropped);
        EXPECT_EQ(reasons_given, dropped);
    }

    void expect_answer(const dirty_file& file, const outcome& result) {
        const auto input = result.json()["input"];
        EXPECT_EQ(input["rows_used"], file.used);
        reasons dropped;
        for (const auto& row : input["dropped"])
            dropped[row["reason"]] = {row["count"], row["first_line"]};
        EXPECT_EQ(dropped, file.dropped);
        expect_every_row_accounted_for(input);
        // What `columns` says of the file is what the analysis does.
        if (!file.options.starts_with("stats")) return;
        const outcome seen = run("columns" + file.options.substr(5) + " --json " + file.name);
        ASSERT_EQ(seen.code, 0) << seen.err;
        for (const char* const key : {"rows_read", "rows_used", "rows_dropped", "dropped",
                                      "rows_without_position", "rows_of_earlier_passes"})
            EXPECT_EQ(seen.json()["input"][key], input[key]) << key;
    }

    void expect_each(const std::vector<dirty_file>& files) {
        for (const dirty_file& file : files) {
            SCOPED_TRACE(file.name);
            write(file.name, file.bytes);
            const outcome result = run(file.options + " --json " + file.name);
            EXPECT_EQ(result.code, file.code) << result.err;
            for (const char* const word : file.words) {
                const std::string all = result.out + result.err;
                EXPECT_NE(all.find(word), std::string::npos) << word << "\n" << all.substr(0, 3000);
            }
            if (result.code == 0 && file.used >= 0) expect_answer(file, result);
        }
    }
};

TEST_F(Dirty, QuotationMarksFollowOneRule) {
    expect_each(quotes);
}
TEST_F(Dirty, NumbersAreReadStrictly) {
    expect_each(numbers);
}
TEST_F(Dirty, FieldsStandUnderTheirColumns) {
    expect_each(fields);
}
TEST_F(Dirty, HeadsAndEncodingsAreFoundOrTheTrueCauseIsTold) {
    expect_each(heads);
}
TEST_F(Dirty, PositionsAreSeenForWhatTheyAre) {
    expect_each(positions);
}

TEST_F(Dirty, SeveralFilesMakeOneLotWithTheRowsOfEachCounted) {
    write("monday.csv", head + lot(1, 9) + "10,1,?\n");
    write("tuesday.csv", "CMV;note;y;x\n" + rows("{1},5;a;1;{0}\n", 11, 19) + "x;a;1;20\n");
    write("feet.csv", "x_ft,y_ft,CMV\n" + lot(1, 9));
    write("metres.csv", "x_m,y_m,CMV\n" + lot(1, 9));
    write("speed.csv", "x,y,CMV (kN)\n" + lot(1, 9));
    const outcome both = run("stats monday.csv tuesday.csv --json");
    ASSERT_EQ(both.code, 0) << both.err;
    const auto input = both.json()["input"];
    expect_every_row_accounted_for(input);
    EXPECT_EQ(input["rows_used"], 18);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(input["files"][i]["rows_read"], 10);
        EXPECT_EQ(input["files"][i]["rows_used"], 9);
    }
    for (const auto& reason : input["dropped"]) {
        const bool on_monday = reason["reason"] == "value_missing";
        EXPECT_EQ(reason["first_file"], on_monday ? "monday.csv" : "tuesday.csv");
        EXPECT_EQ(reason["first_line"], 11);
    }
    EXPECT_NEAR(both.json()["statistics"]["maximum"].get<double>(), 46.5, 1e-6);
    const outcome text = run("stats monday.csv tuesday.csv");
    for (const char* const word : {"monday.csv: 10 read, 9 used, 1 dropped", "tuesday.csv, line 11",
                                   "20 read, 18 used", "decimal comma"})
        EXPECT_TRUE(text.says(word));
    EXPECT_EQ(run("select monday.csv tuesday.csv --circle 12,1,1.5 --output out.csv").code, 0);
    EXPECT_EQ(app_test::text_of(path("out.csv")),
              "x,y,CMV,note\n11,1,\"44,5\",a\n12,1,\"45,5\",a\n13,1,\"46,5\",a\n");

    expect_refused("stats", {{"monday.csv monday.csv", "named twice"},
                             {"monday.csv ./monday.csv", "named twice"},
                             {"monday.csv gone.csv", "gone.csv: there is no such file"},
                             {"metres.csv feet.csv", "feet.csv: it has no column x_m"},
                             {"monday.csv speed.csv", "speed.csv: it has no column CMV"}});
    expect_refused("select",
                   {{"monday.csv tuesday.csv --circle 1,1,9 --output tuesday.csv", "tuesday.csv"}});
}

TEST_F(Dirty, StreamsAreReadAndEnd) {
    write("lot.csv", head + lot(1, 9) + "10,1,?\n");
    const std::string program = app_test::program() + " ";
    const auto used = [&](const std::string& command) {
        const int status = std::system(
            ("cd '" + folder.string() + "' && " + command + " > stream.txt 2> errors.txt").c_str());
        const std::string text = app_test::text_of(path("stream.txt"));
        return WEXITSTATUS(status) != 0
                   ? -WEXITSTATUS(status)
                   : nlohmann::json::parse(text)["input"]["rows_used"].get<int>();
    };
    EXPECT_EQ(used("cat lot.csv | " + program + "stats --json -"), 9);
    EXPECT_EQ(used(program + "stats --json - < lot.csv"), 9);
    EXPECT_EQ(used("cat lot.csv | " + program + "stats --json /dev/stdin"), 9);
    EXPECT_EQ(used(program + "stats --json /dev/stdin < lot.csv"), 9);
    EXPECT_EQ(used("mkfifo pipe && { cat lot.csv > pipe & } && " + program + "stats --json pipe"),
              9);
    EXPECT_EQ(used(program + "stats --json pipe"), -2); // its writer has gone
    EXPECT_NE(app_test::text_of(path("errors.txt")).find("no program writes to this pipe"),
              std::string::npos);
}

TEST_F(Dirty, SpotTestsAreKnownByTheNamesOfTheField) {
    write("lot.csv", head + rows("{0},1,{1}\n", 1, 30));
    struct {
        const char* heading;
        const char* taken;
        const char* unit;
    } const cases[] = {{"EVD_MN_m2,moisture", "EVD_MN_m2", "MN/m2"},
                       {"Moisture (%),Ev2 [MN/m²]", "Ev2 [MN/m²]", "MN/m²"},
                       {"EV1,EV2", "EV2", ""},
                       {"CBR %,remark_no", "CBR %", "%"},
                       {"k (MN/m3),depth", "k (MN/m3)", "MN/m3"},
                       {"DCP_mm_blow,depth", "DCP_mm_blow", "mm/blow"},
                       {"LWD MPa,depth", "LWD MPa", "MPa"},
                       {"dry density (t/m³),temperature", "dry density (t/m³)", "t/m³"}};
    for (const auto& [heading, taken, unit] : cases) {
        SCOPED_TRACE(heading);
        write("tests.csv",
              fmt::format("x,y,{}\n", heading) + "5,1,40,42\n10,1,43,45\n15,1,42,42\n20,1,44,43\n");
        const outcome result = run("spots lot.csv tests.csv --radius 2 --json");
        ASSERT_EQ(result.code, 0) << result.err;
        const std::string found = result.json().dump();
        EXPECT_NE(found.find(fmt::format("\"name\":\"{}\"", taken)), std::string::npos) << found;
        const std::string with_unit = *unit ? fmt::format("\"unit\":\"{}\"", unit) : "";
        EXPECT_NE(found.find(with_unit), std::string::npos) << found;
        EXPECT_TRUE(run("spots lot.csv tests.csv --radius 2").says(taken));
    }
}

} // namespace
