#include "numeric/errors/error_stack.hpp"

#include "numeric/arithmetic/machine.hpp"
#include "numeric/errors/numeric_frame.hpp"
#include "numeric/errors/print_options.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <utility>

using namespace qmx;
using namespace qmx::numeric;

namespace {

void push(std::string_view name) {
    E1PSH(name.data(), static_cast<i32>(name.size()));
}
void pop(std::string_view name) {
    E1POP(name.data(), static_cast<i32>(name.size()));
}

void call_that_posts(std::string_view name, i32 type, i32 code,
                     std::string_view message = "told.") {
    const numeric_frame frame(name);
    post(type, code, message);
}

std::string message_of(std::string_view form) {
    call_that_posts("BUILD ", type_note, 1, form);
    return std::string(last_message());
}

std::string printed_by(auto&& run) {
    testing::internal::CaptureStderr();
    run();
    return testing::internal::GetCapturedStderr();
}

// Runs on a thread of its own, whose error state is fresh; the tests' own thread keeps its own.
void on_a_new_thread(auto&& run) {
    std::thread(run).join();
}

// Most tests want to see codes, not to end.
class ErrorStack : public testing::Test {
protected:
    ErrorStack() { ERSET(0, 0, 0); }
    ~ErrorStack() override { ERSET(0, 2, 2); }
};

struct rising_case {
    i32 type;
    bool rises;
    bool seen_by_query;
};

TEST_F(ErrorStack, ATypeRisesAndIsSeenAsItsRowTells) {
    const rising_case cases[] = {{type_none, false, false},
                                 {type_note, false, true},
                                 {type_alert, true, true},
                                 {type_warning, true, true},
                                 {type_fatal, true, true},
                                 {type_terminal, true, false},
                                 {type_warning_everywhere, true, false},
                                 {type_fatal_everywhere, true, false}};
    for (const auto& [type, rises, seen_by_query] : cases) {
        SCOPED_TRACE(type);
        {
            const numeric_frame outer("OUTER ");
            call_that_posts("INNER ", type, 17);
            EXPECT_EQ(N1RTY(1), type);
            EXPECT_EQ(N1RCD(1), 17);
            EXPECT_EQ(IERCD(), seen_by_query ? 17 : 0);
            EXPECT_EQ(N1RTY(0), rises ? type : type_none);
            EXPECT_EQ(N1RCD(0), rises ? 17 : 0);
        }
        EXPECT_EQ(N1RTY(1), rises ? type : type_none);
        EXPECT_EQ(IERCD(), rises && seen_by_query ? 17 : 0);
    }
}

TEST_F(ErrorStack, AnInnermostWarningReachesTheApplicationUnlessARoutineClearsIt) {
    for (const bool is_cleared : {false, true}) {
        {
            const numeric_frame outer("DRCURV ");
            {
                const numeric_frame middle("DR2URV ");
                call_that_posts("DR3ORP ", type_warning, 6);
                if (is_cleared) post(type_none, 0, " ");
            }
            EXPECT_EQ(IERCD(), is_cleared ? 0 : 6);
        }
        EXPECT_EQ(IERCD(), is_cleared ? 0 : 6);
        EXPECT_EQ(last_message(), is_cleared ? "" : "told.");
    }
}

TEST_F(ErrorStack, ANewCallStartsCleanAndSeesNothingPopped) {
    call_that_posts("FIRST ", type_terminal, 3);
    {
        const numeric_frame middle("MIDDLE ");
        call_that_posts("DEEP ", type_warning, 8);
    }
    const numeric_frame frame("SECOND ");
    EXPECT_EQ(N1RTY(0), type_none);
    EXPECT_EQ(N1RCD(0), 0);
    EXPECT_EQ(N1RTY(1), -1); // not the warning of DEEP, which stood at this level before
    EXPECT_EQ(N1RCD(1), -1);
    EXPECT_EQ(IERCD(), 0);
}

struct posting_case {
    i32 type, code;
    i32 type_after, code_after;
};

TEST_F(ErrorStack, PostingKeepsWhatItIsToldToKeep) {
    const posting_case cases[] = {{type_fatal, 9, type_fatal, 9},  {-1, 9, type_warning, 9},
                                  {type_fatal, -1, type_fatal, 4}, {-1, -5, type_warning, 4},
                                  {type_none, 0, type_none, 0},    {8, 1, type_terminal, 1},
                                  {-2, 1, type_terminal, 1},       {type_none, 3, type_none, 3},
                                  {1 << 30, 1, type_terminal, 1}};
    for (const auto& [type, code, type_after, code_after] : cases) {
        const numeric_frame frame("POSTS ");
        post(type_warning, 4, "first");
        post(type, code, "second");
        EXPECT_EQ(N1RTY(0), type_after) << type << ' ' << code;
        EXPECT_EQ(N1RCD(0), code_after) << type << ' ' << code;
        EXPECT_EQ(last_message(), "second");
    }
}

TEST_F(ErrorStack, PlaceholdersTakeTheStoredValues) {
    const auto build = [](std::string_view form) {
        E1STI(1, std::numeric_limits<i32>::min());
        E1STI(9, 42);
        E1STR(1, 0.1f);
        E1STR(2, std::numeric_limits<f32>::quiet_NaN());
        E1STD(1, 0.1);
        E1STD(2, -std::numeric_limits<f64>::infinity());
        E1STL(1, "IOPT", 4);
        E1STL(2, "not read", -1);
        return message_of(form);
    };
    EXPECT_EQ(build("N = %(I1), %(i9)."), "N = -2147483648, 42.");
    EXPECT_EQ(build("%(R1) %(D1)"), "0.1 0.1"); // each width by its own shortest decimal
    EXPECT_EQ(build("%(R2) %(D2)"), "NaN -inf");
    EXPECT_EQ(build("%(L1) = %(I9).  %(L1)[%(L2)]"), "IOPT = 42.  IOPT[]");
    EXPECT_EQ(build("one%/two%%/%"), "one\ntwo%\n%");
    EXPECT_EQ(build(""), "");
}

TEST_F(ErrorStack, ABadKeywordStaysAndIsReported) {
    const std::pair<const char*, const char*> cases[] = {
        {"a %(Q1) b", "%(Q1)"}, {"a %(I0) b", "%(I0)"}, {"a %(II) b", "%(II)"},
        {"a %(I1 b", "%(I1 "},  {"a %(", "%("},         {"a %(I2) b", "%(I2)"},
        {"a %(Z1) b", "%(Z1)"}, {"a %(R1) b", "%(R1)"}};
    for (const auto& [form, keyword] : cases) {
        E1STI(1, 5);
        E1STI(0, 6); // no placeholder can name it
        E1STI(10, 7);
        const std::string built = message_of(form);
        EXPECT_TRUE(built.starts_with(form)) << built;
        EXPECT_TRUE(built.ends_with(std::string(" in reference to keyword ") + keyword)) << built;
    }
    E1STI(1, 5);
    EXPECT_EQ(message_of("%(I1)"), "5");
    EXPECT_NE(message_of("%(I1)"), "5") << "a value must not leak into the next message";
}

TEST_F(ErrorStack, LongTextsAreCut) {
    const std::string name(40, 'N'), words(2000, 'w');
    push(name);
    post(type_note, 1, words);
    EXPECT_EQ(last_message(), std::string_view(words).substr(0, 1024));
    pop(name.substr(0, 32) + "other end, not kept");
    E1STL(1, words.data(), 2000);
    EXPECT_EQ(message_of("%(L1)"), words.substr(0, 128));
}

// What a call with an error of each type prints, as a mask of types (bit type - 1).
i32 printing_types() {
    i32 types = 0;
    for (i32 type = type_note; type <= type_fatal_everywhere; ++type) {
        const std::string printed = printed_by([&] { call_that_posts("SHOWS ", type, 3); });
        if (!printed.empty()) types |= 1 << (type - 1);
    }
    return types;
}

struct setting_case {
    i32 severity, action;
    i32 from_none, from_all; // types that print after it, with none or all printing before
};

TEST(ErrorSettings, EachSeverityAndActionSetsItsTypes) {
    const setting_case cases[] = {{0, 1, 0b1111111, 0b1111111}, {0, 0, 0, 0},
                                  {0, 2, 0b1111100, 0b1111100}, {0, -1, 0, 0b1111111},
                                  {1, 1, 0b0000001, 0b1111111}, {1, 2, 0, 0b1111110},
                                  {2, 0, 0, 0b1111101},         {3, 1, 0b0100100, 0b1111111},
                                  {3, 2, 0b0100100, 0b1111111}, {4, 0, 0, 0b0110111},
                                  {4, 1, 0b1001000, 0b1111111}, {5, 1, 0b0010000, 0b1111111},
                                  {5, 0, 0, 0b1101111}};
    for (const auto& [severity, action, from_none, from_all] : cases) {
        SCOPED_TRACE(testing::Message() << severity << ' ' << action);
        for (const bool is_all_on : {false, true}) {
            ERSET(0, is_all_on ? 1 : 0, 0);
            ERSET(severity, action, 0);
            EXPECT_EQ(printing_types(), is_all_on ? from_all : from_none);
            ERSET(severity, action, -1); // the same again leaves the same
            EXPECT_EQ(printing_types(), is_all_on ? from_all : from_none);
        }
    }
    ERSET(0, 0, 0);
    ERSET(0, 0, 0);
    EXPECT_EQ(printing_types(), 0);
    ERSET(0, 2, 2);
}

TEST(ErrorSettings, AreRefusedWithTheirMessageAndChangeNothing) {
    const struct {
        i32 severity, print_action, stop_action, code;
        const char* message;
    } cases[] = {
        {-1, 1, 1, 1,
         "Invalid error severity level indicator.  IERSVR must be 0 to 5.  IERSVR = -1"},
        {6, 9, 9, 1, "Invalid error severity level indicator.  IERSVR must be 0 to 5.  IERSVR = 6"},
        {0, 3, 1, 2,
         "Invalid value specified for printing action.  IPACT must be -1 to 2.  IPACT = 3"},
        {0, 1, -2, 3,
         "Invalid value specified for stopping action.  ISACT must be -1 to 2.  ISACT = -2"}};
    ERSET(0, 0, 0);
    for (const auto& [severity, print_action, stop_action, code, message] : cases) {
        ERSET(severity, print_action, stop_action);
        EXPECT_EQ(N1RTY(1), type_terminal);
        EXPECT_EQ(N1RCD(1), code);
        EXPECT_EQ(last_message(), message);
        EXPECT_EQ(printing_types(), 0);
    }
    // An error left behind in the application's level does not stand in the way of a setting.
    ERSET(3, 1, 0);
    EXPECT_EQ(printing_types(), 0b0100100);
    ERSET(0, 2, 2);
}

TEST(ErrorReport, IsPrintedWhereItIsDue) {
    ERSET(0, 1, 0);
    const auto nested = [](i32 type) {
        return printed_by([&] {
            const numeric_frame outer("OUTER ");
            call_that_posts("INNER ", type, 7, "why.");
        });
    };
    EXPECT_EQ(nested(type_note), "");
    EXPECT_EQ(nested(type_alert), "ALERT 7 from OUTER\n    why.\n");
    EXPECT_EQ(nested(type_fatal), "FATAL 7 from OUTER\n    why.\n");
    for (const auto& [type, label] :
         {std::pair(type_terminal, "TERMINAL"), std::pair(type_warning_everywhere, "WARNING"),
          std::pair(type_fatal_everywhere, "FATAL")}) {
        const std::string head = std::string(label) + " 7 from ";
        EXPECT_EQ(nested(type), head + "INNER\n    why.\n" + head + "OUTER\n    why.\n");
    }
    ERSET(0, 2, 2);
}

TEST(ErrorReport, IsBrokenIntoLinesOfThePage) {
    const auto print = [](std::string_view message) {
        return printed_by([&] { call_that_posts("WRAPS ", type_warning, 1, message); });
    };
    i32 width = 24; // twenty characters beside the indent
    PGOPT(-1, width);
    const std::string head = "WARNING 1 from WRAPS\n";
    EXPECT_EQ(print("exactly twenty chars"), head + "    exactly twenty chars\n");
    EXPECT_EQ(print("exactly twenty chars and"), head + "    exactly twenty chars\n    and\n");
    EXPECT_EQ(print("one more than twenty.  Two "), head + "    one more than\n    twenty.  Two\n");
    EXPECT_EQ(print("a%/%/  b"), head + "    a\n    \n      b\n");
    EXPECT_EQ(print("breaks before blanks     %/c"), head + "    breaks before blanks\n    c\n");
    EXPECT_EQ(print(std::string(25, 'x')), head + "    xxxxxxxxxxxxxxxxxxxx\n    xxxxx\n");
    EXPECT_EQ(print(" "), head);
    std::string breaks; // the longest page there is
    for (int k = 0; k < 1100; ++k) breaks += "%/";
    EXPECT_EQ(print(breaks + "x").size(), head.size() + 1024 * 5);
    width = 78;
    PGOPT(-1, width);
}

TEST(ErrorStopDeathTest, TheStackIsNeverMisusedUnnoticed) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto ends = testing::ExitedWithCode(EXIT_FAILURE);
    ERSET(0, 0, 0); // no setting can silence these
    EXPECT_EXIT(pop("ABOVE "), ends, "Cannot pop from ABOVE because stack is empty");
    EXPECT_EXIT((push("ONE "), pop("TWO ")), ends, "TWO does not match the name ONE in the stack");
    EXPECT_EXIT((push("ONE "), pop("ON")), ends, "ON does not match the name ONE");
    EXPECT_EXIT(for (;;) push("DEEPER "), ends, "Push would cause stack level to exceed 64");
    EXPECT_EXIT(N1RTY(2), ends, "from N1RTY\n    .  The argument passed to N1RTY must be 0 or 1");
    EXPECT_EXIT(N1RCD(-1), ends, "from N1RCD\n    .  The argument passed to N1RCD must be 0 or 1");
    ERSET(0, 2, 2);
}

