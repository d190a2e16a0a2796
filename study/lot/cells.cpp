#include "study/lot/cells.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

namespace qmx_study {

namespace {

// About a millimetre.
constexpr double steps_per_metre = 1000;
constexpr double steps_per_kilometre = 1e6;
constexpr double steps_per_degree = 1e8;

struct cell_record {
    double x, y; // in whole steps
    std::uint32_t index;
};

// Cells lie decimetres apart: records a hundredth of the unit apart, and less, are in kilometres.
bool is_in_kilometres(const lot& points) {
    double west = HUGE_VAL, east = -HUGE_VAL, south = HUGE_VAL, north = -HUGE_VAL;
    for (const t_icdata& point : points.points) {
        west = std::fmin(west, point.d_x);
        east = std::fmax(east, point.d_x);
        south = std::fmin(south, point.d_y);
        north = std::fmax(north, point.d_y);
    }
    const double count = static_cast<double>(points.points.size());
    const double width = east - west, height = north - south;
    return width * height > 0 && std::sqrt(width * height / count) < 0.01 &&
           std::fmax(width, height) / count < 0.001;
}

double steps_of(const lot& points) {
    if (points.is_geographic) return steps_per_degree;
    return is_in_kilometres(points) ? steps_per_kilometre : steps_per_metre;
}

std::vector<cell_record> records_by_cell(const lot& points) {
    const double steps = steps_of(points);
    std::vector<cell_record> records;
    records.reserve(points.points.size());
    for (std::size_t i = 0; i < points.points.size(); ++i) {
        const t_icdata& point = points.points[i];
        if (std::isnan(point.d_x) || std::isnan(point.d_y)) continue;
        records.push_back({std::round(point.d_x * steps), std::round(point.d_y * steps),
                           static_cast<std::uint32_t>(i)});
    }
    std::sort(records.begin(), records.end(), [](const cell_record& a, const cell_record& b) {
        if (a.x != b.x) return a.x < b.x;
        if (a.y != b.y) return a.y < b.y;
        return a.index < b.index;
    });
    return records;
}

// Calls visit(first, last) for the records of each cell.
template <class Visit> void for_each_cell(const std::vector<cell_record>& records, Visit visit) {
    for (auto first = records.begin(); first != records.end();) {
        auto last = first;
        while (last != records.end() && last->x == first->x && last->y == first->y) ++last;
        visit(first, last);
        first = last;
    }
}

} // namespace

namespace {

// The records of one cell that count for a summary, and the last pass among them.
struct cell_count {
    std::int64_t records = 0;
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
        summary.most_records = std::max(summary.most_records, records);
    }
};

} // namespace

cell_layers layers_of(const lot& points) {
    cell_layers layers;
    layers.is_last_measured.resize(points.points.size());
    layers.records_of_last_pass.resize(points.points.size());
    for_each_cell(records_by_cell(points), [&](auto first, auto last) {
        cell_count measured, compacted, passed;
        for (auto record = first; record != last; ++record) {
            const t_icdata& point = points.points[record->index];
            const bool has_value = !std::isnan(point.d_val);
            const bool has_pass = point.i_passno != no_pass;
            const std::int32_t pass = has_pass ? point.i_passno : 0;
            if (has_value) measured.take(record->index, pass);
            if (has_value && has_pass) compacted.take(record->index, pass);
            if (has_pass) passed.take(record->index, pass);
        }
        measured.add_to(layers.measured);
        compacted.add_to(layers.compacted);
        if (measured.records > 0) layers.is_last_measured[measured.last] = true;
        if (passed.records > 0)
            layers.records_of_last_pass[passed.last] = static_cast<std::uint32_t>(passed.records);
    });
    return layers;
}

cell_summary summarise_cells(const lot& points) {
    cell_summary summary;
    for_each_cell(records_by_cell(points), [&](auto first, auto last) {
        const std::int64_t records = last - first;
        ++summary.cells;
        summary.shared_cells += records > 1;
        summary.most_records = std::max(summary.most_records, records);
    });
    return summary;
}

std::int64_t keep_last_pass(lot& points) {
    std::vector<bool> is_kept(points.points.size(), false);
    for_each_cell(records_by_cell(points), [&](auto first, auto last) {
        std::uint32_t best = first->index;
        for (auto record = first; record != last; ++record)
            if (points.points[record->index].i_passno >= points.points[best].i_passno)
                best = record->index;
        is_kept[best] = true;
    });
    return keep_marked(points, is_kept);
}

void join_cells(lot& cells, std::vector<std::uint32_t>& records) {
    std::vector<bool> is_kept(cells.points.size(), false);
    std::vector<std::uint32_t> joined(cells.points.size(), 0);
    for_each_cell(records_by_cell(cells), [&](auto first, auto last) {
        cell_count count;
        std::uint32_t all = 0;
        for (auto cell = first; cell != last; ++cell) {
            count.take(cell->index, cells.points[cell->index].i_passno);
            all += records[cell->index];
        }
        is_kept[count.last] = true;
        joined[count.last] = all;
    });
    std::size_t kept = 0;
    for (const std::uint32_t all : joined)
        if (all > 0) records[kept++] = all;
    records.resize(kept);
    keep_marked(cells, is_kept);
}

std::int64_t keep_marked(lot& points, const std::vector<bool>& is_kept) {
    std::size_t kept = 0;
    record_numbers kept_records;
    auto record = points.records.begin();
    for (std::size_t i = 0; i < is_kept.size(); ++i, ++record) {
        if (!is_kept[i]) continue;
        points.points[kept++] = points.points[i];
        kept_records.push_back(*record);
    }
    const auto left_out = static_cast<std::int64_t>(points.points.size() - kept);
    points.points.resize(kept);
    points.records = std::move(kept_records);
    return left_out;
}

} // namespace qmx_study
