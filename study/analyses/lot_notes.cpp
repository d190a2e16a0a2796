#include "study/analyses/lot_notes.hpp"

#include <fmt/format.h>

namespace qmx_study {

void note_chosen_value(std::vector<std::string>& notes, const loaded_lot& lot) {
    if (lot.value_is_chosen)
        notes.push_back("The value column was chosen among several; --value names another.");
}

void note_all_passes(std::vector<std::string>& notes, const cell_summary& cells,
                     const char* finished) {
    if (!cells.is_all_passes()) return;
    notes.push_back(fmt::format(
        "{} of {} cells hold several records (up to {}): these are data of all passes. {} the last "
        "pass in each cell: --last-pass takes it, --all-records confirms that all records are "
        "meant.",
        cells.shared_cells, cells.cells, cells.most_records, finished));
}

std::int64_t take_last_pass(std::vector<std::string>& notes, loaded_lot& lot) {
    const std::int64_t earlier = keep_last_pass(lot.data);
    if (!lot.data.pass.found() && earlier > 0)
        notes.push_back("There is no column of pass numbers: the later row of a cell "
                        "counts as its last pass.");
    return earlier;
}

} // namespace qmx_study
