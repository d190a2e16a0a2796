#include "study/lot/cells.hpp"

#include "study/lot/cell_numbers.hpp"
#include "study/lot/kept_points.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

namespace qmx_study {

namespace {

// About a millimetre.
constexpr double steps_per_metre = 1000;
constexpr double steps_per_kilometre = 1e6;
constexpr double steps_per_degree = 1e8;

// Cells lie decimetres apart: records a hundredth of the unit apart, and less, are in kilometres.
bool is_in_kilometres(const lot& points) {
    constexpr std::size_t looked_at_together = 1024;
    double west = HUGE_VAL, east = -HUGE_VAL, south = HUGE_VAL, north = -HUGE_VAL;
    const double count = static_cast<double>(points.points.size());
    bool may_be = false;
    for (std::size_t i = 0; i < points.points.size();) {
        const std::size_t end = std::min(i + looked_at_together, points.points.size());
        for (; i < end; ++i) {
            const t_icdata& point = points.points[i];
            if (point.d_x < west) west = point.d_x;
            if (point.d_x > east) east = point.d_x;
            if (point.d_y < south) south = point.d_y;
            if (point.d_y > north) north = point.d_y;
        }
        const double width = east - west, height = north - south;
        if (!(width >= 0 && height >= 0)) continue; // no position yet
        may_be = width * height > 0 && std::sqrt(width * height / count) < 0.01;
        // They only grow: those that are too far apart now stay so.
        if (width * height > 0 && !may_be) return false;
        if (!(std::fmax(width, height) / count < 0.001)) return false;
    }
    return may_be;
}

double steps_of(const lot& points) {
    if (points.is_geographic) return steps_per_degree;
    return is_in_kilometres(points) ? steps_per_kilometre : steps_per_metre;
}

// The records of one cell that count for a summary, and the last pass among them.
struct cell_count {
    std::uint32_t records = 0;
    std::int32_t highest_pass = 0;
    std::uint32_t last = 0;

    void take(std::uint32_t index, std::int32_t pass) {
        if (records++ > 0 && pass < highest_pass) return;
        highest_pass = pass;
        last = index;
    }
    void add_to(cell_summary& summary) const {
        if (records == 0) return;
        ++summary.cells;
        summary.shared_cells += records > 1;
        summary.most_records = std::max<std::int64_t>(summary.most_records, records);
    }
};

// Of a number that may be new.
cell_count& count_of(std::vector<cell_count>& counts, std::uint32_t cell) {
    if (cell >= counts.size()) counts.resize(cell + std::size_t{1});
    return counts[cell];
}

} // namespace

cell_layers layers_of(const lot& points) {
    cell_layers layers;
    layers.is_last_measured.resize(points.points.size());
    layers.records_of_last_pass.resize(points.points.size());
    std::vector<cell_count> measured, compacted, passed;
    cell_numbers(points.points, steps_of(points)).for_each([&](std::size_t i, std::uint32_t cell) {
        const t_icdata& point = points.points[i];
        const auto index = static_cast<std::uint32_t>(i);
        const bool has_value = !std::isnan(point.d_val);
        const bool has_pass = point.i_passno != no_pass;
        const std::int32_t pass = has_pass ? point.i_passno : 0;
        if (has_value) count_of(measured, cell).take(index, pass);
        if (has_value && has_pass) count_of(compacted, cell).take(index, pass);
        if (has_pass) count_of(passed, cell).take(index, pass);
    });
    for (const cell_count& cell : measured) {
        cell.add_to(layers.measured);
        if (cell.records > 0) layers.is_last_measured[cell.last] = true;
    }
    for (const cell_count& cell : compacted) cell.add_to(layers.compacted);
    for (const cell_count& cell : passed)
        if (cell.records > 0) layers.records_of_last_pass[cell.last] = cell.records;
    return layers;
}

found_cells find_cells(const lot& points) {
    std::vector<cell_count> counts;
    cell_numbers(points.points, steps_of(points)).for_each([&](std::size_t i, std::uint32_t cell) {
        if (cell == counts.size()) counts.emplace_back(); // each point has a cell that is counted
        counts[cell].take(static_cast<std::uint32_t>(i), points.points[i].i_passno);
    });
    found_cells found;
    found.is_last_pass.resize(points.points.size());
    for (const cell_count& cell : counts) {
        cell.add_to(found.summary);
        found.is_last_pass[cell.last] = true;
    }
    return found;
}

cell_summary summarise_cells(const lot& points) {
    return find_cells(points).summary;
}

std::int64_t keep_last_pass(lot& points) {
    return keep_marked(points, find_cells(points).is_last_pass);
}

void join_cells(lot& cells, std::vector<std::uint32_t>& records) {
    std::vector<cell_count> counts;
    std::vector<std::uint32_t> sums;
    cell_numbers(cells.points, steps_of(cells)).for_each([&](std::size_t i, std::uint32_t cell) {
        count_of(counts, cell).take(static_cast<std::uint32_t>(i), cells.points[i].i_passno);
        sums.resize(counts.size());
        sums[cell] += records[i];
    });
    std::vector<bool> is_kept(cells.points.size(), false);
    std::vector<std::uint32_t> joined(cells.points.size(), 0);
    for (std::size_t cell = 0; cell < counts.size(); ++cell) {
        is_kept[counts[cell].last] = true;
        joined[counts[cell].last] = sums[cell];
    }
    std::size_t kept = 0;
    for (const std::uint32_t all : joined)
        if (all > 0) records[kept++] = all;
    records.resize(kept);
    keep_marked(cells, is_kept);
}

std::int64_t keep_marked(lot& points, const std::vector<bool>& is_kept) {
    kept_points kept(points);
    for (std::size_t i = 0; i < is_kept.size(); ++i) {
        if (!is_kept[i]) continue;
        const std::size_t first = i;
        while (i < is_kept.size() && is_kept[i]) ++i;
        kept.keep(first, i);
    }
    return static_cast<std::int64_t>(kept.settle());
}

} // namespace qmx_study
