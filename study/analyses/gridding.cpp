#include "study/analyses/gridding.hpp"
#include "study/base/portable_math.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <tuple>
#include <unordered_map>

namespace qmx_study {

namespace {

struct vector_2d {
    double x = 0, y = 0;
};
vector_2d operator+(vector_2d a, vector_2d b) {
    return {a.x + b.x, a.y + b.y};
}
vector_2d operator-(vector_2d a, vector_2d b) {
    return {a.x - b.x, a.y - b.y};
}
vector_2d operator*(double factor, vector_2d a) {
    return {factor * a.x, factor * a.y};
}
double dot(vector_2d a, vector_2d b) {
    return a.x * b.x + a.y * b.y;
}
double cross(vector_2d a, vector_2d b) {
    return a.x * b.y - a.y * b.x;
}
vector_2d unit(vector_2d a) {
    return (1 / portable::length_of(a.x, a.y)) * a;
}

struct drum_place {
    vector_2d at;
    double sum = 0; // of the values of its records
    std::int32_t records = 0;
    std::int32_t before = -1, after = -1; // places of the same track
    std::int32_t track = 0;               // counted from 0
    std::int32_t step = 0;                // along its track
    double value() const { return sum / records; }
};

struct place_list {
    std::vector<drum_place> places; // in the order of their first records
    std::int32_t tracks = 0;
};

place_list places_of(const std::vector<track_record>& records, const grid_settings& settings) {
    struct track_end {
        std::int32_t place = -1;
        vector_2d at; // of the last record, which may lie beside the place
    };
    std::unordered_map<std::int32_t, track_end> ends;
    place_list list;
    for (const track_record& record : records) {
        track_end& end = ends[record.track];
        const vector_2d at{record.x, record.y};
        const auto reaches = [&](vector_2d from) {
            return portable::length_of(at.x - from.x, at.y - from.y);
        };
        const bool follows = end.place >= 0 && reaches(end.at) <= settings.gap;
        end.at = at;
        if (follows) {
            drum_place& last = list.places[static_cast<std::size_t>(end.place)];
            if (reaches(last.at) < settings.cell / 2) {
                last.sum += record.value;
                ++last.records;
                continue;
            }
        }
        drum_place next{at, record.value, 1, follows ? end.place : -1, -1, list.tracks, 0};
        const auto number = static_cast<std::int32_t>(list.places.size());
        if (follows) {
            drum_place& last = list.places[static_cast<std::size_t>(end.place)];
            last.after = number;
            next.track = last.track;
            next.step = last.step + 1;
        } else {
            ++list.tracks;
        }
        end.place = number;
        list.places.push_back(next);
    }
    return list;
}

// What the drum covers between two lines across the heading: two triangles, so that it is told what
// lies inside also where the lines cross.
class swath {
public:
    swath(vector_2d from, vector_2d from_heading, vector_2d to, vector_2d to_heading,
          double width) {
        const auto across = [width](vector_2d heading) {
            return (width / 2) * vector_2d{-heading.y, heading.x};
        };
        corners = {from + across(from_heading), from - across(from_heading),
                   to - across(to_heading), to + across(to_heading)};
    }

    bool covers(vector_2d point) const {
        return is_in_triangle(point, corners[0], corners[1], corners[2]) ||
               is_in_triangle(point, corners[0], corners[2], corners[3]);
    }

    // Calls visit(column, row) for the cells whose centres are covered.
    template <class Visit> void for_each_cell(double cell, Visit visit) const {
        double low = corners[0].y, high = low;
        for (const vector_2d corner : corners) {
            low = std::min(low, corner.y);
            high = std::max(high, corner.y);
        }
        for (std::int32_t row = first_at(low, cell); row <= last_at(high, cell); ++row) {
            const double y = std::clamp(cell_centre(row, cell), low, high);
            double west = std::numeric_limits<double>::infinity();
            double east = -west;
            for (std::size_t edge = 0; edge < corners.size(); ++edge)
                widen(west, east, corners[edge], corners[(edge + 1) % corners.size()], y);
            widen(west, east, corners[0], corners[2], y);
            if (!(west <= east)) continue;
            for (std::int32_t column = first_at(west, cell); column <= last_at(east, cell);
                 ++column)
                if (covers({cell_centre(column, cell), cell_centre(row, cell)})) visit(column, row);
        }
    }

private:
    std::array<vector_2d, 4> corners; // left, right, right, left

    // The box matters for triangles without area, whose sides settle nothing about points in line.
    static bool is_in_triangle(vector_2d point, vector_2d a, vector_2d b, vector_2d c) {
        if (point.x < std::min({a.x, b.x, c.x}) || point.x > std::max({a.x, b.x, c.x}) ||
            point.y < std::min({a.y, b.y, c.y}) || point.y > std::max({a.y, b.y, c.y}))
            return false;
        const double sides[] = {cross(b - a, point - a), cross(c - b, point - b),
                                cross(a - c, point - c)};
        return (sides[0] >= 0 && sides[1] >= 0 && sides[2] >= 0) ||
               (sides[0] <= 0 && sides[1] <= 0 && sides[2] <= 0);
    }

    // One cell more to either side: rounding must lose none.
    static std::int32_t first_at(double coordinate, double cell) {
        return static_cast<std::int32_t>(std::ceil(coordinate / cell - 0.5)) - 1;
    }
    static std::int32_t last_at(double coordinate, double cell) {
        return static_cast<std::int32_t>(std::floor(coordinate / cell - 0.5)) + 1;
    }

