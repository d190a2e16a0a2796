#include "study/generate/generate_lot.hpp"

#include "study/base/portable_math.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

namespace qmx_study {

namespace {

using portable::random_stream;

// Each use of random numbers has a stream of its own, so that asking for more of one kind leaves
// the others as they were.
enum stream : std::uint64_t {
    lane_starts = 1,
    missed_ends,
    point_noise,
    spot_places,
    spot_errors,
    damaged_rows,
    line_directions,
    line_steps // and the numbers after it, one for each line
};

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

// One line of the turning bands: a process of unit variance and covariance (1 - h) exp(-h), h in
// units of the scale, at nodes `step` apart. That covariance has the spectrum w^2 / (1 + w^2)^2; its
// values at equal steps are those of an autoregression of order 2 with a moving average of order 1,
// whose coefficients follow from the covariances at the first three steps. Steps are driven by
// uniform numbers: each node sums dozens of them, and each place hundreds of nodes.
class line_process {
public:
    explicit line_process(double step) : decay_(portable::exponential_decay(-step)) {
        const double c1 = (1 - step) * decay_;
        const double c2 = (1 - 2 * step) * decay_ * decay_;
        const double c3 = (1 - 3 * step) * decay_ * decay_ * decay_;
        const double a1 = -2 * decay_, a2 = decay_ * decay_;
        // variance and first covariance of x(n) + a1 x(n-1) + a2 x(n-2)
        const double v0 = 1 + a1 * a1 + a2 * a2 + 2 * (a1 + a1 * a2) * c1 + 2 * a2 * c2;
        const double v1 =
            a1 * (1 + a2) + (1 + a1 * a1 + a2 + a2 * a2) * c1 + a1 * (1 + a2) * c2 + a2 * c3;
        const double ratio = v1 / v0;
        carried_ = 2 * ratio / (1 + std::sqrt(std::max(0.0, 1 - 4 * ratio * ratio)));
        size_ =
            std::sqrt(12 * v0 / (1 + carried_ * carried_)); // a uniform number has variance 1/12
        settling_ = static_cast<std::size_t>(30 / std::min(step, 30.0)) + 2;
    }

