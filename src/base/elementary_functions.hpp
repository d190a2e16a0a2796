// The elementary functions in fixed arithmetic: additions, multiplications, divisions, square roots and
// bit patterns in a stated order, so that a result has the same bits on every processor and with every
// C library. The functions of <cmath> promise no bits: their results differ between processors with and
// without a fused multiply-add, and between libraries.
//
// All callers of exp, log, pow and the like use these instead.
//
// Special values are those of C99, Annex F. Accuracy, in units in the last place of the result:
//   f32 exponential, sine, cosine   0.5: rounded correctly, of exponential on every argument (every_f32)
//   f32 power                       0.5: evaluated to 2^-90 where needed
//   f64, all of them                0.52 for normal results, 1 for subnormal ones
//   whole_power, whole_powers       0.5 + 2^-40 for normal results
#pragma once

#include "base/double_double.hpp"

namespace qmx {

f64 exponential(f64 x);
f64 exp_minus_1(f64 x);  // e^x - 1, accurate relative to a small x
f64 logarithm(f64 x);    // natural
f64 log_1p(f64 x);       // ln(1 + x), accurate relative to a small x
f64 logarithm_10(f64 x); // to base 10; exact for powers of ten
f64 error_function(f64 x);
f64 complementary_error_function(f64 x);
f64 hypotenuse(f64 x, f64 y); // sqrt(x^2 + y^2) without overflow on the way
f64 power(f64 x, f64 y);
f64 whole_power(f64 x, i32 k); // x^k, the exact power rounded once

f32 exponential(f32 x);
f32 sine(f32 x);
f32 cosine(f32 x);
f32 power(f32 x, f32 y);

// 1, x, x^2, x^3, ... one after another, each the exact power rounded once: one multiplication each,
// where whole_power takes several.
class whole_powers {
public:
    explicit whole_powers(f64 x);
    f64 next();

private:
    f64 factor_;       // x, or its significand
    i32 exponent_ = 0; // x is factor_ * 2^exponent_
    bool is_plain_;    // 0, infinities and NaN, whose powers need no pairs
    double_double power_{1.0};
    i64 power_exponent_ = 0;
};

} // namespace qmx