TEST(ErrorStopDeathTest, TheStopTableEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto ends = testing::ExitedWithCode(EXIT_FAILURE);
    const auto nested = [](i32 type, bool clears) {
        {
            const numeric_frame outer("OUTER ");
            call_that_posts("INNER ", type, 7);
            if (clears) post(type_none, 0, " ");
        }
        std::fputs("survived", stderr);
        std::exit(0);
    };
    const auto survives = testing::ExitedWithCode(0);
    EXPECT_EXIT(nested(type_fatal, false), ends, "^FATAL 7 from OUTER");
    EXPECT_EXIT(nested(type_fatal, true), survives, "^survived");
    EXPECT_EXIT(nested(type_terminal, true), ends, "^TERMINAL 7 from INNER\n    told.\n$");
    EXPECT_EXIT(nested(type_fatal_everywhere, true), survives, "FATAL 7 from INNER\n.*\nsurvived");
    EXPECT_EXIT(nested(type_fatal_everywhere, false), ends, "FATAL 7 from OUTER");
    EXPECT_EXIT(nested(type_warning, false), survives, "WARNING 7 from OUTER\n.*\nsurvived");
    EXPECT_EXIT((ERSET(5, 0, 1), nested(type_terminal, true)), ends, "^$");
    EXPECT_EXIT((ERSET(0, 0, 0), nested(type_terminal, false)), survives, "^survived");
    EXPECT_EXIT((ERSET(3, 0, 1), nested(type_warning, false)), ends, "^$");
    EXPECT_EXIT(ERSET(7, 0, 0), ends, "TERMINAL 1 from ERSET\n    Invalid error severity");
}