    void run(const random_stream& random, std::vector<double>& nodes) const {
        double x1 = 0, x2 = 0, before = 0;
        std::uint64_t n = 0;
        const auto next = [&] {
            const double now = size_ * (random.uniform(n++) - 0.5);
            const double x = 2 * decay_ * x1 - decay_ * decay_ * x2 + now + carried_ * before;
            x2 = x1;
            x1 = x;
            before = now;
            return x;
        };
        for (std::size_t k = 0; k < settling_; ++k) next();
        for (double& node : nodes) node = next();
    }

private:
    double decay_, carried_, size_;
    std::size_t settling_;
};

} // namespace

std::vector<double> correlated_field(std::uint64_t seed, double scale, double resolution,
                                     const std::vector<double>& x, const std::vector<double>& y) {
    constexpr int lines = 256;
    constexpr double golden_turn = 0.61803398874989485;
    std::vector<double> field(x.size(), 0.0);
    if (x.empty()) return field;
    const double step = std::max(scale / 40, resolution / 16);
    const auto [left, right] = std::minmax_element(x.begin(), x.end());
    const auto [bottom, top] = std::minmax_element(y.begin(), y.end());
    const random_stream directions(seed, line_directions);
    const double first_turn = directions.uniform(0);
    const line_process process(step / scale);
    std::vector<double> nodes;
    for (int line = 0; line < lines; ++line) {
        const auto n = static_cast<std::uint64_t>(line);
        const double upward = (line + directions.uniform(2 * n + 1)) / lines;
        const double level = std::sqrt(1 - upward * upward);
        const double along_x =
            level / step * portable::cosine_of_turns(first_turn + line * golden_turn);
        const double along_y =
            level / step * portable::sine_of_turns(first_turn + line * golden_turn);
        const double lowest = std::min(along_x * *left, along_x * *right) +
                              std::min(along_y * *bottom, along_y * *top);
        const double highest = std::max(along_x * *left, along_x * *right) +
                               std::max(along_y * *bottom, along_y * *top);
        const double shift = 1 + directions.uniform(2 * n + 2) - lowest; // nodes fall anywhere
        nodes.resize(static_cast<std::size_t>(highest - lowest) + 4);
        process.run(random_stream(seed, line_steps + n), nodes);
        for (std::size_t i = 0; i < field.size(); ++i)
            field[i] += nodes[static_cast<std::size_t>(along_x * x[i] + along_y * y[i] + shift)];
    }
    const double norm = 1 / std::sqrt(static_cast<double>(lines));
    for (double& value : field) value *= norm;
    return field;
}

std::string fault_in(const lot_settings& s) {
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

generated_lot generate_lot(const lot_settings& settings) {
    const strip plan(settings);
    const map_frame map(settings);
    const auto cells = static_cast<std::size_t>(plan.lanes * plan.stations);
    generated_lot made;
    made.lanes = plan.lanes;
    made.stations = plan.stations;
    made.alignment = {map.at(0, 0), map.at(settings.length, 0),
                      map.at(settings.length, settings.width), map.at(0, settings.width)};

    std::vector<std::uint16_t> passes_at(cells, 0);
    std::size_t visits = 0;
    drive(settings, plan, [&](std::size_t cell, bool, double) {
        ++passes_at[cell];
        ++visits;
    });
    made.pass_means = saturating_means(
        settings, std::max<std::size_t>(*std::max_element(passes_at.begin(), passes_at.end()), 1));

    // Places of the cells and, behind them, of the spot tests. Cells keep off the rim of the strip by
    // a tenth of their spacing or more; spot tests by a metre where there is room.
    std::vector<double> along, across;
    along.reserve(cells + static_cast<std::size_t>(settings.spots));
    across.reserve(along.capacity());
    made.cells.reserve(cells);
    const double side =
        0.5 * (settings.width - static_cast<double>(plan.lanes) * settings.lane_spacing);
    const random_stream starts(settings.seed, lane_starts);
    for (std::int64_t lane = 0; lane < plan.lanes; ++lane) {
        const double start =
            settings.lattice ? 0.5 : 0.1 + 0.8 * starts.uniform(static_cast<std::uint64_t>(lane));
        for (std::int64_t station = 0; station < plan.stations; ++station) {
            along.push_back((static_cast<double>(station) + start) * settings.point_spacing);
            across.push_back(side + (static_cast<double>(lane) + 0.5) * settings.lane_spacing);
            made.cells.push_back(map.at(along.back(), across.back()));
        }
    }
    const random_stream places(settings.seed, spot_places);
    const double rim = std::min({1.0, 0.25 * settings.length, 0.25 * settings.width});
    std::uint64_t tries = 0;
    for (int spot = 0; spot < settings.spots; ++spot) {
        std::size_t cell = 0;
        double s = 0, t = 0;
        do { // on ground that a pass has reached, wherever there is any off the rim
            s = rim + (settings.length - 2 * rim) * places.uniform(2 * tries);
            t = rim + (settings.width - 2 * rim) * places.uniform(2 * tries + 1);
            const std::int64_t station = whole(s / settings.point_spacing);
            const std::int64_t lane = whole(std::max(0.0, t - side) / settings.lane_spacing);
            cell = static_cast<std::size_t>(std::min(lane, plan.lanes - 1) * plan.stations +
                                            std::min(station, plan.stations - 1));
            ++tries;
        } while (passes_at[cell] == 0 && tries % 1000 != 0);
        along.push_back(s);
        across.push_back(t);
        const lot_cell place = map.at(s, t);
        const int reached = std::max<int>(passes_at[cell], 1);
        const int pass =
            settings.final_coverage ? reached : std::min(reached, 1 + spot % settings.passes);
        made.spots.push_back({place.easting, place.northing, 0, pass});
    }

    std::vector<double> field =
        correlated_field(settings.seed, settings.range / 3,
                         std::min(settings.lane_spacing, settings.point_spacing), along, across);
    const double field_size = std::sqrt(settings.sill - settings.nugget);
    for (double& value : field) value *= field_size;

    const random_stream noise(settings.seed, point_noise);
    const double noise_size = std::sqrt(settings.nugget);
    std::vector<std::uint16_t> passes_so_far(cells, 0);
    made.records.reserve(settings.final_coverage ? cells : visits);
    drive(settings, plan, [&](std::size_t cell, bool reverse, double seconds) {
        const std::uint16_t pass = ++passes_so_far[cell];
        if (settings.final_coverage && pass < passes_at[cell]) return;
        const double value = made.pass_means[pass - 1U] + field[cell] +
                             noise_size * noise.normal(std::uint64_t{cell} << 16 | pass);
        made.records.push_back({rounded(value, 100), seconds, static_cast<std::uint32_t>(cell),
                                pass, reverse, damage::none});
    });
    damage_some(settings, made.records);

    const random_stream errors(settings.seed, spot_errors);
    for (std::size_t spot = 0; spot < made.spots.size(); ++spot) {
        lot_spot& test = made.spots[spot];
        const double ground =
            made.pass_means[static_cast<std::size_t>(test.pass - 1)] + field[cells + spot];
        test.value = rounded(settings.spot_intercept + settings.spot_slope * ground +
                                 settings.spot_error * errors.normal(spot),
                             100);
    }
    return made;
}

} // namespace qmx_study
