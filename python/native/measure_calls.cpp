// Statistics of a measure, its growth with the passes, a polynomial, and the semivariogram.

#include "library_calls.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "arrays.hpp"
#include "call_lock.hpp"
#include "records.hpp"

namespace nb = nanobind;

namespace qmx_python {

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
constexpr float unknown_32 = std::numeric_limits<float>::quiet_NaN();
constexpr std::size_t curve_points = 100;
constexpr std::int32_t full_histogram = 200;

template <class Number> double as_double(Number number) {
    return static_cast<double>(number);
}

// ---- Statistics ----------------------------------------------------------------------------------

// Percentage of the values that satisfy the target, counted one by one.
double counted_share(std::span<const t_icdata> points, double target, bool below) {
    std::int64_t satisfied = 0;
    for (const t_icdata& point : points)
        satisfied += (below ? point.d_val <= target : point.d_val >= target) ? 1 : 0;
    return points.empty() ? unknown : 100 * as_double(satisfied) / as_double(points.size());
}

// With exactly 200 classes the record is full and the last cumulative percentage takes the place of the
// target before the test reads it: what the test then says is about another target.
void withdraw_overrun_target(bool pass_counts, float target, t_statsout& result) {
    if (!pass_counts || result.i_numbins != full_histogram) return;
    result.x_target = target;
    result.x_achieved_pct = unknown_32;
    result.i_target_met = 0;
}

nb::tuple statistics(nb::handle named, bool pass_counts, bool below, bool has_target, double target,
                     double target_percent, double low_level, double high_level) {
    wanted_points wanted;
    wanted.whole_values = pass_counts;
    const usable_points usable(named, wanted);
    t_statsout result{};
    result.i_flag_target = has_target ? QMX_IC_YES : QMX_IC_NO;
    result.x_target = static_cast<float>(target);
    result.x_target_pct = static_cast<float>(target_percent);
    result.x_achieved_pct = unknown_32;
    result.x_pctlevel[0] = static_cast<float>(low_level);
    result.x_pctlevel[1] = static_cast<float>(high_level);
    result.x_pctvalue[0] = result.x_pctvalue[1] = unknown_32;
    t_event event{};
    const std::int32_t returned = run(usable.points().size(), [&] {
        return ICdata_stats(pass_counts ? QMX_IC_YES : QMX_IC_NO, below ? QMX_IC_YES : QMX_IC_NO,
                            usable.count(), usable.points().data(), &result, &event);
    });
    if (has_target) withdraw_overrun_target(pass_counts, static_cast<float>(target), result);
    const double counted = has_target ? counted_share(usable.points(), target, below) : unknown;
    const float* const s = result.x_stat;
    const bool has_histogram = returned == QMX_IC_SUCCESS;
    const bool is_tested = has_histogram && has_target && result.i_target_met != 0;
    const nb::object met = is_tested ? nb::cast(result.i_target_met == 1) : nb::none();
    const nb::bytes record(reinterpret_cast<const char*>(&result), sizeof result);
    return nb::make_tuple(failure_of(returned, event), usable.count(), usable.missing(), s[0], s[1],
                          s[2], s[3], s[4], s[5], s[6], s[7], s[8], s[10], s[11], s[12], s[13],
                          has_histogram ? result.i_numbins : 0, result.x_pctvalue[0],
                          result.x_pctvalue[1], is_tested ? result.x_achieved_pct : unknown_32, met,
                          counted, record);
}

// ---- Compaction curve ----------------------------------------------------------------------------

// max_pass 0: the highest pass number of the data.
nb::tuple compaction_curve(nb::handle named, std::int32_t max_pass, std::int32_t min_points,
                           std::int32_t most_passes) {
    const usable_points usable(named, {});
    const std::span<const t_icdata> points = usable.points();
    const new_bytes<double> curve(2 * curve_points);
    const std::span<double> xy = curve.records();
    if (max_pass == 0) {
        max_pass = 2; // the library takes no fewer
        for (const t_icdata& point : points) max_pass = std::max(max_pass, point.i_passno);
    }
    if (max_pass > most_passes)
        throw nb::value_error(("pass numbers go up to " + std::to_string(max_pass) + "; beyond " +
                               std::to_string(most_passes) +
                               " they are taken for a slip, leave such rows out")
                                  .c_str());
    std::vector<double> means(static_cast<std::size_t>(std::max(max_pass, 1)), 0.0);
    std::int32_t passes = 0;
    t_fitout fit{};
    t_event event{};
    const std::int32_t returned = run(points.size(), [&] {
        return IC_compact_curve_b(max_pass, min_points, usable.count(), points.data(), &passes,
                                  means.data(), xy.data(), xy.data() + curve_points, &fit, &event);
    });
    const bool is_fitted = returned == QMX_IC_SUCCESS && passes > 1;
    if (!is_fitted) std::fill(xy.begin(), xy.end(), unknown);
    nb::list pass_means, coefficients;
    for (std::int32_t k = 0; k < passes; ++k) pass_means.append(means[static_cast<std::size_t>(k)]);
    for (std::int32_t k = 0; is_fitted && k <= fit.i_degree; ++k)
        coefficients.append(as_double(fit.x_coef[k]));
    return nb::make_tuple(failure_of(returned, event), usable.count(), usable.missing(), max_pass,
                          nb::tuple(pass_means), nb::tuple(coefficients),
                          is_fitted ? as_double(fit.x_rsq) : unknown, curve.object());
}

// ---- Polynomial ----------------------------------------------------------------------------------

struct narrowed_pairs {
    std::vector<float> x, y;
    double least_x = unknown, greatest_x = unknown;
    std::int64_t missing = 0;
};

float narrowed(double number, const char* name, std::size_t row) {
    if (!(std::fabs(number) <= static_cast<double>(std::numeric_limits<float>::max())))
        throw nb::value_error((std::string(name) + " of row " + std::to_string(row) +
                               " (the first is 0) is beyond the range of 32-bit numbers; leave "
                               "the row out")
                                  .c_str());
    return static_cast<float>(number);
}

// Pairs of two numbers; centred about the middle of the abscissas where that is asked.
narrowed_pairs pairs_of(nb::handle x, nb::handle y, bool centre, double& middle) {
    const double_column held_x(x), held_y(y);
    const std::span<const double> abscissas = held_x.numbers(), ordinates = held_y.numbers();
    if (abscissas.size() != ordinates.size()) throw nb::value_error("x and y differ in length");
    narrowed_pairs pairs;
    const auto is_missing = [&](std::size_t row) {
        return std::isnan(abscissas[row]) || std::isnan(ordinates[row]);
    };
    for (std::size_t row = 0; row < abscissas.size(); ++row) {
        if (is_missing(row)) continue;
        pairs.least_x = std::fmin(pairs.least_x, abscissas[row]);
        pairs.greatest_x = std::fmax(pairs.greatest_x, abscissas[row]);
    }
    middle = centre ? (pairs.least_x + pairs.greatest_x) / 2 : 0;
    for (std::size_t row = 0; row < abscissas.size(); ++row) {
        if (is_missing(row)) {
            ++pairs.missing;
            continue;
        }
        pairs.x.push_back(narrowed(abscissas[row] - middle, "x", row));
        pairs.y.push_back(narrowed(ordinates[row], "y", row));
    }
    return pairs;
}

// First None, or where no polynomial fits the number of different abscissas. The centre is 0 where none
// is taken off.
nb::tuple polynomial_curve(nb::handle x, nb::handle y, std::int32_t degree, bool centre) {
    double middle = 0;
    const narrowed_pairs pairs = pairs_of(x, y, centre, middle);
    const new_bytes<double> curve(2 * curve_points);
    const std::span<double> xy = curve.records();
    std::vector<float> distinct = pairs.x;
    std::sort(distinct.begin(), distinct.end());
    const auto different = std::unique(distinct.begin(), distinct.end()) - distinct.begin();
    float curve_x[curve_points] = {}, curve_y[curve_points] = {};
    // One abscissa is no failure of the library's, but has no range for a curve.
    const bool is_fitted =
        different > 1 &&
        run(pairs.x.size(), [&] {
            return call_polycurvefit(static_cast<std::int32_t>(pairs.x.size()), degree,
                                     pairs.x.data(), pairs.y.data(), curve_x, curve_y);
        }) == QMX_IC_SUCCESS;
    for (std::size_t i = 0; i < curve_points; ++i) {
        xy[i] = as_double(curve_x[i]) + middle;
        xy[curve_points + i] = as_double(curve_y[i]);
    }
    return nb::make_tuple(is_fitted ? nb::none() : nb::object(nb::cast(different)), pairs.x.size(),
                          pairs.missing, middle, curve.object());
}

// ---- Semivariogram -------------------------------------------------------------------------------

// A whole number of units near the middle of the points: the median of some, which points astray do not
// move. Coordinates less a whole number keep all their digits.
double median_of_some(std::span<const t_icdata> points, double t_icdata::*axis) {
    constexpr std::size_t enough = 1023;
    const std::size_t step = std::max<std::size_t>(points.size() / enough, 1);
    std::vector<double> some;
    for (std::size_t i = 0; i < points.size(); i += step) some.push_back(points[i].*axis);
    if (some.empty()) return 0;
    const auto middle = some.begin() + static_cast<std::ptrdiff_t>(some.size() / 2);
    std::nth_element(some.begin(), middle, some.end());
    return std::nearbyint(*middle);
}

struct local_points {
    double origin_x = 0, origin_y = 0;
    double reach = 0;            // greatest distance from the origin along an axis
    double diagonal = 0;         // of the extent
    std::int64_t repeated = 0;   // records beyond the first of their place, in 32 bits
    std::vector<t_icdata> moved; // empty where the origin is 0: the points stand as they are
};

std::int64_t repeated_places(std::span<const t_icdata> points) {
    std::vector<std::uint64_t> places;
    places.reserve(points.size());
    for (const t_icdata& point : points) {
        const float x = static_cast<float>(point.d_x) + 0.0F,
                    y = static_cast<float>(point.d_y) + 0.0F;
        places.push_back(std::uint64_t{std::bit_cast<std::uint32_t>(x)} << 32 |
                         std::bit_cast<std::uint32_t>(y));
    }
    std::sort(places.begin(), places.end());
    return static_cast<std::int64_t>(places.size()) -
           (std::unique(places.begin(), places.end()) - places.begin());
}

local_points localise(std::span<const t_icdata> points, nb::handle origin) {
    local_points local;
    if (origin.is_none()) {
        local.origin_x = median_of_some(points, &t_icdata::d_x);
        local.origin_y = median_of_some(points, &t_icdata::d_y);
    } else {
        local.origin_x = nb::cast<double>(origin[0]);
        local.origin_y = nb::cast<double>(origin[1]);
    }
    if (local.origin_x != 0 || local.origin_y != 0) {
        local.moved.assign(points.begin(), points.end());
        for (t_icdata& point : local.moved) {
            point.d_x -= local.origin_x;
            point.d_y -= local.origin_y;
        }
        points = local.moved;
    }
    if (points.empty()) return local;
    t_icdata least = points[0], most = points[0];
    for (const t_icdata& point : points) {
        least.d_x = std::min(least.d_x, point.d_x), most.d_x = std::max(most.d_x, point.d_x);
        least.d_y = std::min(least.d_y, point.d_y), most.d_y = std::max(most.d_y, point.d_y);
    }
    for (const double end : {least.d_x, most.d_x, least.d_y, most.d_y})
        local.reach = std::max(local.reach, std::fabs(end));
    local.diagonal = std::hypot(most.d_x - least.d_x, most.d_y - least.d_y);
    local.repeated = repeated_places(points);
    return local;
}

// bandwidth 0: as wide as the points and the search.
nb::tuple semivariogram(nb::handle named, nb::handle origin, std::int32_t nlag, double lag,
                        double azimuth, double tolerance, double bandwidth, bool standardise) {
    wanted_points wanted;
    wanted.positions = true;
    wanted.largest_value = 9e18; // differences are squared in 32 bits
    const usable_points usable(named, wanted);
    const local_points local = localise(usable.points(), origin);
    const std::span<const t_icdata> points =
        local.moved.empty() ? usable.points() : std::span<const t_icdata>(local.moved);
    if (!(bandwidth > 0)) bandwidth = std::max(local.diagonal, (nlag + 0.5) * lag);
    const t_gamvset_user settings{nlag,
                                  static_cast<float>(lag),
                                  static_cast<float>(azimuth),
                                  static_cast<float>(tolerance),
                                  static_cast<float>(bandwidth),
                                  standardise ? QMX_IC_YES : QMX_IC_NO};
    const auto classes = static_cast<std::size_t>(std::clamp(nlag, 1, 98)) + 2;
    const new_bytes<double> lags(2 * classes), curve(2 * curve_points);
    const std::span<double> lag_values = lags.records(), xy = curve.records();
    double model[2] = {};
    float reading[4] = {};
    t_event event{};
    const auto call = [&] {
        return IC_semivariogram(usable.count(), points.data(), &settings, lag_values.data(),
                                lag_values.data() + classes, model, xy.data(),
                                xy.data() + curve_points, reading, &event);
    };
    constexpr std::size_t few_of_all_pairs = 50;
    const std::int32_t returned = points.size() <= few_of_all_pairs
                                      ? serialised_briefly(call_lock(), call)
                                      : serialised(call_lock(), call);
    if (returned != QMX_IC_SUCCESS) {
        std::fill(std::begin(model), std::end(model), unknown);
        std::fill(std::begin(reading), std::end(reading), unknown_32);
    }
    const auto far = static_cast<float>(local.reach);
    const double step =
        as_double(std::nextafter(far, std::numeric_limits<float>::infinity()) - far);
    return nb::make_tuple(failure_of(returned, event), usable.count(), usable.missing(),
                          nb::make_tuple(local.origin_x, local.origin_y), step, local.repeated,
                          bandwidth, model[0], model[1], as_double(reading[0]),
                          as_double(reading[1]), as_double(reading[2]), as_double(reading[3]),
                          lags.object(), curve.object());
}

} // namespace

void bind_measure_calls(nb::module_& module) {
    module.def("statistics", &statistics);
    module.def("compaction_curve", &compaction_curve);
    module.def("polynomial_curve", &polynomial_curve);
    module.def("semivariogram", &semivariogram, nb::arg("points"), nb::arg("origin").none(),
               nb::arg("nlag"), nb::arg("lag"), nb::arg("azimuth"), nb::arg("tolerance"),
               nb::arg("bandwidth"), nb::arg("standardise"));
}

} // namespace qmx_python
