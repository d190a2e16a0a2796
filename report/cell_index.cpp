#include "report/cell_index.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "study/base/portable_math.hpp"

namespace qmx_report {
namespace {

namespace portable = qmx_study::portable;

constexpr double furthest_index = 1 << 30;

// Of numbers below 2^31; without the call that std::floor is on older processors.
std::int32_t floor_of(double value) {
    const auto whole = static_cast<std::int32_t>(value);
    return whole - (static_cast<double>(whole) > value ? 1 : 0);
}

} // namespace

cell_index::cell_index(const qmx_study::cell_table& cells, const map_lattice& lattice)
    : cells_(cells), cosine_(portable::cosine_of_turns(lattice.angle / 360)),
      sine_(portable::sine_of_turns(lattice.angle / 360)), per_along_(1 / lattice.along),
      per_across_(1 / lattice.across), reach_(std::max(lattice.along, lattice.across)),
      origin_x_(lattice.origin_x), origin_y_(lattice.origin_y), is_lattice_(lattice.is_lattice),
      rows_are_shifted_(lattice.rows_are_shifted), rows_run_along_(lattice.rows_run_along) {
    std::size_t size = 64;
    while (size < 2 * cells.size()) size *= 2;
    mask_ = size - 1;
    slots_.resize(size);
    next_.assign(cells.size(), -1);
    for (std::size_t k = 0; k < cells.size(); ++k) {
        place where;
        if (!place_of(cells.x[k], cells.y[k], where)) continue;
        std::size_t at = start_of(where);
        while (slots_[at].cell >= 0 &&
               (slots_[at].where.i != where.i || slots_[at].where.j != where.j))
            at = (at + 1) & mask_;
        next_[k] = slots_[at].cell;
        slots_[at] = {where, static_cast<std::int32_t>(k)};
    }
}

bool cell_index::place_of(double x, double y, place& result) const {
    const double dx = x - origin_x_, dy = y - origin_y_;
    const double i = (dx * cosine_ + dy * sine_) * per_along_ + 0.5;
    const double j = (dy * cosine_ - dx * sine_) * per_across_ + 0.5;
    if (!(std::fabs(i) < furthest_index && std::fabs(j) < furthest_index)) return false;
    result = {floor_of(i), floor_of(j)};
    return true;
}

// Blocks of eight by eight cells are spread by the hash, the cells of a block lie in order.
std::size_t cell_index::start_of(place where) const {
    const auto block = [](std::int32_t index) { return static_cast<std::uint32_t>(index >> 3); };
    std::uint64_t hash = (std::uint64_t{block(where.i)} << 32) | block(where.j);
    hash *= 0x9E3779B97F4A7C15u;
    hash ^= hash >> 32;
    const auto in_block = static_cast<std::size_t>((where.i & 7) * 8 + (where.j & 7));
    return ((static_cast<std::size_t>(hash) << 6) | in_block) & mask_;
}

std::int32_t cell_index::first_at(place where) const {
    std::size_t at = start_of(where);
    while (slots_[at].cell >= 0) {
        if (slots_[at].where.i == where.i && slots_[at].where.j == where.j) return slots_[at].cell;
        at = (at + 1) & mask_;
    }
    return -1;
}

std::int32_t cell_index::nearest(double x, double y, place about) const {
    double least = reach_ * reach_;
    std::int32_t found = -1;
    for (std::int32_t i = about.i - 1; i <= about.i + 1; ++i)
        for (std::int32_t j = about.j - 1; j <= about.j + 1; ++j)
            for (std::int32_t k = first_at({i, j}); k >= 0;
                 k = next_[static_cast<std::size_t>(k)]) {
                const auto cell = static_cast<std::size_t>(k);
                const double dx = cells_.x[cell] - x, dy = cells_.y[cell] - y;
                const double square = dx * dx + dy * dy;
                if (square < least || (square == least && k > found)) {
                    least = square;
                    found = k;
                }
            }
    return found;
}

// The squares of a shifted row lie between the nodes of the lattice.
std::int32_t cell_index::nearest_in_row(double x, double y, place about) const {
    const double ahead_x = rows_run_along_ ? cosine_ : -sine_;
    const double ahead_y = rows_run_along_ ? sine_ : cosine_;
    double least = 0.6 / (rows_run_along_ ? per_along_ : per_across_); // positions may scatter
    std::int32_t found = -1;
    for (std::int32_t step = -1; step <= 1; ++step) {
        const place where =
            rows_run_along_ ? place{about.i + step, about.j} : place{about.i, about.j + step};
        for (std::int32_t k = first_at(where); k >= 0; k = next_[static_cast<std::size_t>(k)]) {
            const auto cell = static_cast<std::size_t>(k);
            const double off =
                std::fabs((cells_.x[cell] - x) * ahead_x + (cells_.y[cell] - y) * ahead_y);
            if (off < least || (off == least && k > found)) {
                least = off;
                found = k;
            }
        }
    }
    return found;
}

std::int32_t cell_index::at(double x, double y) const {
    place where;
    if (!place_of(x, y, where)) return -1;
    if (!is_lattice_) return nearest(x, y, where);
    return rows_are_shifted_ ? nearest_in_row(x, y, where) : first_at(where);
}

map_lattice usable_lattice(const qmx_study::cell_table& cells, map_lattice given) {
    const auto usable = [](double spacing) { return std::isfinite(spacing) && spacing > 0; };
    if (usable(given.along) && usable(given.across) && std::isfinite(given.angle) &&
        std::isfinite(given.origin_x) && std::isfinite(given.origin_y))
        return given;
    map_lattice made;
    made.along = made.across = usable(given.along) ? given.along : 1;
    if (cells.size() == 0) return made;
    const auto [left, right] = std::minmax_element(cells.x.begin(), cells.x.end());
    const auto [bottom, top] = std::minmax_element(cells.y.begin(), cells.y.end());
    const double width = *right - *left, height = *top - *bottom;
    made.origin_x = *left;
    made.origin_y = *bottom;
    if (!usable(given.along) && cells.size() > 1) {
        const auto number = static_cast<double>(cells.size());
        made.along = std::max(std::sqrt(width * height / number), std::max(width, height) / number);
        if (!usable(made.along)) made.along = 1;
        made.across = made.along;
    }
    return made;
}

} // namespace qmx_report
