// The axis of a strip of cells, and the way between positions and stations.

#include <algorithm>
#include <array>
#include <cmath>

#include "study/analyses/road.hpp"
#include "study/base/portable_math.hpp"

namespace qmx_study {

namespace {

constexpr double least_filled = 0.35;  // of the box of a straight strip
constexpr std::size_t most_bends = 40; // of an axis that follows a bend

double cross(const road_point& o, const road_point& a, const road_point& b) {
    return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x);
}

// A. M. Andrew: Another efficient algorithm for convex hulls in two dimensions (1979). Anticlockwise.
std::vector<road_point> hull_of_few(std::vector<road_point> points) {
    std::sort(points.begin(), points.end(), [](const road_point& a, const road_point& b) {
        return a.x != b.x ? a.x < b.x : a.y < b.y;
    });
    std::vector<road_point> hull;
    const auto add = [&](const road_point& p, std::size_t base) {
        while (hull.size() >= base + 2 && cross(hull[hull.size() - 2], hull.back(), p) <= 0)
            hull.pop_back();
        hull.push_back(p);
    };
    for (const road_point& p : points) add(p, 0);
    const std::size_t lower = hull.size() - 1;
    for (std::size_t i = points.size() - 1; i-- > 0;) add(points[i], lower);
    if (hull.size() > 1) hull.pop_back();
    return hull;
}

// Points inside the outline through the farthest points of sixteen directions are no corners.
std::vector<road_point> hull_of(const std::vector<road_point>& points) {
    constexpr std::array<std::array<double, 2>, 16> towards{{{1, 0},
                                                             {0, 1},
                                                             {-1, 0},
                                                             {0, -1},
                                                             {1, 1},
                                                             {-1, 1},
                                                             {-1, -1},
                                                             {1, -1},
                                                             {1, 2},
                                                             {2, 1},
                                                             {-1, 2},
                                                             {-2, 1},
                                                             {-1, -2},
                                                             {-2, -1},
                                                             {1, -2},
                                                             {2, -1}}};
    std::array<std::size_t, 16> farthest{};
    std::array<double, 16> reach;
    reach.fill(-HUGE_VAL);
    for (std::size_t i = 0; i < points.size(); ++i)
        for (std::size_t k = 0; k < towards.size(); ++k) {
            const double far = towards[k][0] * points[i].x + towards[k][1] * points[i].y;
            if (far <= reach[k]) continue;
            reach[k] = far;
            farthest[k] = i;
        }
    std::vector<road_point> kept;
    kept.reserve(farthest.size());
    for (const std::size_t i : farthest) kept.push_back(points[i]);
    const std::vector<road_point> inner = hull_of_few(kept);
    for (const road_point& p : points) {
        bool is_inside = inner.size() > 2;
        for (std::size_t k = 0; is_inside && k < inner.size(); ++k)
            is_inside = cross(inner[k], inner[(k + 1) % inner.size()], p) > 0;
        if (!is_inside) kept.push_back(p);
    }
    return hull_of_few(std::move(kept));
}

struct box {
    double ux = 1, uy = 0; // its long direction
    double least_along = 0, most_along = 0, least_across = 0,
           most_across = 0; // across: to the left
    double length() const { return most_along - least_along; }
    double width() const { return most_across - least_across; }
    double area() const { return length() * width(); }
};

box box_along(const std::vector<road_point>& hull, double ux, double uy) {
    box found{ux, uy, HUGE_VAL, -HUGE_VAL, HUGE_VAL, -HUGE_VAL};
    for (const road_point& p : hull) {
        const double along = p.x * ux + p.y * uy, across = p.y * ux - p.x * uy;
        found.least_along = std::fmin(found.least_along, along);
        found.most_along = std::fmax(found.most_along, along);
        found.least_across = std::fmin(found.least_across, across);
        found.most_across = std::fmax(found.most_across, across);
    }
    return found;
}

// The long side first, and from west to east (from south to north where it runs due north).
box in_order(const std::vector<road_point>& hull, box found) {
    double ux = found.ux, uy = found.uy;
    if (found.width() > found.length()) {
        ux = -found.uy;
        uy = found.ux;
    }
    if (std::fabs(ux) < 1e-9) ux = 0;
    if (ux < 0 || (ux == 0 && uy < 0)) {
        ux = -ux;
        uy = -uy;
    }
    return box_along(hull, ux, uy);
}

// One side of the least box lies along an edge of the hull: H. Freeman, R. Shapira: Determining the
// minimum-area encasing rectangle for an arbitrary closed curve (1975).
box least_box(const std::vector<road_point>& hull) {
    box best;
    double least = HUGE_VAL;
    for (std::size_t k = 0; k < hull.size(); ++k) {
        const road_point& from = hull[k];
        const road_point& to = hull[(k + 1) % hull.size()];
        const double length =
            std::sqrt((to.x - from.x) * (to.x - from.x) + (to.y - from.y) * (to.y - from.y));
        if (!(length > 0)) continue;
        const box tried = box_along(hull, (to.x - from.x) / length, (to.y - from.y) / length);
        if (!(tried.area() < least)) continue;
        least = tried.area();
        best = tried;
    }
    return in_order(hull, best);
}

// The box along the lattice where that is about the same direction: rows of cells then stay rows.
box along_lattice(const std::vector<road_point>& hull, const box& least,
                  const cell_lattice& lattice) {
    if (!lattice.is_lattice) return least;
    constexpr double close = 0.03; // radians
    const double turns = lattice.angle / 360;
    const double ux = portable::cosine_of_turns(turns), uy = portable::sine_of_turns(turns);
    const double sine = std::fabs(ux * least.uy - uy * least.ux);
    const double cosine = std::fabs(ux * least.ux + uy * least.uy);
    if (std::fmin(sine, cosine) > close) return least;
    box turned = box_along(hull, ux, uy);
    if (sine > cosine) turned = box_along(hull, -uy, ux);
    box ordered = turned;
    if (ordered.ux < 0 || (ordered.ux == 0 && ordered.uy < 0))
        ordered = box_along(hull, -ordered.ux, -ordered.uy);
    return ordered.area() <= 1.1 * least.area() + 1e-9 || sine <= cosine ? ordered : least;
}

double length_between(const road_point& a, const road_point& b) {
    return std::sqrt((b.x - a.x) * (b.x - a.x) + (b.y - a.y) * (b.y - a.y));
}

// The middles of stations along the box, where cells stand to both sides of them; none where the cells
// are no line that runs on from station to station.
std::vector<road_point> middles_of(const std::vector<road_point>& cells, const box& about,
                                   double spacing) {
    const auto bends = static_cast<std::size_t>(
        std::fmin(most_bends, std::fmax(2, std::floor(about.length() / (20 * spacing)))));
    const double step = about.length() / static_cast<double>(bends);
    std::vector<std::vector<double>> offsets(bends);
    for (const road_point& p : cells) {
        const double along = p.x * about.ux + p.y * about.uy - about.least_along;
        const auto bin = static_cast<std::size_t>(std::fmax(0, std::floor(along / step)));
        offsets[std::min(bin, bends - 1)].push_back(p.y * about.ux - p.x * about.uy);
    }
    std::vector<road_point> middles;
    double widths = 0;
    for (std::size_t k = 0; k < bends; ++k) {
        std::vector<double>& across = offsets[k];
        if (across.empty()) continue;
        std::sort(across.begin(), across.end());
        const double middle = across[across.size() / 2];
        widths += across[across.size() * 9 / 10] - across[across.size() / 10];
        const double along = about.least_along + (static_cast<double>(k) + 0.5) * step;
        middles.push_back(
            {along * about.ux - middle * about.uy, along * about.uy + middle * about.ux});
    }
    // A ring, or a heap of cells, is as wide at its stations as its box.
    if (middles.size() < 2 || widths / static_cast<double>(middles.size()) > 0.4 * about.width())
        return {};
    return middles;
}

// Lets the first and the last part of the axis reach on past all cells.
void stretch_ends(road_frame& frame, const std::vector<road_point>& cells, double rim) {
    std::vector<road_point>& axis = frame.axis;
    const auto stretched = [&](const road_point& end, const road_point& before) {
        const double length = length_between(before, end);
        const double ux = (end.x - before.x) / length, uy = (end.y - before.y) / length;
        double beyond = 0;
        for (const road_point& p : cells)
            if (length_between(p, end) < 4 * length)
                beyond = std::fmax(beyond, (p.x - end.x) * ux + (p.y - end.y) * uy);
        return road_point{end.x + (beyond + rim) * ux, end.y + (beyond + rim) * uy};
    };
    const road_point first = stretched(axis[0], axis[1]);
    axis.back() = stretched(axis.back(), axis[axis.size() - 2]);
    axis[0] = first;
}

void measure(road_frame& frame, const std::vector<road_point>& cells, double rim) {
    frame.length = 0;
    for (std::size_t k = 1; k < frame.axis.size(); ++k)
        frame.length += length_between(frame.axis[k - 1], frame.axis[k]);
    frame.least_offset = HUGE_VAL;
    frame.most_offset = -HUGE_VAL;
    for (const road_point& p : cells) {
        const double offset = station_and_offset(frame, p.x, p.y).y;
        frame.least_offset = std::fmin(frame.least_offset, offset - rim);
        frame.most_offset = std::fmax(frame.most_offset, offset + rim);
    }
}

// Half a cell along a direction of the box.
double rim_along(const cell_lattice& lattice, double ux, double uy) {
    if (!lattice.is_lattice) return lattice.along / 2;
    const double turns = lattice.angle / 360;
    const double cosine =
        std::fabs(ux * portable::cosine_of_turns(turns) + uy * portable::sine_of_turns(turns));
    if (cosine > 0.999) return lattice.along / 2;
    return cosine < 0.045 ? lattice.across / 2 : std::fmax(lattice.along, lattice.across) / 2;
}

} // namespace

