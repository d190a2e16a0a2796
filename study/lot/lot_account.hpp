// What became of the rows of a lot, file by file, and what a lot without a row is refused with.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "study/lot/lot_reader.hpp"

namespace qmx_study {

// How the texts are laid out and written, where it is not the usual way.
void note_texts(lot& points, const table_source& source, const row_survey& survey);

// By file; shorter where further files have none.
struct rows_by_file {
    std::vector<std::int64_t> further; // points of records with several
    std::vector<std::int64_t> filtered;
};
void account_for_files(lot& points, const table_source& source, const rows_by_file& rows);

[[noreturn]] void refuse_empty(const lot& points, const table_source& source,
                               const std::string& where, std::int64_t left_out_by_where);

} // namespace qmx_study
