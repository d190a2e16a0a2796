// Log files on free units: where they land, what stands in them, and how an open fails.
#include "events/unit_table.hpp"
#include "logs/log_files.hpp"
#include "support/expect_event.hpp"
#include "support/scratch_folder.hpp"

#include <ctime>
#include <regex>

using namespace qmx;
namespace fs = std::filesystem;

namespace {

class LogFiles : public testing::Test {
protected:
    support::scratch_folder folder;

    void SetUp() override { clear_event(); }
    void TearDown() override {
        for (i32 unit = first_unit; unit <= last_unit; ++unit) close_unit(unit);
        clear_event();
    }
};

TEST_F(LogFiles, EachRoutineOpensItsOwnPathOnTheLowestFreeUnit) {
    const std::string tmp = folder.path().string();
    support::environment_variable variable("TMP", tmp.c_str());
    support::working_folder here(folder.path());
    struct {
        const char* name;
        std::function<i32()> open;
        fs::path expected;
    } const rows[] = {
        {"scratch", [] { return scratch_unit_get(); }, tmp + "\\00scratch.txt"},
        {"temporary", [] { return io_tmp_file("a.txt"); }, tmp + "\\a.txt"},
        {"temporary binary", [] { return io_tmp_binfile("b.bin"); }, tmp + "\\b.bin"},
        {"local", [] { return io_lc_file("c.txt"); }, folder.path() / "c.txt"},
        {"local binary", [] { return io_lc_binfile("d.bin"); }, folder.path() / "d.bin"},
        {"geometry", [] { return get_iounit_geo(); }, tmp + "\\get_iounit_geo.txt"}};
    i32 expected_unit = first_unit;
    for (const auto& row : rows) {
        EXPECT_EQ(row.open(), expected_unit++) << row.name;
        EXPECT_TRUE(fs::exists(row.expected)) << row.expected;
    }
    EXPECT_FALSE(has_failed());
}

#if !defined(_WIN32) // where the backslash is a folder: the root of the drive
TEST_F(LogFiles, WithoutTheVariableTheBackslashBeginsTheName) {
    support::environment_variable variable("TMP", nullptr);
    support::working_folder here(folder.path());
    EXPECT_EQ(io_tmp_file("a.txt"), 11);
    EXPECT_TRUE(fs::exists(folder.path() / "\\a.txt"));
}
#endif

TEST_F(LogFiles, PathsAreCutAt128Characters) {
    support::working_folder here(folder.path());
    EXPECT_EQ(io_lc_file(std::string(200, 'x')), 11);
    EXPECT_TRUE(fs::exists(folder.path() / std::string(128, 'x')));
}

TEST_F(LogFiles, AFailedOpenTellsPathAndStatus) {
    support::environment_variable variable("TMP", "/nowhere/at/all");
    struct {
        std::function<i32()> open;
        const char* path;
        const char* routine;
    } const rows[] = {
        {[] { return scratch_unit_get(); }, "/nowhere/at/all\\00scratch.txt", "scratch_unit_get"},
        {[] { return io_tmp_file("a"); }, "/nowhere/at/all\\a", "io_tmp_file"},
        {[] { return io_tmp_binfile("a"); }, "/nowhere/at/all\\a", "io_tmp_file"},
        {[] { return io_lc_file("/nowhere/a"); }, "/nowhere/a", "io_lc_file"},
        {[] { return io_lc_binfile("/nowhere/a"); }, "/nowhere/a", "io_lc_binfile"}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.open(), 3);
        support::expect_event("error opening a new file - " + std::string(row.path) +
                                  ", iostat = 2",
                              row.routine, 102);
    }
    EXPECT_EQ(find_free_unit(), 11);
}

TEST_F(LogFiles, WithoutAFreeUnitEachRoutineFails) {
    support::working_folder here(folder.path());
    for (i32 i = first_unit; i <= last_unit; ++i) ASSERT_EQ(io_lc_file("same.txt"), i);
    EXPECT_EQ(io_lc_file("same.txt"), 3);
    support::expect_event("error in finding a free file unit", "io_lc_file");
    i32 unit = 0;
    file_open("p", "n", unit);
    EXPECT_EQ(unit, -1);
    support::expect_event("error in finding a free file unit", "subroutine file_open");
}

