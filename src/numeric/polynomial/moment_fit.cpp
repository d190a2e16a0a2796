#include "numeric/arithmetic/fixed_point.hpp"
#include "numeric/arithmetic/register_width.hpp"
#include "numeric/polynomial/orthogonal_terms.hpp"

#include <array>
#include <utility>

namespace qmx::numeric {

namespace {

// Norms come out of the moments by cancellation. They are trusted down to this share of the
// moments.
constexpr f64 least_share = 1.0 / 512;
constexpr f64 least_ratio = 1.0 / 64;

constexpr i32 most_degrees = highest_moment_degree + 1; // from 0
constexpr i32 most_moments = 2 * highest_moment_degree + 1;

// A little above a bound, as rounding may enlarge the terms.
fixed_point_scale scale_for(f64 bound) {
    return fixed_point_scale::for_terms_up_to(1.001 * bound);
}

double_double value_of(const wide_integer& sum, const fixed_point_scale& scale) {
    // The carry makes both parts exact in f64 and the result independent of the division into
    // blocks.
    const double_double units = exact_sum(static_cast<f64>(sum.high + (sum.low >> 32)) * 0x1p32,
                                          static_cast<f64>(sum.low & 0xffffffff));
    return {units.high * scale.unit(), units.low * scale.unit()};
}

// ---- Observations block by block ---------------------------------------------------------------

// Observations stored in f32 are widened block by block, within the first-level cache.
constexpr i64 row_block = 512;
static_assert(row_block <= fixed_point_block);

struct widened_block {
    f64 x[row_block];
    f64 y[row_block];
};

QMX_INLINED const f64* block_of(const column_read_as<f64>& column, i64 start, i64 length,
                                f64* wide) {
    if (column.wide() != nullptr) return column.wide() + start;
    const f32* narrow = column.narrow() + start;
    for (i64 i = 0; i < length; ++i) wide[i] = f64{narrow[i]};
    return wide;
}

// ---- First sweep: moments ----------------------------------------------------------------------
//
// Monic Chebyshev polynomials of [-2, 2]: C(0) = 1 (half of the usual), C(1) = t, C(2) = t^2 - 2,
// C(k+1) = t C(k) - C(k-1) from there; none exceeds 2.

struct moment_scales {
    fixed_point_scale abscissa, ordinate, square;

    explicit moment_scales(f64 reach)
        : abscissa(scale_for(2.0)), ordinate(scale_for(2.0 * reach)),
          square(scale_for(reach * reach)) {}
};

struct moment_sums {
    std::array<wide_integer, most_moments> abscissa; // of C(k)
    std::array<wide_integer, most_degrees> ordinate; // of C(k) y
    wide_integer square;                             // of y^2
};

template <i32 degree> struct moment_block {
    u64 abscissa[2 * degree + 1] = {};
    u64 ordinate[degree + 1] = {};
    u64 square = 0;
};

template <i32 degree, i32 k>
QMX_INLINED void add_moments(f64 t, f64 before, f64 now, f64 y, const moment_scales& scales,
                             moment_block<degree>& block) {
    if constexpr (k > 0) block.abscissa[k] += scales.abscissa.lifted_bits(now);
    if constexpr (k <= degree) block.ordinate[k] += scales.ordinate.lifted_bits(now * y);
    if constexpr (k < 2 * degree) {
        const f64 next = k == 0 ? t : t * now - (k == 1 ? 2.0 : before);
        add_moments<degree, k + 1>(t, now, next, y, scales, block);
    }
}

template <i32 degree>
QMX_INLINED void sum_moments(const scaled_rows& rows, const moment_scales& given,
                             moment_sums& sums) {
    const moment_scales scales = given;
    const f64 multiplier = rows.multiplier;
    const f64 center = rows.center;
    const f64 factor = rows.y_factor;
    const f64 origin = rows.y_origin;
    widened_block wide;
    for (i64 start = 0; start < rows.count; start += row_block) {
        const i64 length = std::min(row_block, rows.count - start);
        const f64* x = block_of(rows.x, start, length, wide.x);
        const f64* y = block_of(rows.y, start, length, wide.y);
        moment_block<degree> block;
        for (i64 i = 0; i < length; ++i) {
            const f64 t = multiplier * (x[i] - center);
            const f64 scaled_y = y[i] * factor - origin;
            add_moments<degree, 0>(t, 0.0, 1.0, scaled_y, scales, block);
            block.square += scales.square.lifted_bits(scaled_y * scaled_y);
        }
        for (std::size_t k = 1; k <= std::size_t{2} * degree; ++k)
            sums.abscissa[k].add(scales.abscissa.units_of(block.abscissa[k], length));
        for (std::size_t k = 0; k <= degree; ++k)
            sums.ordinate[k].add(scales.ordinate.units_of(block.ordinate[k], length));
        sums.square.add(scales.square.units_of(block.square, length));
    }
}

// ---- Second sweep: residuals -------------------------------------------------------------------

struct residual_scales {
    fixed_point_scale product, square, rest; // rest: the bits of a square below its unit

