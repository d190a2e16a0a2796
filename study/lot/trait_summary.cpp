#include "study/lot/trait_summary.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "study/lot/column_names.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t most_listed = 20;
// A column of texts that are all different is no name of a machine: its names beyond are counted as one.
constexpr std::size_t most_names = 65536;

bool is_name(trait which) {
    return which == trait::machine || which == trait::lift || which == trait::direction ||
           which == trait::vibration;
}

bool is_number(trait which) {
    return which != trait::time && !is_name(which);
}

std::size_t index_of(trait which) {
    return static_cast<std::size_t>(which);
}

void add_range(trait_counts::column& to, std::int64_t numbers, double sum, double least,
               double most) {
    if (numbers == 0) return;
    to.least = to.numbers == 0 ? least : std::min(to.least, least);
    to.most = to.numbers == 0 ? most : std::max(to.most, most);
    to.numbers += numbers;
    to.sum += sum;
}

} // namespace

void trait_counts::add(const trait_counts& further) {
    for (std::size_t k = 0; k < columns.size(); ++k) {
        const column& more = further.columns[k];
        std::vector<std::int64_t>& rows = columns[k].rows_of_name;
        rows.resize(std::max(rows.size(), more.rows_of_name.size()));
        for (std::size_t i = 0; i < more.rows_of_name.size(); ++i) rows[i] += more.rows_of_name[i];
        columns[k].missing += more.missing;
        add_range(columns[k], more.numbers, more.sum, more.least, more.most);
    }
    if (further.times > 0) {
        first_time = times == 0 ? further.first_time : std::min(first_time, further.first_time);
        last_time = times == 0 ? further.last_time : std::max(last_time, further.last_time);
        times += further.times;
    }
    unreadable_times += further.unreadable_times;
}

std::uint32_t trait_reader::names::number_of(std::string_view text) {
    if (!texts.empty() && text == last) return last_number;
    last = text;
    const auto [place, is_new] =
        numbers.try_emplace(last, static_cast<std::uint32_t>(texts.size()));
    if (is_new && texts.size() < most_names) {
        texts.push_back(last);
    } else if (is_new) {
        numbers.erase(place);
        return last_number = most_names - 1;
    }
    return last_number = place->second;
}

trait_reader::trait_reader(table_source& from, const row_survey& learned, const trait_names& named)
    : source(from), survey(learned), found(traits_of(from, named)) {}

void trait_reader::read() {
    for (const trait which : every_trait) {
        const int column = found[which];
        if (column < 0) continue;
        if (is_name(which)) {
            const std::string_view text = trimmed(source.text(column));
            name_now[index_of(which)].reset();
            if (!text.empty()) name_now[index_of(which)] = texts[index_of(which)].number_of(text);
        } else if (is_number(which)) {
            number_now[index_of(which)] = survey.read(source, column).value;
        }
    }
    if (found[trait::time] < 0) return;
    time_now = time_of(source, found);
    has_time_text = time_now || !trimmed(source.text(found[trait::time])).empty();
}

void trait_reader::count(trait_counts& to) const {
    for (const trait which : every_trait) {
        if (found[which] < 0) continue;
        trait_counts::column& column = to.columns[index_of(which)];
        if (is_name(which)) {
            const std::optional<std::uint32_t>& name = name_now[index_of(which)];
            column.missing += !name;
            if (!name) continue;
            if (*name >= column.rows_of_name.size()) column.rows_of_name.resize(*name + 1);
            ++column.rows_of_name[*name];
        } else if (is_number(which)) {
            const double number = number_now[index_of(which)];
            column.missing += std::isnan(number);
            if (!std::isnan(number)) add_range(column, 1, number, number, number);
        }
    }
    if (found[trait::time] < 0) return;
    if (!time_now) {
        to.unreadable_times += has_time_text;
        to.columns[index_of(trait::time)].missing += !has_time_text;
        return;
    }
    to.first_time = to.times == 0 ? *time_now : std::min(to.first_time, *time_now);
    to.last_time = to.times == 0 ? *time_now : std::max(to.last_time, *time_now);
    ++to.times;
}

trait_summary trait_reader::summary(const trait_counts& of) const {
    trait_summary summary;
    summary.times = of.times;
    summary.unreadable_times = of.unreadable_times;
    summary.first_time = of.first_time;
    summary.last_time = of.last_time;
    for (const trait which : every_trait) {
        if (found[which] < 0) continue;
        const trait_counts::column& counted = of.columns[index_of(which)];
        trait_summary::column& column = summary[which];
        column.name = source.unique_name(found[which]);
        const surveyed_column& surveyed = survey.columns[static_cast<std::size_t>(found[which])];
        if (is_number(which)) {
            column.unit = surveyed.unit;
            if (column.unit.empty())
                column.unit = heading_unit(source.columns[static_cast<std::size_t>(found[which])]);
        }
        column.missing = counted.missing;
        const double count = static_cast<double>(std::max<std::int64_t>(counted.numbers, 1));
        column.range = {counted.numbers, counted.least, counted.sum / count, counted.most};
        for (std::size_t i = 0; i < counted.rows_of_name.size(); ++i) {
            if (counted.rows_of_name[i] == 0) continue;
            column.names.push_back({texts[index_of(which)].texts[i], counted.rows_of_name[i]});
            if (which == trait::vibration &&
                vibration_of(column.names.back().name) == vibration_state::off)
                summary.rows_without_vibration += counted.rows_of_name[i];
        }
        std::sort(column.names.begin(), column.names.end(), [](const auto& a, const auto& b) {
            return a.rows != b.rows ? a.rows > b.rows : a.name < b.name;
        });
        if (column.names.size() > most_listed) {
            column.further_names = static_cast<std::int64_t>(column.names.size() - most_listed);
            column.names.resize(most_listed);
        }
    }
    return summary;
}

trait_summary summarise_traits(table_source& source, const row_survey& survey,
                               const trait_names& named, const std::vector<std::int64_t>& records) {
    trait_reader reader(source, survey, named);
    trait_counts counts;
    source.rewind_for(columns_of(reader.columns()), false);
    for (std::size_t i = 0; i < records.size() && source.next();) {
        if (source.record() != records[i]) continue;
        reader.read();
        // A record with several points stands here several times.
        for (; i < records.size() && records[i] == source.record(); ++i) reader.count(counts);
    }
    return reader.summary(counts);
}

} // namespace qmx_study
