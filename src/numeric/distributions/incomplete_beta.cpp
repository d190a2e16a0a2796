#include "numeric/distributions/distribution_values.hpp"

namespace qmx::numeric {

namespace {

// x^a y^b / B(a, b) with x + y = 1 and lambda = a y - b x; after Loader (2000).
f64 beta_edge(f64 a, f64 b, double_double x, double_double y, double_double lambda) {
    constexpr f64 root_of_2_pi = 2.5066282746310002;
    const double_double n = exact_sum(a, b);
    const double_double log_n = log_of(n);
    const double_double exponent =
        deviance(a, -lambda, log_n + log_of(x)) + deviance(b, lambda, log_n + log_of(y));
    if (exponent.high > 1000.0) return 0.0;
    const f64 rest = stirling_rest(n.high) - stirling_rest(a) - stirling_rest(b);
    return std::sqrt(a) * std::sqrt(b / n.high) / root_of_2_pi * std::exp(-exponent.high) *
           std::exp(rest - exponent.low);
}

f64 lower_share(f64 a, f64 b, double_double x, double_double y, double_double lambda) {
    return beta_edge(a, b, x, y, lambda) * beta_lower_factor(a, b, x.high, y.high, lambda.high);
}

} // namespace

f64 incomplete_beta_ratio(f64 x, f64 a, f64 b) {
    constexpr f64 largest_shape = 1e300;
    if (x == 0.0 || x == 1.0) return x;
    a = std::fmin(a, largest_shape);
    b = std::fmin(b, largest_shape);
    const double_double of_x{x};
    const double_double of_y = exact_sum(1.0, -x);
    const double_double lambda = double_double{a} * of_y - exact_product(b, x);
    // Beyond the mean the fraction is slower than that of the complement, but a small shape makes
    // the ratio too small to come out of 1 - complement.
    const bool is_small = b < 0.5 && (of_y.high > 1e-8 || a * of_y.high > 1e-3);
    if (lambda.high >= 0.0 || is_small) return lower_share(a, b, of_x, of_y, lambda);
    return 1.0 - lower_share(b, a, of_y, of_x, -lambda);
}

} // namespace qmx::numeric
