#include "study/analyses/columns.hpp"

#include <algorithm>
#include <limits>
#include <utility>

#include "study/analyses/lot_notes.hpp"
#include "study/base/value_text.hpp"
#include "study/lot/column_names.hpp"
#include "study/lot/row_screen.hpp"

namespace qmx_study {

namespace {

std::vector<column_contents> named_columns(const loaded_lot& lot) {
    const table_source& source = lot.source();
    std::vector<column_contents> contents(source.columns.size());
    for (std::size_t j = 0; j < contents.size(); ++j) {
        contents[j].name = source.unique_name(static_cast<int>(j));
        contents[j].unit = heading_unit(source.columns[j]);
        if (contents[j].unit.empty()) contents[j].unit = lot.table.survey.columns[j].unit;
        contents[j].smallest = std::numeric_limits<double>::infinity();
        contents[j].largest = -contents[j].smallest;
    }
    const std::pair<const used_column&, const char*> roles[] = {
        {lot.data.x, "x"}, {lot.data.y, "y"}, {lot.data.value, "value"}, {lot.data.pass, "pass"}};
    for (const auto& [column, role] : roles)
        if (column.index >= 0) contents[static_cast<std::size_t>(column.index)].taken_as = role;
    return contents;
}

void take_field(column_contents& column, const text_value& field, std::string_view text) {
    if (field.kind == text_kind::missing) {
        ++column.missing;
        return;
    }
    if (column.example.empty()) column.example = example_text(trimmed(text));
    if (field.kind == text_kind::not_a_number) {
        ++column.texts;
        return;
    }
    ++column.numbers;
    column.smallest = std::min(column.smallest, field.value);
    column.largest = std::max(column.largest, field.value);
}

} // namespace

const char* column_contents::content() const {
    if (numbers == 0) return texts == 0 ? "empty" : "text";
    return texts == 0 ? "numbers" : "numbers and text";
}

// As the statistics of the value read them, so that both use the same rows.
reading_needs needs_of(const columns_question&) {
    reading_needs needs;
    needs.value = need::complete;
    needs.allow_empty = true;
    return needs;
}

columns_answer analyse(const columns_question&, const reading_options& options, loaded_lot& lot,
                       progress& shown) {
    const finished_layer layer = take_finished_layer(lot, false, false);
    columns_answer answer{account_of(lot), named_columns(lot)};
    for (const std::string& note : layer.notes) answer.reading.notes.push_back(note);
    table_source& source = *lot.table.source;
    const row_survey& survey = lot.table.survey;
    row_screen screen(source, survey, options.where);
    drop_counter dropped;
    source.rewind();
    while (source.next()) {
        if (source.record() % 4096 == 0)
            shown.note("looking at all columns", static_cast<double>(source.record()),
                       static_cast<double>(source.rows));
        if (screen.look(dropped) != row_state::taken) continue;
        for (std::size_t j = 0; j < answer.columns.size(); ++j) {
            const int column = static_cast<int>(j);
            const text_value field = survey.read(source, column);
            take_field(answer.columns[j], field, source.text(column));
        }
    }
    shown.clear();
    return answer;
}

} // namespace qmx_study