road_point station_and_offset(const road_frame& frame, double x, double y) {
    double station = 0, nearest = HUGE_VAL;
    road_point found;
    const std::size_t parts = frame.axis.size() - 1;
    for (std::size_t k = 0; k < parts; ++k) {
        const road_point& from = frame.axis[k];
        const road_point& to = frame.axis[k + 1];
        const double length = length_between(from, to);
        const double ux = (to.x - from.x) / length, uy = (to.y - from.y) / length;
        const double along = (x - from.x) * ux + (y - from.y) * uy;
        const double right = (x - from.x) * uy - (y - from.y) * ux;
        // The outer parts go on without end, the others end where the next begins.
        double within = along;
        if (k > 0) within = std::fmax(within, 0);
        if (k + 1 < parts) within = std::fmin(within, length);
        const double past = along - within;
        const double distance = past * past + right * right;
        if (distance < nearest) {
            nearest = distance;
            found.x = station + within;
            found.y = past == 0 ? right : std::copysign(std::sqrt(distance), right);
        }
        station += length;
    }
    return found;
}

road_point position_at(const road_frame& frame, double station, double offset) {
    const std::size_t parts = frame.axis.size() - 1;
    for (std::size_t k = 0;; ++k) {
        const road_point& from = frame.axis[k];
        const road_point& to = frame.axis[k + 1];
        const double length = length_between(from, to);
        if (station > length && k + 1 < parts) {
            station -= length;
            continue;
        }
        const double ux = (to.x - from.x) / length, uy = (to.y - from.y) / length;
        return {from.x + station * ux + offset * uy, from.y + station * uy - offset * ux};
    }
}

