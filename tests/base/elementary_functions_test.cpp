// The elementary functions against Boost.Multiprecision with 50 digits, and their special values
// against the table of C99, Annex F.
#include "base/elementary_functions.hpp"
#include "base/wide_numbers.hpp"
#include "support/test.hpp"

using namespace qmx;
using support::spread_numbers;
using support::wide;
namespace mp = boost::multiprecision;

namespace {

bool same(f64 a, f64 b) {
    return std::isnan(a) ? std::isnan(b) : a == b && std::signbit(a) == std::signbit(b);
}

// Distance of a result from the truth in units in the last place of the truth, in the format Real.
template <class Real> f64 units_off(Real result, const wide& truth) {
    using limits = std::numeric_limits<Real>;
    i32 exponent = 0;
    frexp(truth, &exponent);
    const i32 last = std::max(exponent, limits::min_exponent) - limits::digits;
    return static_cast<f64>(ldexp(abs(wide(result) - truth), -last));
}

// ---- f64 functions of one argument --------------------------------------------------------------

struct real_function {
    const char* name;
    f64 (*ours)(f64);
    f64 (*standard)(f64);
    wide (*truth)(const wide&);
    f64 least, greatest; // magnitudes to try
    bool takes_negative = true;
};

wide erf_of(const wide& x) {
    return erf(x);
}
wide erfc_of(const wide& x) {
    return erfc(x);
}

const real_function real_functions[] = {
    {"exponential", exponential, std::exp, mp::exp, 1e-20, 745},
    {"exp_minus_1", exp_minus_1, std::expm1, mp::expm1, 1e-300, 709},
    {"logarithm", logarithm, std::log, mp::log, 5e-324, 1.7e308, false},
    {"logarithm, near 1", logarithm, std::log, mp::log, 0.5, 2, false},
    {"log_1p", log_1p, std::log1p, mp::log1p, 1e-300, 1e300, false},
    {"log_1p, near 0", log_1p, std::log1p, mp::log1p, 1e-20, 0.999999},
    {"logarithm_10", logarithm_10, std::log10, mp::log10, 5e-324, 1.7e308, false},
    {"logarithm_10, near 1", logarithm_10, std::log10, mp::log10, 0.9, 1.1, false},
    {"error_function", error_function, std::erf, erf_of, 5e-324, 6.5},
    {"complementary_error_function", complementary_error_function, std::erfc, erfc_of, 1e-20,
     27.2}};

TEST(ElementaryFunctions, OfF64StayWithinTheStatedBounds) {
    // Where a method hands over to the next.
    const f64 places[] = {0x1p-60, 0.0054, 0.00541521, 0.00390625, 0.5,  0x1.6a09e667f3bcdp-1,
                          1.0,     6.0,    8.5,        37.5,       707.9};
    for (const real_function& function : real_functions) {
        const auto check = [&](f64 x) {
            if (std::fabs(x) < function.least || std::fabs(x) > function.greatest) return;
            if (!function.takes_negative) x = std::fabs(x);
            if (x > 709.0 && function.greatest < 1000.0) x = -x; // instead of an overflow
            const wide truth = function.truth(wide(x));
            const f64 bound = abs(truth) < std::numeric_limits<f64>::min() ? 1.0 : 0.51;
            EXPECT_LE(units_off(function.ours(x), truth), bound) << function.name << " at " << x;
        };
        spread_numbers next(function.least, function.greatest);
        for (i32 i = 0; i < 3000; ++i) check(next());
        for (const f64 place : places)
            for (f64 x = place * (1 - 0x1p-50), k = 0; k < 8; ++k, x = std::nextafter(x, 1e9))
                check(x), check(-x);
    }
}

// ---- f32 functions ------------------------------------------------------------------------------

struct single_function {
    const char* name;
    f32 (*ours)(f32);
    wide (*truth)(const wide&);
    f32 greatest;
    std::vector<f32> hard; // results nearest to the middle of two f32 numbers
};

// cpp_bin_float reduces large angles with a short pi: first bring them near 0 with 120 digits.
wide reduced(const wide& x) {
    using longer = boost::multiprecision::number<boost::multiprecision::cpp_bin_float<120>>;
    static const longer turn = 8 * atan(longer(1));
    const longer angle(x);
    return wide(angle - turn * round(angle / turn));
}
wide sin_of(const wide& x) {
    return sin(reduced(x));
}
wide cos_of(const wide& x) {
    return cos(reduced(x));
}

const single_function single_functions[] = {
    {"exponential",
     exponential,
     mp::exp,
     104.0F,
     {-0x1.1b31eap-8F, -0x1.ba246cp+2F, 0x1.b14e28p-4F, 0x1.cada82p+2F, -0x1.32c0d2p-2F}},
    {"sine",
     sine,
     sin_of,
     3.4e38F,
     {0x1.bf610ap+50F, 0x1.4b4f2cp+22F, -0x1.9a238ep+30F, -0x1.39be84p+93F, -0x1.90e3b4p+52F}},
    {"cosine",
     cosine,
     cos_of,
     3.4e38F,
     {0x1.6f6172p+84F, 0x1.66e266p+72F, -0x1.f9f7fep-6F, -0x1.3da4b2p+108F, 0x1.9d1a7p+9F}}};

// Rounded to the nearest f32, subnormal ones included.
f32 nearest_single(const wide& truth) {
    using limits = std::numeric_limits<f32>;
    i32 exponent = 0;
    frexp(truth, &exponent);
    const i32 last = std::max(exponent, limits::min_exponent) - limits::digits;
    const wide units = ldexp(truth, -last);
    wide whole = floor(units);
    const wide rest = units - whole;
    const bool is_odd = whole / 2 != floor(whole / 2);
    if (rest > 0.5 || (rest == 0.5 && is_odd)) whole += 1;
    return static_cast<f32>(static_cast<f64>(ldexp(whole, last)));
}

TEST(ElementaryFunctions, OfF32AreRoundedCorrectly) {
    for (const single_function& function : single_functions) {
        const auto check = [&](f32 x) {
            ASSERT_EQ(function.ours(x), nearest_single(function.truth(wide(x))))
                << function.name << " at " << std::hexfloat << x;
        };
        for (const f32 x : function.hard) check(x);
        for (std::uint64_t bits = 1; bits < (std::uint64_t{1} << 32); bits += 1000003) {
            const f32 x = std::bit_cast<f32>(static_cast<std::uint32_t>(bits));
            if (std::fabs(x) <= function.greatest) check(x);
        }
        for (f32 x = 0.01F; x < 12.0F; x *= 1.0011F) check(x), check(-x);
    }
}

// ---- Powers -------------------------------------------------------------------------------------

TEST(Power, OfF32IsRoundedCorrectly) {
    std::mt19937 engine(7);
    std::uniform_real_distribution<f32> base(0.0F, 40.0F), exponent(-25.0F, 25.0F),
        unit(0.99F, 1.01F);
    const auto check = [](f32 x, f32 y) {
        const wide truth = pow(wide(x), wide(y));
        const f32 result = power(x, y);
        if (truth > std::numeric_limits<f32>::max() || truth < 1e-46) return;
        ASSERT_EQ(result, nearest_single(truth)) << std::hexfloat << x << " ^ " << y;
    };
    for (i32 i = 0; i < 4000; ++i) {
        check(base(engine), exponent(engine));
        check(unit(engine), 3000 * exponent(engine)); // up to overflow and into subnormal numbers
        check(base(engine), std::ldexp(1.0F, -static_cast<i32>(engine() % 30)) * exponent(engine));
    }
    // Squares, cubes, roots and other powers that are numbers of 25 bits, halfway between two f32.
    i32 halves = 0;
    const auto check_exact = [&](f32 x, f32 y, const wide& truth) {
        ASSERT_EQ(power(x, y), nearest_single(truth)) << std::hexfloat << x << " ^ " << y;
        halves +=
            wide(nearest_single(truth)) != truth && ldexp(truth, 20) == floor(ldexp(truth, 20));
    };
    for (i32 i = 0; i < 6000; ++i) {
        const auto root = static_cast<f32>(1 + engine() % 4095), small = std::floor(root / 13);
        const wide exact = root;
        check_exact(2 * root + 1, 2.0F, (2 * exact + 1) * (2 * exact + 1));
        check_exact(small, 3.0F, wide(small) * small * small);
        check_exact(root * root / 4, 0.5F, exact / 2);
        check_exact(root * root / 4, 1.5F, exact * exact * exact / 8);
        check_exact(std::floor(small / 10), 5.0F, pow(wide(std::floor(small / 10)), 5));
    }
    EXPECT_GT(halves, 1000);
}

TEST(Power, OfF64StaysWithinTheStatedBound) {
    std::mt19937_64 engine(8);
    std::uniform_real_distribution<f64> base(0.0, 40.0), exponent(-180.0, 180.0), unit(0.99, 1.01);
    const auto check = [](f64 x, f64 y) {
        const wide truth = pow(wide(x), wide(y));
        if (truth > std::numeric_limits<f64>::max() || truth < 1e-307) return;
        ASSERT_LE(units_off(power(x, y), truth), 0.52) << std::hexfloat << x << " ^ " << y;
    };
    for (i32 i = 0; i < 4000; ++i) {
        check(base(engine), exponent(engine));
        check(unit(engine), 300 * exponent(engine));
        check(base(engine), 1e-12 * exponent(engine));
        check(10.0, std::floor(exponent(engine)));
    }
    EXPECT_EQ(power(1.0 + 0x1p-52, 0x1p62), inf64);
    EXPECT_EQ(power(1.0 - 0x1p-53, 0x1p1000), 0.0);
    EXPECT_NEAR(power(5e-324, 0.5), 2.2227587494850775e-162, 1e-177);
}

// The exact power, in 2000 bits, rounded once.
TEST(WholePower, IsTheExactPowerRoundedOnce) {
    using namespace boost::multiprecision;
    using exact = number<cpp_bin_float<2000, digit_base_2>>;
    std::mt19937_64 engine(9);
    std::uniform_real_distribution<f64> spread(-110.0, 110.0);
    for (i32 i = 0; i < 3000; ++i) {
        const f64 x = i % 3 == 0 ? std::floor(spread(engine)) : spread(engine);
        whole_powers powers(x);
        exact truth = 1;
        for (i32 k = 0; k <= 30; ++k, truth *= exact(x)) {
            const f64 rounded = static_cast<f64>(truth);
            ASSERT_EQ(powers.next(), rounded) << x << " ^ " << k;
            ASSERT_EQ(whole_power(x, k), rounded) << x << " ^ " << k;
            if (x != 0.0) {
                ASSERT_LE(units_off(whole_power(x, -k), wide(1 / truth)), 0.5 + 0x1p-40)
                    << x << " ^ -" << k;
            }
        }
    }
}

TEST(WholePower, CoversTheWholeRange) {
    EXPECT_EQ(whole_power(10.0, 308), 1e308);
    EXPECT_EQ(whole_power(10.0, 309), inf64);
    EXPECT_EQ(whole_power(10.0, -323), 1e-323);
    EXPECT_EQ(whole_power(-10.0, -401), 0.0);
    EXPECT_EQ(whole_power(2.0, -1074), 5e-324);
    EXPECT_EQ(whole_power(1.0 + 0x1p-52, std::numeric_limits<i32>::max()),
              std::exp(std::numeric_limits<i32>::max() * 0x1p-52));
    EXPECT_EQ(whole_power(3.0, std::numeric_limits<i32>::min()), 0.0);
    for (const f64 x : {1e-200, 1e200, -3e-310, 0.0, -0.0, inf64, -inf64, nan64}) {
        whole_powers powers(x);
        f64 k = 0;
        for (i32 i = 0; i < 4; ++i, ++k) {
            const f64 next = powers.next();
            EXPECT_TRUE(same(next, std::pow(x, k))) << x << " ^ " << k << ": " << next;
            EXPECT_TRUE(same(next, whole_power(x, i))) << x << " ^ " << k;
        }
    }
    whole_powers shrinking(0.75);
    for (i32 k = 0; k <= 2500; ++k) {
        const f64 next = shrinking.next();
        ASSERT_EQ(next, whole_power(0.75, k)) << k;
    }
}

// ---- Special values -----------------------------------------------------------------------------

TEST(ElementaryFunctions, TakeSpecialValuesAsTheStandardSays) {
    // For these arguments the C library's results are fixed by Annex F.
    for (const auto& [name, ours, standard, truth, least, greatest, takes_negative] :
         real_functions)
        for (const f64 x : {0.0, -0.0, inf64, -inf64, nan64, 5e-324, -5e-324})
            EXPECT_TRUE(same(ours(x), standard(x))) << name << " at " << x << ": " << ours(x);
    EXPECT_EQ(log_1p(-1.0), -inf64);
    EXPECT_TRUE(std::isnan(log_1p(-1.5)));
    EXPECT_EQ(exponential(1e308), inf64);
    EXPECT_TRUE(same(exponential(-1e308), 0.0));
    EXPECT_EQ(exp_minus_1(-1e308), -1.0);
    for (f64 k = -300; k <= 300; ++k) EXPECT_EQ(logarithm_10(power(10.0, k)), k);

    for (const f32 x : {0.0F, -0.0F, inf32, -inf32, nan32, 1e-45F, -1e-45F, 1e38F, -1e38F})
        EXPECT_TRUE(same(exponential(x), std::exp(x))) << x;
    for (const f32 x : {0.0F, -0.0F, 1e-45F, -1e-45F}) {
        EXPECT_TRUE(same(sine(x), x));
        EXPECT_EQ(cosine(x), 1.0F);
    }
    for (const f32 x : {inf32, -inf32, nan32}) {
        EXPECT_TRUE(std::isnan(sine(x)));
        EXPECT_TRUE(std::isnan(cosine(x)));
    }
}

TEST(Power, TakesSpecialValuesAsTheStandardSays) {
    // The other results are powers of 2, which any library has exactly.
    const f64 bases[] = {0.0,   -0.0,   1.0,     -1.0,  4.0,    -4.0,
                         -0.25, 0x1p54, -0x1p54, inf64, -inf64, nan64};
    const f64 exponents[] = {0.0, -0.0, 1.0,    -1.0,    0.5,   -0.5,   2.0,
                             3.0, -3.0, 0x1p52, -0x1p53, inf64, -inf64, nan64};
    for (const f64 x : bases)
        for (const f64 y : exponents) {
            const f64 expected = std::pow(x, y);
            EXPECT_TRUE(same(power(x, y), expected)) << x << " ^ " << y << ": " << power(x, y);
            const f32 single = power(static_cast<f32>(x), static_cast<f32>(y));
            const f32 expected_single = std::pow(static_cast<f32>(x), static_cast<f32>(y));
            EXPECT_TRUE(same(single, expected_single)) << x << " ^ " << y << ": " << single;
        }
}

TEST(Hypotenuse, IsRoundedOnceAndDoesNotOverflow) {
    spread_numbers next(1e-300, 1e300);
    std::mt19937_64 engine(11);
    for (i32 i = 0; i < 4000; ++i) {
        const f64 x = next(), y = i % 4 == 0 ? next()
                                             : x * std::ldexp(static_cast<f64>(engine() % 1000),
                                                              -static_cast<i32>(engine() % 40));
        ASSERT_LE(units_off(hypotenuse(x, y), wide(sqrt(wide(x) * wide(x) + wide(y) * wide(y)))),
                  0.501)
            << x << ' ' << y;
    }
    EXPECT_EQ(hypotenuse(3e-320, 4e-320), 5e-320);
    EXPECT_EQ(hypotenuse(1.7e308, 1.7e308), inf64);
    EXPECT_EQ(hypotenuse(nan64, -inf64), inf64);
    EXPECT_TRUE(std::isnan(hypotenuse(nan64, 1.0)));
    EXPECT_EQ(hypotenuse(-0.0, 0.0), 0.0);
}

} // namespace
