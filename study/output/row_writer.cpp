#include "study/output/row_writer.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/number_text.hpp"
#include "study/output/table_writer.hpp"

namespace qmx_study {

namespace {

// Runs through the records that are wanted, with the places that each has in their list.
template <class Use>
void for_each_record(table_source& source, const std::vector<std::int64_t>& records,
                     const std::string& task, progress& shown, Use use) {
    auto wanted = records.begin();
    source.rewind();
    while (wanted != records.end() && source.next()) {
        if (source.record() % 4096 == 0)
            shown.note(task, static_cast<double>(source.record()),
                       static_cast<double>(records.back()));
        if (source.record() != *wanted) continue;
        const auto first = wanted - records.begin();
        while (wanted != records.end() && *wanted == source.record()) ++wanted; // several points
        use(static_cast<std::size_t>(first), static_cast<std::size_t>(wanted - records.begin()));
    }
    source.refuse_if_changed();
    if (wanted != records.end())
        throw usage_error(fmt::format("{}: record {} cannot be read again", source.file, *wanted),
                          {{}, source.file, 0, {}});
}

// A column of a text is one of numbers where no field that is written says anything else.
void settle_types(table_layout& layout, std::size_t first, const std::vector<int>& carried,
                  table_source& source, const std::vector<std::int64_t>& records,
                  const row_survey& survey, progress& shown) {
    for (std::size_t i = 0; i < carried.size(); ++i) {
        const source_column& column = source.columns[static_cast<std::size_t>(carried[i])];
        layout.columns[first + i].type =
            source.is_delimited || column.is_numeric() ? table_type::real : table_type::text;
    }
    if (!source.is_delimited) return;
    for_each_record(source, records, "looking at columns", shown, [&](std::size_t, std::size_t) {
        for (std::size_t i = 0; i < carried.size(); ++i) {
            table_type& type = layout.columns[first + i].type;
            if (type == table_type::text) continue;
            const text_kind kind = source.value(carried[i], survey.style(source)).kind;
            if (kind != text_kind::number && !trimmed(source.text(carried[i])).empty())
                type = table_type::text;
        }
    });
}

// In formats with types two columns may not have one name.
std::string carried_name(const table_layout& layout, std::string name) {
    const auto is_taken = [&](const table_column& column) { return same_text(column.name, name); };
    while (std::any_of(layout.columns.begin(), layout.columns.end(), is_taken)) name += "_file";
    return name;
}

void write_field(table_writer& file, table_type type, const table_source& source, int column,
                 const row_survey& survey) {
    if (type == table_type::real) {
        file.real(source.value(column, survey.style(source)).value);
    } else {
        file.text(source.text(column));
    }
}

} // namespace

void write_rows(table_source& source, const std::vector<std::int64_t>& records,
                const position_columns& positions, const row_survey& survey,
                const std::string& output, progress& shown) {
    check_output_name(output);
    table_layout layout;
    layout.separator = source.separator();
    layout.system = positions.system;
    layout.length_unit = positions.length_unit;
    const bool has_points = source.has_geometry() && !source.is_delimited;
    if (has_points) layout.columns = {{"x", table_type::real}, {"y", table_type::real}};
    const std::size_t first = layout.columns.size();
    const bool is_typed = is_vector_name(output);
    for (int i = 0; i < static_cast<int>(source.columns.size()); ++i)
        layout.columns.push_back(
            {is_typed ? source.unique_name(i) : source.columns[static_cast<std::size_t>(i)].name,
             table_type::text});
    std::vector<int> all(source.columns.size());
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<int>(i);
    if (is_typed) settle_types(layout, first, all, source, records, survey, shown);
    layout.x = has_points ? 0 : positions.x;
    layout.y = has_points ? 1 : positions.y;
    layout.keeps_positions = !has_points;
    const auto is_number = [&](int column) {
        return layout.columns[static_cast<std::size_t>(column)].type == table_type::real;
    };
    if (!has_points &&
        (layout.x < 0 || layout.y < 0 || !is_number(layout.x) || !is_number(layout.y)))
        layout.x = layout.y = -1;

    table_writer file(output, layout);
    for_each_record(source, records, "writing " + output, shown, [&](std::size_t, std::size_t) {
        if (has_points) {
            const shape* const geometry = source.geometry();
            const bool is_point =
                geometry && geometry->kind == shape_kind::point && !geometry->is_empty;
            file.real(is_point ? geometry->x : NAN).real(is_point ? geometry->y : NAN);
        }
        for (const int column : all)
            write_field(file, layout.columns[first + static_cast<std::size_t>(column)].type, source,
                        column, survey);
        file.end_row();
    });
    file.close();
    shown.clear();
}

void write_rows(table_source& source, const std::vector<std::int64_t>& records,
                const leading_columns& leading, const row_survey& survey, const std::string& output,
                progress& shown) {
    check_output_name(output);
    table_layout layout = leading.layout;
    layout.separator = source.separator();
    const std::size_t first = layout.columns.size();
    std::vector<int> carried;
    for (int i = 0; i < static_cast<int>(source.columns.size()); ++i) {
        if (std::find(leading.left_out.begin(), leading.left_out.end(), i) !=
            leading.left_out.end())
            continue;
        carried.push_back(i);
        layout.columns.push_back({carried_name(layout, source.unique_name(i)), table_type::text});
    }
    if (is_vector_name(output))
        settle_types(layout, first, carried, source, records, survey, shown);
    table_writer file(output, layout);
    for_each_record(
        source, records, "writing " + output, shown, [&](std::size_t from, std::size_t to) {
            for (std::size_t row = from; row < to; ++row) {
                leading.write(file, row);
                for (std::size_t i = 0; i < carried.size(); ++i)
                    write_field(file, layout.columns[first + i].type, source, carried[i], survey);
                file.end_row();
            }
        });
    file.close();
    shown.clear();
}

} // namespace qmx_study
