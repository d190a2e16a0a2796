#include "study/lot/lot_filters.hpp"

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/time_text.hpp"

namespace qmx_study {

namespace {

std::string text_of(const number_range& range) {
    if (range.least && range.most) return fmt::format("{} to {}", *range.least, *range.most);
    if (range.least) return fmt::format("at least {}", *range.least);
    return fmt::format("at most {}", *range.most);
}

std::string text_of(const std::vector<std::string>& names) {
    return fmt::format("{}", fmt::join(names, ", "));
}

std::string text_of_times(const std::string& from, const std::string& to) {
    if (!from.empty() && !to.empty()) return fmt::format("{} to {}", from, to);
    return from.empty() ? "until " + to : "from " + from;
}

void check_range(const char* what, const number_range& range) {
    if (range.least && range.most && *range.least > *range.most)
        throw usage_error(fmt::format("filter {}: {} to {} holds no number; give the smaller one "
                                      "first",
                                      what, *range.least, *range.most));
}

void check_state(const char* what, const std::string& state, const char* one, const char* other) {
    if (!state.empty() && state != one && state != other)
        throw usage_error(
            fmt::format("filter {}: \"{}\" is neither {} nor {}", what, state, one, other));
}

void check_time(const std::string& time) {
    if (!time.empty() && !read_time(time))
        throw usage_error(fmt::format("filter time: \"{}\" is not understood as a time; write it "
                                      "like 2025-10-01T09:30",
                                      time));
}

} // namespace

std::vector<filtered_rows> described(const lot_filters& filters) {
    std::vector<filtered_rows> all;
    const auto add = [&](const char* what, const std::string& text) {
        all.push_back({what, text, 0, 0});
    };
    if (!filters.machines.empty()) add("machines", text_of(filters.machines));
    if (!filters.lifts.empty()) add("lifts", text_of(filters.lifts));
    if (!filters.time_from.empty() || !filters.time_to.empty())
        add("time", text_of_times(filters.time_from, filters.time_to));
    if (!filters.vibration.empty()) add("vibration", filters.vibration);
    if (!filters.direction.empty()) add("direction", filters.direction);
    if (filters.speed.is_given()) add("speed", text_of(filters.speed));
    if (filters.value.is_given()) add("value", text_of(filters.value));
    if (!filters.polygon.empty()) add("polygon", filters.polygon);
    return all;
}

void check_filters(const lot_filters& filters) {
    check_range("value", filters.value);
    check_range("speed", filters.speed);
    check_state("vibration", filters.vibration, "on", "off");
    check_state("direction", filters.direction, "forward", "reverse");
    check_time(filters.time_from);
    check_time(filters.time_to);
    if (!filters.time_from.empty() && !filters.time_to.empty() &&
        *read_time(filters.time_from) > last_moment_of(filters.time_to))
        throw usage_error(
            fmt::format("filter time: {} is later than {}", filters.time_from, filters.time_to));
}

std::int64_t last_moment_of(const std::string& time_to) {
    constexpr std::int64_t day = 86'400'000;
    const std::int64_t moment = read_time(time_to).value();
    return time_to.find(':') == std::string::npos ? moment + day - 1 : moment;
}

} // namespace qmx_study
