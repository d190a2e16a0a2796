// Times as rollers write them, against the calendar of the C library.
#include "study/base/time_text.hpp"

#include <ctime>
#include <random>

#include <gtest/gtest.h>

using namespace qmx_study;

namespace {

struct time_case {
    const char* text;
    const char* read; // "" for nothing
};
const time_case time_cases[] = {
    {"2025/Oct/01 09:31:49.500", "2025-10-01T09:31:49.500"},
    {"2025-10-01T09:31:49.5", "2025-10-01T09:31:49.500"},
    {" 2025-10-01 09:31 ", "2025-10-01T09:31:00"},
    {"2025-10-01T09:31:49Z", "2025-10-01T09:31:49"},
    {"2025-10-01T09:31:49.123456+02:00", "2025-10-01T09:31:49.123"},
    {"2025/10/01 09:31:49+00", "2025-10-01T09:31:49"},
    {"2025-10-01T09:31:49,25-0500", "2025-10-01T09:31:49.250"},
    {"01.10.2025 09:31", "2025-10-01T09:31:00"},
    {"1.10.2025", "2025-10-01T00:00:00"},
    {"01-Oct-2025 9:31", "2025-10-01T09:31:00"},
    {"1 October 2025 9:31", "2025-10-01T09:31:00"},
    {"2025-Sept-01", "2025-09-01T00:00:00"},
    {"2025/10/01 12:05:00 AM", "2025-10-01T00:05:00"},
    {"2025/10/01 12:05 pm", "2025-10-01T12:05:00"},
    {"2024-02-29", "2024-02-29T00:00:00"},
    {"1969-12-31 23:59:59.999", "1969-12-31T23:59:59.999"},
    // A day of two months, no day, no time, more than a time.
    {"10/01/2025", ""},
    {"10-01-2025 09:31", ""},
    {"2025-02-29", ""},
    {"2025-13-01", ""},
    {"2025-00-10", ""},
    {"1900-02-29", ""},
    {"2025-10-01 24:00", ""},
    {"2025-10-01 09:60", ""},
    {"2025-10-01 13:00 PM", ""},
    {"2025-10-01 09", ""},
    {"2025-10-01T", ""},
    {"2025-10-01 09:31:49.", ""},
    {"2025-10-01 09:31 o'clock", ""},
    {"2025-10-01 09:31+2:00", ""},
    {"2025-10/01", ""},
    {"2025/Okt/01", ""},
    {"2025/Octopus/01", ""},
    {"25.10.01", ""},
    {"09:31:49", ""},
    {"20251001", ""},
    {"45931.3957", ""},
    {"2025-10-01T09:31:49UTC", "2025-10-01T09:31:49"},
    {"2025-10-01 00:00:00.0004", "2025-10-01T00:00:00"},
    {"0001-01-01", "0001-01-01T00:00:00"},
    {"9999-12-31 23:59:59", "9999-12-31T23:59:59"},
    {"0000-01-01", ""},
    {"2025-10-00", ""},
    {"2025-10-32", ""},
    {"2025-10-001", ""},
    {"2025-Oc-01", ""},
    {"2025-", ""},
    {"2025-10", ""},
    {"2025 10 01", ""},
    {"01.10.25", ""},
    {"-2025-10-01", ""},
    {"2025-10-01X09:31", ""},
    {"2025-10-01 09:31:60", ""},
    {"2025-10-01 0:31 AM", ""},
    {"2025-10-01 09:31+020", ""},
    {"2025-10-01 09:31+02:0", ""},
    {"?", ""},
    {"", ""},
};

} // namespace

TEST(TimeText, IsReadOnlyWhereItHasOneMeaning) {
    for (const time_case& each : time_cases) {
        const auto time = read_time(each.text);
        EXPECT_EQ(time ? time_text(*time) : "", each.read) << each.text;
    }
}

TEST(TimeText, AgreesWithTheCalendarAndReadsItsOwnTexts) {
    std::mt19937_64 random(7);
    for (int k = 0; k < 2000; ++k) {
        const auto seconds = static_cast<std::int64_t>(random() % 8'000'000'000) - 3'000'000'000;
        const auto thousandths = static_cast<std::int64_t>(random() % 1000);
        const std::int64_t time = seconds * 1000 + thousandths;
        const auto whole = static_cast<std::time_t>(seconds);
        std::tm calendar{};
        gmtime_r(&whole, &calendar);
        char expected[32];
        std::strftime(expected, sizeof expected, "%Y-%m-%dT%H:%M:%S", &calendar);
        EXPECT_EQ(time_text(time).substr(0, 19), expected);
        EXPECT_EQ(read_time(time_text(time)), time);
    }
}