TEST_F(LogFiles, SeasonAndTimeDecideBetweenANewAndAContinuedFile) {
    support::working_folder here(folder.path());
    const fs::path path = folder.path() / "log0name.txt";
    const i32 one = 1, two = 2, off = 0;
    struct {
        const char* name;
        const i32 *season, *time;
        bool is_new;
    } const rows[] = {{"neither", nullptr, nullptr, true}, {"season 1", &one, nullptr, true},
                      {"season 2", &two, nullptr, false},  {"both 1", &one, &one, true},
                      {"time 2", &one, &two, false},       {"season 2, time 1", &two, &one, false}};
    for (const auto& row : rows) {
        i32 unit = 0;
        std::ofstream(path) << "before\n";
        file_open("log  ", "name ", unit, row.season, row.time, &off);
        ASSERT_FALSE(has_failed()) << row.name;
        write_line(unit, "after");
        close_unit(unit);
        const auto expected = row.is_new ? std::vector<std::string>{"after"}
                                         : std::vector<std::string>{"before", "after"};
        EXPECT_EQ(support::lines_of(path), expected) << row.name;
        fs::remove(path);
        file_open("log", "name", unit, row.season, row.time, &off);
        EXPECT_EQ(has_failed(), !row.is_new) << row.name;
        if (!row.is_new)
            support::expect_event("error opening an old filelog0name.txtiostat=2",
                                  "subroutine file_open", 103);
        close_unit(unit);
    }
    i32 unit = 0;
    file_open("log", "name", unit); // with the header, without season and time
    close_unit(unit);
    EXPECT_EQ(support::lines_of(path).size(), 6U);
    support::environment_variable variable("TMP", folder.path().string().c_str());
    file_open(std::string(200, ' ') + "log", "name", unit); // nothing but blanks is left of it
    EXPECT_FALSE(has_failed());
    EXPECT_TRUE(fs::exists(folder.path().string() + "0dummy.txt"));
    close_unit(unit);
    fs::remove(folder.path().string() + "0dummy.txt");
    file_open("log", "name", unit, nullptr, &one);
    support::expect_event("error: icumseason should be present when itimeidx is used",
                          "subroutine file_open");
    file_open("/nowhere/log", "name", unit);
    support::expect_event("error opening a new file/nowhere/log0name.txtiostat=2",
                          "subroutine file_open", 102);
}

TEST_F(LogFiles, HeaderBannerAndDateHaveTheirLines) {
    support::working_folder here(folder.path());
    const i32 season = 1;
    i32 unit = 0;
    file_open("log", "name", unit, &season, &season);
    const std::time_t before = std::time(nullptr);
    EXPECT_EQ(print_datetime(unit), 1);
    QMPrintHeader(unit, 2, "a title  ");
    QMPrintHeader(unit, 7, "");
    QMPrintHeader(unit, 0, "");
    close_unit(unit);
    const auto lines = support::lines_of("log0name.txt");
    ASSERT_EQ(lines.size(), 25U);
    const std::string asterisks(54, '*');
    const std::string path = "log0name.txt" + std::string(116, ' ');
    const std::vector<std::string> header = {
        asterisks, "",   "          name debug file ", "",
        asterisks, path, " acumulated season: 1",      " timeindex        : 1"};
    EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 8), header);

    std::tm local = {};
#if defined(_WIN32)
    localtime_s(&local, &before);
#else
    localtime_r(&before, &local);
#endif
    char date[64];
    std::snprintf(date, sizeof date, "Day - Month - Year =      %2d - %2d - %4d", local.tm_mday,
                  local.tm_mon + 1, local.tm_year + 1900);
    EXPECT_EQ(lines[8], date);
    EXPECT_TRUE(
        std::regex_match(lines[9], std::regex("Hour : Minute : Second =( +[0-9]+ :){2} +[0-9]+")));
    EXPECT_EQ(lines[9].size(), 25U + 1 + 2 + 3 + 2 + 3 + 2);
    const std::string equals = std::string(58, '=') + "  ";
    const std::vector<std::string> banner = {"", equals, "          a title", equals, ""};
    EXPECT_EQ(std::vector<std::string>(lines.begin() + 10, lines.begin() + 15), banner);
    for (const std::size_t line : {16U, 21U})
        EXPECT_EQ(lines[line], std::string(58, '*') + "  ")
            << "an unknown style is drawn as the first";
}

} // namespace