    // By where an edge meets the line at y.
    static void widen(double& west, double& east, vector_2d a, vector_2d b, double y) {
        if (y < std::min(a.y, b.y) || y > std::max(a.y, b.y)) return;
        const double share = a.y == b.y ? 0 : (y - a.y) / (b.y - a.y);
        const double x = a.x + share * (b.x - a.x);
        west = std::min(west, x);
        east = std::max(east, x);
        if (a.y != b.y) return;
        west = std::min(west, b.x);
        east = std::max(east, b.x);
    }
};

// Cells with their visits so far, found through square tiles: a row far off costs one tile.
class cell_visits {
public:
    explicit cell_visits(bool lists_all) : lists(lists_all) {}

    void visit(std::int32_t column, std::int32_t row, std::int32_t number, const drum_place& here) {
        cell& each = at(column, row);
        if (each.place == number) return;
        const bool goes_on =
            each.pass > 0 && each.track == here.track && here.step - each.step <= 2;
        if (!goes_on) {
            end_visit(each);
            ++each.pass;
            each.sum = 0;
            each.places = 0;
        }
        each.sum += here.value();
        ++each.places;
        each.place = number;
        each.track = here.track;
        each.step = here.step;
    }

    std::vector<grid_entry> entries(grid_passes passes) {
        for (cell& each : cells) {
            const double last = each.sum / each.places;
            end_visit(each);
            if (passes == grid_passes::all) continue;
            listed.push_back({each.column, each.row, each.pass,
                              passes == grid_passes::last ? last : each.total / each.pass});
        }
        std::sort(listed.begin(), listed.end(), [](const grid_entry& a, const grid_entry& b) {
            return std::tie(a.row, a.column, a.pass) < std::tie(b.row, b.column, b.pass);
        });
        return std::move(listed);
    }

private:
    struct cell {
        std::int32_t column = 0, row = 0;
        std::int32_t pass = 0;   // the visits so far
        std::int32_t place = -1; // the last one that covered it, on its track
        std::int32_t track = 0, step = 0;
        std::int32_t places = 0; // of the last visit, with the sum of their values
        double sum = 0;
        double total = 0; // of the values of the visits that have ended
    };
    static constexpr std::int32_t side = 64;
    using tile = std::vector<std::int32_t>; // positions in `cells`, -1 where there is none yet

    bool lists;
    std::vector<cell> cells;
    std::vector<grid_entry> listed;
    std::unordered_map<std::uint64_t, tile> tiles;
    std::uint64_t last_key = 0;
    tile* last_tile = nullptr;

    void end_visit(cell& each) {
        if (each.pass == 0) return;
        const double value = each.sum / each.places;
        each.total += value;
        if (lists) listed.push_back({each.column, each.row, each.pass, value});
    }

    cell& at(std::int32_t column, std::int32_t row) {
        const std::uint64_t key = std::uint64_t{static_cast<std::uint32_t>(column >> 6)} << 32 |
                                  static_cast<std::uint32_t>(row >> 6);
        if (!last_tile || key != last_key) {
            last_tile = &tiles[key];
            last_key = key;
            if (last_tile->empty()) last_tile->assign(std::size_t{side} * side, -1);
        }
        const auto within = [](std::int32_t number) {
            return static_cast<std::size_t>(number & (side - 1));
        };
        std::int32_t& position = (*last_tile)[within(column) * side + within(row)];
        if (position < 0) {
            position = static_cast<std::int32_t>(cells.size());
            cells.emplace_back();
            cells.back().column = column;
            cells.back().row = row;
        }
        return cells[static_cast<std::size_t>(position)];
    }
};

// The two parts of what the drum covers at a place: calls use(swath) for each.
template <class Use>
void for_each_swath(const std::vector<drum_place>& places, const drum_place& here, double width,
                    Use use) {
    const auto neighbour = [&](std::int32_t number) {
        return places[static_cast<std::size_t>(number)].at;
    };
    vector_2d in;
    vector_2d out;
    if (here.before >= 0) in = unit(here.at - neighbour(here.before));
    if (here.after >= 0) out = unit(neighbour(here.after) - here.at);
    vector_2d heading_in = in;
    vector_2d heading_out = out;
    if (here.before >= 0 && here.after >= 0 && dot(in, out) >= 0)
        heading_in = heading_out = unit(in + out);
    const auto halfway = [&](std::int32_t number) { return 0.5 * (here.at + neighbour(number)); };
    if (here.before >= 0) use(swath(halfway(here.before), in, here.at, heading_in, width));
    if (here.after >= 0) use(swath(here.at, heading_out, halfway(here.after), out, width));
}

} // namespace

double cell_centre(std::int32_t number, double cell) {
    return (number + 0.5) * cell;
}

grid_cells grid_tracks(const std::vector<track_record>& records, const grid_settings& settings,
                       progress& shown) {
    const place_list list = places_of(records, settings);
    cell_visits visits(settings.passes == grid_passes::all);
    for (std::size_t i = 0; i < list.places.size(); ++i) {
        const drum_place& here = list.places[i];
        const auto number = static_cast<std::int32_t>(i);
        if (i % 4096 == 0)
            shown.note("gridding", static_cast<double>(i), static_cast<double>(list.places.size()));
        const auto visit = [&](std::int32_t column, std::int32_t row) {
            visits.visit(column, row, number, here);
        };
        visit(static_cast<std::int32_t>(std::floor(here.at.x / settings.cell)),
              static_cast<std::int32_t>(std::floor(here.at.y / settings.cell)));
        if (settings.drum_width > 0)
            for_each_swath(list.places, here, settings.drum_width,
                           [&](const swath& part) { part.for_each_cell(settings.cell, visit); });
    }
    return {visits.entries(settings.passes), list.tracks,
            static_cast<std::int64_t>(list.places.size())};
}

} // namespace qmx_study
