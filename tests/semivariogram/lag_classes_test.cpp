// Which distances have a certain class, and what the search owes a host's floating-point settings.
#include "semivariogram/kernel/lag_classes.hpp"

#include "semivariogram/gamv_call.hpp"
#include "semivariogram/kernel/pair_kernel.hpp"
#include "semivariogram/model_fit.hpp"

#include <cfenv>
#include <chrono>
#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

using namespace gamv_test;

namespace {

// ---- Certain classes ---------------------------------------------------------------------------

TEST(LagClasses, AreCertainForEveryLagFromACentimetreToAKilometre) {
    std::mt19937 random(8);
    std::uniform_real_distribution<f64> exponent(-2, 3);
    for (i32 nlag = 1; nlag <= 98; ++nlag)
        for (i32 trial = 0; trial < 40; ++trial) {
            constexpr f32 usual[] = {0.01F, 0.1F, 0.3F, 0.5F, 0.6F, 1.0F, 1.5F, 10.0F, 1000.0F};
            const f32 lag =
                trial < 9 ? usual[trial] : static_cast<f32>(std::pow(10.0, exponent(random)));
            const lag_classes classes = make_lag_classes(nlag, lag, lag * 0.5F);
            const class_certainty certainty = certainty_of(classes, lag * 0.5F);
            ASSERT_TRUE(certainty.usable) << nlag << " lags of " << lag;
            ASSERT_GT(certainty.half_width, 0.4999F * lag) << nlag << " lags of " << lag;
        }
}

// The search finds a certain class after any regular pair, up to the last distance that is certain.
TEST(LagClasses, ACertainClassIsFoundAfterEveryPair) {
    std::mt19937 random(9);
    const auto below = [&](i32 limit) {
        return static_cast<i32>(random() % static_cast<unsigned>(limit));
    };
    for (i32 setting = 0; setting < 2000; ++setting) {
        const i32 nlag = 1 + below(98);
        const f32 lag = 0.01F + static_cast<f32>(below(100'000)) / 70.0F;
        const lag_classes classes = make_lag_classes(nlag, lag, lag * 0.5F);
        const f32 half_width = certainty_of(classes, lag * 0.5F).half_width;
        for (i32 trial = 0; trial < 100; ++trial) {
            const i32 k = first_distance_class + below(classes.last - 1);
            const f32 centre = lag * static_cast<f32>(k - 2);
            f32 h = k > 2 && below(2) == 0 ? centre - half_width : centre + half_width;
            for (i32 steps = below(4); steps > 0; --steps) h = std::nextafter(h, centre);
            if (!(std::fabs(h - centre) <= half_width)) continue;
            const i32 before = first_distance_class + below(classes.last - 1);
            const f32 least = before == 2 ? 0.0F : classes.lower[before];
            for (const f32 distance :
                 {least, std::nextafter(least, 1.0e9F), classes.upper[before]}) {
                const bool is_regular =
                    distance == 0 || find_lag_class(classes, distance, {0, 2}) == before;
                if (!is_regular) continue;
                ASSERT_EQ(find_lag_class(classes, h, {distance, before}), k)
                    << nlag << " lags of " << lag << ", " << h << " after " << distance;
            }
        }
    }
}

TEST(LagClasses, TheCoincidenceLimitIsTheLastWhoseRootIsEpsilon) {
    EXPECT_LE(std::sqrt(greatest_coincident_square), epsilon_distance);
    EXPECT_GT(std::sqrt(std::nextafter(greatest_coincident_square, 1.0F)), epsilon_distance);
}

// ---- A host's floating-point settings ----------------------------------------------------------

// A host may have unmasked the exceptions that a raised flag stands for.
TEST(FloatingPointFlags, StayDownOnOrdinaryLots) {
    std::mt19937 random(4);
    const auto below = [&](i32 limit) {
        return static_cast<i32>(random() % static_cast<unsigned>(limit));
    };
    const pair_kernel::version_list versions = pair_kernel::available_versions();
    for (i32 trial = 0; trial < 200; ++trial) {
        lot data(static_cast<std::size_t>(3 + below(700)));
        const i32 lags = 1 + below(98);
        t_gamvset set = settings(lags, 0.1F + static_cast<f32>(below(30)) / 10);
        const f64 east = below(2) == 0 ? 0 : 500123.4;
        const i32 kind = below(4), passes = 1 + below(4), across = 1 + below(30);
        for (i32 i = 0; i < std::ssize(data); ++i) {
            const i32 cell = i / passes;
            t_icdata& point = data[static_cast<std::size_t>(i)];
            point = {0.3 * (cell / across), 0.5 * (cell % across), 60 + below(400) / 10.0, 1, 0};
            if (kind == 0) point.d_x = below(2000) / 37.0;
            point.d_x += east;
        }
        if (kind == 1) std::shuffle(data.begin(), data.end(), random);
        if (kind == 2) data[0].d_val = 2e21; // trimmed
        if (below(2) == 0) {
            set.azm = static_cast<f32>(below(180));
            set.atol = static_cast<f32>(below(90));
            if (below(2) == 0) set.bandwh = set.bandwd = 0.3F * static_cast<f32>(below(9));
        }
        for (i32 v = 0; v < versions.count; ++v) {
            pair_kernel::use_version(versions.entries[v]);
            std::feclearexcept(FE_ALL_EXCEPT);
            const table result(set, data);
            f32 x[100] = {}, y[100] = {}, coefficients[2], summary[4];
            const i64 classes = set.nlag + 2;
            for (i64 k = 0; k < classes; ++k) {
                x[k] = static_cast<f32>(result.distance(k + 1));
                y[k] = static_cast<f32>(result.semivariance(k + 1));
            }
            f32 curve_x[100], curve_y[100];
            semivariogram_modlefit(1, static_cast<i32>(classes), {x, classes}, {y, classes},
                                   coefficients, view_of(curve_x, 100), view_of(curve_y, 100),
                                   summary);
            ASSERT_EQ(std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW), 0)
                << versions.entries[v]->name << ", trial " << trial << ", kind " << kind
                << ", tolerance " << set.atol;
        }
    }
    pair_kernel::use_version(nullptr);
}

#if defined(__x86_64__)
TEST(FlushedSubnormals, ChangeNeitherResultsNorTheTime) {
    lot data(200);
    for (std::size_t i = 0; i < 200; ++i)
        data[i] = {0.3 * static_cast<f64>(i % 20), 0.5 * static_cast<f64>(i / 20),
                   70 + static_cast<f64>(i * i % 23), 1, 0};
    const t_gamvset set = settings(20, 0.5F);
    table result(set, data);
    const std::vector<f64> truth = result.values;
    const auto least_time = [&] {
        using clock = std::chrono::steady_clock;
        clock::duration least = clock::duration::max();
        for (i32 run = 0; run < 5; ++run) {
            const auto start = clock::now();
            result.fill(set, data);
            least = std::min(least, clock::now() - start);
        }
        return least;
    };
    const auto usual = least_time();
    const unsigned before = _mm_getcsr();
    _mm_setcsr(before | 0x8040); // flush to zero, subnormals are zero
    const auto flushed = least_time();
    _mm_setcsr(before);
    EXPECT_EQ(result.values, truth);
    EXPECT_LT(flushed, 20 * usual); // 500 times as long if subnormal numbers are tried one by one
}
#endif

} // namespace
