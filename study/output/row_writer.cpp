#include "study/output/row_writer.hpp"

#include <cmath>

#include "study/base/number_text.hpp"
#include "study/output/table_writer.hpp"

namespace qmx_study {

namespace {

// Runs through the records that are wanted.
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
        while (wanted != records.end() && *wanted == source.record()) ++wanted; // several points
        use();
    }
}

// A column of a text is one of numbers where no field that is written says anything else.
void settle_types(table_layout& layout, std::size_t first, table_source& source,
                  const std::vector<std::int64_t>& records, const row_survey& survey,
                  progress& shown) {
    for (std::size_t i = 0; i < source.columns.size(); ++i)
        layout.columns[first + i].type = source.is_delimited || source.columns[i].is_numeric()
                                             ? table_type::real
                                             : table_type::text;
    if (!source.is_delimited) return;
    for_each_record(source, records, "looking at columns", shown, [&] {
        for (std::size_t i = 0; i < source.columns.size(); ++i) {
            table_type& type = layout.columns[first + i].type;
            if (type == table_type::text) continue;
            const text_kind kind = source.value(static_cast<int>(i), survey.style(source)).kind;
            if (kind != text_kind::number && !trimmed(source.text(static_cast<int>(i))).empty())
                type = table_type::text;
        }
    });
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
    if (is_typed) settle_types(layout, first, source, records, survey, shown);
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
    for_each_record(source, records, "writing " + output, shown, [&] {
        if (has_points) {
            const shape* const geometry = source.geometry();
            const bool is_point =
                geometry && geometry->kind == shape_kind::point && !geometry->is_empty;
            file.real(is_point ? geometry->x : NAN).real(is_point ? geometry->y : NAN);
        }
        for (std::size_t i = 0; i < source.columns.size(); ++i) {
            const auto column = static_cast<int>(i);
            if (is_typed && layout.columns[first + i].type == table_type::real) {
                file.real(source.value(column, survey.style(source)).value);
            } else {
                file.text(source.text(column));
            }
        }
        file.end_row();
    });
    file.close();
    shown.clear();
}

} // namespace qmx_study
