#include "numeric/distributions/distribution_values.hpp"

namespace qmx::numeric {

namespace {

constexpr f64 half_root_of_pi = 0.88622692545275801;

// One step of Halley's method for a function whose second derivative is -2y times the first, as
// that of erf and erfc is.
f64 halley_step(f64 y, f64 newton_step) {
    return y - newton_step / (1.0 + newton_step * y);
}

// y with erf(y) = t, |t| <= 0.5: series of the inverse, then Halley's method.
f64 inverse_erf_near_zero(f64 t) {
    const f64 q = half_root_of_pi * half_root_of_pi * t * t;
    f64 y = half_root_of_pi * t * (1.0 + q * (1.0 / 3 + q * (7.0 / 30 + q * (127.0 / 630))));
    for (i32 step = 0; step < 2; ++step) {
        y = halley_step(y, (error_function(y) - t) * half_root_of_pi * exponential(y * y));
    }
    return y;
}

// ln erfc(y) for y > 25, by the asymptotic series, to 1e-13 absolute.
f64 log_erfc_far(f64 y) {
    const f64 q = 0.5 / (y * y);
    const f64 series = q * (1.0 - 3.0 * q * (1.0 - 5.0 * q * (1.0 - 7.0 * q)));
    return log_1p(-series) - y * y - logarithm(2.0 * half_root_of_pi * y);
}

// y with erfc(y) = tail, 0 < tail < 0.5. Start: Hastings (1955), "Approximations for digital
// computers", good to 4.5e-4.
f64 inverse_erfc_tail(f64 tail) {
    constexpr f64 least_for_erfc = 1e-290; // below, erfc would soon lose digits to underflow
    constexpr f64 ln_2 = 0.69314718055994531;
    constexpr f64 root_of_half = 0.70710678118654752;
    const f64 log_tail = logarithm(tail);
    const f64 u = std::sqrt(-2.0 * (log_tail - ln_2));
    const f64 start = u - (2.515517 + u * (0.802853 + u * 0.010328)) /
                              (1.0 + u * (1.432788 + u * (0.189269 + u * 0.001308)));
    f64 y = start * root_of_half;
    if (tail < least_for_erfc) {
        for (i32 step = 0; step < 3; ++step) {
            y += (log_erfc_far(y) - log_tail) / (2.0 * y + 1.0 / y);
        }
        return y;
    }
    for (i32 step = 0; step < 2; ++step) {
        y = halley_step(y, (tail - complementary_error_function(y)) * half_root_of_pi *
                               exponential(y * y));
    }
    return y;
}

} // namespace

f64 inverse_erfc(f64 x) {
    // 1 - x and 2 - x are exact where they are formed.
    if (x >= 0.5 && x <= 1.5) return inverse_erf_near_zero(1.0 - x);
    return x < 1.0 ? inverse_erfc_tail(x) : -inverse_erfc_tail(2.0 - x);
}

} // namespace qmx::numeric