TEST_F(ErrorStack, EachThreadHasItsOwnState) {
    push("MINE ");
    post(type_warning, 5, "mine");
    std::string printed;
    on_a_new_thread([&] {
        EXPECT_EQ(N1RTY(0), type_none);
        EXPECT_EQ(N1RTY(1), -1);
        EXPECT_EQ(last_message(), "");
        // Its tables are the defaults, whatever was set elsewhere.
        printed = printed_by([] { call_that_posts("THEIRS ", type_warning, 6, "theirs"); });
        ERSET(0, 1, 0);
        i32 width = 40;
        PGOPT(-1, width);
    });
    EXPECT_EQ(printed, "WARNING 6 from THEIRS\n    theirs\n");
    EXPECT_EQ(N1RCD(0), 5);
    EXPECT_EQ(last_message(), "mine");
    i32 width = 0;
    PGOPT(1, width);
    EXPECT_EQ(width, 78);
    pop("MINE ");
    EXPECT_EQ(IERCD(), 5);
}

TEST_F(ErrorStack, MachineConstantsAreTheTabledOnes) {
    const struct {
        i32 n;
        f64 wide, narrow;
    } rows[] = {{1, 2.2250738585072014E-308, 1.1754943508222875E-38},
                {2, 1.7976931348623157E+308, 3.4028234663852886E+38},
                {3, 1.1102230246251565E-16, 5.960464477539063E-08},
                {4, 2.220446049250313E-16, 1.1920928955078125E-07},
                {5, 0.3010299956639812, 0.3010300099849701},
                {7, HUGE_VAL, HUGE_VAL},
                {8, -HUGE_VAL, -HUGE_VAL}};
    call_that_posts("BEFORE ", type_warning, 21);
    for (const auto& [n, wide, narrow] : rows) {
        EXPECT_EQ(DMACH(n), wide) << n;
        EXPECT_EQ(static_cast<f64>(AMACH(n)), narrow) << n;
    }
    EXPECT_TRUE(std::isnan(AMACH(6)) && std::isnan(DMACH(6)));
    EXPECT_EQ(IERCD(), 21) << "a constant must not hide the routine called before";
    for (const i32 n : {0, 9, -1, std::numeric_limits<i32>::min()}) {
        EXPECT_TRUE(std::isnan(AMACH(n)));
        EXPECT_EQ(N1RTY(1), type_terminal);
        EXPECT_TRUE(std::isnan(DMACH(n)));
        EXPECT_EQ(last_message(),
                  "The argument must be between 1 and 8 inclusive. N = " + std::to_string(n));
    }
}

