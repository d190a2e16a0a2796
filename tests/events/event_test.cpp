// The event state, the host's record and the report.
#include "events/event.hpp"
#include "events/unit_table.hpp"
#include "support/event_text.hpp"
#include "support/scratch_folder.hpp"

using namespace qmx;
using support::text_of;

namespace {

void store(const std::string& description, const std::string& routine, i32 code, i32 severity) {
    store_event(description.data(), routine.data(), code, severity,
                static_cast<i32>(description.size()), static_cast<i32>(routine.size()));
}

TEST(Event, OnlySeveritiesTwoAndThreeCountAsFailed) {
    for (const i32 severity : {-2, -1, 0, 1, 2, 3, 4, 5, 6, 102}) {
        store("message", "routine", 101, severity);
        EXPECT_EQ(has_failed(), severity == 2 || severity == 3) << severity;
    }
    current_event.i_status = 3;
    clear_event();
    EXPECT_FALSE(has_failed());
    EXPECT_EQ(text_of(current_event.c_description.characters), "");
    EXPECT_EQ(current_event.i_status, 3) << "clearing leaves the last outcome";
}

TEST(Event, TextsAreTrimmedPaddedAndCutAndTheLastEventWins) {
    store("first", "one", 101, 2);
    store("second   ", "two ", 102, 2);
    EXPECT_EQ(current_event.c_description.trimmed(), "second");
    EXPECT_EQ(current_event.c_description.characters[255], ' ');
    EXPECT_EQ(current_event.c_subfunc.trimmed(), "two");
    EXPECT_EQ(current_event.i_errcode, 102);
    store(std::string(300, 'd'), "", 101, 2);
    EXPECT_EQ(current_event.c_description.trimmed(), std::string(256, 'd'));

    EXPECT_FALSE(store_event_if(-1, "never", "r", 101, 2, 5, 1));
    EXPECT_EQ(current_event.c_description.trimmed(), std::string(256, 'd'));
    EXPECT_TRUE(store_event_if(0, "stored", "r", 101, 2, 6, 1));
    EXPECT_EQ(current_event.c_description.trimmed(), "stored");
}

TEST(Event, PathGrowsOutwardsAndIsCutAtItsLength) {
    EXPECT_EQ(fail_here(routine_text("inner"), "why"), 3);
    EXPECT_EQ(pass_up(routine_text("middle")), 3);
    pass_up(routine_text("outer"));
    EXPECT_EQ(current_event.c_subfunc.trimmed(), "inner/middle/outer");
    const std::string name(40, 'n');
    std::string path(current_event.c_subfunc.trimmed());
    for (int i = 0; i < 10; ++i) {
        pass_up(routine_text(name));
        path += "/" + name;
    }
    EXPECT_EQ(current_event.c_subfunc.trimmed(), path.substr(0, 256));
}

TEST(Event, MemoryIsTheOneFailureThatIsRecognised) {
    fail_here(routine_text("r"), "memory");
    EXPECT_FALSE(has_run_out_of_memory());
    EXPECT_EQ(fail_out_of_memory(routine_text("r")), 3);
    EXPECT_TRUE(has_run_out_of_memory());
    EXPECT_EQ(current_event.i_errcode, 101);
    EXPECT_EQ(current_event.i_errtype, 2);
    clear_event();
    EXPECT_FALSE(has_run_out_of_memory());
}

TEST(HostRecord, ClassFollowsTheStatus) {
    struct {
        i32 status;
        bool written;
        i32 event_class;
    } const rows[] = {{0, false, 0}, {1, true, 0}, {2, true, 0},  {3, true, 2},
                      {4, false, 0}, {5, true, 2}, {6, false, 0}, {-3, false, 0}};
    for (const auto& row : rows) {
        store("description", "path", 103, 2);
        current_event.i_status = row.status;
        t_event event = support::patterned_event();
        EXPECT_EQ(set_event(current_event, event), 1);
        if (!row.written) {
            EXPECT_TRUE(support::is_untouched(event)) << row.status;
            continue;
        }
        EXPECT_EQ(text_of(event.c_description), "description");
        EXPECT_EQ(text_of(event.c_subfunc), "path");
        EXPECT_EQ(event.i_errcode, 103);
        EXPECT_EQ(event.i_errclass, row.event_class) << row.status;
    }
}

class Report : public testing::Test {
protected:
    support::scratch_folder folder;
    std::filesystem::path path = folder.path() / "report.txt";
    i32 unit = find_free_unit();

