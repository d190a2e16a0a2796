// The tables of a report's document as CSV files.
#pragma once

#include <string>
#include <vector>

#include "study/base/output_file.hpp"
#include "study/document/json.hpp"

namespace qmx_study {

struct named_table {
    std::string name; // of the file, without its ending
    std::vector<std::string> columns;
    std::vector<std::vector<json>> rows; // numbers, texts, true, false or null
};

// Made from the document alone. A part that the document does not hold makes no table.
std::vector<named_table> tables_of(const json& report_document);

// One file for each of them (RFC 4180, decimal points, lines end with a line feed; null is an empty field)
// in a folder that is made where it is missing. Tables of an earlier report that this one does not hold are
// removed. Throws usage_error where a file cannot be written: then all are as they were before.
void write_report_tables(const std::string& folder, const json& report_document);

// The same in two steps: the tables among other files that come to their names together, and the removal
// afterwards.
void add_report_tables(output_set& files, const std::string& folder, const json& report_document);
void remove_old_tables(const std::string& folder, const json& report_document);

} // namespace qmx_study
