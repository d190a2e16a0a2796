#include "study/generate/generate_lot.hpp"

#include "study/base/portable_math.hpp"
#include "study/generate/correlated_field.hpp"
#include "study/generate/streams.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

namespace qmx_study {

namespace {

using portable::random_stream;

constexpr int most_passes = 1000;    // at one cell
constexpr double small_share = 1e-6; // of a spacing: keeps 0.6 / 0.2 from counting 2

double rounded(double value, double steps) {
    return std::floor(value * steps + 0.5) / steps;
}

std::int64_t whole(double quotient) {
    return static_cast<std::int64_t>(std::floor(quotient + small_share));
}

// The plan of the strip: how cells and drum lanes lie in it.
struct strip {
    std::int64_t lanes, stations;
    std::int64_t drum, pitch; // width of a drum lane and distance to the next, in lanes of cells

    explicit strip(const lot_settings& settings)
        : lanes(whole(settings.width / settings.lane_spacing)),
          stations(whole(settings.length / settings.point_spacing)),
          drum(
              std::max<std::int64_t>(1, std::llround(settings.drum_width / settings.lane_spacing))),
          pitch(drum - std::min<std::int64_t>(
                           drum - 1, std::llround(settings.overlap / settings.lane_spacing))) {}

    // Another drum lane is driven while the one before it left lanes of cells untouched.
    bool starts_here(std::int64_t first) const {
        return first < lanes && (first == 0 || first + drum - pitch < lanes);
    }
    std::int64_t behind(std::int64_t first) const { return std::min(first + drum, lanes); }

    // Between the edge of the strip and its first lane of cells.
    double side(const lot_settings& settings) const {
        return 0.5 * (settings.width - static_cast<double>(lanes) * settings.lane_spacing);
    }
    std::size_t cell_at(const lot_settings& settings, double along, double across) const {
        const std::int64_t station = whole(along / settings.point_spacing);
        const std::int64_t lane =
            whole(std::max(0.0, across - side(settings)) / settings.lane_spacing);
        return static_cast<std::size_t>(std::min(lane, lanes - 1) * stations +
                                        std::min(station, stations - 1));
    }

    double records_per_station(const lot_settings& settings) const {
        if (settings.final_coverage) return static_cast<double>(lanes);
        double swept = 0;
        for (std::int64_t first = 0; starts_here(first); first += pitch)
            swept += static_cast<double>(behind(first) - first);
        return swept * settings.passes;
    }
};

// Drives over the strip in order of time, calling visit(cell, reverse, seconds) for each cell under
// the drum. Odd passes go forward, even ones back; the last pass over a drum lane may stop early.
template <class Visit> void drive(const lot_settings& settings, const strip& plan, Visit&& visit) {
    constexpr double speed = 0.8, turn = 30; // m/s, s
    const random_stream stops(settings.seed, missed_ends);
    double seconds = 0;
    for (std::int64_t first = 0; plan.starts_here(first); first += plan.pitch) {
        for (int pass = 1; pass <= settings.passes; ++pass, seconds += turn) {
            const bool reverse = pass % 2 == 0;
            std::int64_t driven = plan.stations;
            if (pass == settings.passes) {
                const double left_out =
                    2 * settings.missed * stops.uniform(static_cast<std::uint64_t>(first));
                driven -= static_cast<std::int64_t>(left_out * static_cast<double>(driven));
            }
            for (std::int64_t k = 0; k < driven; ++k, seconds += settings.point_spacing / speed) {
                const std::int64_t station = reverse ? plan.stations - 1 - k : k;
                for (std::int64_t lane = first; lane < plan.behind(first); ++lane)
                    visit(static_cast<std::size_t>(lane * plan.stations + station), reverse,
                          seconds);
            }
        }
    }
}

// Turns places of the strip, along and across it, into map coordinates.
class map_frame {
public:
    explicit map_frame(const lot_settings& settings)
        : settings_(settings), east_(portable::sine_of_turns(settings.azimuth / 360)),
          north_(portable::cosine_of_turns(settings.azimuth / 360)) {}