    explicit residual_scales(f64 bound)
        : product(scale_for(2.0 * bound)), square(scale_for(bound * bound)),
          rest(square.exponent - 51) {}
};

struct residual_sums {
    std::array<wide_integer, most_degrees> product; // of C(k) r
    wide_integer square, rest;                      // of r^2
};

// The fitted polynomial by its coefficients of C(k).
using chebyshev_sum = std::array<f64, most_degrees>;

template <i32 degree, i32 k>
QMX_INLINED void evaluate(const chebyshev_sum& fitted, f64 t, f64 (&value)[degree + 1],
                          f64& residual) {
    residual -= fitted[k] * value[k];
    if constexpr (k < degree) {
        if constexpr (k == 0)
            value[1] = t;
        else
            value[k + 1] = t * value[k] - (k == 1 ? 2.0 : value[k - 1]);
        evaluate<degree, k + 1>(fitted, t, value, residual);
    }
}

template <i32 degree, i32 k>
QMX_INLINED void add_residuals(const f64 (&value)[degree + 1], f64 residual,
                               const fixed_point_scale& scale, u64 (&sum)[degree + 1]) {
    sum[k] += scale.lifted_bits(value[k] * residual);
    if constexpr (k < degree) add_residuals<degree, k + 1>(value, residual, scale, sum);
}

template <i32 degree>
QMX_INLINED void sum_residuals(const scaled_rows& rows, const chebyshev_sum& given_fit,
                               const residual_scales& given_scales, residual_sums& sums) {
    const chebyshev_sum fitted = given_fit;
    const residual_scales scales = given_scales;
    const f64 multiplier = rows.multiplier;
    const f64 center = rows.center;
    const f64 factor = rows.y_factor;
    const f64 origin = rows.y_origin;
    widened_block wide;
    for (i64 start = 0; start < rows.count; start += row_block) {
        const i64 length = std::min(row_block, rows.count - start);
        const f64* x = block_of(rows.x, start, length, wide.x);
        const f64* y = block_of(rows.y, start, length, wide.y);
        u64 product[degree + 1] = {};
        u64 square = 0;
        u64 rest = 0;
        for (i64 i = 0; i < length; ++i) {
            const f64 t = multiplier * (x[i] - center);
            f64 value[degree + 1];
            value[0] = 1.0;
            f64 residual = y[i] * factor - origin;
            evaluate<degree, 0>(fitted, t, value, residual);
            add_residuals<degree, 0>(value, residual, scales.product, product);
            const f64 squared = residual * residual;
            const f64 lifted = squared + scales.square.anchor;
            square += std::bit_cast<u64>(lifted);
            rest += scales.rest.lifted_bits(squared - (lifted - scales.square.anchor));
        }
        for (std::size_t k = 0; k <= degree; ++k)
            sums.product[k].add(scales.product.units_of(product[k], length));
        sums.square.add(scales.square.units_of(square, length));
        sums.rest.add(scales.rest.units_of(rest, length));
    }
}

// ---- The sweeps for each degree -----------------------------------------------------------------

struct moment_sweep {
    template <i32 degree = highest_moment_degree>
    QMX_INLINED static void run(i32 wanted, const scaled_rows& rows, const moment_scales& scales,
                                moment_sums& sums) {
        if (wanted == degree)
            sum_moments<degree>(rows, scales, sums);
        else if constexpr (degree > 0)
            run<degree - 1>(wanted, rows, scales, sums);
    }
};

struct residual_sweep {
    template <i32 degree = highest_moment_degree>
    QMX_INLINED static void run(i32 wanted, const scaled_rows& rows, const chebyshev_sum& fitted,
                                const residual_scales& scales, residual_sums& sums) {
        if (wanted == degree)
            sum_residuals<degree>(rows, fitted, scales, sums);
        else if constexpr (degree > 0)
            run<degree - 1>(wanted, rows, fitted, scales, sums);
    }
};

// ---- From sums to terms ------------------------------------------------------------------------

using pair_row = std::array<double_double, most_moments + 1>;

// Of C(k-1) in t C(k).
double_double chebyshev_ratio(i32 k) {
    return {k == 0 ? 0.0 : k == 1 ? 2.0 : 1.0};
}

std::size_t at(i32 index) {
    return static_cast<std::size_t>(index);
}

// Norms and recurrence from the moments. Row k holds the sums of p(k) C(l), l from k to 2 degree -
// k. False where a norm loses too many digits by cancellation.
bool find_recurrence(i32 degree, const pair_row& moments, orthogonal_term* terms) {
    pair_row now = moments;
    pair_row before{};
    double_double step; // quotient of sums k + 1 and k of a row
    for (i32 k = 0; k <= degree; ++k) {
        orthogonal_term& term = terms[k];
        term.norm = now[at(k)];
        // C(k)^2 = C(2k) + 2
        const f64 whole = k == 0 ? moments[0].high : moments[at(2 * k)].high + 2 * moments[0].high;
        if (!(term.norm.high >= least_share * whole)) return false;
        term.ratio = k > 0 ? term.norm / terms[k - 1].norm : double_double{};
        if (k > 0 && !(term.ratio.high >= least_ratio)) return false;
        if (k == degree) break;
        const double_double next_step = now[at(k + 1)] / term.norm;
        term.shift = next_step - step;
        step = next_step;
        pair_row next{};
        for (i32 l = k + 1; l < 2 * degree - k; ++l)
            next[at(l)] = now[at(l + 1)] - term.shift * now[at(l)] - term.ratio * before[at(l)] +
                          chebyshev_ratio(l) * now[at(l - 1)];
        before = std::exchange(now, next);
    }
    return true;
}

// Coefficients of p(k) in C(l), l = 0 to k; monic.
using expansions = std::array<std::array<double_double, most_degrees>, most_degrees>;

expansions expand_polynomials(i32 degree, const orthogonal_term* terms) {
    expansions p{};
    p[0][0] = {1.0};
    for (i32 k = 0; k < degree; ++k)
        for (i32 l = 0; l <= k + 1; ++l) {
            double_double& next = p[at(k + 1)][at(l)];
            if (l > 0) next = p[at(k)][at(l - 1)];
            next = next - terms[k].shift * p[at(k)][at(l)];
            if (l < k) next = next + chebyshev_ratio(l + 1) * p[at(k)][at(l + 1)];
            if (k > 0) next = next - terms[k].ratio * p[at(k - 1)][at(l)];
        }
    return p;
}

// From sums of products with C(l) to the projection on each p(k).
void project(i32 degree, const expansions& p, const orthogonal_term* terms, const pair_row& with,
             pair_row& share) {
    for (i32 k = 0; k <= degree; ++k) {
        double_double sum;
        for (i32 l = 0; l <= k; ++l) sum = sum + p[at(k)][at(l)] * with[at(l)];
        share[at(k)] = sum / terms[k].norm;
    }
}

// Expands shares of p(k) into rounded coefficients of C(l), and sets the shares to those of the
// rounded expansion.
chebyshev_sum rounded_sum(i32 degree, const expansions& p, pair_row& share) {
    chebyshev_sum fitted{};
    for (i32 l = degree; l >= 0; --l) {
        double_double above; // in C(l), from the polynomials above
        for (i32 k = l + 1; k <= degree; ++k) above = above + share[at(k)] * p[at(k)][at(l)];
        fitted[at(l)] = (share[at(l)] + above).high;
        share[at(l)] = double_double{fitted[at(l)]} - above;
    }
    return fitted;
}

// Bound of the residuals: by their magnitude, or by the sum of their squares after the first sweep.
f64 bound_of_residuals(i32 degree, const scaled_rows& rows, f64 square, const pair_row& share,
                       const chebyshev_sum& fitted, const orthogonal_term* terms) {
    f64 magnitude = rows.y_reach;
    f64 left = square;
    for (i32 k = 0; k <= degree; ++k) {
        magnitude += 2.0 * std::abs(fitted[at(k)]);
        left -= share[at(k)].high * share[at(k)].high * terms[k].norm.high;
    }
    const f64 doubt = 1e-10 * rows.count * rows.y_reach * rows.y_reach;
    return std::min(magnitude, std::sqrt(std::max(left, 0.0) + doubt));
}

} // namespace

bool fit_by_moments(const scaled_rows& rows, i32 degree, fit_outcome& outcome,
                    orthogonal_term* terms) {
    const moment_scales scales(rows.y_reach);
    moment_sums sums;
    run_loop<moment_sweep>(degree, rows, scales, sums);
    pair_row moments{};
    pair_row with_ordinates{};
    moments[0] = {static_cast<f64>(rows.count)};
    for (i32 k = 1; k <= 2 * degree; ++k)
        moments[at(k)] = value_of(sums.abscissa[at(k)], scales.abscissa);
    for (i32 k = 0; k <= degree; ++k)
        with_ordinates[at(k)] = value_of(sums.ordinate[at(k)], scales.ordinate);
    if (!find_recurrence(degree, moments, terms)) return false;

    const expansions p = expand_polynomials(degree, terms);
    pair_row share{};
    project(degree, p, terms, with_ordinates, share);
    const chebyshev_sum fitted = rounded_sum(degree, p, share);
    const f64 square = value_of(sums.square, scales.square).high;
    const residual_scales fine(bound_of_residuals(degree, rows, square, share, fitted, terms));
    residual_sums left;
    run_loop<residual_sweep>(degree, rows, fitted, fine, left);
    pair_row with_residuals{};
    for (i32 k = 0; k <= degree; ++k)
        with_residuals[at(k)] = value_of(left.product[at(k)], fine.product);
    pair_row change{};
    project(degree, p, terms, with_residuals, change);

    outcome.error = value_of(left.square, fine.square) + value_of(left.rest, fine.rest);
    for (i32 k = 0; k <= degree; ++k) {
        orthogonal_term& term = terms[k];
        term.coefficient = share[at(k)] + change[at(k)];
        term.explained = term.coefficient * term.coefficient * term.norm;
        outcome.error = outcome.error - change[at(k)] * change[at(k)] * term.norm;
    }
    outcome.total = outcome.error;
    for (i32 k = degree; k > 0; --k) outcome.total = outcome.total + terms[k].explained;
    double_double explained;
    outcome.degree = 0;
    outcome.is_perfect = false;
    while (outcome.degree < degree && !outcome.is_perfect) {
        explained = explained + terms[++outcome.degree].explained;
        outcome.is_perfect = is_perfect_fit(outcome.total, explained);
    }
    if (outcome.is_perfect) outcome.error = {};
    return true;
}

} // namespace qmx::numeric
