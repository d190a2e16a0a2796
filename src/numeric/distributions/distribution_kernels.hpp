// What the quantiles and the incomplete beta ratio share: gamma functions without their bulk,
// densities by their exponents, and the ratio of a tail to the density at its edge.
//
// A density far in its tail is exp of some -700, so an exponent good to half a unit of f64 alone would
// already spend 1e-13 of the result. Exponents are therefore formed in pairs of f64.
#pragma once

#include "base/elementary_functions.hpp"
#include "base/elementary_kernels.hpp"

#include <cmath>
#include <limits>

namespace qmx::numeric {

inline constexpr double_double half_log_2_pi{0x1.d67f1c864beb5p-1, -0x1.65b5a1b7ff5dfp-55};

// The part of ln Gamma(z) that Stirling's formula leaves over,
//   ln Gamma(z) - [(z - 1/2) ln z - z + ln(2 pi)/2],  z > 0,
// to 2e-17 absolute for z >= 1/2. Gamma ratios are formed from it, since differences of ln Gamma itself
// lose all digits at large z. Binet's function; asymptotic series, shifted by recurrence below 10.
f64 stirling_rest(f64 z);

// r - log(1 + r) for -0.3 < r < 0.3, to 2^-68 relative.
double_double logarithm_shortfall(double_double r);

// a [r - log(1 + r)] at r = d/a: the exponent by which a gamma or beta density of shape a falls off at
// distance d from its mode. log_ratio() gives log(1 + r), and is asked where r is not small. Loader
// (2000), "Fast and accurate computation of binomial probabilities".
template <class Logarithm> double_double deviance(f64 a, double_double d, Logarithm&& log_ratio) {
    constexpr f64 small = 0.3;
    const double_double r = d / double_double{a};
    if (r.high > -small && r.high < small) return double_double{a} * logarithm_shortfall(r);
    return d - double_double{a} * log_ratio();
}

// Tails over edge densities. Each gives K with  tail = (edge variable) * (density at it) * K.

// The gamma distribution of shape a > 0.
class gamma_kernel {
public:
    explicit gamma_kernel(f64 a);
    // log of u times the density at u.
    double_double log_density(f64 u) const;
    // K for the share below or above u > 0.
    f64 lower_factor(f64 u) const;
    f64 upper_factor(f64 u) const;

private:
    f64 a_;
    double_double log_front_; // log of the density's factor at its mode
};

// Beta of shapes a and b at x, y = 1 - x, lambda = a y - b x:
//   I_x(a, b) = x^a y^b / B(a, b) * K,  for x at or below the mean, about.
f64 beta_lower_factor(f64 a, f64 b, f64 x, f64 y, f64 lambda);

// An estimate of a root together with how far a cumulative probability there misses its aim.
struct log_residual {
    f64 excess; // ln(probability at the estimate / probability wanted)
    f64 growth; // d ln(variable) / d ln(probability), with its sign

    // From the log of (variable * density / probability wanted) and the factor K.
    static log_residual of(double_double log_ratio, f64 factor) {
        return {(log_ratio + log_of(factor)).high, factor};
    }
    log_residual falling() const { return {excess, -growth}; }
};

enum class search_outcome { converged, out_of_steps, left_the_range };

struct search_result {
    f64 root;
    search_outcome outcome;
};

// Newton's method in the logarithms of both variable and probability. The tails of the gamma and t
// distributions are concave there, so that it converges from any start; it ends when the step just
// taken leaves an error below rounding, or is itself no larger.
template <class Residual>
search_result logarithmic_newton(f64 start, f64 largest_step, Residual&& residual) {
    constexpr i32 most_steps = 100;
    constexpr f64 squares_to_rounding = 1e-8;
    constexpr f64 one_place = std::numeric_limits<f64>::epsilon();
    f64 estimate = start;
    for (i32 step = 0; step < most_steps; ++step) {
        const log_residual now = residual(estimate);
        const f64 change = -now.excess * now.growth;
        estimate *= exponential(std::fmin(std::fmax(change, -largest_step), largest_step));
        if (std::isnan(change) || estimate == 0.0 || !std::isfinite(estimate)) {
            return {estimate, search_outcome::left_the_range};
        }
        if (std::fabs(now.excess) < squares_to_rounding || std::fabs(change) < one_place) {
            return {estimate, search_outcome::converged};
        }
    }
    return {estimate, search_outcome::out_of_steps};
}

} // namespace qmx::numeric
