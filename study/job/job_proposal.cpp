#include "study/job/job_proposal.hpp"
#include "study/base/open_file.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <map>
#include <optional>

#include <fmt/format.h>

#include "study/base/time_text.hpp"
#include "study/base/value_text.hpp"
#include "study/job/job_file.hpp"
#include "study/lot/column_names.hpp"
#include "study/lot/load.hpp"
#include "study/lot/row_screen.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t most_names = 20;

// What the rows say of one trait.
struct trait_seen {
    std::map<std::string, std::int64_t> names; // by their letters, case as first met
    double least = 0, most = 0;
    std::int64_t numbers = 0;
};

struct lot_seen {
    std::array<trait_seen, every_trait.size()> traits;
    std::optional<std::int64_t> first_time, last_time;
    std::int64_t unreadable_times = 0;
};

bool is_counted_by_name(trait which) {
    return which == trait::machine || which == trait::lift || which == trait::direction ||
           which == trait::vibration;
}

void see_time(lot_seen& seen, const table_source& row, const trait_columns& columns) {
    const std::optional<std::int64_t> time = time_of(row, columns);
    if (!time) {
        ++seen.unreadable_times;
        return;
    }
    seen.first_time = std::min(seen.first_time.value_or(*time), *time);
    seen.last_time = std::max(seen.last_time.value_or(*time), *time);
}

void see_row(lot_seen& seen, const table_source& row, const row_survey& survey,
             const trait_columns& columns) {
    for (const trait which : every_trait) {
        const int column = columns[which];
        if (column < 0) continue;
        if (which == trait::time) {
            see_time(seen, row, columns);
            continue;
        }
        trait_seen& of_trait = seen.traits[static_cast<std::size_t>(which)];
        const text_value field = survey.read(row, column);
        if (field.kind == text_kind::missing) continue;
        if (is_counted_by_name(which)) {
            const std::string name(trimmed(row.text(column)));
            if (of_trait.names.size() < 1000 || of_trait.names.contains(name))
                ++of_trait.names[name];
            continue;
        }
        if (field.kind == text_kind::not_a_number) continue;
        const bool is_first = of_trait.numbers++ == 0;
        of_trait.least = is_first ? field.value : std::min(of_trait.least, field.value);
        of_trait.most = is_first ? field.value : std::max(of_trait.most, field.value);
    }
}

lot_seen look_at(opened_table& table, const reading_options& reading, const trait_columns& columns,
                 progress& shown) {
    lot_seen seen;
    table_source& source = *table.source;
    row_screen screen(source, table.survey, reading.where);
    drop_counter unwanted;
    source.rewind();
    while (source.next()) {
        if (source.record() % 4096 == 0)
            shown.note("looking at " + source.file, static_cast<double>(source.record()),
                       static_cast<double>(source.rows));
        if (screen.look(unwanted) == row_state::taken) see_row(seen, source, table.survey, columns);
    }
    shown.clear();
    return seen;
}

std::string names_text(const trait_seen& seen) {
    std::vector<std::pair<std::string, std::int64_t>> names(seen.names.begin(), seen.names.end());
    std::stable_sort(names.begin(), names.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), most_names); ++i)
        text += fmt::format("{}\"{}\" in {}", i == 0 ? "" : ", ", example_text(names[i].first),
                            names[i].second);
    if (names.size() > most_names) text += fmt::format(" and {} more", names.size() - most_names);
    return text + " rows";
}

std::string unit_behind(const table_source& source, const row_survey& survey, int column) {
    const auto at = static_cast<std::size_t>(column);
    std::string unit = heading_unit(source.columns[at]);
    if (unit.empty()) unit = survey.columns[at].unit;
    return unit.empty() ? unit : " " + unit;
}

class proposal {
public:
    proposal(const job_settings& known, progress& on_terminal)
        : options(known.reading), shown(on_terminal), settings(known) {
        settings.thresholds = thresholds_of(settings.preset);
    }

    std::string text(const std::string& job_file) {
        reading_needs needs;
        needs.position = needs.value = needs.pass = need::taken;
        needs.allow_empty = true;
        loaded_lot lot = load(options, needs, shown);
        data = &lot.data;
        const table_source& source = lot.source();
        const trait_columns columns = traits_of(source, settings.traits);
        const lot_seen seen = look_at(lot.table, options, columns, shown);
        name_columns(source, columns);
        remark_values(source, columns);
        remark_traits(source, lot.table.survey, columns, seen);
        remark_reading(source);
        remark_presets();
        place_files(job_file);
        const std::vector<std::string> head{
            "Settings of a quality report, proposed from what was recognised.",
            "A line behind a # is no setting: take the # away to switch it on.",
            fmt::format("{}: {}, {} rows read, {} dropped, {} columns", source.file, source.format,
                        data->rows_read, data->rows_dropped(), source.columns.size())};
        return job_text(settings, head, remarks);
    }

private:
    const reading_options& options;
    progress& shown;
    job_settings settings;
    job_remarks remarks;
    const lot* data = nullptr;

    void remark(const std::string& key, std::string text) {
        remarks[key].push_back(std::move(text));
    }