TEST_F(ErrorStack, PageOptionsAreKeptAndBadOnesRefused) {
    const auto get = [](i32 option) {
        i32 value = -77;
        PGOPT(option, value);
        return value;
    };
    EXPECT_EQ(get(1), 78);
    EXPECT_EQ(get(2), 60);
    i32 value = 132;
    PGOPT(-1, value);
    value = 8;
    PGOPT(-2, value);
    EXPECT_EQ(get(1), 132);
    EXPECT_EQ(get(2), 8);
    const struct {
        i32 option, value, code;
    } bad[] = {{0, 50, 1},  {3, 50, 1}, {-3, 50, 1}, {std::numeric_limits<i32>::min(), 50, 1},
               {-1, 23, 2}, {-2, 7, 2}, {-2, -60, 2}};
    for (const auto& row : bad) {
        value = row.value;
        PGOPT(row.option, value);
        EXPECT_EQ(N1RTY(1), type_terminal) << row.option;
        EXPECT_EQ(N1RCD(1), row.code) << row.option;
        EXPECT_EQ(value, row.value);
    }
    EXPECT_EQ(get(1), 132);
    EXPECT_EQ(get(2), 8);
    value = 78;
    PGOPT(-1, value);
    value = 60;
    PGOPT(-2, value);
}

