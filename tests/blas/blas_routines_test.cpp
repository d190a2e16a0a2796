// Our own three routines against those of the reference BLAS, bit by bit.
#include "blas/blas_routines.hpp"

#include "blas/blas.hpp"
#include "support/test.hpp"

namespace {

using qmx::f32;
using qmx::f64;
using qmx::i32;

bool same_bits(f64 a, f64 b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}

struct row_pair {
    f64 d1, d2, x1, y1;
    f64 param[5] = {7, 7, 7, 7, 7}; // what a form implies is not written
};

// Numbers in which everything goes wrong that can: powers far apart, zeros, ties, signs.
class numbers {
public:
    f64 one() {
        switch (random() % 8) {
        case 0: return special[random() % std::size(special)];
        case 1: return static_cast<f64>(static_cast<int>(random() % 9) - 4);
        case 2: // next to the bounds of the scale factors
            return std::ldexp(
                1.0 + std::ldexp(static_cast<f64>(static_cast<int>(random() % 5) - 2), -50),
                random() % 2 ? 24 : -24);
        case 3: return std::ldexp(unit(random) + 0.5, static_cast<int>(random() % 1000) - 500);
        default:
            return (unit(random) - 0.5) * std::ldexp(1.0, static_cast<int>(random() % 60) - 30);
        }
    }
    int step() { return static_cast<int>(random() % 7) - 3; }
    int below(int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); }

private:
    static constexpr f64 special[] = {0.0,     -0.0,   1.0,    -1.0,  5.9604645e-8, 0x1p-24, 0x1p24,
                                      0x1p-48, 0x1p48, 1e-300, 1e300, 5e-324,       inf64,   nan64};
    std::mt19937_64 random{20260101};
    std::uniform_real_distribution<f64> unit{0.0, 1.0};
};

} // namespace

TEST(BlasRoutines, SetUpTheRotationOfTheReference) {
    numbers draw;
    int forms[4] = {};
    int tried = 0;
    while (tried < 300000) {
        row_pair ours{draw.one(), draw.one(), draw.one(), draw.one()};
        row_pair theirs = ours;
        const row_pair before = ours;
        qmx::set_up_rotation(ours.d1, ours.d2, ours.x1, ours.y1, ours.param);
        // Where the reference never ends.
        if (std::isinf(ours.d1) || std::isinf(ours.d2) || ours.d1 < 0) continue;
        ++tried;
        drotmg_(&theirs.d1, &theirs.d2, &theirs.x1, &theirs.y1, theirs.param);
        bool same = same_bits(ours.d1, theirs.d1) && same_bits(ours.d2, theirs.d2) &&
                    same_bits(ours.x1, theirs.x1);
        for (int i = 0; i < 5; ++i) same = same && same_bits(ours.param[i], theirs.param[i]);
        ASSERT_TRUE(same)
            << testing::PrintToString(std::vector<f64>{before.d1, before.d2, before.x1, before.y1})
            << "\nours   " << testing::PrintToString(std::vector<f64>{ours.d1, ours.d2, ours.x1})
            << testing::PrintToString(ours.param) << "\ntheirs "
            << testing::PrintToString(std::vector<f64>{theirs.d1, theirs.d2, theirs.x1})
            << testing::PrintToString(theirs.param);
        ++forms[static_cast<int>(ours.param[0]) + 2];
    }
    for (const int each : forms) EXPECT_GT(each, 1000); // each form was met
}

TEST(BlasRoutines, ApplyTheRotationOfTheReference) {
    numbers draw;
    for (int round = 0; round < 20000; ++round) {
        const i32 n = draw.below(9) - 1;
        i32 x_step = draw.step(), y_step = draw.step();
        if (x_step == 0) x_step = 1;
        if (y_step == 0) y_step = 1;
        const f64 param[5] = {static_cast<f64>(draw.below(4) - 2), draw.one(), draw.one(),
                              draw.one(), draw.one()};
        std::vector<f64> x(32), y(32);
        for (f64& each : x) each = draw.one();
        for (f64& each : y) each = draw.one();
        std::vector<f64> their_x = x, their_y = y;
        qmx::apply_rotation(n, x.data(), x_step, y.data(), y_step, param);
        drotm_(&n, their_x.data(), &x_step, their_y.data(), &y_step, param);
        for (std::size_t i = 0; i < x.size(); ++i)
            ASSERT_TRUE(same_bits(x[i], their_x[i]) && same_bits(y[i], their_y[i]))
                << "form " << param[0] << ", element " << i;
    }
}

TEST(BlasRoutines, CopyWhatTheReferenceCopies) {
    numbers draw;
    for (int round = 0; round < 20000; ++round) {
        const i32 n = draw.below(9) - 1;
        const i32 x_step = draw.step(), y_step = draw.step();
        std::vector<f32> x(32), y(32, 3.0F), theirs(32, 3.0F);
        for (f32& each : x) each = static_cast<f32>(draw.below(1000));
        qmx::copy_elements(n, x.data(), x_step, y.data(), y_step);
        scopy_(&n, x.data(), &x_step, theirs.data(), &y_step);
        ASSERT_EQ(y, theirs) << n << ", " << x_step << ", " << y_step;
    }
}