    void name_columns(const table_source& source, const trait_columns& columns) {
        const auto take = [&](const char* key, std::string& named, const used_column& found) {
            if (!found.found()) return remark(key, "none was recognised");
            if (!named.empty()) return;
            if (found.index < 0) return remark(key, found.name + ": " + found.why);
            named = source.unique_name(found.index);
            remark(key, found.why);
        };
        take("columns.x", settings.reading.x, data->x);
        take("columns.y", settings.reading.y, data->y);
        take("columns.value", settings.reading.value, data->value);
        take("columns.pass", settings.reading.pass, data->pass);
        for (const trait which : every_trait)
            if (columns[which] >= 0) settings.traits[which] = source.unique_name(columns[which]);
        if (columns.date >= 0)
            remark("columns.time", fmt::format("times of day alone go with the column \"{}\"",
                                               source.unique_name(columns.date)));
    }

    void remark_values(const table_source& source, const trait_columns& columns) {
        for (const value_candidate& each : data->candidates)
            if (each.name != data->value.name)
                remark("columns.value",
                       fmt::format("could be \"{}\"{}: {} rows with a number", each.name,
                                   unit_suffix(each.unit), each.filled));
        if (!data->value.found()) {
            std::string others;
            for (int i = 0; i < static_cast<int>(source.columns.size()); ++i)
                if (i != data->x.index && i != data->y.index && i != data->pass.index &&
                    std::find(columns.columns.begin(), columns.columns.end(), i) ==
                        columns.columns.end())
                    others += (others.empty() ? "" : ", ") + source.unique_name(i);
            remark("columns.value", "name one of: " + example_text(others));
            return;
        }
        if (data->value.unit.empty()) {
            remark("units.value", "the file does not tell it");
        } else {
            remark("units.value", "the file tells it: " + data->value.unit);
        }
        double least = INFINITY;
        double most = -INFINITY;
        for (const t_icdata& point : data->points) {
            if (std::isnan(point.d_val)) continue;
            least = std::min(least, point.d_val);
            most = std::max(most, point.d_val);
        }
        if (least <= most)
            remark("filter.value",
                   fmt::format("seen: {} to {}{}", number_text(least), number_text(most),
                               data->value.unit.empty() ? "" : " " + data->value.unit));
    }

    void remark_traits(const table_source& source, const row_survey& survey,
                       const trait_columns& columns, const lot_seen& seen) {
        const auto about = [&](trait which, const char* key) {
            const trait_seen& of_trait = seen.traits[static_cast<std::size_t>(which)];
            if (columns[which] < 0)
                return remark(key,
                              fmt::format("no column of the {} was recognised", name_of(which)));
            if (is_counted_by_name(which) && !of_trait.names.empty())
                remark(key, "seen: " + names_text(of_trait));
            if (!is_counted_by_name(which) && of_trait.numbers > 0)
                remark(key, fmt::format("seen: {} to {}{}", number_text(of_trait.least),
                                        number_text(of_trait.most),
                                        unit_behind(source, survey, columns[which])));
        };
        about(trait::speed, "filter.speed");
        about(trait::vibration, "filter.vibration");
        about(trait::direction, "filter.direction");
        about(trait::machine, "filter.machines");
        about(trait::lift, "filter.lifts");
        if (columns[trait::time] < 0) return about(trait::time, "filter.time");
        if (!seen.first_time) {
            remark("columns.time", fmt::format("\"{}\" holds no time that is understood",
                                               settings.traits[trait::time]));
            settings.traits[trait::time].clear();
            return;
        }
        remark("filter.time", fmt::format("seen: {} to {}", time_text(*seen.first_time),
                                          time_text(*seen.last_time)));
        if (seen.unreadable_times > 0)
            remark("filter.time",
                   fmt::format("{} rows without a time that is understood", seen.unreadable_times));
    }

    void remark_reading(const table_source& source) {
        if (source.is_delimited)
            remark("input.decimal",
                   fmt::format("found: {}", data->decimal == ',' ? "comma" : "point"));
        if (data->system) remark("input.crs", "the file tells it: " + data->system->name());
        if (data->is_geographic && !data->is_projected)
            remark("input.project", "the positions are in degrees: a report needs a plane");
        if (data->is_geographic && settings.reading.project.empty())
            settings.reading.project = "utm";
        for (const dropped_rows& reason : data->dropped)
            remark("input.missing", fmt::format("dropped: {} {}, {}; first on {}", reason.count,
                                                reason.count == 1 ? "row" : "rows", reason.text,
                                                source.place(reason.first_record)));
    }

    void remark_presets() {
        for (const preset& each : presets())
            remark("thresholds.preset", fmt::format("{}: {}", each.name, each.what));
    }

    // Names that start at the folder of the job file.
    void place_files(const std::string& job_file) {
        namespace fs = std::filesystem;
        const auto place = [&](std::string& name) {
            const fs::path folder = path_of(job_file).parent_path();
            if (folder.empty() || name.empty() || name == "-" || path_of(name).is_absolute())
                return;
            std::error_code problem;
            const fs::path way = fs::absolute(path_of(name), problem)
                                     .lexically_relative(fs::absolute(folder, problem));
            name = (way.empty() ? fs::absolute(path_of(name), problem) : way).generic_string();
        };
        place(settings.reading.file);
        for (std::string& file : settings.reading.further_files) place(file);
        place(settings.tests);
        place(settings.area);
        const fs::path first = path_of(options.file);
        settings.report = first.stem().string() + ".report.html";
    }
};

} // namespace

std::string init_text(const job_settings& known, const std::string& job_file, progress& shown) {
    return proposal(known, shown).text(job_file);
}

} // namespace qmx_study
