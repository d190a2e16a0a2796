// Parts that the documents of several answers have in common.
#pragma once

#include "study/analyses/library_events.hpp"
#include "study/document/json.hpp"
#include "study/lot/cells.hpp"
#include "study/lot/load.hpp"

namespace qmx_study {

// Keys "input" and "columns".
void add_reading(json& document, const reading_account& reading);

// "count", "with_several_records", "most_records".
json cells_json(const cell_summary& cells);

// null for an analysis that did not fail; otherwise message, code, class and path of the library (null
// where it did not fail itself) and the explanation.
json failure_json(const analysis_failure& failure);

// Null where the column was not found.
json column_json(const used_column& column);

// A document with its head, input and columns, the keys of its part, and the name of its output.
json whole_document(json head, const reading_account& reading, json part,
                    const std::string& output);

} // namespace qmx_study
