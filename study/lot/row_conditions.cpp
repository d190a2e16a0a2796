#include "study/lot/row_conditions.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/time_text.hpp"

namespace qmx_study {

namespace {

struct filtered_trait {
    std::string_view what; // of filtered_rows
    trait which;
};
constexpr filtered_trait filtered_traits[] = {
    {"machines", trait::machine},    {"lifts", trait::lift},          {"time", trait::time},
    {"vibration", trait::vibration}, {"direction", trait::direction}, {"speed", trait::speed}};

bool holds(const number_range& range, double value) {
    return !(range.least && value < *range.least) && !(range.most && value > *range.most);
}

// Names go by their letters, numbers by their value: lift 3 is 3.0 in another file.
bool is_named(const std::vector<std::string>& names, std::string_view text) {
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
        if (same_text(trimmed(name), text)) return true;
        double wanted = 0;
        double found = 0;
        return read_plain_number(name, wanted) && read_plain_number(text, found) && wanted == found;
    });
}

} // namespace

row_conditions::row_conditions(const lot_conditions& wanted, const table_source& from,
                               const row_survey& learned)
    : source(from), survey(learned), filters(wanted.filters),
      traits(traits_of(source, wanted.traits)) {
    check_filters(filters);
    filters.polygon.clear();
    left_out = described(filters);
    for (std::size_t i = 0; i < left_out.size(); ++i) {
        if (left_out[i].what == "value") value_account = i;
        for (const auto& [what, which] : filtered_traits) {
            if (left_out[i].what != what) continue;
            if (traits[which] < 0)
                throw usage_error(
                    fmt::format("{}: the filter {} ({}) needs a column of the {}, and "
                                "none was recognised; name it among the columns of "
                                "the job file\n  its columns are: {}",
                                source.file, what, left_out[i].text, name_of(which),
                                source.column_list()),
                    {{}, source.file, 0, {}});
            conditions.push_back({which, i});
        }
    }
    first_moment = filters.time_from.empty() ? std::numeric_limits<std::int64_t>::min()
                                             : read_time(filters.time_from).value();
    last_moment = filters.time_to.empty() ? std::numeric_limits<std::int64_t>::max()
                                          : last_moment_of(filters.time_to);
}

std::vector<int> row_conditions::columns() const {
    std::vector<int> columns;
    for (const condition& each : conditions) {
        columns.push_back(traits[each.which]);
        if (each.which == trait::time && traits.date >= 0) columns.push_back(traits.date);
    }
    return columns;
}

bool row_conditions::hold(const table_source& row) {
    return std::all_of(conditions.begin(), conditions.end(), [&](const condition& each) {
        return count(each.account, fate_of(row, each.which));
    });
}

bool row_conditions::hold_for(double value) {
    if (!filters.value.is_given()) return true;
    if (std::isnan(value)) return count(value_account, fate::lacking);
    return count(value_account, holds(filters.value, value) ? fate::satisfied : fate::unsatisfied);
}

void row_conditions::refuse_without(const used_column& value) const {
    if (!filters.value.is_given() || value.found()) return;
    throw usage_error(
        fmt::format("{}: the filter value ({}) needs a column of measured values, and "
                    "none was recognised; name it with --value\n  its columns are: "
                    "{}",
                    source.file, left_out[value_account].text, source.column_list()),
        {"--value", source.file, 0, {}});
}

row_conditions::fate row_conditions::fate_of(const table_source& row, trait which) const {
    if (which == trait::time) return fate_of_time(row);
    const text_value field = survey.read(row, traits[which]);
    if (field.kind == text_kind::missing) return fate::lacking;
    if (which == trait::speed) {
        if (field.kind == text_kind::not_a_number) return fate::lacking;
        return holds(filters.speed, field.value) ? fate::satisfied : fate::unsatisfied;
    }
    const std::string_view text = trimmed(row.text(traits[which]));
    bool is_wanted = false;
    if (which == trait::vibration) {
        const std::optional<vibration_state> state = vibration_of(text);
        if (!state) return fate::lacking;
        is_wanted = (*state == vibration_state::on) == (filters.vibration == "on");
    } else if (which == trait::direction) {
        const std::optional<drive_direction> direction = direction_of(text);
        if (!direction) return fate::lacking;
        is_wanted = filters.direction == "forward" ? *direction == drive_direction::forward
                                                   : *direction == drive_direction::reverse;
    } else {
        is_wanted = is_named(which == trait::machine ? filters.machines : filters.lifts, text);
    }
    return is_wanted ? fate::satisfied : fate::unsatisfied;
}

row_conditions::fate row_conditions::fate_of_time(const table_source& row) const {
    const std::optional<std::int64_t> time = time_of(row, traits);
    if (!time) return fate::lacking;
    return *time >= first_moment && *time <= last_moment ? fate::satisfied : fate::unsatisfied;
}

bool row_conditions::count(std::size_t account, fate of_row) {
    if (of_row == fate::satisfied) return true;
    ++left_out[account].rows;
    if (of_row == fate::lacking) ++left_out[account].lacking;
    return false;
}

} // namespace qmx_study