    void connect() { ASSERT_EQ(connect_unit(unit, path.string(), open_status::unknown), 0); }
    std::vector<std::string> lines() {
        close_unit(unit);
        return support::lines_of(path);
    }
    void TearDown() override { close_unit(unit); }
};

TEST_F(Report, WritesSevenLinesToAConnectedUnit) {
    std::vector<std::string> expected;
    i32 severity = 0;
    connect();
    for (const char* const words :
         {"  undefined severity", "  recoverable error not causing failure",
          "  recoverable error causing some failure", "  fatal error", "  undefined severity"}) {
        store("what happened", "inner/outer", 101, severity++);
        print_event(unit);
        expected.insert(expected.end(),
                        {"***** Error Message ******", "sub/func name : inner/outer",
                         "description   : ", "  what happened", "error code   : 101",
                         "error type: ", words});
    }
    EXPECT_EQ(lines(), expected);
}

// How an existing file "before" is opened decides what is left of it.
TEST_F(Report, TheStatusAndPositionOfAUnitDecideWhatIsKept) {
    using status = open_status;
    using position = open_position;
    const struct {
        open_status how;
        open_position where;
        std::vector<std::string> left;
    } rows[] = {{status::unknown, position::start, {"xy"}},
                {status::old, position::start, {"xy", "ore"}},
                {status::old, position::append, {"before", "xy"}},
                {status::unknown, position::append, {"before", "xy"}}};
    for (const auto& row : rows)
        for (const open_form form : {open_form::formatted, open_form::binary}) {
            std::ofstream(path) << "before\n";
            ASSERT_EQ(connect_unit(unit, path.string(), row.how, row.where, form), 0);
            EXPECT_TRUE(unit_is_connected(unit));
            write_line(unit, "x", "y");
            std::vector<std::string> left = row.left;
#if defined(_WIN32) // the end of a written line takes two bytes there
            if (left.back() == "ore" && form == open_form::formatted) left.back() = "re";
#endif
            EXPECT_EQ(lines(), left);
        }
    std::filesystem::remove(path);
    EXPECT_EQ(connect_unit(unit, path.string(), status::old), ENOENT);
    EXPECT_FALSE(unit_is_connected(unit) || unit_is_connected(first_unit - 1) ||
                 unit_is_connected(last_unit + 1));
}

TEST_F(Report, WritesNothingToAUnitThatIsNotConnected) {
    store("what happened", "inner/outer", 101, 2);
    for (const i32 nowhere : {unit, 0, -1, 6, 100}) print_event(nowhere);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(current_event.c_description.trimmed(), "what happened");
}

TEST(Processor, MaskKeepsOnlyTheOverflowBit) {
#if defined(__GNUC__) && defined(__x86_64__)
    std::uint16_t before = 0;
    std::uint16_t after = 0;
    __asm__ volatile("fnstcw %0" : "=m"(before));
    set_fp_mask();
    __asm__ volatile("fnstcw %0" : "=m"(after));
    __asm__ volatile("fldcw %0" : : "m"(before));
    EXPECT_EQ(after & 0x3F, 0x08);
    EXPECT_EQ(after & ~0x3F, before & ~0x3F);
#else
    set_fp_mask();
    GTEST_SKIP() << "no such control word here";
#endif
}

} // namespace
