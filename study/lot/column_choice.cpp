#include "study/lot/column_choice.hpp"

#include <algorithm>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/lot/column_names.hpp"

namespace qmx_study {

namespace {

used_column use(const table_source& source, const row_survey& survey, int index, std::string why) {
    const auto at = static_cast<std::size_t>(index);
    used_column column{index, source.unique_name(index), {}, std::move(why)};
    column.unit = heading_unit(source.columns[at]);
    if (column.unit.empty()) column.unit = survey.columns[at].unit;
    return column;
}

used_column use_named(const table_source& source, const row_survey& survey, const std::string& name,
                      const char* option) {
    const int index = source.column_chosen(name);
    if (index < 0)
        throw usage_error(fmt::format("{}: {} names the column \"{}\", which is not there\n"
                                      "  its columns are: {}",
                                      source.file, option, name, source.column_list()),
                          {option, source.file, 0, name});
    return use(source, survey, index, std::string("named by ") + option);
}

std::vector<used_column> columns_of_role(const table_source& source, const row_survey& survey,
                                         column_role role) {
    struct ranked {
        int rank;
        int index;
    };
    std::vector<ranked> found;
    for (std::size_t i = 0; i < source.columns.size(); ++i) {
        const column_meaning meaning = meaning_of_name(source.columns[i].name);
        if (meaning.role == role) found.push_back({meaning.rank, static_cast<int>(i)});
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const ranked& a, const ranked& b) { return a.rank < b.rank; });
    std::vector<used_column> columns;
    for (const ranked& column : found)
        columns.push_back(use(source, survey, column.index, "found by its name"));
    return columns;
}

void choose_positions(column_choice& choice, const table_source& source, const row_survey& survey,
                      const reading_options& options) {
    if (options.x.empty() != options.y.empty())
        throw usage_error("--x and --y go together; one of them is missing",
                          {options.x.empty() ? "--x" : "--y", source.file, 0, {}});
    if (!options.x.empty()) {
        choice.x = use_named(source, survey, options.x, "--x");
        choice.y = use_named(source, survey, options.y, "--y");
        choice.x.why = choice.y.why = "named by --x and --y";
        choice.is_geographic = meaning_of_name(choice.x.name).role == column_role::longitude ||
                               meaning_of_name(choice.y.name).role == column_role::latitude;
        return;
    }
    const auto from_geometry = [&] {
        const std::string unit =
            source.reference() ? source.reference()->length_unit() : std::string();
        choice.x = {-1, "x of the geometry", unit, "the points of the layer"};
        choice.y = {-1, "y of the geometry", unit, "the points of the layer"};
        choice.from_geometry = true;
        choice.is_geographic = source.reference() && source.reference()->is_geographic();
    };
    if (source.has_geometry() && !source.is_delimited) return from_geometry();
    for (const bool planar : {true, false}) {
        const auto x =
            columns_of_role(source, survey, planar ? column_role::easting : column_role::longitude);
        const auto y =
            columns_of_role(source, survey, planar ? column_role::northing : column_role::latitude);
        if (x.empty() || y.empty()) continue;
        choice.x = x.front();
        choice.y = y.front();
        choice.is_geographic = !planar;
        if (!planar) choice.x.unit = choice.y.unit = "deg";
        return;
    }
    if (source.has_geometry()) from_geometry(); // a WKT column
}

// Columns that hold numbers and have no other meaning.
std::vector<used_column> other_numbers(const table_source& source, const row_survey& survey,
                                       const column_choice& choice) {
    std::vector<used_column> found;
    for (std::size_t i = 0; i < source.columns.size(); ++i) {
        const int index = static_cast<int>(i);
        const bool numbers =
            source.columns[i].is_numeric() || survey.columns[i].content == column_content::numbers;
        if (numbers && index != choice.x.index && index != choice.y.index &&
            index != choice.pass.index)
            found.push_back(use(source, survey, index, "the only other column with numbers"));
    }
    return found;
}

std::string names_of(const std::vector<used_column>& columns) {
    std::string names;
    for (const used_column& column : columns) names += (names.empty() ? "" : ", ") + column.name;
    return names.empty() ? "none" : names;
}

// The line that was taken as the head, for a file in which it may stand elsewhere.
std::string head_taken(const table_source& source) {
    if (!source.is_delimited) return {};
    const std::string names = source.column_list();
    return fmt::format("\n  line {} was taken as its head: {}{}\n  name another with --header-line",
                       source.lines.head_line, names.substr(0, 100), names.size() > 100 ? "…" : "");
}

} // namespace

column_choice choose_columns(const table_source& source, const row_survey& survey,
                             const reading_options& options, const reading_needs& needs) {
    column_choice choice;
    if (needs.position != need::unused) choose_positions(choice, source, survey, options);
    if (needs.position == need::required && !choice.x.found())
        throw usage_error(fmt::format("{}: no columns of positions were recognised; name them with "
                                      "--x and --y\n  its columns are: {}",
                                      source.file, source.column_list()),
                          {"--x", source.file, 0, {}});

    if (!options.pass.empty()) {
        choice.pass = use_named(source, survey, options.pass, "--pass");
    } else if (const auto passes = columns_of_role(source, survey, column_role::pass_count);
               !passes.empty()) {
        choice.pass = passes.front();
    }
    if (needs.pass == need::required && !choice.pass.found())
        throw usage_error(fmt::format("{}: no column of pass numbers was recognised; name it with "
                                      "--pass\n  its columns are: {}",
                                      source.file, source.column_list()),
                          {"--pass", source.file, 0, {}});

    if (needs.value == need::unused) return choice;
    if (!options.value.empty()) {
        choice.values = {use_named(source, survey, options.value, "--value")};
    } else if (needs.value_is_pass) {
        if (!choice.pass.found())
            throw usage_error(
                fmt::format("{}: no column of pass counts was recognised; name it with "
                            "--pass\n  its columns are: {}",
                            source.file, source.column_list()),
                {"--pass", source.file, 0, {}});
        choice.values = {choice.pass};
    } else {
        choice.values = columns_of_role(source, survey, column_role::measured);
        const std::vector<used_column> others = other_numbers(source, survey, choice);
        if (choice.values.empty() && others.size() == 1) choice.values = others;
        if (choice.values.empty() && needs.value == need::required)
            throw usage_error(
                fmt::format(
                    "{}: no column of a measured value was recognised; name it with --value\n"
                    "  columns with numbers: {}{}",
                    source.file, names_of(others), others.empty() ? head_taken(source) : ""),
                {"--value", source.file, 0, {}});
    }
    return choice;
}

} // namespace qmx_study
