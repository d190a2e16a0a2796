#include "study/lot/row_filter.hpp"

#include <algorithm>

#include <cpl_string.h>
#include <fmt/format.h>

#include "study/base/errors.hpp"

namespace qmx_study {

std::string where_hint(const std::string& column, const std::string& condition) {
    const auto is_of_word = [](char c) {
        return c == '_' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
               (c >= 'A' && c <= 'Z');
    };
    const bool is_word = !column.empty() && !(column[0] >= '0' && column[0] <= '9') &&
                         std::all_of(column.begin(), column.end(), is_of_word);
    return is_word ? fmt::format("--where \"{} {}\"", column, condition)
                   : fmt::format("--where '\"{}\" {}'", column, condition);
}

row_filter::row_filter(const std::string& expression, const table_source& source,
                       const row_survey& learned)
    : survey(learned) {
    if (expression.empty()) return;
    definition.reset(new OGRFeatureDefn("rows"));
    definition->Reference();
    for (std::size_t j = 0; j < source.columns.size(); ++j) {
        const source_column& column = source.columns[j];
        const column_content content = survey.columns[j].content;
        const bool numbers = column.is_text() && (content == column_content::numbers ||
                                                  content == column_content::labelled_numbers);
        OGRFieldDefn field(column.name.c_str(),
                           numbers || column.is_numeric() ? OFTReal : OFTString);
        definition->AddFieldDefn(&field);
    }
    CPLErrorReset();
    if (query.Compile(definition.get(), expression.c_str()) != OGRERR_NONE) {
        const std::string reason = CPLGetLastErrorMsg();
        throw usage_error(fmt::format(
            "--where \"{}\": the filter is not understood{}{}\n"
            "  columns of {}: {}\n"
            "  write it like: \"PassCount\" >= 2 AND \"VibeState\" = 'On'",
            expression, reason.empty() ? "" : ": ", reason, source.file, source.column_list()));
    }
    char** const names = query.GetUsedFields();
    for (int i = 0; names && names[i]; ++i)
        if (const int column = definition->GetFieldIndex(names[i]); column >= 0)
            used.push_back(column);
    CSLDestroy(names);
    cells = std::make_unique<OGRFeature>(definition.get());
}

bool row_filter::passes(const table_source& row) {
    if (!cells) return true;
    cells->SetFID(row.record());
    for (const int column : used) {
        const text_value value = row.value(column, survey.style);
        if (value.kind == text_kind::missing) {
            cells->SetFieldNull(column);
        } else if (definition->GetFieldDefn(column)->GetType() == OFTString) {
            cells->SetField(column, std::string(trimmed(row.text(column))).c_str());
        } else if (value.kind == text_kind::not_a_number) {
            cells->SetFieldNull(column);
        } else {
            cells->SetField(column, value.value);
        }
    }
    return query.Evaluate(cells.get()) != 0;
}

} // namespace qmx_study