TEST_F(ErrorStack, TableOptionsHoldForOneTableOrForAll) {
    const auto set = [](i32 option, i32 setting, i32 scope) { WROPT(-option, setting, scope); };
    const auto get = [](i32 option, i32 scope) {
        i32 setting = -77;
        WROPT(option, setting, scope);
        return setting;
    };
    set(1, 12, 0);
    set(1, 3, 1);
    set(4, 0, 1);
    EXPECT_EQ(get(1, 0), 12);
    EXPECT_EQ(get(1, 1), 3);
    const table_settings first = settings_of_next_table();
    EXPECT_EQ(first.significant_digits, 3);
    EXPECT_EQ(first.blank_lines_after, 0);
    EXPECT_TRUE(first.row_numbers && first.break_columns_into_tables);
    const table_settings second = settings_of_next_table();
    EXPECT_EQ(second.significant_digits, 12);
    EXPECT_EQ(second.blank_lines_after, 1);

    const struct {
        i32 option, setting, scope, code;
    } bad[] = {{5, 1, 0, 1},   {-5, 1, 0, 1}, {-1, 7, 2, 2},  {-1, 7, -1, 2}, {-1, 0, 0, 3},
               {-1, 18, 0, 3}, {-2, 2, 1, 3}, {-3, -1, 0, 3}, {-4, 10, 0, 3}};
    for (const auto& row : bad) {
        i32 setting = row.setting;
        WROPT(row.option, setting, row.scope);
        EXPECT_EQ(N1RTY(1), type_terminal) << row.option << ' ' << row.setting;
        EXPECT_EQ(N1RCD(1), row.code) << row.option << ' ' << row.setting;
    }
    EXPECT_EQ(get(1, 1), 12);
    set(1, 5, 1);
    EXPECT_EQ((get(0, 0), get(1, 1)), 7); // all back to the defaults, local ones too
    EXPECT_EQ(get(2, 0) + get(3, 0) + get(4, 0), 3);
}

} // namespace
