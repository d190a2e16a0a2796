#include "numeric/errors/error_stack.hpp"

#include "numeric/arithmetic/machine.hpp"
#include "numeric/errors/message.hpp"
#include "numeric/errors/numeric_frame.hpp"
#include "numeric/errors/print_options.hpp"
#include "support/expect_error.hpp"

#include <thread>

using namespace qmx;
using namespace qmx::numeric;

namespace {

void push(std::string_view name) {
    E1PSH(name.data(), static_cast<i32>(name.size()));
}
void pop(std::string_view name) {
    E1POP(name.data(), static_cast<i32>(name.size()));
}

void call_that_posts(std::string_view name, i32 type, i32 code, std::string_view message = "why.") {
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

// Type and code at the current level (0) or at the level just popped (1).
std::pair<i32, i32> error_at(i32 which) {
    return {N1RTY(which), N1RCD(which)};
}

// Most tests want to see codes, not to end.
class ErrorStack : public testing::Test {
protected:
    ErrorStack() { ERSET(0, 0, 0); }
    ~ErrorStack() override { ERSET(0, 2, 2); }
};

TEST_F(ErrorStack, ATypeRisesAndIsSeenAsItsRowTells) {
    for (i32 type = type_none; type <= type_fatal_everywhere; ++type) {
        const bool rises = type >= type_alert, is_seen = type >= type_note && type <= type_fatal;
        SCOPED_TRACE(type);
        {
            const numeric_frame outer("OUTER ");
            call_that_posts("INNER ", type, 17);
            EXPECT_EQ(error_at(1), std::pair(type, 17));
            EXPECT_EQ(IERCD(), is_seen ? 17 : 0);
            EXPECT_EQ(error_at(0), std::pair(rises ? type : type_none, rises ? 17 : 0));
        }
        EXPECT_EQ(N1RTY(1), rises ? type : type_none);
        EXPECT_EQ(IERCD(), rises && is_seen ? 17 : 0);
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
        EXPECT_EQ(last_message(), is_cleared ? "" : "why.");
    }
}

TEST_F(ErrorStack, ANewCallStartsCleanAndSeesNothingPopped) {
    call_that_posts("FIRST ", type_terminal, 3);
    {
        const numeric_frame middle("MIDDLE ");
        call_that_posts("DEEP ", type_warning, 8);
    }
    const numeric_frame frame("SECOND ");
    EXPECT_EQ(error_at(0), std::pair(type_none, 0));
    EXPECT_EQ(N1RTY(1), -1); // not the warning of DEEP, which stood at this level before
    EXPECT_EQ(N1RCD(1), -1);
    EXPECT_EQ(IERCD(), 0);
}

TEST_F(ErrorStack, PostingKeepsWhatItIsToldToKeep) {
    const struct {
        i32 type, code, type_after, code_after;
    } rows[] = {{type_fatal, 9, type_fatal, 9},  {-1, 9, type_warning, 9},
                {type_fatal, -1, type_fatal, 4}, {-1, -5, type_warning, 4},
                {type_none, 0, type_none, 0},    {8, 1, type_terminal, 1},
                {-2, 1, type_terminal, 1},       {type_none, 3, type_none, 3}};
    for (const auto& [type, code, type_after, code_after] : rows) {
        const numeric_frame frame("POSTS ");
        post(type_warning, 4, "first");
        post(type, code, "second");
        EXPECT_EQ(error_at(0), std::pair(type_after, code_after)) << type << ' ' << code;
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
        {"a %(Q1) b", "%(Q1)"}, {"a %(I0) b", "%(I0)"},
        {"a %(II) b", "%(II)"}, {"a %(I1 b", "%(I1 "},
        {"a %(", "%("},         {"a %(I2) b", "%(I2)"},
        {"a %(Z1) b", "%(Z1)"}, {"a %(R1) b", "%(R1)"},
        {"a %(D1) b", "%(D1)"}, {"a %(L1) b", "%(L1)"},
        {"a %({1) b", "%({1)"}, {"a %(Q1) %(II) b", "%(Q1)"}}; // the first of two is named
    for (const auto& [form, keyword] : cases) {
        E1STI(1, 5);
        E1STI(0, 6); // no placeholder can name it
        E1STI(10, 7);
        E1STR(10, 7);
        E1STD(10, 7);
        E1STL(10, "7", 1);
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

TEST(ErrorSettings, EachSeverityAndActionSetsItsTypes) {
    const struct {
        i32 severity, action, from_none, from_all; // types that print after it, by those before it
    } rows[] = {{0, 1, 0b1111111, 0b1111111}, {0, 0, 0, 0},
                {0, 2, 0b1111100, 0b1111100}, {0, -1, 0, 0b1111111},
                {1, 1, 0b0000001, 0b1111111}, {1, 2, 0, 0b1111110},
                {2, 0, 0, 0b1111101},         {3, 1, 0b0100100, 0b1111111},
                {3, 2, 0b0100100, 0b1111111}, {4, 0, 0, 0b0110111},
                {4, 1, 0b1001000, 0b1111111}, {5, 1, 0b0010000, 0b1111111},
                {5, 0, 0, 0b1101111}};
    for (const auto& [severity, action, from_none, from_all] : rows)
        for (const bool is_all_on : {false, true}) {
            SCOPED_TRACE(testing::Message() << severity << ' ' << action);
            ERSET(0, is_all_on ? 1 : 0, 0);
            for (int times = 0; times < 2; ++times) { // the second time changes nothing
                ERSET(severity, action, times == 0 ? 0 : -1);
                EXPECT_EQ(printing_types(), is_all_on ? from_all : from_none);
            }
        }
    ERSET(0, 2, 2);
}

TEST(ErrorSettings, AreRefusedWithTheirMessageAndChangeNothing) {
    ERSET(0, 0, 0);
    const auto refuse = [](i32 severity, i32 print_action, i32 stop_action, i32 code,
                           std::string_view message) {
        ERSET(severity, print_action, stop_action);
        support::expect_error(type_terminal, code, message);
        EXPECT_EQ(printing_types(), 0);
    };
    const std::string severity =
        "Invalid error severity level indicator.  IERSVR must be 0 to 5.  ";
    refuse(-1, 1, 1, 1, severity + "IERSVR = -1");
    refuse(6, 9, 9, 1, severity + "IERSVR = 6");
    const std::string printing =
        "Invalid value specified for printing action.  IPACT must be -1 to 2.  ";
    refuse(0, 3, 1, 2, printing + "IPACT = 3");
    refuse(0, -2, 1, 2, printing + "IPACT = -2");
    const std::string stopping =
        "Invalid value specified for stopping action.  ISACT must be -1 to 2.  ";
    refuse(0, 1, -2, 3, stopping + "ISACT = -2");
    refuse(0, 1, 3, 3, stopping + "ISACT = 3");
    // An error left in the application's level does not prevent a setting.
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
    EXPECT_EQ(print("a%/ " + std::string(25, 'x')), // an indented word is cut as well
              head + "    a\n     xxxxxxxxxxxxxxxxxxx\n    xxxxxx\n");
    EXPECT_EQ(print(" "), head);
    EXPECT_EQ(printed_by([] { print_error("NOTE ", 1, "NARROW ", "abc", 4); }),
              "NOTE 1 from NARROW\n    a\n    b\n    c\n");
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
    const auto fill_the_stack = [] {
        for (int level = 1; level < 64; ++level) push("DEEPEST ");
    };
    EXPECT_EXIT((fill_the_stack(), N1RTY(2)), ends,
                "from DEEPEST\n    .  The argument passed to N1RTY");
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
    EXPECT_EXIT(nested(type_terminal, true), ends, "^TERMINAL 7 from INNER\n    why.\n$");
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
    std::thread([&] { // its error state is fresh
        EXPECT_EQ(N1RTY(0), type_none);
        EXPECT_EQ(N1RTY(1), -1);
        EXPECT_EQ(last_message(), "");
        // Its tables are the defaults, whatever was set elsewhere.
        printed = printed_by([] { call_that_posts("THEIRS ", type_warning, 6, "theirs"); });
        ERSET(0, 1, 0);
        i32 width = 40;
        PGOPT(-1, width);
    })
        .join();
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
    const f64 wide[] = {0x1p-1022, 0x1.fffffffffffffp1023, 0x1p-53, 0x1p-52, 0x1.34413509f79ffp-2};
    const f32 narrow[] = {0x1p-126F, 0x1.fffffep127F, 0x1p-24F, 0x1p-23F, 0x1.344136p-2F};
    call_that_posts("BEFORE ", type_warning, 21);
    for (i32 n = 1; n <= 5; ++n) {
        EXPECT_EQ(DMACH(n), wide[n - 1]) << n;
        EXPECT_EQ(AMACH(n), narrow[n - 1]) << n;
    }
    EXPECT_TRUE(std::isnan(AMACH(6)) && std::isnan(DMACH(6)));
    EXPECT_TRUE(AMACH(7) == HUGE_VALF && DMACH(7) == HUGE_VAL);
    EXPECT_TRUE(AMACH(8) == -HUGE_VALF && DMACH(8) == -HUGE_VAL);
    EXPECT_EQ(IERCD(), 21) << "a constant must not hide the routine called before";
    for (const i32 n : {0, 9, -1, std::numeric_limits<i32>::min()}) {
        EXPECT_TRUE(std::isnan(AMACH(n)));
        EXPECT_EQ(N1RTY(1), type_terminal);
        EXPECT_TRUE(std::isnan(DMACH(n)));
        EXPECT_EQ(last_message(),
                  "The argument must be between 1 and 8 inclusive. N = " + std::to_string(n));
    }
}

void expect_refused(i32 code, i32 option, i32 value) {
    EXPECT_EQ(error_at(1), std::pair(type_terminal, code)) << option << ' ' << value;
}

TEST_F(ErrorStack, PageOptionsAreKeptAndBadOnesRefused) {
    const auto get = [](i32 option) {
        i32 value = -77;
        PGOPT(option, value);
        return value;
    };
    const auto set = [](i32 width, i32 length) { PGOPT(-1, width), PGOPT(-2, length); };
    EXPECT_EQ(std::pair(get(1), get(2)), std::pair(78, 60));
    set(132, 8);
    constexpr i32 lowest = std::numeric_limits<i32>::min();
    const i32 rows[][3] = {{0, 50, 1},  {3, 50, 1}, {-3, 50, 1}, {lowest, 50, 1},
                           {-1, 23, 2}, {-2, 7, 2}, {-2, -60, 2}};
    for (const auto& [option, given, code] : rows) {
        i32 value = given;
        PGOPT(option, value);
        expect_refused(code, option, given);
        EXPECT_EQ(value, given);
    }
    EXPECT_EQ(std::pair(get(1), get(2)), std::pair(132, 8));
    set(78, 60);
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
    EXPECT_EQ(std::pair(get(1, 0), get(1, 1)), std::pair(12, 3));
    const table_settings first = settings_of_next_table(), second = settings_of_next_table();
    EXPECT_EQ(std::pair(first.significant_digits, first.blank_lines_after), std::pair(3, 0));
    EXPECT_TRUE(first.row_numbers && first.break_columns_into_tables);
    EXPECT_EQ(std::pair(second.significant_digits, second.blank_lines_after), std::pair(12, 1));
    const i32 rows[][4] = {{5, 1, 0, 1},   {-5, 1, 0, 1},  {-1, 7, 2, 2},
                           {-1, 7, -1, 2}, {-1, 0, 0, 3},  {-1, 18, 0, 3},
                           {-2, 2, 1, 3},  {-3, -1, 0, 3}, {-4, 10, 0, 3}};
    for (const auto& [option, given, scope, code] : rows) {
        i32 setting = given;
        WROPT(option, setting, scope);
        expect_refused(code, option, given);
    }
    EXPECT_EQ(get(1, 1), 12);
    set(1, 5, 1);
    EXPECT_EQ((get(0, 0), get(1, 1)), 7); // all back to the defaults, local ones too
    EXPECT_EQ(get(2, 0) + get(3, 0) + get(4, 0), 3);
}

} // namespace