road_frame frame_of(const std::vector<t_icdata>& cells, const cell_lattice& lattice) {
    // About a cell, so that eastings and northings of millions keep their digits.
    const road_point centre{cells.front().d_x, cells.front().d_y};
    std::vector<road_point> local;
    local.reserve(cells.size());
    for (const t_icdata& cell : cells) local.push_back({cell.d_x - centre.x, cell.d_y - centre.y});
    const std::vector<road_point> hull = hull_of(local);
    const box about = along_lattice(hull, least_box(hull), lattice);
    const double rim = rim_along(lattice, about.ux, about.uy);
    const double side = rim_along(lattice, -about.uy, about.ux);

    road_frame frame;
    const double middle = (about.least_across + about.most_across) / 2;
    const auto at = [&](double along) {
        return road_point{along * about.ux - middle * about.uy,
                          along * about.uy + middle * about.ux};
    };
    frame.axis = {at(about.least_along - rim), at(about.most_along + rim)};
    frame.axis_from = "the long direction of the cells";
    const double ground = static_cast<double>(cells.size()) * lattice.along * lattice.across;
    const double of_box = (about.length() + 2 * rim) * (about.width() + 2 * side);
    frame.is_bent = lattice.along > 0 && ground < least_filled * of_box && cells.size() >= 100;
    if (frame.is_bent) {
        const double spacing = std::fmax(lattice.along, lattice.across);
        if (std::vector<road_point> middles = middles_of(local, about, spacing); !middles.empty()) {
            frame.axis = std::move(middles);
            frame.follows_bend = true;
            frame.axis_from = "the middles of the cells from station to station";
            stretch_ends(frame, local, rim);
        }
    }
    measure(frame, local, side);
    for (road_point& vertex : frame.axis) {
        vertex.x += centre.x;
        vertex.y += centre.y;
    }
    return frame;
}

} // namespace qmx_study
