#include "numeric/distributions/distribution_values.hpp"

namespace qmx::numeric {

namespace {

// x^a y^b / B(a, b) with x + y = 1 and lambda = a y - b x; after Loader (2000).
f64 beta_edge(f64 a, f64 b, double_double x, double_double y, double_double lambda) {
    constexpr f64 root_of_2_pi = 2.5066282746310002;
    const double_double n = exact_sum(a, b);
    const auto deviance_of = [&](f64 shape, double_double distance, double_double share) {
        return deviance(shape, distance,
                        [&] { return log_of(n / double_double{shape}) + log_of(share); });
    };
    const double_double exponent = deviance_of(a, -lambda, x) + deviance_of(b, lambda, y);
    if (exponent.high > 1000.0) return 0.0;
    const double_double rest = exact_sum(stirling_rest(n.high), -stirling_rest(a)) -
                               double_double{stirling_rest(b)} - exponent;
    return std::sqrt(a) * std::sqrt(b / n.high) / root_of_2_pi *
           rounded_f64(exponential_of<kernel_digits::usual>(rest));
}

f64 lower_share(f64 a, f64 b, double_double x, double_double y, double_double lambda) {
    return beta_edge(a, b, x, y, lambda) * beta_lower_factor(a, b, x.high, y.high, lambda.high);
}

// log of Gamma(a + b) / (Gamma(a) Gamma(1 + b)), nearly proportional to a small b.
double_double log_gamma_ratio(f64 a, f64 b) {
    const double_double sum = exact_sum(a, b), part{b};
    const double_double step = exact_sum(a, -0.5) * log_1p_of(part / double_double{a}) +
                               part * log_of(sum) - part +
                               exact_sum(stirling_rest(sum.high), -stirling_rest(a));
    const double_double other = exact_sum(b, 0.5) * log_1p_of(part) - exact_sum(1.0, b) +
                                half_log_2_pi + double_double{stirling_rest(1.0 + b)};
    return step - other;
}

// I_x(a, b) for b < 1/2, y = 1 - x no more than 1/2 and a y no more than 1: 1 - I_y(b, a), from
// its logarithm, since the ratio may be as small as b. The power series in y,
//   I_y(b, a) = y^b Gamma(a + b) / (Gamma(a) Gamma(1 + b)) *
//               [1 + b sum over n > 0 of (1 - a)(2 - a)...(n - a) / n! y^n / (b + n)],
// has falling terms then.
f64 share_of_a_small_shape(f64 a, f64 b, double_double y) {
    constexpr f64 negligible = 1e-22;
    constexpr i32 most_terms = 200; // each is less than half the one before
    double_double product{1.0}, sum{};
    for (i32 n = 1; n <= most_terms; ++n) { // GCOVR_EXCL_BR_LINE: the terms are negligible before
        product = product * exact_sum(n, -a) * y / double_double{static_cast<f64>(n)};
        sum = sum + product / exact_sum(b, n);
        if (std::fabs(product.high) < negligible) break;
    }
    const double_double part{b};
    return -exp_minus_1((part * log_of(y) + log_gamma_ratio(a, b) + log_1p_of(part * sum)).high);
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
    if (b < 0.5 && x >= 0.5 && a * of_y.high <= 1.0) return share_of_a_small_shape(a, b, of_y);
    // Beyond the mean the fraction of the complement is the quicker one.
    if (lambda.high >= 0.0) return lower_share(a, b, of_x, of_y, lambda);
    return 1.0 - lower_share(b, a, of_y, of_x, -lambda);
}

} // namespace qmx::numeric
