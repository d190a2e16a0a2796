#include "toolkit/reliability.hpp"

#include "base/elementary_functions.hpp"
#include "base/work_array.hpp"
#include "events/event.hpp"
#include "numeric/bounded/bounded_fit.hpp"
#include "numeric/distributions/distributions.hpp"
#include "toolkit/outcome.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace qmx {
namespace {

constexpr i32 parameter_count = 3;
using curve_parameters = std::array<f64, parameter_count>; // a, b, c

// The data of the last fit: the solver passes only the parameters to its routines.
array_view<const f64> maturity, property;

// At maturity 0 the power is infinite and the curve 0.
struct curve_point {
    f64 ratio, power, decay; // b / x, (b / x)^c, exp(-power)
    curve_point(f64 b, f64 c, f64 x)
        : ratio(b / x), power(qmx::power(ratio, c)), decay(exponential(-power)) {}
    // power * decay * more; 0 where decay has underflowed, even if power is infinite.
    f64 damped(f64 more) const { return decay > 0.0 ? power * decay * more : 0.0; }
};

bool is_usable(f64 x, f64 y) {
    return std::isfinite(x) && std::isfinite(y) && x >= 0.0;
}

struct data_bounds {
    f64 least_maturity = std::numeric_limits<f64>::infinity(), largest_maturity = 0.0;
    f64 largest_property = 0.0;
    f64 mean_property = 0.0; // at maturities above 0
};

f64 sum_of_squares(const curve_parameters& p, const work_array<f64>& residuals) {
    camfunc(static_cast<i32>(residuals.size()), parameter_count, p.data(), residuals.data());
    f64 sum = 0.0;
    for (const f64 each : residuals) sum += each * each;
    return sum;
}

// b and c from the regression line of ln(-ln(y / a)) over ln x; false unless it falls.
bool fit_line(f64 a, f64& b, f64& c) {
    f64 count = 0.0, mean_x = 0.0, mean_y = 0.0, squares = 0.0, products = 0.0;
    for (i64 i = 1; i <= maturity.extent; ++i) {
        if (!(maturity(i) > 0.0 && property(i) > 0.0 && property(i) < a)) continue;
        const f64 x = logarithm(maturity(i)), y = logarithm(-logarithm(property(i) / a));
        count += 1.0;
        const f64 before = x - mean_x;
        mean_x += before / count;
        mean_y += (y - mean_y) / count;
        squares += before * (x - mean_x);
        products += before * (y - mean_y);
    }
    if (!(products < 0.0 && squares > 0.0)) return false;
    c = -products / squares;
    b = exponential(mean_x + mean_y / c);
    return true;
}

// The start that misses the data by the least sum of squares: curves through the line for several a,
// and the flat curve of a hardened material, which has no such line.
curve_parameters find_start(const curve_parameters& lower, const curve_parameters& upper,
                            const data_bounds& data, const work_array<f64>& residuals) {
    f64 least = std::numeric_limits<f64>::infinity();
    curve_parameters start{};
    const auto propose = [&](curve_parameters p) {
        for (std::size_t j = 0; j < p.size(); ++j) p[j] = std::clamp(p[j], lower[j], upper[j]);
        const f64 sum = sum_of_squares(p, residuals);
        if (!(sum < least)) return;
        least = sum;
        start = p;
    };
    for (const f64 factor : {1.01, 1.1, 1.25, 1.5, 2.0, 3.0, 5.0, 10.0}) {
        curve_parameters p = {factor * data.largest_property, 0.0, 0.0};
        if (fit_line(p[0], p[1], p[2])) propose(p);
    }
    propose({data.mean_property, lower[1], 1.0});
    return start;
}

// Least squares within the bounds, with more steps than by default: where the curve is almost flat a
// good fit may take hundreds.
void fit_curve(const curve_parameters& lower, const curve_parameters& upper,
               const curve_parameters& start, i32 count, curve_parameters& solution) {
    const numeric::bounded_problem<f64> problem = {
        camfunc, camjacob, count,        parameter_count, 0,           nullptr, 1, nullptr,
        nullptr, nullptr,  lower.data(), upper.data(),    start.data()};
    const f64 difference = std::sqrt(std::numeric_limits<f64>::epsilon()),
              tolerance = std::min(difference, 1e-5);
    i32 integers[] = {1, 2000, 0, 5, 0, 0};
    f64 reals[] = {tolerance, tolerance, tolerance, 1e-5, 1e-5, difference, 30.0};
    f64 norm = 0.0;
    i32 stop = 0;
    numeric::bcnls(problem, integers, reals, solution.data(), norm, stop);
}

// Returns false unless three pairs determine the three parameters.
bool find_bounds(data_bounds& bounds) {
    std::array<f64, parameter_count> distinct{};
    std::size_t found = 0;
    f64 count = 0.0;
    for (i64 i = 1; i <= maturity.extent; ++i) {
        const f64 x = maturity(i), y = property(i);
        if (!is_usable(x, y)) return false;
        bounds.largest_property = std::max(bounds.largest_property, y);
        if (!(x > 0.0)) continue;
        count += 1.0;
        bounds.mean_property += (y - bounds.mean_property) / count;
        bounds.least_maturity = std::min(bounds.least_maturity, x);
        bounds.largest_maturity = std::max(bounds.largest_maturity, x);
        const bool is_new = std::find(distinct.begin(), distinct.end(), x) == distinct.end();
        if (y > 0.0 && is_new && found < distinct.size()) distinct[found++] = x;
    }
    return found == distinct.size();
}

} // namespace

