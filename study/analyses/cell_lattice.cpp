#include "study/analyses/cell_lattice.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "study/analyses/rows_of_cells.hpp"
#include "study/base/portable_math.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t pieces = 3;
constexpr std::size_t most_fitted = 20000;
constexpr double share_near_nodes = 0.98; // of all cells
constexpr double near = 0.25;             // of a spacing

// Direction, distance and origin of the rows by least squares: across = origin + across * row + turn *
// along, over the points near to a row.
void fit_rows(rows_of_cells& rows, const places& points) {
    std::vector<row_place> used;
    double mean_row = 0, mean_along = 0, mean_across = 0;
    for (const place& p : points) {
        const row_place one{rows.row_of(p), rows.turned.along(p), rows.turned.across(p)};
        const double off = one.across - rows.row_origin - one.row * rows.across;
        if (std::fabs(off) > near * rows.across) continue;
        used.push_back(one);
        mean_row += one.row;
        mean_along += one.along;
        mean_across += one.across;
    }
    const auto count = static_cast<double>(used.size());
    if (count < 4) return;
    mean_row /= count;
    mean_along /= count;
    mean_across /= count;
    double kk = 0, uu = 0, ku = 0, qk = 0, qu = 0, qq = 0;
    for (const row_place& one : used) {
        const double k = one.row - mean_row, u = one.along - mean_along;
        const double q = one.across - mean_across;
        kk += k * k;
        uu += u * u;
        ku += k * u;
        qk += q * k;
        qu += q * u;
        qq += q * q;
    }
    const double determinant = kk * uu - ku * ku;
    if (!(determinant > 1e-9 * kk * uu)) return;
    const double across = (qk * uu - qu * ku) / determinant;
    const double turn = (qu * kk - qk * ku) / determinant;
    const double rest =
        std::max(0.0, qq - across * qk - turn * qu) / (count - 3 > 0 ? count - 3 : 1);
    // Coordinates written to the millimetre are off alike along a row: it counts as one observation.
    std::sort(used.begin(), used.end(),
              [](const row_place& a, const row_place& b) { return a.row < b.row; });
    double of_rows = 0, number_of_rows = 0;
    for (std::size_t i = 0; i < used.size(); ++i) {
        if (i > 0 && used[i].row == used[i - 1].row) continue;
        of_rows += (used[i].row - mean_row) * (used[i].row - mean_row);
        ++number_of_rows;
    }
    rows.error_across = std::sqrt(rest / of_rows);
    rows.error_angle = std::sqrt(rest * kk / determinant * count / number_of_rows);
    // A turn to the left by this angle: the rows' own direction gets a part of the one across.
    const directions old = rows.turned;
    const double length = std::sqrt(1 + turn * turn);
    rows.turned = {(old.ux - turn * old.uy) / length, (old.uy + turn * old.ux) / length};
    rows.across = across / length;
    rows.row_origin = (mean_across - across * mean_row - turn * mean_along) / length;
}

// The spacing along the rows by least squares, each row with a start of its own.
void fit_along(rows_of_cells& rows, const places& points) {
    const std::vector<row_place> placed = in_rows(points, rows);
    double products = 0, squares = 0, rest = 0, most_squares = 0;
    std::size_t fitted = 0, counted = 0;
    for (auto first = placed.begin(); first != placed.end();) {
        const auto last = std::find_if(first, placed.end(),
                                       [&](const row_place& one) { return one.row != first->row; });
        // From the middle of the row on, so that a start astray does no harm.
        const double start = (first + (last - first) / 2)->along;
        const auto count = static_cast<double>(last - first);
        double mean = 0, mean_node = 0;
        for (auto one = first; one != last; ++one) {
            mean += (one->along - start) / count;
            mean_node += std::round((one->along - start) / rows.along) / count;
        }
        double of_row = 0;
        for (auto one = first; one != last; ++one) {
            const double node = std::round((one->along - start) / rows.along) - mean_node;
            const double distance = one->along - start - mean;
            products += node * distance;
            of_row += node * node;
            rest += distance * distance;
        }
        squares += of_row;
        most_squares = std::max(most_squares, of_row);
        counted += static_cast<std::size_t>(last - first);
        ++fitted;
        first = last;
    }
    if (!(squares > 0) || counted < fitted + 2) return;
    rows.along = products / squares;
    rest = std::max(0.0, rest - rows.along * products) / static_cast<double>(counted - fitted - 1);
    rows.error_along = std::sqrt(rest / most_squares); // as far as one row tells
}

