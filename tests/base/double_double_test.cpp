// Exact products, and the exponential and logarithm before they are rounded, against 50 digits.
#include "base/elementary_kernels.hpp"
#include "base/wide_numbers.hpp"
#include "support/test.hpp"

using namespace qmx;
using support::spread_numbers;
using support::wide;

namespace {

TEST(ExactProduct, LosesNothingInItsRange) {
    spread_numbers next(0x1p-484, 0x1p511);
    std::mt19937_64 engine(12);
    for (i32 i = 0; i < 20000; ++i) {
        const f64 a = next();
        // Significands at their ends, where splitting carries into the next power of 2.
        const f64 b = i % 3 == 0
                          ? std::ldexp(2.0 - std::ldexp(1.0, -static_cast<i32>(20 + engine() % 33)),
                                       static_cast<i32>(engine() % 500))
                          : next();
        const double_double product = exact_product(a, b);
        ASSERT_EQ(product.high, a * b);
        ASSERT_EQ(wide(product.high) + wide(product.low), wide(a) * wide(b))
            << std::hexfloat << a << " * " << b;
    }
    EXPECT_EQ(exact_product(0x1.8p1022, 0.25).low, 0.0);
    EXPECT_LE(std::fabs(exact_product(1e-200, 1.7e-120).low), 0x1p-1072);
}

// What the elementary functions round: the hardest f32 powers need 90 bits of it.
TEST(ElementaryKernels, KeepTheirDigits) {
    const auto as_wide = [](const double_double& x) { return wide(x.high) + wide(x.low); };
    spread_numbers near_zero(1e-20, 0.0054), exponents(1e-10, 600), logarithms(1e-300, 1e300);
    const auto relative = [](const wide& found, const wide& truth) {
        return static_cast<f64>(abs(found / truth - 1));
    };
    for (i32 i = 0; i < 3000; ++i) {
        const f64 small = near_zero(), x = exponents(), y = std::fabs(logarithms());
        const double_double pair{x, 0x1p-55 * x};
        const wide power_of_e = exp(as_wide(pair));
        const auto value = [&](const scaled_pair& found) {
            return ldexp(as_wide(found.value), found.exponent);
        };
        ASSERT_LE(relative(value(exponential_of<kernel_digits::usual>(pair)), power_of_e), 0x1p-66);
        ASSERT_LE(relative(value(exponential_of<kernel_digits::most>(pair)), power_of_e), 0x1p-95);
        const wide rest = expm1(wide(small));
        ASSERT_LE(relative(as_wide(small_exponential_of<kernel_digits::usual>({small})), rest),
                  0x1p-60);
        ASSERT_LE(relative(as_wide(small_exponential_of<kernel_digits::most>({small})), rest),
                  0x1p-95);
        for (const f64 z : {y, 1 + small}) {
            if (z == 1) continue;
            const wide logarithm_of_z = log(wide(z));
            ASSERT_LE(relative(as_wide(logarithm_of<kernel_digits::usual>({z})), logarithm_of_z),
                      0x1p-68)
                << z;
            ASSERT_LE(relative(as_wide(logarithm_of<kernel_digits::most>({z})), logarithm_of_z),
                      0x1p-95)
                << z;
        }
    }
}

} // namespace
