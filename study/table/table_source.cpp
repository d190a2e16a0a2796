#include "study/table/table_source.hpp"
#include "study/base/open_file.hpp"

#include <algorithm>
#include <charconv>
#include <filesystem>

#include <fmt/format.h>

#include "study/base/errors.hpp"

namespace qmx_study {

namespace {

namespace fs = std::filesystem;

void refuse_repeated(const std::vector<std::string>& files) {
    for (std::size_t i = 0; i < files.size(); ++i)
        for (std::size_t j = 0; j < i; ++j) {
            std::error_code unknown;
            if (files[i] == files[j] ||
                fs::equivalent(path_of(files[i]), path_of(files[j]), unknown))
                throw usage_error(fmt::format("{}: this file is named twice; its rows would count "
                                              "twice",
                                              files[i]),
                                  {{}, files[i], 0, {}});
        }
}

std::string kind_of_positions(const table_file& file) {
    if (file.is_delimited && !file.has_geometry()) return "a table of text";
    if (!file.has_geometry()) return "a table without geometries";
    return "in " + (file.reference() ? file.reference()->name() : "no named coordinate system");
}

// Positions of files that do not lie in one system would be mixed.
void refuse_other_kind(const table_file& first, const table_file& further) {
    const coordinate_system& ours = first.reference();
    const coordinate_system& theirs = further.reference();
    const bool is_alike = first.is_delimited == further.is_delimited &&
                          first.has_geometry() == further.has_geometry() && !ours == !theirs &&
                          (!ours || ours->is_same_as(*theirs));
    if (is_alike) return;
    throw usage_error(fmt::format("{} is {}, but {} is {}: files of one lot are of one kind and in "
                                  "one coordinate system",
                                  first.file, kind_of_positions(first), further.file,
                                  kind_of_positions(further)),
                      {{}, further.file, 0, {}});
}

std::size_t number_in(std::string_view text) {
    std::size_t value = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc{} && stop == text.data() + text.size() ? value : 0;
}

} // namespace

table_source::table_source(const std::vector<std::string>& named, const std::string& layer,
                           progress& shown, const text_layout& layout, counting when) {
    if (named.size() > 1) when = counting::first;
    refuse_repeated(named);
    rows = 0;
    for (const std::string& name : named) {
        joined_file& part = parts.emplace_back();
        part.table = std::make_unique<table_file>(name, layer, shown, layout, when);
        if (parts.size() > 1) refuse_other_kind(*parts.front().table, *part.table);
        join_columns(part);
        part.first = rows;
        rows = rows < 0 || part.table->rows < 0 ? -1 : rows + part.table->rows;
    }
    for (joined_file& part : parts) part.own.resize(columns.size(), -1);
    const table_file& first = *parts.front().table;
    file = parts.size() == 1 ? first.file
                             : fmt::format("{} and {} more", first.file, parts.size() - 1);
    format = first.format;
    is_delimited = first.is_delimited;
    now = parts.front().table.get();
}

// Columns of the same name are one column of the lot: the second of a name goes to the second.
void table_source::join_columns(joined_file& further) {
    const std::vector<source_column>& theirs = further.table->columns;
    if (parts.size() == 1) {
        columns = theirs;
        for (std::size_t i = 0; i < columns.size(); ++i) further.own.push_back(static_cast<int>(i));
        return;
    }
    further.own.assign(columns.size(), -1);
    for (std::size_t i = 0; i < theirs.size(); ++i) {
        std::size_t j = 0;
        while (j < columns.size() &&
               (further.own[j] >= 0 || !same_text(columns[j].name, theirs[i].name)))
            ++j;
        if (j == columns.size()) {
            is_plain = false; // the files before have no such column
            columns.push_back(theirs[i]);
            further.own.push_back(-1);
        } else if (columns[j].type != theirs[i].type) {
            columns[j].type = column_type::text;
        }
        further.own[j] = static_cast<int>(i);
        is_plain = is_plain && i == j;
    }
    is_plain = is_plain && theirs.size() == columns.size();
}

std::vector<std::string> table_source::files() const {
    std::vector<std::string> names;
    for (const joined_file& each : parts) names.push_back(each.table->file);
    return names;
}

void table_source::start(std::size_t part) {
    if (part == 0) before = 0;
    at = part;
    now = parts[part].table.get();
    parts[part].first = before;
}

void table_source::rewind() {
    for (const joined_file& each : parts) each.table->rewind();
    start(0);
}

void table_source::rewind_for(const std::vector<int>& wanted, bool with_geometry) {
    for (std::size_t k = 0; k < parts.size(); ++k) {
        std::vector<int> own;
        for (const int column : wanted)
            if (const int theirs = column < 0 ? -1 : own_column(k, column); theirs >= 0)
                own.push_back(theirs);
        parts[k].table->rewind_for(own, with_geometry);
    }
    start(0);
}

bool table_source::skip_to_next_part() {
    if (at + 1 == parts.size()) return false;
    before += now->rows >= 0 ? now->rows : now->record();
    start(at + 1);
    return true;
}

bool table_source::go_on_to_next_part() {
    if (at + 1 == parts.size()) return false;
    before += now->record();
    start(at + 1);
    return true;
}

bool table_source::next_part() {
    while (go_on_to_next_part())
        if (now->next()) return true;
    return false;
}

void table_source::count_while_reading() {
    for (const joined_file& each : parts) each.table->count_while_reading();
}

void table_source::count_now(progress& shown) {
    for (const joined_file& each : parts) each.table->count_now(shown);
    take_counts();
}

void table_source::take_counts() {
    if (parts.size() == 1) rows = now->rows;
}

std::size_t table_source::part_of(std::int64_t record) const {
    std::size_t index = parts.size() - 1;
    while (index > 0 && parts[index].first >= record) --index;
    return index;
}

std::int64_t table_source::line_of(std::int64_t record) const {
    const joined_file& part = parts[part_of(record)];
    return part.table->line_of(record - part.first);
}

std::string table_source::place(std::int64_t record) const {
    const joined_file& part = parts[part_of(record)];
    const std::string place = part.table->place(record - part.first);
    return parts.size() == 1 ? place : fmt::format("{}, {}", part.table->file, place);
}

int table_source::column_named(std::string_view name) const {
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (columns[i].name == name) return static_cast<int>(i);
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (same_text(columns[i].name, name)) return static_cast<int>(i);
    return -1;
}

int table_source::column_chosen(std::string_view name) const {
    if (const int column = column_named(name); column >= 0) return column;
    if (const std::size_t place = number_in(name); place > 0 && place <= columns.size())
        return static_cast<int>(place - 1);
    const std::size_t mark = name.rfind('#');
    std::size_t left = mark == std::string_view::npos ? 0 : number_in(name.substr(mark + 1));
    for (std::size_t i = 0; i < columns.size() && left > 0; ++i)
        if (same_text(columns[i].name, name.substr(0, mark)) && --left == 0)
            return static_cast<int>(i);
    return -1;
}

std::string table_source::unique_name(int column) const {
    const std::string& name = columns[static_cast<std::size_t>(column)].name;
    std::size_t all = 0;
    std::size_t own = 0;
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (same_text(columns[i].name, name)) {
            ++all;
            if (static_cast<int>(i) == column) own = all;
        }
    return all > 1 ? fmt::format("{}#{}", name, own) : name;
}

std::string table_source::column_list() const {
    constexpr std::size_t most = 60;
    std::string list;
    for (std::size_t i = 0; i < std::min(columns.size(), most); ++i)
        list += (i > 0 ? ", " : "") + unique_name(static_cast<int>(i));
    if (columns.size() > most) list += fmt::format(" and {} more", columns.size() - most);
    return list;
}

} // namespace qmx_study
