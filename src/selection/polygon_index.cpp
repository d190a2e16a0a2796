#include "selection/polygon_index.hpp"

#include "base/prefetch.hpp"
#include "selection/point_group.hpp"

#include <algorithm>
#include <cmath>

namespace qmx {

namespace {

// The bits of a cell.
constexpr std::uint8_t cell_inside = 1; // the parity before the listed edges are applied
constexpr std::uint8_t cell_lists = 2;  // whether it lists any edge

constexpr i64 most_vertices = i64{1} << 26; // keeps positions and offsets within 32 bits
constexpr i64 most_cells = i64{1} << 20;
constexpr i64 columns_limit = 1024;
constexpr i64 fewest_columns = 32; // where the edges of a row span little of the width

// Up to this magnitude no difference or product of coordinates overflows.
constexpr f64 largest_coordinate = 0x1p500;

// ---- Polygon -----------------------------------------------------------------------------------

i64 next_vertex(i64 vertex, i64 count) {
    return vertex + 1 < count ? vertex + 1 : 0;
}

bool is_flat(const directed_edge& edge) {
    return edge.y == edge.end_y;
}

// An edge with a NaN ordinate straddles nothing.
bool has_ordinates(const directed_edge& edge) {
    return !std::isnan(edge.y) && !std::isnan(edge.end_y);
}

// Crosses to the right of every point, so that it inverts the answer of the points above the
// vertex.
directed_edge pseudo_edge_of(f64 y) {
    return {infinity, y, infinity, 0.0, 1.0};
}

struct extent {
    f64 low = infinity, high = -infinity;
    bool is_ordinary = true; // all values are finite and of ordinary size
};

extent extent_of(const f64* values, i64 count) {
    extent range;
    for (i64 i = 0; i < count; ++i) {
        const f64 value = values[i];
        if (!(std::fabs(value) <= largest_coordinate)) range.is_ordinary = false;
        if (!std::isfinite(value)) continue;
        range.low = std::min(range.low, value);
        range.high = std::max(range.high, value);
    }
    return range;
}

// The summed height of all edges, in heights of the polygon.
f64 runs_over(const f64* values, i64 count, const extent& range) {
    const f64 length = range.high - range.low;
    if (!(length > 0.0)) return 0.0;
    f64 runs = 0.0;
    for (i64 i = 0; i < count; ++i) {
        const f64 part = std::fabs(values[next_vertex(i, count)] - values[i]) / length;
        runs += part < 1.0 ? part : 1.0;
    }
    return runs;
}

// ---- Building ----------------------------------------------------------------------------------

// An edge within one row. The cells of columns begin to end - 1 list it; it crosses to the right of
// every point further left, and of none further right.
struct edge_cut {
    f64 least, greatest; // crossing offsets
    std::uint16_t begin, end;
};

struct outline_cuts {
    work_array<edge_cut> cuts;          // of all edges, each from its lowest row up
    work_array<extent> reach;           // of each row: the range of its edges
    work_array<std::uint16_t> leaving;  // begin of the edge from a vertex, in its row
    work_array<std::uint16_t> arriving; // begin of the edge to a vertex, in its row
};

// Calls visit(position of the edge, row of its start, row of its end, row, cut) for each cut.
template <class Visit>
void for_each_cut(const polygon_index& index, const outline_cuts& outline, Visit visit) {
    edge_cut* cut = outline.cuts.data();
    for (i64 e = 0; e < index.listed.size() / 2; ++e) {
        const directed_edge& edge = index.listed[e];
        if (!has_ordinates(edge)) continue;
        const i32 start = index.rows.strip_of(edge.y), end = index.rows.strip_of(edge.end_y);
        for (i32 row = std::min(start, end); row <= std::max(start, end); ++row, ++cut)
            visit(e, start, end, row, *cut);
    }
}

// Cuts the edges by the rows of the index. Returns false when memory ran out.
bool cut_edges(const polygon_index& index, outline_cuts& outline) {
    i64 count = 0;
    for (i64 e = 0; e < index.listed.size() / 2; ++e) {
        const directed_edge& edge = index.listed[e];
        if (!has_ordinates(edge)) continue;
        count += 1 + std::abs(index.rows.strip_of(edge.y) - index.rows.strip_of(edge.end_y));
    }
    outline.cuts = work_array<edge_cut>(count, edge_cut{});
    outline.reach = work_array<extent>(index.rows.strips, extent{});
    if (!outline.cuts || !outline.reach) return false;
    for_each_cut(index, outline, [&](i64 e, i32, i32, i32 row, edge_cut& cut) {
        const directed_edge& edge = index.listed[e];
        if (is_flat(edge)) return;
        const auto [low_end, high_end] = std::minmax(edge.y, edge.end_y);
        const f64 a = crossing_offset(edge, std::max(low_end, lower_limit(index.rows, row)));
        const f64 b = crossing_offset(edge, std::min(high_end, upper_limit(index.rows, row)));
        cut.least = std::min(a, b);
        cut.greatest = std::max(a, b);
        extent& reach = outline.reach[row];
        reach.low = std::min(reach.low, edge.x + cut.least);
        reach.high = std::max(reach.high, edge.x + cut.greatest);
    });
    return true;
}

// The mean share of the polygon's width that the edges of a row span; 1 if it has no width.
f64 part_reached(const outline_cuts& outline, const extent& across) {
    const f64 width = across.high - across.low;
    if (!(width > 0.0)) return 1.0;
    f64 reached = 0.0;
    for (const extent& reach : outline.reach) reached += std::max(reach.high - reach.low, 0.0);
    return std::max(reached / (static_cast<f64>(outline.reach.size()) * width), 0x1p-30);
}

void find_columns(const directed_edge& edge, const raster_axis& columns, edge_cut& cut) {
    const i32 strips = columns.strips;
    i32 begin, end;
    if (is_flat(edge)) { // never listed
        begin = end = columns.strip_of(std::min(edge.x, edge.x + edge.dx));
    } else if (strips == 1) {
        begin = 0;
        end = 1;
    } else {
        const auto crosses_right_of = [&](i32 strip) {
            return upper_limit(columns, strip) - edge.x < cut.least;
        };
        const auto crosses_left_of = [&](i32 strip) {
            return lower_limit(columns, strip) - edge.x >= cut.greatest;
        };
        begin = columns.strip_of(edge.x + cut.least);
        while (begin > 0 && !crosses_right_of(begin - 1)) --begin;
        while (begin < strips && crosses_right_of(begin)) ++begin;
        end = std::max(begin, columns.strip_of(edge.x + cut.greatest) + 1);
        while (end < strips && !crosses_left_of(end)) ++end;
        while (end > begin && crosses_left_of(end - 1)) --end;
    }
    cut.begin = static_cast<std::uint16_t>(begin);
    cut.end = static_cast<std::uint16_t>(end);
}

// Divides each row into columns and finds those of each cut. Returns the number of entries that the
// lists of the cells will have.
i64 divide_rows(i32 columns, polygon_index& index, const outline_cuts& outline) {
    const i64 m = index.listed.size() / 2;
    index.most_columns = columns;
    for (i64 row = 0; row < index.columns.size(); ++row)
        index.columns[row] = divided(outline.reach[row].low, outline.reach[row].high, columns);
    i64 members = 0;
    for_each_cut(index, outline, [&](i64 e, i32 start, i32 end, i32 row, edge_cut& cut) {
        find_columns(index.listed[e], index.columns[row], cut);
        if (row == start) outline.leaving[e] = cut.begin;
        if (row == end) outline.arriving[next_vertex(e, m)] = cut.begin;
        members += cut.end - cut.begin;
    });
    for (i64 v = 0; v < m; ++v) members += std::abs(outline.leaving[v] - outline.arriving[v]);
    return members;
}

// Sets the parity of the cells without their lists.
void find_known_answers(const polygon_index& index, const outline_cuts& outline) {
    const i64 columns = index.most_columns;
    for_each_cut(index, outline, [&](i64, i32 start, i32 end, i32 row, const edge_cut& cut) {
        // Inverts all columns before cut.begin: marked in the last of them, summed below.
        if ((start < row) != (end < row) && cut.begin > 0)
            index.cells[row * columns + cut.begin - 1] ^= cell_inside;
    });
    for (i64 row = 0; row < index.columns.size(); ++row) {
        std::uint8_t* const cells = index.cells.data() + row * columns;
        for (i64 column = columns - 1; column > 0; --column) cells[column - 1] ^= cells[column];
    }
}

// Finds the runs of equal cells in each row.
void find_runs(const polygon_index& index) {
    const i64 columns = index.most_columns;
    for (i64 row = 0; row < index.columns.size(); ++row) {
        const std::uint8_t* const cells = index.cells.data() + row * columns;
        std::uint16_t* const run_end = index.run_end.data() + row * columns;
        i64 end = columns - 1;
        for (i64 column = columns - 1; column >= 0; --column) {
            if (cells[column] != cells[end]) end = column;
            run_end[column] = static_cast<std::uint16_t>(end);
        }
    }
}

// Calls visit(cell, position in the list) for each member of each cell.
template <class Visit>
void for_each_member(const polygon_index& index, const outline_cuts& outline, Visit visit) {
    const i64 columns = index.most_columns;
    for_each_cut(index, outline, [&](i64 e, i32, i32, i32 row, const edge_cut& cut) {
        if (is_flat(index.listed[e])) return;
        for (i64 column = cut.begin; column < cut.end; ++column)
            visit(row * columns + column, static_cast<i32>(e));
    });
    const i64 m = index.listed.size() / 2;
    for (i64 v = 0; v < m; ++v) {
        const auto [begin, end] = std::minmax(outline.leaving[v], outline.arriving[v]);
        if (begin == end) continue;
        const i64 row = index.rows.strip_of(index.listed[m + v].y);
        for (i64 column = begin; column < end; ++column)
            visit(row * columns + column, static_cast<i32>(m + v));
    }
}

// Returns false when memory ran out.
bool fill_cells(i64 members, polygon_index& index, const outline_cuts& outline) {
    const i64 cells = index.columns.size() * index.most_columns + 1;
    index.cells = work_array<std::uint8_t>(cells, 0);
    index.first = work_array<i32>(cells + 1, 0);
    index.members = work_array<i32>(members);
    index.run_end = work_array<std::uint16_t>(cells);
    if (!index.cells || !index.first || !index.members || !index.run_end) return false;
    find_known_answers(index, outline);
    for_each_member(index, outline, [&](i64 cell, i32) { ++index.first[cell]; });
    i32 end = 0;
    for (i64 cell = 0; cell <= cells; ++cell) {
        if (index.first[cell] > 0) index.cells[cell] |= cell_lists;
        end += index.first[cell];
        index.first[cell] = end;
    }
    // Each list is filled from its end, so that first ends at its beginning.
    for_each_member(index, outline,
                    [&](i64 cell, i32 position) { index.members[--index.first[cell]] = position; });
    find_runs(index);
    return true;
}

// The edges and the pseudo-edges of the vertices. Returns false when memory ran out.
bool list_edges(const point_columns& vertices, polygon_index& index) {
    const i64 m = vertices.count;
    index.listed = work_array<directed_edge>(2 * m);
    if (!index.listed) return false;
    for (i64 e = 0; e < m; ++e) {
        const i64 next = next_vertex(e, m);
        index.listed[e] =
            edge_between(vertices.x[e], vertices.y[e], vertices.x[next], vertices.y[next]);
        index.listed[m + e] = pseudo_edge_of(vertices.y[e]);
    }
    return true;
}

} // namespace

bool is_worth_an_index(i64 vertices, i64 points) {
    return vertices > 2 && vertices <= most_vertices && points >= 64;
}

bool build_polygon_index(const point_columns& vertices, i64 points, polygon_index& index) {
    const i64 m = vertices.count;
    if (!list_edges(vertices, index)) return false;
    const extent across = extent_of(vertices.x, m), along = extent_of(vertices.y, m);
    const bool is_ordinary = across.is_ordinary && along.is_ordinary;

    // A quarter as many cells as points. A polygon whose edges run up and down over its height many
    // times gets fewer rows, so that the number of cuts stays linear in vertices and points.
    const f64 cells =
        static_cast<f64>(std::clamp<i64>(std::min(points / 4, points / 16 + 2 * m), 1, most_cells));
    const f64 most_rows =
        (8.0 * static_cast<f64>(m) + cells) / std::max(runs_over(vertices.y, m, along), 1.0);
    f64 rows = std::min(is_ordinary ? std::sqrt(cells) : cells, most_rows);
    index.rows = divided(along.low, along.high, static_cast<i64>(rows));
    outline_cuts outline;
    if (!cut_edges(index, outline)) return false;
    // Where the edges of a row span little of the width, as in a slanting strip, more rows and
    // fewer columns are better.
    if (is_ordinary) {
        const f64 reached = part_reached(outline, across);
        const f64 finer = std::min({std::sqrt(cells / reached), cells / fewest_columns, most_rows});
        if (finer > 2 * rows) {
            rows = finer;
            index.rows = divided(along.low, along.high, static_cast<i64>(rows));
            if (!cut_edges(index, outline)) return false;
        }
    }

    index.columns = work_array<raster_axis>(index.rows.strips);
    outline.leaving = work_array<std::uint16_t>(m, 0);
    outline.arriving = work_array<std::uint16_t>(m, 0);
    if (!index.columns || !outline.leaving || !outline.arriving) return false;
    i64 columns = is_ordinary ? std::min(static_cast<i64>(cells / rows), columns_limit) : 1;
    const i64 most_members = 16 * m + 4 * static_cast<i64>(cells);
    i64 members = divide_rows(static_cast<i32>(columns), index, outline);
    while (members > most_members && columns > 1) {
        columns = std::max<i64>(columns / 4, 1);
        members = divide_rows(static_cast<i32>(columns), index, outline);
    }
    return fill_cells(members, index, outline);
}

namespace {

// ---- Classifying--------------------------------------------------------------------------------

constexpr i32 most_rows_of_a_group = 32; // with more, testing the points is faster

constexpr std::uint8_t answers_differ = cell_lists;

// The common answer of all cells under the box, or answers_differ. Since strip_of is monotone, the
// points in the box lie in strips between those of its sides.
std::uint8_t answer_for(const polygon_index& index, const box& about) {
    const i32 first = index.rows.strip_of(about.y_low), last = index.rows.strip_of(about.y_high);
    if (!about.is_finite || last - first >= most_rows_of_a_group) return answers_differ;
    std::uint8_t answer = 0, other = cell_inside;
    for (i32 row = first; row <= last; ++row) {
        const raster_axis& columns = index.columns[row];
        const i64 from = columns.strip_of(about.x_low), to = columns.strip_of(about.x_high);
        const i64 cell = i64{row} * index.most_columns + from;
        answer |= index.cells[cell];
        other &= index.cells[cell];
        if (answer == answers_differ || index.run_end[cell] < to) return answers_differ;
    }
    return answer == other ? answer : answers_differ;
}

void select_one_by_one(const polygon_index& index, const f64* x, const f64* y, i32 count, i32 start,
                       const selected_points& selected) {
    const raster_axis rows = index.rows;
    const i32 columns = index.most_columns;
    const i32 outside_all = columns * rows.strips;
    i32 cell[most_points_at_once];
    for (i32 i = 0; i < count; ++i) {
        // Nothing crosses to the right of an infinite x or at an infinite y, or with a NaN.
        const bool is_in_a_cell = (x[i] < infinity) & (y[i] < infinity);
        const i32 row = rows.strip_of(y[i]);
        const i32 found = row * columns + index.columns[row].strip_of(x[i]);
        cell[i] = is_in_a_cell ? found : outside_all;
    }
    selected_flag flags[most_points_at_once];
    i32 open[most_points_at_once];
    i32 undecided = 0;
    for (i32 i = 0; i < count; ++i) {
        const std::uint8_t known = index.cells[cell[i]];
        flags[i] = known & cell_inside;
        open[undecided] = i;
        undecided += known / cell_lists;
    }
    for (i32 k = 0; k < undecided; ++k) {
        const i32 i = open[k];
        bool odd = false;
        for (i32 member = index.first[cell[i]]; member < index.first[cell[i] + 1]; ++member) {
            const directed_edge& edge = index.listed[index.members[member]];
            // Both are computed, to avoid an unpredictable branch; no listed edge is horizontal.
            const bool straddling = straddles(edge, y[i]);
            const bool to_the_right = crosses_right_of(edge, x[i], y[i]);
            odd ^= straddling & to_the_right;
        }
        flags[i] ^= odd;
    }
    selected.append_some(start, count, [&](i32 i) { return flags[i]; });
}

} // namespace

void select_in_polygon(const polygon_index& index, const f64* x, const f64* y, i32 count,
                       i64 behind, i32 start, const selected_points& selected) {
    constexpr i64 fetched_ahead = 512; // 4 kB, a page
    // Points in no order: groups straddle the boundary, so after two each point is tested alone.
    i32 patience = 2;
    i32 from = 0;
    for (; patience > 0 && from + group_size <= count; from += group_size) {
        const i64 ahead = std::min(fetched_ahead, count + behind - from - group_size);
        prefetch_range(x + from + ahead, group_size);
        prefetch_range(y + from + ahead, group_size);
        const std::uint8_t answer = answer_for(index, bounding_box(x + from, y + from));
        if (answer == answers_differ) {
            select_one_by_one(index, x + from, y + from, group_size, start + from, selected);
            --patience;
        } else if (answer == cell_inside) {
            selected.append_all(start + from, group_size);
        }
    }
    select_one_by_one(index, x + from, y + from, count - from, start + from, selected);
}

} // namespace qmx
