#include "numeric/distributions/distribution_values.hpp"

#include <limits>

namespace qmx::numeric {

namespace {

constexpr f64 epsilon = std::numeric_limits<f64>::epsilon();

// With more degrees of freedom, t is normal to the last place wherever its tail is above 0.
constexpr f64 normal_from = 1e25;

// Beyond, t^2 leaves nothing of the degrees of freedom, and might soon overflow.
constexpr f64 far_out = 1e100;

struct student {
    f64 df;
    double_double log_mode; // log of the density at 0

    explicit student(f64 degrees_of_freedom) : df(std::fmin(degrees_of_freedom, normal_from)) {
        const f64 a = 0.5 * df;
        log_mode = double_double{a} * log_1p_of(double_double{0.5} / double_double{a}) -
                   double_double{0.5} - half_log_2_pi +
                   exact_sum(stirling_rest(a + 0.5), -stirling_rest(a));
    }

    // log of t times the density at t.
    double_double log_density(f64 t) const {
        const double_double log_t = log_of(t);
        double_double decline;
        if (t > far_out) {
            decline = double_double{2.0} * log_t - log_of(df);
        } else {
            const double_double square = exact_product(t, t);
            const double_double ratio = square / double_double{df};
            decline = log_1p_of(ratio);
        }
        return log_t + log_mode - exact_sum(0.5 * df, 0.5) * decline;
    }

    // P(T > t) = t * density * this: half an incomplete beta ratio at x = df/(df + t^2).
    f64 tail_factor(f64 t) const {
        const f64 x = t > far_out ? 0.0 : df / (df + t * t);
        const f64 y = t > far_out ? 1.0 : t * t / (df + t * t);
        return 0.5 * beta_lower_factor(0.5 * df, 0.5, x, y, 0.5 * (df * y - x));
    }

    // P(0 < T < t) = t * density * this, a series of positive terms.
    f64 centre_factor(f64 t) const {
        const f64 y = t * t / (df + t * t);
        const f64 first = 0.5 * df + 0.5;
        f64 term = 1.0;
        f64 sum = 1.0;
        for (f64 k = 0.0; term > 0.1 * epsilon * sum; k += 1.0) {
            term *= (first + k) / (1.5 + k) * y;
            sum += term;
        }
        return sum;
    }
};

} // namespace

f64 student_quantile(f64 p, f64 df) {
    constexpr f64 root_of_2 = 1.4142135623730951;
    if (p == 0.5) return 0.0;
    const student t_of(df);
    const f64 tail = p < 0.5 ? p : 1.0 - p;
    f64 t = 0.0;
    if (tail >= 0.16 + 0.09 / t_of.df) { // for t below 1, about
        const f64 share = 0.5 - tail;
        const double_double log_share = log_of(share);
        t = logarithmic_newton(share * exponential(-t_of.log_mode.high), 700.0, [&](f64 estimate) {
                return log_residual::of(t_of.log_density(estimate) - log_share,
                                        t_of.centre_factor(estimate));
            }).root;
    } else {
        const double_double log_tail = log_of(tail);
        const f64 z = root_of_2 * (tail < 0.5 * std::numeric_limits<f64>::min()
                                       ? inverse_erfc(std::numeric_limits<f64>::min())
                                       : inverse_erfc(2.0 * tail));
        const f64 start = z + z * (z * z + 1.0) / (4.0 * t_of.df);
        t = logarithmic_newton(start, 700.0, [&](f64 estimate) {
                return log_residual::of(t_of.log_density(estimate) - log_tail,
                                        t_of.tail_factor(estimate))
                    .falling();
            }).root;
    }
    return p < 0.5 ? -t : t;
}

} // namespace qmx::numeric