i32 relia_adj(const f64& reliability, const f64& m1, const f64& m2, const f64& c1, const f64& c2,
              f64& out1, f64& out2) {
    static constexpr routine_text self("relia_adj");
    const f64 s1 = c1 * m1, s2 = c2 * m2;
    numeric::ERSET(0, 0, 0);
    const f64 z = numeric::DNORIN(reliability / 100.0);
    if (outcome_of(self, "error calling imsl ANORIN - check in file 0relia_adj.txt") !=
        status_success)
        return status_failure; // GCOVR_EXCL_LINE: DNORIN posts terminal errors, which IERCD keeps back
    const f64 A = s1 * s1 + 1.0;
    const f64 w = z * std::sqrt(s2 * s2 + A) / (std::sqrt(A) + std::sqrt(s2 * s2 + 1.0));
    const auto at_least_0 = [](f64 value) { return value < 0.0 ? 0.0 : value; }; // NaN stays
    out1 = at_least_0(m1 + std::abs(s1) * w);
    out2 = at_least_0(m2 - std::abs(s2) * w);
    return status_success;
}

void camfunc(const i32& M, const i32&, const f64* X, f64* F) {
    for (i64 i = 1; i <= M; ++i)
        F[i - 1] = X[0] * curve_point(X[1], X[2], maturity(i)).decay - property(i);
}

void camjacob(const i32& M, const i32&, const f64* X, f64* FJAC, const i32& LDFJAC) {
    const f64 a = X[0], b = X[1], c = X[2];
    f64 *by_a = FJAC, *by_b = by_a + LDFJAC, *by_c = by_b + LDFJAC;
    for (i64 i = 0; i < M; ++i) {
        const curve_point at(b, c, maturity(i + 1));
        by_a[i] = at.decay;
        by_b[i] = -(c / b) * at.damped(a);
        by_c[i] = -at.damped(a) * (at.ratio > 0.0 && at.decay > 0.0 ? logarithm(at.ratio) : 0.0);
    }
}

i32 maturfit(const array_view<const f64>& d_x, const array_view<const f64>& d_y, f64& a, f64& b,
             f64& c) {
    static constexpr routine_text self("maturfit");
    static constexpr std::string_view no_fit =
        "error in fitting maturity data - check and throw out outliers";
    maturity = d_x;
    property = d_y;
    numeric::ERSET(0, 0, 0);
    data_bounds data;
    if (d_x.extent != d_y.extent || !find_bounds(data)) return fail_in_call(self, no_fit);
    const work_array<f64> residuals(d_x.extent);
    if (!residuals) return fail_out_of_memory(self);

    constexpr f64 far = 1000.0;
    const curve_parameters lower = {data.largest_property / far, data.least_maturity / far, 0.01};
    const curve_parameters upper = {data.largest_property * far, data.largest_maturity * far, 20.0};
    const curve_parameters start = find_start(lower, upper, data, residuals);
    const i32 count = static_cast<i32>(d_x.extent);
    curve_parameters solution = start;
    fit_curve(lower, upper, start, count, solution);
    if (ran_out_of_memory(numeric::bounded_fit_storage_code)) return fail_out_of_memory(self);
    // Where nothing but rounding is left, a warning that no step gains is no failure.
    constexpr f64 rounding = 1e-12;
    const f64 left = sum_of_squares(solution, residuals) / static_cast<f64>(count);
    const bool is_exact = std::sqrt(left) <= rounding * data.largest_property;
    if (!is_exact && outcome_of(self, no_fit) != status_success) return status_failure;
    a = solution[0];
    b = solution[1];
    c = solution[2];
    return status_success;
}

} // namespace qmx