    lot_cell at(double along, double across) const {
        // a road that climbs 1.2 % and falls 2.5 % from its crown to both sides
        const double height =
            312 + 0.012 * along - 0.025 * std::fabs(across - 0.5 * settings_.width);
        return {rounded(settings_.origin_easting + along * east_ + across * north_, 1000),
                rounded(settings_.origin_northing + along * north_ - across * east_, 1000),
                rounded(height, 1000)};
    }

private:
    const lot_settings& settings_;
    double east_, north_; // of one metre along the strip
};

std::vector<double> saturating_means(const lot_settings& settings, std::size_t count) {
    const double kept = portable::exponential_decay(-1 / settings.pass_constant);
    std::vector<double> means(count);
    double missing = settings.final_mean - settings.first_mean;
    for (double& mean : means) {
        mean = settings.final_mean - missing;
        missing *= kept;
    }
    return means;
}

void damage_some(const lot_settings& settings, std::vector<lot_record>& records) {
    if (settings.bad_rows <= 0 || records.empty()) return;
    const auto size = static_cast<std::int64_t>(records.size());
    const std::int64_t share = std::llround(settings.bad_rows * static_cast<double>(size));
    const std::int64_t count = std::min(size, std::max<std::int64_t>(damage_kinds, share));
    const random_stream random(settings.seed, damaged_rows);
    std::int64_t done = 0;
    for (std::uint64_t n = 0; done < count; ++n) {
        lot_record& hit =
            records[static_cast<std::size_t>(random.uniform(n) * static_cast<double>(size))];
        if (hit.what_happened != damage::none) continue;
        hit.what_happened = static_cast<damage>(1 + done % damage_kinds);
        ++done;
    }
}

std::string fault_in_limits(const lot_settings& s) {
    struct limits {
        const char* option;
        double value, lowest, highest;
        const char* unit;
    };
    const limits all[] = {
        {"--width", s.width, 0.01, 1e5, "m"},
        {"--lane-spacing", s.lane_spacing, 0.01, 1e4, "m"},
        {"--point-spacing", s.point_spacing, 0.01, 1e4, "m"},
        {"--length", s.length, 0.01, 1e7, "m"},
        {"--azimuth", s.azimuth, -360, 360, "degrees"},
        {"--origin (easting)", s.origin_easting, -1e8, 1e8, "m"},
        {"--origin (northing)", s.origin_northing, -1e8, 1e8, "m"},
        {"--passes", static_cast<double>(s.passes), 1, 200, "passes"},
        {"--drum-width", s.drum_width, 0.01, 1e4, "m"},
        {"--overlap", s.overlap, 0, 1e4, "m"},
        {"--missed", s.missed, 0, 0.5, "of a drum lane"},
        {"--first-mean", s.first_mean, -1e6, 1e6, ""},
        {"--final-mean", s.final_mean, -1e6, 1e6, ""},
        {"--pass-constant", s.pass_constant, 0.01, 1e4, "passes"},
        {"--range", s.range, 0.01, 1e7, "m"},
        {"--sill", s.sill, 0, 1e12, ""},
        {"--nugget", s.nugget, 0, 1e12, ""},
        {"--spots", static_cast<double>(s.spots), 0, 1e6, "spot tests"},
        {"--spot-intercept", s.spot_intercept, -1e6, 1e6, ""},
        {"--spot-slope", s.spot_slope, -1e6, 1e6, ""},
        {"--spot-error", s.spot_error, 0, 1e6, ""},
        {"--bad-rows", s.bad_rows, 0, 0.5, "of the rows"},
    };
    for (const limits& limit : all)
        if (!(limit.value >= limit.lowest && limit.value <= limit.highest)) // NaN included
            return fmt::format("{} is {}; give a number from {:.12g} to {:.12g}{}{}", limit.option,
                               limit.value, limit.lowest, limit.highest, *limit.unit ? " " : "",
                               limit.unit);
    return {};
}

} // namespace

std::string fault_in(const lot_settings& s) {
    if (std::string fault = fault_in_limits(s); !fault.empty()) return fault;
    if (s.nugget > s.sill)
        return fmt::format("--nugget {} is above --sill {}; the sill includes the nugget", s.nugget,
                           s.sill);
    if (s.overlap >= s.drum_width)
        return fmt::format("--overlap {} m is not below --drum-width {} m: the roller would never "
                           "get across the strip",
                           s.overlap, s.drum_width);
    const strip plan(s);
    if (plan.lanes < 1)
        return fmt::format("no lane fits: --lane-spacing {} m is wider than --width {} m",
                           s.lane_spacing, s.width);
    if (plan.stations < 1)
        return fmt::format("no point fits: --point-spacing {} m is longer than --length {} m",
                           s.point_spacing, s.length);
    const std::int64_t drums_over_a_cell = (plan.drum + plan.pitch - 1) / plan.pitch;
    if (s.passes * drums_over_a_cell > most_passes)
        return fmt::format("a cell would get up to {} passes, {} is the most; give a smaller "
                           "--overlap or fewer --passes",
                           s.passes * drums_over_a_cell, most_passes);
    const double rows = plan.records_per_station(s) * static_cast<double>(plan.stations);
    if (rows > most_lot_records)
        return fmt::format("the lot would have {:.0f} rows, {:.0f} is the most; give a shorter "
                           "strip, a wider spacing or fewer passes",
                           rows, most_lot_records);
    return {};
}

void set_length_for(lot_settings& settings, double records) {
    const double stations = std::round(records / strip(settings).records_per_station(settings));
    settings.length = std::max(1.0, stations) * settings.point_spacing;
}

namespace {

// How often the roller passes over each cell, and all visits together.
struct visits {
    std::vector<std::uint16_t> passes;
    std::size_t count = 0;
};

visits visits_of(const lot_settings& settings, const strip& plan) {
    visits made{
        std::vector<std::uint16_t>(static_cast<std::size_t>(plan.lanes * plan.stations), 0)};
    drive(settings, plan, [&](std::size_t cell, bool, double) {
        ++made.passes[cell];
        ++made.count;
    });
    return made;
}

// Places along and across the strip: of the cells and, behind them, of the spot tests.
struct strip_places {
    std::vector<double> along, across;
    void add(double s, double t) {
        along.push_back(s);
        across.push_back(t);
    }
};

// Cells keep off the rim of the strip by a tenth of their spacing or more.
void place_cells(const lot_settings& settings, const strip& plan, const map_frame& map,
                 strip_places& places, generated_lot& made) {
    const random_stream starts(settings.seed, lane_starts);
    for (std::int64_t lane = 0; lane < plan.lanes; ++lane) {
        const double start =
            settings.lattice ? 0.5 : 0.1 + 0.8 * starts.uniform(static_cast<std::uint64_t>(lane));
        for (std::int64_t station = 0; station < plan.stations; ++station) {
            places.add((static_cast<double>(station) + start) * settings.point_spacing,
                       plan.side(settings) +
                           (static_cast<double>(lane) + 0.5) * settings.lane_spacing);
            made.cells.push_back(map.at(places.along.back(), places.across.back()));
        }
    }
}

// Spot tests keep off the rim by a metre where there is room, and stand on ground that a pass has
// reached, wherever there is any.
void place_spots(const lot_settings& settings, const strip& plan, const map_frame& map,
                 const std::vector<std::uint16_t>& passes_at, strip_places& places,
                 generated_lot& made) {
    const random_stream random(settings.seed, spot_places);
    const double rim = std::min({1.0, 0.25 * settings.length, 0.25 * settings.width});
    std::uint64_t tries = 0;
    for (int spot = 0; spot < settings.spots; ++spot) {
        std::size_t cell = 0;
        double s = 0, t = 0;
        do {
            s = rim + (settings.length - 2 * rim) * random.uniform(2 * tries);
            t = rim + (settings.width - 2 * rim) * random.uniform(2 * tries + 1);
            cell = plan.cell_at(settings, s, t);
            ++tries;
        } while (passes_at[cell] == 0 && tries % 1000 != 0);
        places.add(s, t);
        const lot_cell place = map.at(s, t);
        const int reached = std::max<int>(passes_at[cell], 1);
        const int pass =
            settings.final_coverage ? reached : std::min(reached, 1 + spot % settings.passes);
        made.spots.push_back({place.easting, place.northing, 0, pass});
    }
}

std::vector<double> ground_of(const lot_settings& settings, const strip_places& places) {
    std::vector<double> field = correlated_field(
        settings.seed, settings.range / 3, std::min(settings.lane_spacing, settings.point_spacing),
        places.along, places.across);
    const double size = std::sqrt(settings.sill - settings.nugget);
    for (double& value : field) value *= size;
    return field;
}

void record_passes(const lot_settings& settings, const strip& plan, const visits& visited,
                   const std::vector<double>& ground, generated_lot& made) {
    const random_stream noise(settings.seed, point_noise);
    const double noise_size = std::sqrt(settings.nugget);
    std::vector<std::uint16_t> passes_so_far(visited.passes.size(), 0);
    made.records.reserve(settings.final_coverage ? visited.passes.size() : visited.count);
    drive(settings, plan, [&](std::size_t cell, bool reverse, double seconds) {
        const std::uint16_t pass = ++passes_so_far[cell];
        if (settings.final_coverage && pass < visited.passes[cell]) return;
        const double value = made.pass_means[pass - 1U] + ground[cell] +
                             noise_size * noise.normal(std::uint64_t{cell} << 16 | pass);
        made.records.push_back({rounded(value, 100), seconds, static_cast<std::uint32_t>(cell),
                                pass, reverse, damage::none});
    });
}

// ground: of the spot tests alone.
void test_spots(const lot_settings& settings, const double* ground, generated_lot& made) {
    const random_stream errors(settings.seed, spot_errors);
    for (std::size_t spot = 0; spot < made.spots.size(); ++spot) {
        lot_spot& test = made.spots[spot];
        const double truth =
            made.pass_means[static_cast<std::size_t>(test.pass - 1)] + ground[spot];
        test.value = rounded(settings.spot_intercept + settings.spot_slope * truth +
                                 settings.spot_error * errors.normal(spot),
                             100);
    }
}

} // namespace

generated_lot generate_lot(const lot_settings& settings) {
    const strip plan(settings);
    const map_frame map(settings);
    const auto cells = static_cast<std::size_t>(plan.lanes * plan.stations);
    generated_lot made;
    made.lanes = plan.lanes;
    made.stations = plan.stations;
    made.alignment = {map.at(0, 0), map.at(settings.length, 0),
                      map.at(settings.length, settings.width), map.at(0, settings.width)};

    const visits visited = visits_of(settings, plan);
    const int most = *std::max_element(visited.passes.begin(), visited.passes.end());
    made.pass_means = saturating_means(settings, static_cast<std::size_t>(std::max(most, 1)));

    strip_places places;
    places.along.reserve(cells + static_cast<std::size_t>(settings.spots));
    places.across.reserve(places.along.capacity());
    made.cells.reserve(cells);
    place_cells(settings, plan, map, places, made);
    place_spots(settings, plan, map, visited.passes, places, made);

    const std::vector<double> ground = ground_of(settings, places);
    record_passes(settings, plan, visited, ground, made);
    damage_some(settings, made.records);
    test_spots(settings, ground.data() + cells, made);
    return made;
}

} // namespace qmx_study
