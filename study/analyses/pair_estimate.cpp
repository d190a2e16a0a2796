#include "study/analyses/pair_estimate.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace qmx_study {

namespace {

constexpr int cells_per_cut_off = 4;

struct grid_cell {
    std::int64_t row, column;
    double points_before; // in all cells up to this one
};

bool comes_before(const grid_cell& a, const grid_cell& b) {
    return a.row != b.row ? a.row < b.row : a.column < b.column;
}

// The occupied cells, row by row.
std::vector<grid_cell> occupied_cells(const std::vector<t_icdata>& points, double size) {
    std::vector<grid_cell> cells;
    cells.reserve(points.size() + 1);
    const auto index = [size](double coordinate) {
        return static_cast<std::int64_t>(std::clamp(std::floor(coordinate / size), -1e15, 1e15));
    };
    for (const t_icdata& point : points) cells.push_back({index(point.d_y), index(point.d_x), 1});
    std::sort(cells.begin(), cells.end(), comes_before);
    std::size_t occupied = 0;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const bool is_same = occupied > 0 && !comes_before(cells[occupied - 1], cells[i]);
        if (is_same) {
            ++cells[occupied - 1].points_before;
        } else {
            cells[occupied++] = cells[i];
        }
    }
    cells.resize(occupied);
    return cells;
}

} // namespace

double estimated_pairs(const std::vector<t_icdata>& points, double cut_off) {
    std::vector<grid_cell> cells = occupied_cells(points, cut_off / cells_per_cut_off);
    double total = 0;
    std::vector<double> count(cells.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
        count[i] = cells[i].points_before;
        cells[i].points_before = total;
        total += count[i];
    }
    cells.push_back({INT64_MAX, INT64_MAX, total});

    // For each row of cells above and below, the run of columns in range. Both ends of the run only
    // move onwards while the cells of a row go by.
    double pairs = 0;
    for (int up = -cells_per_cut_off; up <= cells_per_cut_off; ++up) {
        const auto half = static_cast<std::int64_t>(
            std::floor(std::sqrt(1.0 * cells_per_cut_off * cells_per_cut_off - 1.0 * up * up)));
        auto first = cells.begin();
        auto end = cells.begin();
        for (std::size_t i = 0; i + 1 < cells.size(); ++i) {
            const std::int64_t row = cells[i].row + up;
            while (comes_before(*first, {row, cells[i].column - half, 0})) ++first;
            while (!comes_before({row, cells[i].column + half, 0}, *end)) ++end;
            pairs += count[i] * (end->points_before - first->points_before);
        }
    }
    return std::max(0.0, (pairs - total) / 2);
}

} // namespace qmx_study
