#include "numeric/polynomial/orthogonal_fit.hpp"

#include "base/work_array.hpp"
#include "numeric/arithmetic/register_width.hpp"
#include "numeric/errors/numeric_frame.hpp"
#include "numeric/polynomial/power_basis.hpp"
#include "numeric/sorting/sort_search.hpp"

#include <algorithm>
#include <array>
#include <numeric>

namespace qmx::numeric {

namespace {

// Up to so many observations double-double costs no noticeable time.
constexpr i32 few_observations = 256;

// ---- Extremes and counts of the observations ----------------------------------------------------

struct survey {
    i32 missing = 0;
    value_extent x, y; // of the pairs without a NaN, if there is one
};

struct look {
    template <class X, class Y>
    QMX_INLINED static void run(const X* x, const Y* y, i32 n, survey& found) {
        // Independent lanes, so that comparisons of consecutive pairs do not wait for each other.
        constexpr std::size_t lanes = 16;
        constexpr X x_beyond = std::numeric_limits<X>::infinity();
        constexpr Y y_beyond = std::numeric_limits<Y>::infinity();
        std::array<X, lanes> x_low, x_high;
        std::array<Y, lanes> y_low, y_high;
        x_low.fill(x_beyond);
        y_low.fill(y_beyond);
        x_high.fill(-x_beyond);
        y_high.fill(-y_beyond);
        std::array<i32, lanes> missing{};
        const auto see = [&](std::size_t lane, X a, Y b) {
            const bool is_missing = (a != a) | (b != b);
            const X a_low = is_missing ? x_beyond : a;
            const Y b_low = is_missing ? y_beyond : b;
            const X a_high = is_missing ? -x_beyond : a;
            const Y b_high = is_missing ? -y_beyond : b;
            x_low[lane] = a_low < x_low[lane] ? a_low : x_low[lane];
            y_low[lane] = b_low < y_low[lane] ? b_low : y_low[lane];
            x_high[lane] = a_high > x_high[lane] ? a_high : x_high[lane];
            y_high[lane] = b_high > y_high[lane] ? b_high : y_high[lane];
            missing[lane] += is_missing ? 1 : 0;
        };
        i64 i = 0;
        for (; n - i >= static_cast<i64>(lanes); i += static_cast<i64>(lanes))
            for (std::size_t lane = 0; lane < lanes; ++lane) {
                const auto at = static_cast<std::size_t>(i) + lane;
                see(lane, x[at], y[at]);
            }
        for (; i < n; ++i) see(0, x[i], y[i]);
        found = {std::accumulate(missing.begin(), missing.end(), 0),
                 {*std::min_element(x_low.begin(), x_low.end()),
                  *std::max_element(x_high.begin(), x_high.end())},
                 {*std::min_element(y_low.begin(), y_low.end()),
                  *std::max_element(y_high.begin(), y_high.end())}};
    }
};

survey look_at(const column_read_as<f64>& x, const column_read_as<f64>& y, i32 n) {
    survey found;
    x.visit([&](const auto* of_x) {
        y.visit([&](const auto* of_y) { run_loop<look>(of_x, of_y, n, found); });
    });
    return found;
}

// Number of distinct abscissas, in any order, counted up to limit, which is at most
// highest_moment_degree + 1. Usually the first few rows suffice.
i32 distinct_up_to(i32 limit, const column_read_as<f64>& x, i32 n) {
    std::array<f64, highest_moment_degree + 1> seen;
    const auto first = seen.begin();
    auto last = first;
    f64 previous = 0.0;
    for (i32 i = 0; i < n && last - first < limit; ++i) {
        if (last != first && x[i] == previous) continue;
        previous = x[i];
        if (std::find(first, last, previous) == last) *last++ = previous;
    }
    return static_cast<i32>(last - first);
}

i32 distinct_neighbours(const f64* sorted, i32 n) {
    i32 distinct = 1;
    for (i32 i = 1; i < n; ++i) distinct += sorted[i] != sorted[i - 1] ? 1 : 0;
    return distinct;
}

// ---- Scales ------------------------------------------------------------------------------------

f64 middle_of(const value_extent& extent) {
    const f64 sum = extent.highest + extent.lowest;
    return std::isfinite(sum) ? sum * 0.5 : extent.highest * 0.5 + extent.lowest * 0.5;
}

f64 multiplier_of(const value_extent& extent) {
    const f64 range = extent.highest - extent.lowest;
    return std::isfinite(range) ? 4.0 / range
                                : 1.0 / (extent.highest * 0.25 - extent.lowest * 0.25);
}

i32 exponent_of(const value_extent& extent) {
    if (!extent.is_finite()) return 0;
    i32 exponent = 0;
    std::frexp(std::max(std::abs(extent.lowest), std::abs(extent.highest)), &exponent);
    return std::max(exponent, -1000); // so that the factor does not overflow
}

scaled_rows scale_rows(const column_read_as<f64>& x, const column_read_as<f64>& y, i32 n,
                       const value_extent& y_extent, const orthogonal_fit& fit) {
    scaled_rows rows;
    rows.x = x;
    rows.y = y;
    rows.count = n;
    rows.center = fit.center;
    rows.multiplier = fit.multiplier;
    rows.y_factor = std::ldexp(1.0, -fit.y_exponent);
    const value_extent scaled{y_extent.lowest * rows.y_factor, y_extent.highest * rows.y_factor};
    rows.y_origin = middle_of(scaled);
    rows.y_reach = std::max(scaled.highest - rows.y_origin, rows.y_origin - scaled.lowest);
    return rows;
}

// ---- Errors ------------------------------------------------------------------------------------

void post_constant_ordinates(f64 y, orthogonal_fit& fit, orthogonal_term* terms) {
    fit.degree = 0;
    fit.total = fit.error = {};
    terms[0] = {};
    terms[0].norm = {static_cast<f64>(fit.observations)};
    terms[0].coefficient = {std::ldexp(y, -fit.y_exponent)};
    post(type_warning, 4,
         "The response variable, X(*,IRSP), is constant.  A zero degree polynomial is fit.");
}

void post_degree_reached(const orthogonal_fit& fit, i32 NDEG) {
    if (fit.is_perfect && fit.degree == NDEG) {
        E1STI(1, fit.degree);
        post(type_warning_everywhere, 11,
             "The degree %(I1) polynomial fit is a perfect fit within machine precision.");
    } else if (fit.is_perfect) {
        E1STI(1, NDEG);
        E1STI(2, fit.degree);
        post(type_warning, 6,
             "Although a degree %(I1) fit was requested, a degree %(I2) polynomial is fitted "
             "because the degree %(I2) polynomial fit is a perfect fit within machine precision.");
    } else if (fit.degree < NDEG) {
        E1STI(1, fit.degree);
        E1STI(2, fit.degree + 1);
        post(type_warning, 5,
             "A degree %(I1) polynomial is fitted.  There are only %(I2) distinct abscissas, so a "
             "higher degree polynomial fit cannot be computed.");
    }
}

// ---- The two arithmetics -----------------------------------------------------------------------

// In f64; false where its accuracy does not suffice.
bool fit_plainly(const scaled_rows& rows, i32 NDEG, orthogonal_fit& fit, orthogonal_term* terms) {
    fit.is_refined = false;
    return NDEG <= highest_moment_degree &&
           fit_by_moments(rows, distinct_up_to(NDEG + 1, rows.x, rows.count) - 1, fit, terms);
}

// In double-double, over the observations in ascending order; false when memory ran out.
bool fit_refined(scaled_rows rows, i32 NDEG, orthogonal_fit& fit, orthogonal_term* terms,
                 i32& most_degree) {
    const i32 n = rows.count;
    const work_array<f64> x(n);
    const work_array<f64> y(n);
    const work_array<i32> position(n);
    if (!x || !y || !position) return false;
    std::iota(position.begin(), position.end(), 1);
    for (i32 i = 0; i < n; ++i) x[i] = rows.x[i];
    DSVRGP(n, x.data(), x.data(), position.data());
    for (i32 i = 0; i < n; ++i) y[i] = rows.y[position[i] - 1];
    rows.x = x.data();
    rows.y = y.data();
    fit.is_refined = true;
    most_degree = std::min(NDEG, distinct_neighbours(x.data(), n) - 1);
    return fit_in_pairs(rows, most_degree, fit, terms);
}

// The fit, its sums and its coefficients of powers agree with a better one to a few ulps.
bool agrees(const orthogonal_fit& fit, const orthogonal_term* terms, const f64* powers,
            const fit_outcome& better, const orthogonal_term* better_terms,
            const f64* better_powers) {
    const auto are_near = [](f64 a, f64 b, f64 size) { return std::abs(a - b) <= 0x1p-51 * size; };
    if (fit.degree != better.degree || fit.is_perfect != better.is_perfect ||
        !are_near(fit.error.high, better.error.high, better.error.high))
        return false;
    for (i32 k = 0; k <= better.degree; ++k)
        if (!are_near(powers[k], better_powers[k], std::abs(better_powers[k])) ||
            !are_near(terms[k].explained.high, better_terms[k].explained.high,
                      better_terms[k].explained.high))
            return false;
    return true;
}

// Expands a fit in double-double into powers and repeats it in more digits where it may have lost too
// many. What was right all the same is kept; false when memory ran out.
bool restore_lost_digits(const scaled_rows& rows, i32 most_degree, orthogonal_fit& fit,
                         orthogonal_term* terms) {
    if (!expand_into_powers(fit, terms, fit.powers, fit.amplification)) return false;
    if (!shows_loss(loss_of_digits(fit.degree, terms), fit.amplification, bits_of_pairs))
        return true;
    const work_array<orthogonal_term> better_terms(i64{most_degree} + 1);
    const work_array<f64> better_powers(i64{most_degree} + 1);
    fit_outcome better;
    if (!better_terms || !better_powers ||
        !fit_in_extended_reals(rows, most_degree, better, better_terms.data(),
                               better_powers.data()))
        return false;
    better_terms[0].coefficient = better_terms[0].coefficient + double_double{rows.y_origin};
    for (f64& power : better_powers) power = std::ldexp(power, fit.y_exponent);
    if (agrees(fit, terms, fit.powers, better, better_terms.data(), better_powers.data()))
        return true;
    static_cast<fit_outcome&>(fit) = better;
    std::copy_n(better_terms.data(), better.degree + 1, terms);
    std::copy_n(better_powers.data(), better.degree + 1, fit.powers);
    return true;
}

} // namespace

bool DR3ORP(const i32& NOBS, const column_read_as<f64>& X, const column_read_as<f64>& Y,
            const value_extent& y_extent, const i32& NDEG, precision wanted, orthogonal_fit& fit,
            orthogonal_term* TERMS) {
    const numeric_frame frame("DR3ORP ");
    if (fit.x_extent.is_constant()) {
        post(type_fatal, 7,
             "Each value of the independent variable is the same.  The independent variable, "
             "X(*,IND), cannot be constant.");
        return true;
    }
    fit.center = middle_of(fit.x_extent);
    fit.multiplier = multiplier_of(fit.x_extent);
    fit.y_exponent = exponent_of(y_extent);
    if (y_extent.is_constant()) {
        post_constant_ordinates(Y[0], fit, TERMS);
        return true;
    }
    const scaled_rows rows = scale_rows(X, Y, NOBS, y_extent, fit);
    const bool is_finite =
        fit.x_extent.is_finite() && y_extent.is_finite() && std::isfinite(fit.multiplier);
    const bool may_be_plain =
        wanted == precision::as_needed && NOBS > few_observations && is_finite;
    const bool is_plain = may_be_plain && fit_plainly(rows, NDEG, fit, TERMS);
    i32 most_degree = 0;
    if (!is_plain && !fit_refined(rows, NDEG, fit, TERMS, most_degree)) return false;
    TERMS[0].coefficient = TERMS[0].coefficient + double_double{rows.y_origin};
    if (!is_plain && is_finite && fit.powers != nullptr &&
        !restore_lost_digits(rows, most_degree, fit, TERMS))
        return false;
    post_degree_reached(fit, NDEG);
    return true;
}

bool DR4ORP(const i32& NOBS, const column_read_as<f64>& X, const column_read_as<f64>& Y,
            const i32& NDEG, precision wanted, orthogonal_fit& fit, orthogonal_term* TERMS) {
    const numeric_frame frame("DR4ORP ");
    const survey found = look_at(X, Y, NOBS);
    fit.missing = found.missing;
    fit.x_extent = found.x;
    fit.observations = NOBS - found.missing;
    if (fit.observations == 0) {
        post(type_fatal, 3,
             "Each row of X contains a missing value in either the IRSP, IFRQ, IND, or IWT "
             "column.");
        return true;
    }
    if (fit.missing == 0) return DR3ORP(NOBS, X, Y, found.y, NDEG, wanted, fit, TERMS);

    const work_array<f64> x(fit.observations);
    const work_array<f64> y(fit.observations);
    if (!x || !y) return false;
    for (i32 i = 0, kept = 0; i < NOBS; ++i) {
        if (std::isnan(X[i]) || std::isnan(Y[i])) continue;
        x[kept] = X[i];
        y[kept++] = Y[i];
    }
    return DR3ORP(fit.observations, x.data(), y.data(), found.y, NDEG, wanted, fit, TERMS);
}

bool DR2ORP(const i32& NOBS, const column_read_as<f64>& X, const column_read_as<f64>& Y,
            const i32& NDEG, precision wanted, orthogonal_fit& fit, orthogonal_term* TERMS) {
    const numeric_frame frame("DR2ORP ");
    if (NOBS <= 1) {
        E1STI(1, NOBS);
        post(type_terminal, 1,
             "NOBS = %(I1).  The number of observations, NOBS, must be greater than 1.");
        return true;
    }
    return DR4ORP(NOBS, X, Y, NDEG, wanted, fit, TERMS);
}

} // namespace qmx::numeric
