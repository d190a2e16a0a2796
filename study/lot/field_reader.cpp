#include "study/lot/field_reader.hpp"

#include <cmath>

#include <fmt/format.h>

#include "study/base/value_text.hpp"

namespace qmx_study {

namespace {

constexpr const char* missing_key = "_missing";
constexpr const char* missing_text = " is missing";

} // namespace

void drop_counter::add(std::string_view role, std::string_view reason, std::string_view subject,
                       std::string_view text, std::int64_t record, std::string_view column,
                       std::string_view value, std::int64_t rows_of_it) {
    for (dropped_rows& known : rows)
        if (known.reason.size() == role.size() + reason.size() && known.reason.starts_with(role) &&
            known.reason.ends_with(reason)) {
            known.count += rows_of_it;
            return;
        }
    rows.push_back({fmt::format("{}{}", role, reason), fmt::format("{}{}", subject, text),
                    rows_of_it, record, std::string(column), std::string(value)});
}

field_reader::field_reader(const used_column& use, const char* role, const row_survey& learned)
    : column(use), survey(learned), key(role) {}

double field_reader::read(const table_source& row, drop_counter& drops) {
    const text_value field = survey.read(row, column.index);
    const auto drop = [&](const char* reason, const char* text) {
        drops.add(key, reason, column.name, text, row.record(), column.name,
                  example_text(trimmed(row.text(column.index))));
        return not_there;
    };
    switch (field.kind) {
    case text_kind::missing:
        if (field.extra.empty()) return drop(missing_key, missing_text);
        return drop("_missing_code", " is a number that stands for a missing value");
    case text_kind::not_a_number:
        if (is_known_unit(field.extra)) return drop("_in_another_unit", " is in another unit");
        return drop("_not_a_number", " is not a number");
    case text_kind::number: break;
    case text_kind::unit_number: note_stripped(field, true); break;
    case text_kind::labelled: note_stripped(field, false); break;
    }
    return field.value;
}

void field_reader::note_stripped(const text_value& field, bool is_unit) {
    if (stripped.count++ == 0) stripped = {column.name, std::string(field.extra), is_unit, 1};
}

void field_reader::take_empty(std::int64_t fields, std::int64_t first_record,
                              drop_counter& drops) const {
    if (fields > 0)
        drops.add(key, missing_key, column.name, missing_text, first_record, column.name,
                  example_text({}), fields);
}

void value_column::take(const table_source& row) {
    now = reader.read(row, drops);
    filled += !std::isnan(now);
}

void value_column::take_all(std::int64_t rows, std::int64_t empty,
                            std::int64_t first_empty_record) {
    reader.take_empty(empty, first_empty_record, drops);
    filled += rows - empty;
}

} // namespace qmx_study
