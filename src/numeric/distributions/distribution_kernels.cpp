#include "numeric/distributions/distribution_kernels.hpp"

#include <limits>

namespace qmx::numeric {

namespace {

constexpr f64 epsilon = std::numeric_limits<f64>::epsilon();

// From here on a tail is integrated: continued fractions and series would take more terms than
// the integral takes nodes.
constexpr f64 large_shape = 200.0;

// A continued fraction 1/(b1 + a2/(b2 + a3/(b3 + ...))) as the sum of the differences of its
// convergents (Steed; Barnett, Feng, Steed and Goldfarb 1974). The differences themselves tell
// when it has settled, however slowly they fall.
class continued_fraction {
public:
    explicit continued_fraction(f64 first_denominator)
        : reciprocal_(1.0 / first_denominator), difference_(reciprocal_), value_(reciprocal_) {}

    // Takes the next numerator and denominator; says whether more would change nothing.
    bool is_settled_after(f64 numerator, f64 denominator) {
        const f64 previous = reciprocal_;
        reciprocal_ = 1.0 / (denominator + numerator * previous);
        difference_ *= -numerator * previous * reciprocal_;
        value_ += difference_;
        return std::fabs(difference_) <= 0.02 * epsilon * std::fabs(value_);
    }

    f64 value() const { return value_; }

private:
    f64 reciprocal_;
    f64 difference_;
    f64 value_;
};

// More than any argument of the routines needs; a search that is thrown far off must still end.
constexpr f64 most_terms = 1e5;

// 1/3 + q/5 + q^2/7 + ..., for 0 <= q <= 1/9: what the inverse hyperbolic tangent of s has behind
// s, divided by s^3, at q = s^2.
f64 inverse_tangent_rest(f64 q) {
    const i32 last = q < 0.003 ? 6 : 17;
    f64 sum = 0.0;
    for (i32 k = last; k >= 0; --k) sum = sum * q + 1.0 / (2 * k + 3);
    return sum;
}

// e^t - 1 - t.
f64 exponential_rest(f64 t) {
    if (std::fabs(t) > 0.1) return exp_minus_1(t) - t;
    f64 sum = 0.0;
    for (i32 k = 10; k >= 1; --k) sum = (sum + 1.0) * t / (k + 2);
    return 0.5 * t * t * (1.0 + sum);
}

// log(1 + z) - z.
f64 logarithm_rest(f64 z) {
    if (std::fabs(z) > 0.3) return log_1p(z) - z;
    const f64 s = z / (2.0 + z);
    return 2.0 * s * s * s * inverse_tangent_rest(s * s) - z * s;
}

// Integral over t > 0 of exp(-exponent(t)), for an exponent of about slope t + curvature t^2/2.
// Gauss-Legendre, 24 nodes, up to where the integrand is 1e-21: good to a unit in the last place
// for anything between a pure exponential and a pure normal decline.
template <class Exponent> f64 decline_integral(f64 slope, f64 curvature, Exponent&& exponent) {
    static constexpr f64 node[] = {0.9951872199970213, 0.9747285559713095, 0.9382745520027328,
                                   0.8864155270044011, 0.820001985973903,  0.7401241915785544,
                                   0.6480936519369755, 0.5454214713888396, 0.4337935076260451,
                                   0.3150426796961634, 0.1911188674736163, 0.06405689286260563};
    static constexpr f64 weight[] = {
        0.0123412297999872, 0.028531388628933663, 0.04427743881741981, 0.05929858491543678,
        0.0733464814110803, 0.08619016153195327,  0.09761865210411388, 0.10744427011596563,
        0.1155056680537256, 0.12167047292780339,  0.1258374563468283,  0.12793819534675216};
    constexpr f64 farthest = 48.0;
    f64 end = 2.0 * farthest / (slope + std::sqrt(slope * slope + 2.0 * curvature * farthest));
    for (i32 step = 0; step < 2; ++step) end *= std::sqrt(farthest / exponent(end));
    const f64 half = 0.5 * end;
    f64 sum = 0.0;
    for (i32 k = 0; k < 12; ++k) {
        const f64 near_end = exponential(-exponent(half * (1.0 - node[k])));
        const f64 far_end = exponential(-exponent(half * (1.0 + node[k])));
        sum += weight[k] * (near_end + far_end);
    }
    return half * sum;
}

} // namespace

f64 stirling_rest(f64 z) {
    double_double shifted;
    while (z < 10.0) {
        // rest(z) - rest(z + 1) = (z + 1/2) log(1 + 1/z) - 1, by the inverse tangent series
        if (z >= 1.0) {
            const f64 q = 1.0 / ((2.0 * z + 1.0) * (2.0 * z + 1.0));
            shifted = shifted + double_double{q * inverse_tangent_rest(q)};
        } else {
            const double_double log_step = log_of(exact_sum(1.0, z)) - log_of(z);
            shifted = shifted + exact_sum(z, 0.5) * log_step - double_double{1.0};
        }
        z += 1.0;
    }
    const f64 q = 1.0 / z / z;
    const f64 series =
        1.0 / 12 -
        q * (1.0 / 360 -
             q * (1.0 / 1260 -
                  q * (1.0 / 1680 - q * (1.0 / 1188 - q * (691.0 / 360360 - q * (1.0 / 156))))));
    return (shifted + double_double{series / z}).high;
}

double_double logarithm_shortfall(double_double r) {
    // r s - 2 s^3 (1/3 + q/5 + q^2/7 + ...), s = r/(2 + r), q = s^2
    static constexpr auto leading = [] {
        std::array<double_double, 4> terms{};
        for (std::size_t k = 0; k < terms.size(); ++k)
            terms[k] = double_double{1.0} / double_double{2.0 * static_cast<f64>(k) + 3.0};
        return terms;
    }();
    const double_double s = r / (double_double{2.0} + r);
    const double_double square = s * s;
    const f64 q = square.high;
    f64 sum = 0.0;
    for (i32 k = 14; k >= 4; --k) sum = sum * q + 1.0 / (2 * k + 3);
    const double_double rest =
        polynomial_at(square, leading) + double_double{sum * (q * q) * (q * q)};
    return r * s - double_double{2.0} * (s * square) * rest;
}

gamma_kernel::gamma_kernel(f64 a)
    : a_(a),
      log_front_(double_double{0.5} * log_of(a) - half_log_2_pi - double_double{stirling_rest(a)}) {
}

double_double gamma_kernel::log_density(f64 u) const {
    return log_front_ - deviance(a_, exact_sum(u, -a_),
                                 [&] { return log_of(double_double{u} / double_double{a_}); });
}

f64 gamma_kernel::lower_factor(f64 u) const {
    if (a_ > large_shape) {
        // In t = log(u/v), v running from u down to 0.
        const f64 slope = a_ - u;
        return decline_integral(slope, u,
                                [=](f64 t) { return slope * t + u * exponential_rest(-t); });
    }
    f64 term = 1.0 / a_;
    f64 sum = term;
    for (f64 k = 1.0; term > 0.1 * epsilon * sum; k += 1.0) {
        term *= u / (a_ + k);
        sum += term;
    }
    return sum;
}

f64 gamma_kernel::upper_factor(f64 u) const {
    if (a_ > large_shape) {
        const f64 slope = u - a_;
        return decline_integral(slope, u,
                                [=](f64 t) { return slope * t + u * exponential_rest(t); });
    }
    if (u < std::fmax(a_, 1.0)) {
        // All of it less the lower share, in pairs: the upper share may be a small part.
        const scaled_pair whole = exponential_of<kernel_digits::usual>(-log_density(u));
        double_double term = double_double{1.0} / double_double{a_};
        double_double sum = term;
        for (f64 k = 1.0; term.high > 1e-3 * epsilon * sum.high; k += 1.0) {
            term = term * (double_double{u} / exact_sum(a_, k));
            sum = sum + term;
        }
        return (double_double{std::ldexp(whole.value.high, whole.exponent),
                              std::ldexp(whole.value.low, whole.exponent)} -
                sum)
            .high;
    }
    // Legendre's continued fraction, 1/(u + 1 - a - 1 (1 - a)/(u + 3 - a - 2 (2 - a)/...)).
    f64 denominator = u - a_ + 1.0;
    continued_fraction sum(denominator);
    for (f64 n = 1.0; n < most_terms; n += 1.0) { // GCOVR_EXCL_BR_LINE: settles long before
        denominator += 2.0;
        if (sum.is_settled_after(n * (a_ - n), denominator)) break;
    }
    return sum.value();
}

f64 beta_lower_factor(f64 a, f64 b, f64 x, f64 y, f64 lambda) {
    if (a > large_shape && b > large_shape) {
        // In t, the fall of the logit of x. Of two equal exponents the one that is led by the
        // smaller of x and y does not cancel.
        const f64 n = a + b;
        return decline_integral(lambda, n * x * y, [=](f64 t) {
            const f64 share = x < y ? x : y;
            const f64 signed_t = x < y ? -t : t;
            return lambda * t + n * (logarithm_rest(share * exp_minus_1(signed_t)) +
                                     share * exponential_rest(signed_t));
        });
    }
    // DiDonato and Morris (1992), "Significant digit computation of the incomplete beta function
    // ratios": their continued fraction for x below the mean.
    continued_fraction sum(a / (a + 1.0) * (lambda + 1.0));
    for (f64 n = 1.0; n < most_terms; n += 1.0) { // GCOVR_EXCL_BR_LINE: settles long before
        const f64 middle = a + 2.0 * n - 1.0;
        const f64 bend = n * (b - n) / middle * x;
        const f64 numerator = (a + n - 1.0) / middle * (a + b + n - 1.0) * x * bend;
        const f64 denominator =
            n + bend + (a + n) / (middle + 2.0) * (lambda + 1.0 + n * (1.0 + y));
        if (sum.is_settled_after(numerator, denominator)) break;
    }
    return sum.value();
}

} // namespace qmx::numeric
