#include "study/analyses/lot_notes.hpp"

#include <cmath>

#include <fmt/format.h>

namespace qmx_study {

void note_chosen_value(std::vector<std::string>& notes, const loaded_lot& lot) {
    if (lot.value_is_chosen)
        notes.push_back("The value column was chosen among several; --value names another.");
}

void take_values_as_passes(lot& points) {
    for (t_icdata& point : points.points) {
        const double passes = std::trunc(point.d_val);
        point.i_passno = std::fabs(passes) < 2147483648.0 ? static_cast<std::int32_t>(passes) : -1;
    }
}

finished_layer take_finished_layer(loaded_lot& lot, bool in_any_case, bool all_records) {
    finished_layer layer;
    if (!lot.data.has_positions()) return layer;
    layer.cells = summarise_cells(lot.data);
    layer.is_taken = !all_records && (in_any_case || layer.cells.is_all_passes());
    if (!layer.is_taken) {
        if (layer.cells.shared_cells > 0 && !all_records)
            layer.notes.push_back(fmt::format(
                "{} of {} cells hold several records (up to {}), too few for data of all passes: "
                "all records are used. --last-pass takes the last one of each cell.",
                layer.cells.shared_cells, layer.cells.cells, layer.cells.most_records));
        return layer;
    }
    const std::int64_t left_out = keep_last_pass(lot.data);
    layer.earlier_passes = left_out - lot.data.without_position;
    if (lot.data.without_position > 0)
        layer.notes.push_back(fmt::format("{} rows without a position lie in no cell and are left "
                                          "out; --all-records takes them too.",
                                          lot.data.without_position));
    lot.left_without_position = lot.data.without_position;
    lot.data.without_position = 0;
    lot.earlier_passes = layer.earlier_passes;
    if (!lot.data.pass.found() && layer.earlier_passes > 0)
        layer.notes.push_back("There is no column of pass numbers: the later row of a cell "
                              "counts as its last pass.");
    return layer;
}

} // namespace qmx_study
