#include "study/analyses/lot_notes.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>

#include <fmt/format.h>

#include "study/analyses/mesh.hpp"
#include "study/analyses/scattered_lattice.hpp"

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

namespace {

bool has_several_passes(const lot& points) {
    if (!points.pass.found() || points.points.empty()) return false;
    const auto other = [&](const t_icdata& point) {
        return point.i_passno != points.points.front().i_passno;
    };
    return std::any_of(points.points.begin(), points.points.end(), other);
}

// The last passes of positions that scatter about cells: each record counts for the cell that it is
// nearest to, and stays where it is. Nothing where there are no such cells.
std::optional<std::int64_t> keep_last_pass_of_scattered(finished_layer& layer, lot& points) {
    const auto is_placed = [](const t_icdata& point) {
        return !std::isnan(point.d_x) && !std::isnan(point.d_y);
    };
    lot moved;
    for (std::size_t i = 0; i < points.points.size(); ++i) {
        if (!is_placed(points.points[i])) continue;
        moved.points.push_back(points.points[i]);
        moved.records.push_back(static_cast<std::int64_t>(i));
    }
    const auto lattice = scattered_lattice_of(moved.points, std::nullopt);
    if (!lattice) return {};
    snap(moved.points, *lattice);
    const cell_summary cells = summarise_cells(moved);
    if (!cells.is_all_passes()) return {};
    layer.cells = cells;
    layer.notes.push_back(
        fmt::format("The positions scatter by {:.2g} about cells {} × {} apart. Each counts for "
                    "the cell that it is nearest to.",
                    lattice->scatter, lattice->mesh.x, lattice->mesh.y));
    keep_last_pass(moved);
    const auto left_out = static_cast<std::int64_t>(points.points.size() - moved.points.size());
    std::size_t kept = 0;
    record_numbers kept_records;
    for (const std::int64_t place : moved.records) {
        const auto from = static_cast<std::size_t>(place);
        points.points[kept++] = points.points[from];
        kept_records.push_back(points.records[from]);
    }
    points.points.resize(kept);
    points.records = std::move(kept_records);
    return left_out;
}

bool lie_on_lattice(const lot& points) {
    std::vector<t_icdata> placed;
    for (const t_icdata& point : points.points)
        if (!std::isnan(point.d_x) && !std::isnan(point.d_y)) placed.push_back(point);
    return placed.size() >= 3 && lattice_of(placed).has_value();
}

// Positions that hardly any two records share say nothing of earlier passes, unless they scatter about
// cells.
std::optional<std::int64_t> settle_scattered(finished_layer& layer, lot& points) {
    if (layer.cells.is_all_passes() || !has_several_passes(points) || lie_on_lattice(points))
        return {};
    const auto left_out = keep_last_pass_of_scattered(layer, points);
    if (!left_out)
        layer.notes.push_back(
            "The records of several passes scatter: hardly two lie in one place, so all are "
            "used, earlier passes too. qmx-ic grid puts tracks on a lattice, of which the last "
            "pass of each cell can be taken.");
    return left_out;
}

} // namespace

namespace {

// keep: leaves the last pass of each cell of a lot, and tells how many records it left out.
template <class Keep>
finished_layer settle_layer(loaded_lot& lot, bool in_any_case, bool all_records,
                            const cell_summary& cells, bool on_nodes, Keep keep) {
    finished_layer layer;
    layer.cells = cells;
    std::optional<std::int64_t> left_out;
    if (!all_records && !on_nodes) left_out = settle_scattered(layer, lot.data);
    layer.is_taken = !all_records && (in_any_case || layer.cells.is_all_passes());
    if (!layer.is_taken) {
        if (layer.cells.shared_cells > 0 && !all_records)
            layer.notes.push_back(fmt::format(
                "{} of {} cells hold several records (up to {}), too few for data of all passes: "
                "all records are used. --last-pass takes the last one of each cell.",
                layer.cells.shared_cells, layer.cells.cells, layer.cells.most_records));
        return layer;
    }
    if (!left_out) left_out = keep(lot.data);
    layer.earlier_passes = *left_out - lot.data.without_position;
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

} // namespace

finished_layer take_finished_layer(loaded_lot& lot, bool in_any_case, bool all_records) {
    if (!lot.data.has_positions()) return {};
    const found_cells found = find_cells(lot.data);
    return settle_layer(lot, in_any_case, all_records, found.summary, false,
                        [&](auto& points) { return keep_marked(points, found.is_last_pass); });
}

finished_layer take_finished_layer(loaded_lot& lot, bool all_records, const cell_summary& cells,
                                   const std::vector<bool>& is_last, bool on_nodes) {
    if (!lot.data.has_positions()) return {};
    return settle_layer(lot, false, all_records, cells, on_nodes,
                        [&](auto& points) { return keep_marked(points, is_last); });
}

} // namespace qmx_study
