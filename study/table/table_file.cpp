#include "study/table/table_file.hpp"
#include "study/base/open_file.hpp"

#include <array>
#include <cmath>
#include <filesystem>
#include <limits>

#include <fmt/format.h>

#include "study/base/errors.hpp"

namespace qmx_study {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view text_extensions[] = {".csv", ".tsv", ".txt", ".dat", ".asc", ".psv"};

bool is_delimited_name(const std::string& file) {
    if (is_stream(file)) return true;
    std::string lower = lower_case(file);
    if (lower.starts_with("/vsi")) return false; // a place that only GDAL knows
    if (lower.ends_with(".gz")) lower.resize(lower.size() - 3);
    for (const std::string_view extension : text_extensions)
        if (lower.ends_with(extension)) return true;
    return false;
}

} // namespace

bool is_stream(const std::string& file) {
    std::error_code unknown;
    for (const std::string_view handle : {"/dev/stdin", "/dev/fd/", "/proc/self/fd/"})
        if (file.starts_with(handle)) return true;
    return file == "-" || fs::is_fifo(path_of(file), unknown) ||
           fs::is_character_file(path_of(file), unknown);
}

table_file::table_file(const std::string& name, const std::string& layer, progress& shown,
                       const text_layout& named, counting when)
    : file(name), layout(named) {
    std::error_code unknown;
    if (!is_stream(file) && !fs::exists(path_of(file), unknown) && !file.starts_with("/vsi"))
        throw usage_error(fmt::format("{}: there is no such file, or it may not be read", file),
                          {{}, file, 0, {}});
    if (fs::is_directory(path_of(file), unknown))
        throw usage_error(fmt::format("{}: this is a folder; name a file in it", file),
                          {{}, file, 0, {}});
    is_delimited = is_delimited_name(file);
    if (is_delimited) {
        open_text(shown, when);
        return;
    }
    vector = std::make_unique<vector_table>(file, layer);
    format = vector->format();
    columns = vector->columns();
    rows = vector->rows();
    is_spatial = vector->has_geometry();
    system = vector->system();
}

void table_file::open_text(progress& shown, counting when) {
    constexpr std::int64_t counted_at_once = 10'000; // more than are surveyed
    format = "CSV";
    records = std::make_unique<text_records>(file);
    if (!records->is_open())
        throw usage_error(
            fmt::format("{}: the file cannot be opened: {}", file, records->failure()),
            {{}, file, 0, {}});
    lines = scan_head(*records, layout, file);
    const bool at_once = when == counting::while_reading;
    const std::int64_t enough =
        at_once ? counted_at_once : std::numeric_limits<std::int64_t>::max();
    if (count_records(*records, lines, layout, enough, file, shown)) rows = lines.records;
    try {
        name_columns_by_head();
        refuse_missing_head();
    } catch (const usage_error&) {
        count_now(shown);
        throw;
    }
    rewind();
}

void table_file::count_now(progress& shown) {
    if (!records || rows >= 0) return;
    count.reset();
    constexpr std::int64_t all = std::numeric_limits<std::int64_t>::max();
    count_records(*records, lines, layout, all, file, shown);
    rows = lines.records;
}

void table_file::count_while_reading() {
    if (records && rows < 0) count.emplace(lines, *records);
}

void table_file::take_plain(std::int64_t lines_taken) {
    number += lines_taken;
    if (count) count->take_plain(lines_taken);
}

void table_file::name_columns_by_head() {
    for (const std::string& name : lines.head) {
        const std::size_t number_from_1 = columns.size() + 1;
        std::string clean(trimmed(name));
        if (clean.empty()) clean = fmt::format("field_{}", number_from_1);
        if (shape_column < 0 && (same_text(clean, "WKT") || lower_case(clean).starts_with("_wkt")))
            shape_column = static_cast<int>(columns.size());
        columns.push_back({std::move(clean), column_type::text,
                           lines.units.empty() ? std::string() : lines.units[columns.size()]});
    }
    is_spatial = shape_column >= 0;
    if (is_spatial) read_system_beside();
}

// The coordinate system of a table with geometries may stand in a file beside it.
void table_file::read_system_beside() {
    text_input beside(path_of(file).replace_extension(".prj").string());
    if (!beside.is_open()) return;
    std::array<char, 1 << 14> text;
    const std::size_t size = beside.read(text.data(), text.size());
    system = system_from_text({text.data(), size});
}

void table_file::refuse_missing_head() const {
    for (const source_column& column : columns) {
        const text_kind kind = read_text_value(column.name, {}).kind;
        if (kind != text_kind::number && kind != text_kind::missing) return;
    }
    throw usage_error(
        fmt::format("{}, line {}: numbers stand where the names of the columns belong; "
                    "add a head line such as x,y,value",
                    file, lines.head_line),
        {{}, file, lines.head_line, {}});
}

void table_file::rewind() {
    number = 0;
    count.reset();
    if (vector) return vector->rewind();
    records->rewind();
    for (std::int64_t i = 0; i < lines.head_records; ++i) records->next();
}

void table_file::rewind_for(const std::vector<int>& wanted, bool with_geometry) {
    if (!vector) return rewind();
    number = 0;
    vector->rewind_for(wanted, with_geometry);
}

bool table_file::next() {
    if (vector ? vector->next() : records->next()) {
        ++number;
        if (vector) return true;
        if (count) count->take();
        split_fields(records->text, lines.separator, records->has_quotes, unquoted, fields);
        if (fields.size() < columns.size()) fields.resize(columns.size());
        return true;
    }
    if (count) rows = lines.records;
    count.reset();
    if (records) refuse_failure(*records, file);
    if (vector && !vector->failure().empty())
        throw usage_error(fmt::format("{}, after {}: reading stopped: {}", file,
                                      number > 0 ? place(number) : "the start", vector->failure()),
                          {{}, file, 0, {}});
    return false;
}

text_value table_file::value(int column, const number_style& style) const {
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    if (!vector) return read_text_value(text(column), style);
    if (vector->is_missing(column)) return {text_kind::missing, none, {}};
    const source_column& description = columns[static_cast<std::size_t>(column)];
    if (!description.is_numeric()) return read_text_value(text(column), style);
    const double number_read = vector->number(column);
    if (std::isnan(number_read)) return {text_kind::missing, none, {}};
    if (std::isinf(number_read)) return {text_kind::not_a_number, none, {}};
    if (is_missing_number(number_read, style)) return {text_kind::missing, none, {}};
    return {text_kind::number, number_read, {}};
}

const shape* table_file::geometry() const {
    if (vector) return vector->geometry();
    if (shape_column < 0 || !read_wkt(text(shape_column), read_shape)) return nullptr;
    return &read_shape;
}

std::string_view table_file::geometry_text() const {
    return shape_column < 0 ? std::string_view() : trimmed(text(shape_column));
}

std::int64_t table_file::line_of(std::int64_t record) const {
    return is_delimited ? lines.line_of(record) : record;
}

file_mark table_file::mark() {
    return records ? records->mark(file) : mark_of_file(file);
}

void table_file::refuse_if_changed() const {
    if (records) return records->refuse_if_changed(file);
    if (vector->is_changed())
        throw usage_error(fmt::format("{}: {}", file, changed_while_read), {{}, file, 0, {}});
}

std::string table_file::place(std::int64_t record) const {
    return fmt::format("{} {}", is_delimited ? "line" : "record", line_of(record));
}

} // namespace qmx_study
