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
    if (const std::string& other = survey.columns[at].other_unit; !other.empty())
        throw usage_error(fmt::format("{}: the column {} is in {} in one file and in {} in "
                                      "another; bring the files to one unit",
                                      source.file, column.name, survey.columns[at].accepted_unit,
                                      other),
                          {{}, source.file, 0, column.name});
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

bool is_in_every_file(const table_source& source, int column) {
    for (std::size_t k = 0; k < source.part_count(); ++k)
        if (source.own_column(k, column) < 0) return false;
    return true;
}

// The columns that a rule gives a rank (-1: none of them), the smallest rank first. Of several files,
// those that all of them have, where there are such.
template <class Rank>
std::vector<used_column> columns_by_rank(const table_source& source, const row_survey& survey,
                                         Rank rank_of) {
    struct ranked {
        int rank;
        int index;
    };
    std::vector<ranked> found;
    for (std::size_t i = 0; i < source.columns.size(); ++i)
        if (const int rank = rank_of(source.columns[i].name); rank >= 0)
            found.push_back({rank, static_cast<int>(i)});
    const auto is_partial = [&](const ranked& column) {
        return !is_in_every_file(source, column.index);
    };
    if (!std::all_of(found.begin(), found.end(), is_partial)) std::erase_if(found, is_partial);
    std::stable_sort(found.begin(), found.end(),
                     [](const ranked& a, const ranked& b) { return a.rank < b.rank; });
    std::vector<used_column> columns;
    columns.reserve(found.size());
    for (const ranked& column : found)
        columns.push_back(use(source, survey, column.index, "found by its name"));
    return columns;
}

std::vector<used_column> columns_of_role(const table_source& source, const row_survey& survey,
                                         column_role role) {
    return columns_by_rank(source, survey, [&](const std::string& name) {
        const column_meaning meaning = meaning_of_name(name);
        return meaning.role == role ? meaning.rank : -1;
    });
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
    std::size_t shown = std::min<std::size_t>(names.size(), 100);
    while (shown < names.size() && (static_cast<unsigned char>(names[shown]) & 0xC0) == 0x80)
        --shown; // not within a letter
    return fmt::format("\n  line {} was taken as its head: {}{}\n  name another with --header-line",
                       source.part(0).lines.head_line, names.substr(0, shown),
                       shown < names.size() ? "…" : "");
}

} // namespace

namespace {

// A column that one file lacks would make its rows a part of the answer and no part of it.
void refuse_partial(const table_source& source, const used_column& column, const char* option) {
    if (column.index < 0 || is_in_every_file(source, column.index)) return;
    std::string with, without;
    for (std::size_t k = 0; k < source.part_count(); ++k)
        (source.own_column(k, column.index) < 0 ? without : with) = source.part(k).file;
    throw usage_error(fmt::format("{}: it has no column {}, which {} has; name a column that all "
                                  "files have with {}",
                                  without, column.name, with, option),
                      {option, without, 0, column.name});
}

column_choice choose(const table_source& source, const row_survey& survey,
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
        if (needs.are_spot_tests) choice.values = columns_by_rank(source, survey, spot_rank);
        if (choice.values.empty())
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

} // namespace

column_choice choose_columns(const table_source& source, const row_survey& survey,
                             const reading_options& options, const reading_needs& needs) {
    column_choice choice = choose(source, survey, options, needs);
    refuse_partial(source, choice.x, "--x");
    refuse_partial(source, choice.y, "--y");
    if (needs.pass != need::unused) refuse_partial(source, choice.pass, "--pass");
    for (const used_column& value : choice.values) refuse_partial(source, value, "--value");
    return choice;
}

} // namespace qmx_study