// At most so many of the points within a distance of the origin, evenly drawn from their order.
places points_within(const places& all, double reach) {
    places inside;
    for (const place& p : all)
        if (p.x * p.x + p.y * p.y <= reach * reach) inside.push_back(p);
    if (inside.size() <= most_fitted) return inside;
    places drawn;
    for (std::size_t k = 0; k < most_fitted; ++k)
        drawn.push_back(inside[k * inside.size() / most_fitted]);
    return drawn;
}

// The number with the fewest decimals within four standard errors.
double simplest(double number, double error) {
    for (double scale = 1; scale < 1e10; scale *= 10) {
        const double rounded = std::round(number * scale) / scale;
        if (rounded != 0 && std::fabs(rounded - number) <= 4 * error) return rounded;
    }
    return number;
}

struct node_check {
    double share = 0;        // of the points near a node of their row, each on its own
    double next_share = 0;   // of the points with a neighbour on the next node
    double common_share = 0; // near a node where all rows have one start
    double scatter = 0;
    double start = 0; // of the rows, where they have a common one
};

// How the points lie to the nodes. Each row has the start that most of its points agree in.
node_check check_nodes(const places& points, const rows_of_cells& rows) {
    const std::vector<row_place> placed = in_rows(points, rows);
    node_check found;
    double cosines_of_all = 0, sines_of_all = 0, squares = 0;
    std::size_t on_nodes = 0, next_to = 0, in_rows_of_several = 0;
    for (auto first = placed.begin(); first != placed.end();) {
        const auto last = std::find_if(first, placed.end(),
                                       [&](const row_place& one) { return one.row != first->row; });
        double cosines = 0, sines = 0;
        for (auto one = first; one != last; ++one) {
            cosines += portable::cosine_of_turns(one->along / rows.along);
            sines += portable::sine_of_turns(one->along / rows.along);
        }
        cosines_of_all += cosines;
        sines_of_all += sines;
        const double start = degrees_of(cosines, sines) / 360 * rows.along;
        double node_before = -HUGE_VAL;
        for (auto one = first; one != last; ++one) {
            const double node = std::round((one->along - start) / rows.along);
            const double off_along = one->along - start - node * rows.along;
            const double off_across = one->across - rows.row_origin - one->row * rows.across;
            squares += off_along * off_along + off_across * off_across;
            next_to += node == node_before + 1;
            in_rows_of_several += std::isfinite(node_before);
            on_nodes += node != node_before && std::fabs(off_along) <= near * rows.along &&
                        std::fabs(off_across) <= near * rows.across;
            node_before = node;
        }
        first = last;
    }
    const auto count = static_cast<double>(placed.size());
    found.share = static_cast<double>(on_nodes) / count;
    found.scatter = std::sqrt(squares / count);
    found.next_share = static_cast<double>(next_to) /
                       static_cast<double>(std::max<std::size_t>(in_rows_of_several, 1));
    found.start = degrees_of(cosines_of_all, sines_of_all) / 360 * rows.along;
    std::size_t on_common = 0;
    for (const row_place& one : placed) {
        const double node = std::round((one.along - found.start) / rows.along);
        on_common += std::fabs(one.along - found.start - node * rows.along) <= near * rows.along;
    }
    found.common_share = static_cast<double>(on_common) / count;
    return found;
}

