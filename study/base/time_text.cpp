#include "study/base/time_text.hpp"

#include <array>
#include <charconv>

#include <fmt/format.h>

#include "study/base/number_text.hpp"

namespace qmx_study {

namespace {

constexpr std::int64_t milliseconds_of_a_day = 86'400'000;
constexpr std::array<std::string_view, 12> months{"jan", "feb", "mar", "apr", "may", "jun",
                                                  "jul", "aug", "sep", "oct", "nov", "dec"};

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}
bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Takes a text apart from its front.
struct time_scan {
    std::string_view rest;

    bool take(char wanted) {
        if (!rest.starts_with(wanted)) return false;
        rest.remove_prefix(1);
        return true;
    }
    // The one of these that comes next, '\0' for none.
    char take_any(std::string_view wanted) {
        if (rest.empty() || wanted.find(rest.front()) == std::string_view::npos) return '\0';
        const char taken = rest.front();
        rest.remove_prefix(1);
        return taken;
    }
    std::string_view take_while(bool (*is_wanted)(char)) {
        std::size_t end = 0;
        while (end < rest.size() && is_wanted(rest[end])) ++end;
        const std::string_view taken = rest.substr(0, end);
        rest.remove_prefix(end);
        return taken;
    }
    // A number of one to `most` digits; nothing where there are none or more.
    std::optional<int> number(std::size_t most) {
        const std::string_view digits = take_while(is_digit);
        int value = 0;
        if (digits.empty() || digits.size() > most) return {};
        std::from_chars(digits.data(), digits.data() + digits.size(), value);
        return value;
    }
};

struct date {
    int year = 0, month = 0, day = 0;
};

bool is_leap(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

bool is_sound(const date& given) {
    constexpr std::array<int, 12> days{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (given.year < 1 || given.month < 1 || given.month > 12 || given.day < 1) return false;
    const bool is_longer = given.month == 2 && is_leap(given.year);
    return given.day <= days[static_cast<std::size_t>(given.month - 1)] + (is_longer ? 1 : 0);
}

// Counted in years that begin in March, so that the leap day is the last of its year.
std::int64_t days_since_1970(const date& given) {
    const std::int64_t year = given.year - (given.month <= 2 ? 1 : 0);
    const std::int64_t month = (given.month + 9) % 12;
    const std::int64_t in_year = (153 * month + 2) / 5 + given.day - 1;
    const std::int64_t epoch = 719468; // days from the first of March of the year 0 to 1970
    return 365 * year + year / 4 - year / 100 + year / 400 + in_year - epoch;
}

date date_of(std::int64_t days_since_epoch) {
    const std::int64_t days = days_since_epoch + 719468;
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097; // of 400 years
    const std::int64_t in_era = days - era * 146097;
    const std::int64_t year_in_era =
        (in_era - in_era / 1460 + in_era / 36524 - in_era / 146096) / 365;
    const std::int64_t in_year = in_era - (365 * year_in_era + year_in_era / 4 - year_in_era / 100);
    const std::int64_t month = (5 * in_year + 2) / 153; // 0 is March
    date result;
    result.day = static_cast<int>(in_year - (153 * month + 2) / 5 + 1);
    result.month = static_cast<int>(month < 10 ? month + 3 : month - 9);
    result.year = static_cast<int>(year_in_era + era * 400) + (result.month <= 2 ? 1 : 0);
    return result;
}

// A month by its number or its English name.
std::optional<int> take_month(time_scan& scan) {
    if (scan.rest.empty() || is_digit(scan.rest.front())) return scan.number(2);
    const std::string name = lower_case(scan.take_while(is_letter));
    if (name.size() < 3) return {};
    constexpr std::array<std::string_view, 12> rests{
        "uary", "ruary", "ch", "il", "", "e", "y", "ust", "ember", "ober", "ember", "ember"};
    for (std::size_t i = 0; i < months.size(); ++i)
        if (name.starts_with(months[i]) &&
            (name.size() == 3 || name.substr(3) == rests[i] || (i == 8 && name == "sept")))
            return static_cast<int>(i + 1);
    return {};
}

// Year first, or day first where dots or the month's name leave no other meaning.
std::optional<date> take_date(time_scan& scan) {
    const std::string_view digits = scan.take_while(is_digit);
    const char between = scan.take_any("/-. ");
    if (between == '\0' || digits.empty()) return {};
    date result;
    const bool year_first = digits.size() == 4;
    if (!year_first && digits.size() > 2) return {};
    int first = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), first);
    const bool is_named = !scan.rest.empty() && is_letter(scan.rest.front());
    if (between == ' ' && !is_named) return {};
    if (!year_first && between != '.' && !is_named) return {};
    const std::optional<int> month = take_month(scan);
    if (!month || !scan.take(between)) return {};
    const std::string_view last = scan.take_while(is_digit);
    if (last.empty() || last.size() > 4 || (year_first ? last.size() > 2 : last.size() != 4))
        return {};
    int second = 0;
    std::from_chars(last.data(), last.data() + last.size(), second);
    result = {year_first ? first : second, *month, year_first ? second : first};
    if (!is_sound(result)) return {};
    return result;
}

// ".5" as 500; further digits are cut off.
std::optional<int> take_fraction(time_scan& scan) {
    if (scan.take_any(".,") == '\0') return 0;
    const std::string_view digits = scan.take_while(is_digit);
    if (digits.empty()) return {};
    int value = 0;
    for (std::size_t i = 0; i < 3; ++i)
        value = value * 10 + (i < digits.size() ? digits[i] - '0' : 0);
    return value;
}

std::optional<std::int64_t> take_time_of_day(time_scan& scan) {
    std::optional<int> hour = scan.number(2);
    if (!hour || !scan.take(':')) return {};
    const std::optional<int> minute = scan.number(2);
    std::optional<int> second = 0, thousandths = 0;
    if (scan.take(':')) {
        second = scan.number(2);
        thousandths = take_fraction(scan);
    }
    if (!minute || !second || !thousandths || *minute > 59 || *second > 59) return {};
    scan.rest = trimmed(scan.rest);
    if (scan.rest.size() >= 2 &&
        (same_text(scan.rest.substr(0, 2), "am") || same_text(scan.rest.substr(0, 2), "pm"))) {
        if (*hour < 1 || *hour > 12) return {};
        hour = *hour % 12 + (lower_case(scan.rest.substr(0, 1)) == "p" ? 12 : 0);
        scan.rest.remove_prefix(2);
    }
    if (*hour > 23) return {};
    return ((*hour * 60LL + *minute) * 60 + *second) * 1000 + *thousandths;
}

// Z, UTC, +02, +0200 or +02:00: read, and not applied.
bool take_zone(time_scan& scan) {
    scan.rest = trimmed(scan.rest);
    if (scan.rest.empty() || same_text(scan.rest, "z") || same_text(scan.rest, "utc")) return true;
    if (scan.take_any("+-") == '\0') return false;
    const std::string_view hours = scan.take_while(is_digit);
    if (hours.size() == 4) return scan.rest.empty();
    if (hours.size() != 2) return false;
    if (scan.take(':') && scan.take_while(is_digit).size() != 2) return false;
    return scan.rest.empty();
}

} // namespace

std::optional<std::int64_t> read_time(std::string_view text) {
    time_scan scan{trimmed(text)};
    const std::optional<date> day = take_date(scan);
    if (!day) return {};
    const std::int64_t midnight = days_since_1970(*day) * milliseconds_of_a_day;
    if (scan.rest.empty()) return midnight;
    if (scan.take_any("Tt ") == '\0') return {};
    scan.rest = trimmed(scan.rest);
    const std::optional<std::int64_t> of_day = take_time_of_day(scan);
    if (!of_day || !take_zone(scan)) return {};
    return midnight + *of_day;
}

std::string time_text(std::int64_t milliseconds) {
    std::int64_t of_day = milliseconds % milliseconds_of_a_day;
    if (of_day < 0) of_day += milliseconds_of_a_day;
    const date day = date_of((milliseconds - of_day) / milliseconds_of_a_day);
    const std::int64_t seconds = of_day / 1000;
    std::string text = fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", day.year, day.month,
                                   day.day, seconds / 3600, seconds / 60 % 60, seconds % 60);
    if (of_day % 1000 != 0) text += fmt::format(".{:03}", of_day % 1000);
    return text;
}

} // namespace qmx_study
