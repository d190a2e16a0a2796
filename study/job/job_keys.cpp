#include "study/job/job_keys.hpp"

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <utility>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/near_name.hpp"
#include "study/base/time_text.hpp"

namespace qmx_study {

namespace {

// The member at the end of a path of members.
template <auto First, auto... Rest> auto& member(auto& record) {
    if constexpr (sizeof...(Rest) == 0) {
        return record.*First;
    } else {
        return member<Rest...>(record.*First);
    }
}

template <class Member> job_value value_of_member(const Member& value) {
    if constexpr (std::is_same_v<Member, std::string> ||
                  std::is_same_v<Member, std::vector<std::string>>) {
        if (value.empty()) return {};
        return value;
    } else if constexpr (std::is_same_v<Member, bool>) {
        if (!value) return {};
        return true;
    } else if constexpr (std::is_same_v<Member, number_range>) {
        if (!value.is_given()) return {};
        return value;
    } else if constexpr (std::is_same_v<Member, std::int64_t>) {
        if (value == 0) return {};
        return static_cast<double>(value);
    } else {
        if (!value) return {};
        return static_cast<double>(*value);
    }
}

template <class Member> void set_member(Member& member, const job_value& value) {
    if constexpr (std::is_same_v<Member, std::string> || std::is_same_v<Member, bool> ||
                  std::is_same_v<Member, std::vector<std::string>> ||
                  std::is_same_v<Member, number_range>) {
        member = std::get<Member>(value);
    } else if constexpr (std::is_same_v<Member, std::int64_t>) {
        member = static_cast<std::int64_t>(std::get<double>(value));
    } else {
        member = static_cast<typename Member::value_type>(std::get<double>(value));
    }
}

template <auto... Path>
job_key key_of(const char* table, const char* key, job_kind kind, const char* what,
               const char* sample) {
    job_key made{table, key, kind, what, sample};
    made.get = [](const job_settings& settings) {
        return value_of_member(member<Path...>(settings));
    };
    made.set = [](job_settings& settings, const job_value& value) {
        set_member(member<Path...>(settings), value);
    };
    return made;
}

template <auto... Path>
job_key choice_of(const char* table, const char* key, const char* what, const char* sample,
                  std::vector<std::string> choices) {
    job_key made = key_of<Path...>(table, key, job_kind::text, what, sample);
    made.choices = std::move(choices);
    return made;
}

template <auto... Path>
job_key positive(const char* table, const char* key, job_kind kind, const char* what,
                 const char* sample) {
    job_key made = key_of<Path...>(table, key, kind, what, sample);
    made.positive = true;
    return made;
}

template <trait Which> job_key trait_key(const char* what, const char* sample) {
    job_key made{"columns", name_of(Which), job_kind::text, what, sample};
    made.get = [](const job_settings& settings) { return value_of_member(settings.traits[Which]); };
    made.set = [](job_settings& settings, const job_value& value) {
        settings.traits[Which] = std::get<std::string>(value);
    };
    return made;
}

using texts = report_texts;
using settings = job_settings;
using reading = reading_options;
using filters = lot_filters;

job_key files_key() {
    job_key made{"input", "files", job_kind::file_list,
                 "one lot's points; several files are read one after the other", "[\"lot.csv\"]"};
    made.get = [](const job_settings& from) -> job_value {
        if (from.reading.file.empty()) return {};
        return from.reading.files();
    };
    made.set = [](job_settings& to, const job_value& value) {
        auto files = std::get<std::vector<std::string>>(value);
        to.reading.file = files.empty() ? std::string() : files.front();
        if (!files.empty()) files.erase(files.begin());
        to.reading.further_files = std::move(files);
    };
    return made;
}

void add_input_keys(std::vector<job_key>& all) {
    using enum job_kind;
    constexpr auto reads = &settings::reading;
    const std::vector<job_key> keys{
        files_key(),
        key_of<&settings::tests>("input", "tests", file, "a table of spot tests", "\"spots.csv\""),
        key_of<&settings::area>("input", "area", file, "polygons of the area to be covered",
                                "\"area.geojson\""),
        key_of<&settings::excluded_area>("input", "excluded_area", file,
                                         "polygons that are no part of it", "\"bridges.geojson\""),
        key_of<reads, &reading::layer>("input", "layer", text, "of a file with several layers",
                                       "\"cells\""),
        key_of<reads, &reading::crs>(
            "input", "crs", text, "coordinate system of the positions, where the file tells none",
            "\"EPSG:25832\""),
        key_of<reads, &reading::project>(
            "input", "project", text,
            "plane for longitudes and latitudes: \"utm\" or the name of a system", "\"utm\""),
        choice_of<reads, &reading::decimal>("input", "decimal",
                                            "decimal mark of texts: auto, point or comma",
                                            "\"auto\"", {"auto", "point", "comma"}),
        positive<reads, &reading::header_line>("input", "header_line", whole,
                                               "line with the names of the columns, from 1", "1"),
        key_of<reads, &reading::comment>("input", "comment", text,
                                         "a line that starts with it is no row", "\"#\""),
        key_of<reads, &reading::missing>("input", "missing", text_list,
                                         "further texts that stand for a missing value",
                                         "[\"-9999\"]"),
        key_of<reads, &reading::where>("input", "where", text,
                                       "only rows that satisfy this are read",
                                       "'\"PassCount\" >= 2'")};
    all.insert(all.end(), keys.begin(), keys.end());
}

void add_column_keys(std::vector<job_key>& all) {
    using enum job_kind;
    constexpr auto reads = &settings::reading;
    const std::vector<job_key> keys{
        key_of<reads, &reading::x>("columns", "x", text, "easting or longitude; goes with y",
                                   "\"CellE_m\""),
        key_of<reads, &reading::y>("columns", "y", text, "northing or latitude; goes with x",
                                   "\"CellN_m\""),
        key_of<reads, &reading::value>("columns", "value", text, "the measured value",
                                       "\"LastCMV\""),
        key_of<reads, &reading::pass>("columns", "pass", text, "number of the pass",
                                      "\"PassCount\""),
        trait_key<trait::time>("when a row was recorded", "\"Time\""),
        trait_key<trait::machine>("the roller", "\"Machine\""),
        trait_key<trait::lift>("lift or layer", "\"Lift\""),
        trait_key<trait::speed>("speed of the roller", "\"Speed\""),
        trait_key<trait::direction>("forward or reverse", "\"MachineGear\""),
        trait_key<trait::vibration>("vibration on or off", "\"VibeState\""),
        trait_key<trait::frequency>("frequency of the vibration", "\"LastFreq\""),
        trait_key<trait::amplitude>("amplitude of the vibration", "\"LastAmp\""),
        trait_key<trait::temperature>("temperature of the mat", "\"LastTemp\""),
        key_of<&settings::tests_value>("columns", "tests_value", text,
                                       "the value of the spot tests, in their table", "\"EVD\""),
        key_of<&settings::value_unit>("units", "value", text,
                                      "of the measured value, where the file does not tell it",
                                      "\"MN/m\"")};
    all.insert(all.end(), keys.begin(), keys.end());
}

job_key time_key() {
    job_key made{"filter", "time", job_kind::times,
                 "first and last time; \"\" leaves one open, a date at the end counts whole",
                 "[\"2025-10-01T07:00\", \"2025-10-01T18:00\"]"};
    made.get = [](const job_settings& from) -> job_value {
        if (from.filters.time_from.empty() && from.filters.time_to.empty()) return {};
        return std::vector<std::string>{from.filters.time_from, from.filters.time_to};
    };
    made.set = [](job_settings& to, const job_value& value) {
        const auto& times = std::get<std::vector<std::string>>(value);
        to.filters.time_from = times.at(0);
        to.filters.time_to = times.at(1);
    };
    return made;
}

void add_filter_keys(std::vector<job_key>& all) {
    using enum job_kind;
    constexpr auto kept = &settings::filters;
    const std::vector<job_key> keys{
        key_of<kept, &filters::value>("filter", "value", range,
                                      "least and greatest measured value; inf leaves one open",
                                      "[0, 150]"),
        key_of<kept, &filters::speed>("filter", "speed", range, "least and greatest speed",
                                      "[2, 4]"),
        choice_of<kept, &filters::vibration>("filter", "vibration", "on or off", "\"on\"",
                                             {"on", "off"}),
        choice_of<kept, &filters::direction>("filter", "direction", "forward or reverse",
                                             "\"forward\"", {"forward", "reverse"}),
        key_of<kept, &filters::machines>("filter", "machines", text_list, "only these rollers",
                                         "[\"Roller-1\"]"),
        key_of<kept, &filters::lifts>("filter", "lifts", text_list, "only these lifts", "[\"1\"]"),
        time_key(),
        key_of<kept, &filters::polygon>("filter", "polygon", file,
                                        "polygons; rows outside are left out", "\"lane.geojson\"")};
    all.insert(all.end(), keys.begin(), keys.end());
}

void add_analysis_keys(std::vector<job_key>& all) {
    using enum job_kind;
    const std::vector<job_key> keys{
        key_of<&settings::target>("analysis", "target", number, "target of the measured value",
                                  "40"),
        key_of<&settings::below>("analysis", "below", flag,
                                 "true where values at or below the target satisfy it", "false"),
        key_of<&settings::minimum>("analysis", "minimum", number,
                                   "the least value, for the rule on evenness", "30"),
        positive<&settings::target_passes>("analysis", "target_passes", whole,
                                           "passes that each place needs; otherwise read off the "
                                           "compaction curve",
                                           "4"),
        positive<&settings::radius>(
            "analysis", "radius", number,
            "of the circle round a spot test, in the unit of the positions; "
            "0.5 m without it",
            "0.5"),
        key_of<&settings::tests_any_pass>(
            "analysis", "tests_any_pass", flag,
            "true where a test is matched with the data of all passes", "false"),
        positive<&settings::lag>("analysis", "lag", number,
                                 "of the semivariogram, in the unit of the positions", "1"),
        positive<&settings::lags>("analysis", "lags", whole, "number of lags", "20"),
        positive<&settings::window>("analysis", "window", number,
                                    "of the running mean along the road, in the unit of the "
                                    "positions",
                                    "10"),
        key_of<&settings::all_records>("analysis", "all_records", flag,
                                       "true takes all records of a cell, not its last pass alone",
                                       "false")};
    all.insert(all.end(), keys.begin(), keys.end());
}

void add_threshold_keys(std::vector<job_key>& all) {
    all.push_back(key_of<&settings::preset>("thresholds", "preset", job_kind::preset,
                                            "the rules that the thresholds come from",
                                            "\"general\""));
    const std::vector<threshold> general = thresholds_of("general");
    const std::vector<threshold> austrian = thresholds_of("austria");
    for (const known_threshold& each : known_thresholds()) {
        const std::string_view unit = each.unit;
        const threshold* const usual = find_threshold(general, each.key);
        const threshold* const shown = usual ? usual : find_threshold(austrian, each.key);
        all.push_back({"thresholds", each.key, job_kind::threshold,
                       fmt::format("{}{}{}", each.what, unit.empty() ? "" : ", in ", unit),
                       fmt::format("{}", shown ? shown->value : each.least)});
    }
}

void add_output_keys(std::vector<job_key>& all) {
    using enum job_kind;
    constexpr auto words = &settings::texts;
    const std::vector<job_key> keys{
        key_of<words, &texts::title>("texts", "title", text, "of the report", "\"\""),
        key_of<words, &texts::project>("texts", "project", text, "name of the project", "\"\""),
        key_of<words, &texts::lot>("texts", "lot", text, "name of the lot", "\"\""),
        key_of<words, &texts::contractor>("texts", "contractor", text, "who built it", "\"\""),
        key_of<words, &texts::inspector>("texts", "inspector", text, "who accepts it", "\"\""),
        key_of<words, &texts::remarks>("texts", "remarks", text, "printed as they stand", "\"\""),
        key_of<&settings::report>("output", "report", file, "the report, an HTML file",
                                  "\"report.html\""),
        key_of<&settings::document>("output", "document", file, "all results as JSON",
                                    "\"report.json\""),
        key_of<&settings::tables>("output", "tables", file,
                                  "a folder for the tables, each a CSV file", "\"tables\""),
        key_of<&settings::cells>("output", "cells", file,
                                 "the cells with pass, value and verdict: .gpkg, .csv, .geojson",
                                 "\"cells.gpkg\""),
        choice_of<&settings::language>("output", "language", "of the report: en or de", "\"en\"",
                                       {"en", "de"}),
        key_of<&settings::logo>("output", "logo", file, "a picture for the head of the report",
                                "\"logo.png\""),
        key_of<&settings::time_stamp>("output", "time_stamp", text,
                                      "written into the report instead of the time of the run",
                                      "\"2025-10-01T18:00:00Z\"")};
    all.insert(all.end(), keys.begin(), keys.end());
}

std::string problem_of_text(const job_key& key, const std::string& text) {
    const auto is_control = [](char c) { return static_cast<unsigned char>(c) < ' '; };
    const bool is_file = key.kind == job_kind::file || key.kind == job_kind::file_list;
    if (is_file && std::any_of(text.begin(), text.end(), is_control))
        return fmt::format("the name of the file {} holds a control character; a text with "
                           "backslashes stands between single quotation marks: "
                           "'C:\\new\\lot.csv'",
                           key.key);
    if (key.choices.empty() || text.empty() ||
        std::find(key.choices.begin(), key.choices.end(), text) != key.choices.end())
        return {};
    const std::string near = nearest_name(text, key.choices);
    return fmt::format("{} = \"{}\" is not known{}\n  it may be: {}", key.key, text,
                       near.empty() ? "" : fmt::format("; did you mean {}?", near),
                       fmt::join(key.choices, ", "));
}

std::string problem_of_number(const job_key& key, double value) {
    constexpr double greatest_whole = 2147483647;
    const bool is_sound = std::isfinite(value) && (!key.positive || value > 0) &&
                          (key.kind != job_kind::whole || std::fabs(value) <= greatest_whole);
    if (is_sound) return {};
    return fmt::format("{} = {} is out of its range; it must be {}", key.key, value,
                       key.positive ? "above 0" : "a finite number");
}

std::string problem_of_range(const job_key& key, const number_range& range) {
    const double least = range.least.value_or(-INFINITY), most = range.most.value_or(INFINITY);
    if (least <= most && least != INFINITY && most != -INFINITY) return {};
    return fmt::format("{} = [{}, {}] holds no number; give the smaller one first", key.key, least,
                       most);
}

std::string problem_of_times(const std::vector<std::string>& times) {
    for (const std::string& text : times)
        if (!text.empty() && !read_time(text))
            return fmt::format("\"{}\" is not understood as a time; write it like 2025-10-01T09:30",
                               text);
    lot_filters both;
    both.time_from = times.at(0);
    both.time_to = times.at(1);
    try {
        check_filters(both);
    } catch (const usage_error& error) {
        return error.what();
    }
    return {};
}

} // namespace

std::string problem_of(const job_key& key, const job_value& value) {
    if (const auto* const text = std::get_if<std::string>(&value))
        return problem_of_text(key, *text);
    if (const auto* const number = std::get_if<double>(&value))
        return problem_of_number(key, *number);
    if (const auto* const range = std::get_if<number_range>(&value))
        return problem_of_range(key, *range);
    const auto* const texts = std::get_if<std::vector<std::string>>(&value);
    if (!texts) return {};
    if (key.kind == job_kind::times) return problem_of_times(*texts);
    for (const std::string& text : *texts)
        if (std::string problem = problem_of_text(key, text); !problem.empty()) return problem;
    return {};
}

const std::vector<job_table>& job_tables() {
    static const std::vector<job_table> all{
        {"input", "Where the data are, and how they are read"},
        {"columns", "Columns by name (or number, from 1); those left out are found by their names"},
        {"units", "Units"},
        {"filter", "Rows that are not so are left out, and counted"},
        {"analysis", "What is asked"},
        {"thresholds", "What verdicts are measured against; \"off\" asks for no verdict"},
        {"texts", "Texts of the report"},
        {"output", "Where the results go"}};
    return all;
}

const std::vector<job_key>& job_keys() {
    static const std::vector<job_key> all = [] {
        std::vector<job_key> keys;
        add_input_keys(keys);
        add_column_keys(keys);
        add_filter_keys(keys);
        add_analysis_keys(keys);
        add_threshold_keys(keys);
        add_output_keys(keys);
        return keys;
    }();
    return all;
}

job_value value_of(const job_settings& settings, const job_key& key) {
    if (key.kind != job_kind::threshold) return key.get(settings);
    const threshold* const in_force = find_threshold(settings.thresholds, key.key);
    if (in_force && in_force->rule.empty()) return in_force->value;
    if (!in_force && find_threshold(thresholds_of(settings.preset), key.key))
        return std::string("off");
    return {};
}

} // namespace qmx_study