// Direction and spacings as one would write them, where the data allow it.
void simplify(rows_of_cells& rows, const places& points) {
    const double degrees = degrees_of(rows.turned.ux, rows.turned.uy);
    const double error = rows.error_angle * 180 / std::numbers::pi;
    const double rounded = std::fabs(degrees - 360) <= 4 * error || degrees <= 4 * error
                               ? 0
                               : simplest(degrees, error);
    rows.turned = at_degrees(rounded);
    rows.across = simplest(rows.across, rows.error_across);
    rows.along = simplest(rows.along, rows.error_along);
    double offs = 0;
    for (const place& p : points) {
        const double across = rows.turned.across(p) - rows.row_origin;
        offs += across - std::round(across / rows.across) * rows.across;
    }
    rows.row_origin += offs / static_cast<double>(points.size());
}

cell_lattice as_lattice(const rows_of_cells& rows, const node_check& nodes, const place& centre) {
    cell_lattice lattice;
    lattice.is_lattice = nodes.share >= share_near_nodes;
    lattice.rows_are_shifted = nodes.common_share < share_near_nodes;
    lattice.scatter = nodes.scatter;
    double degrees = degrees_of(rows.turned.ux, rows.turned.uy);
    if (const double whole = std::round(degrees / 90) * 90; std::fabs(degrees - whole) < 1e-9)
        degrees = whole;
    while (degrees >= 180) degrees -= 180;
    lattice.rows_run_along = degrees < 90;
    lattice.angle = lattice.rows_run_along ? degrees : degrees - 90;
    lattice.along = lattice.rows_run_along ? rows.along : rows.across;
    lattice.across = lattice.rows_run_along ? rows.across : rows.along;
    const directions& turned = rows.turned;
    lattice.origin_x = centre.x + nodes.start * turned.ux - rows.row_origin * turned.uy;
    lattice.origin_y = centre.y + nodes.start * turned.uy + rows.row_origin * turned.ux;
    return lattice;
}

} // namespace

cell_lattice lattice_of_cells(const std::vector<t_icdata>& cells) {
    cell_lattice none;
    if (cells.size() < 2) return none;
    places all;
    all.reserve(cells.size());
    const t_icdata& middle = cells[cells.size() / 2];
    for (const t_icdata& cell : cells)
        all.push_back({cell.d_x - middle.d_x, cell.d_y - middle.d_y});
    std::vector<places> of_pieces;
    const std::size_t count = std::min(pieces, 1 + cells.size() / points_of_piece);
    for (std::size_t k = 0; k < count; ++k)
        of_pieces.push_back(piece_about(all, all[(2 * k + 1) * all.size() / (2 * count)]));
    none.along = none.across = spacing_of(of_pieces);
    if (!(none.along > 0) || cells.size() < 9) return none;

    rows_of_cells rows;
    rows.turned = clearest_rows(of_pieces);
    rows.across = distance_of_rows(of_pieces, rows.turned, none.along);
    if (!(rows.across > 0)) return none;
    rows.along = spacing_in_rows(of_pieces, rows);
    if (!(rows.along > 0)) return none;
    double reach = 0, whole = 0;
    const places first_piece = piece_about(all, {0, 0});
    for (const place& p : first_piece) reach = std::max(reach, p.x * p.x + p.y * p.y);
    for (const place& p : all) whole = std::max(whole, p.x * p.x + p.y * p.y);
    reach = std::sqrt(reach);
    whole = std::sqrt(whole);
    rows.row_origin = origin_of_rows(first_piece, rows.turned, rows.across);
    places fitted;
    for (bool is_last = false; !is_last; reach *= 2) {
        is_last = reach >= whole;
        fitted = points_within(all, reach);
        for (int twice = 0; twice < 2; ++twice) fit_rows(rows, fitted);
        fit_along(rows, fitted);
    }
    simplify(rows, fitted);
    node_check nodes = check_nodes(fitted, rows);
    // Of many points some were drawn: whether two lie on one node shows where all are looked at.
    // Nodes that mostly stay empty are none: a finer lattice goes through any few points.
    constexpr double least_next = 0.55;
    const node_check of_piece = check_nodes(first_piece, rows);
    nodes.share = of_piece.next_share < least_next ? 0 : std::min(nodes.share, of_piece.share);
    return as_lattice(rows, nodes, {middle.d_x, middle.d_y});
}

} // namespace qmx_study
