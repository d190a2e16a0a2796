// Hosts that unmask floating-point exceptions, or flush denormals, meet an ordinary library: ordinary
// input raises none of invalid, divide-by-zero and overflow, and no call becomes slow.
#include "qmx_ic.h"
#include "support/test.hpp"

#include <cfenv>
#include <chrono>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace {

struct named_call {
    const char* name;
    std::function<int32_t()> run;
};

// Ordinary lots: a roller's track with a smooth measure and noise, or pass counts; some passes; some
// spot tests, an alignment and an outline about it.
class lot {
public:
    explicit lot(unsigned seed) : random_(seed) {
        const int count = 600 + static_cast<int>(random_() % 2200); // at least 100 a pass
        for (int i = 0; i < count; ++i) {
            const double x = 0.3 * (i % 50) + 0.05 * unit(), y = 0.9 * (i / 50) + 0.05 * unit();
            const double value = 60 + 8 * std::sin(0.2 * x) + 5 * std::cos(0.3 * y) + 4 * unit();
            points_.push_back({x, y, value, 1 + static_cast<int32_t>(random_() % 4), 0});
            passes_.push_back({x, y, static_cast<double>(1 + random_() % 9), 1, 0});
            x_.push_back(x);
            y_.push_back(y);
            abscissas_.push_back(static_cast<float>(x));
            ordinates_.push_back(static_cast<float>(value));
        }
        for (int k = 0; k < 6; ++k)
            tests_.push_back({15 * unit(), 3 * unit(), 20 + 5 * unit(), k % 3 == 0 ? 1 : -1, 0});
        for (int k = 0; k < 200; ++k) {
            outline_x_.push_back(7.5 + 6 * std::cos(0.0314 * k) + 0.1 * unit());
            outline_y_.push_back(5 + 4 * std::sin(0.0314 * k) + 0.1 * unit());
        }
        areas_ = {{2, 4, {0, 15, 15, 0}, {0, 0, 40, 40}}, {1, 3, {3, 4, 3}, {3, 3, 4}}};
        statistics_.i_flag_target = 1;
        statistics_.x_target = 62;
        statistics_.x_target_pct = 70;
        statistics_.x_pctlevel[0] = 10;
        statistics_.x_pctlevel[1] = 90;
        pass_statistics_ = statistics_;
        pass_statistics_.x_target = 4;
        degree_ = static_cast<int32_t>(random_() % 7);
        settings_ = {
            6 + static_cast<int32_t>(random_() % 10), 0.6F, static_cast<float>(90 * unit()),
            random_() % 2 == 0 ? 90.0F : 30.0F,       20,   random_() % 2 == 0 ? 1 : 2};
    }

    std::vector<named_call> calls() {
        const auto n = static_cast<int32_t>(points_.size());
        return {
            {"ICdata_stats",
             [=, this] { return ICdata_stats(2, 2, n, points_.data(), &statistics_, &event_); }},
            {"ICdata_stats of passes",
             [=, this] {
                 return ICdata_stats(1, 2, n, passes_.data(), &pass_statistics_, &event_);
             }},
            {"IC_compact_curve_b",
             [=, this] {
                 return IC_compact_curve_b(4, 0, n, points_.data(), &found_, means_, curve_x_,
                                           curve_y_, &fit_, &event_);
             }},
            {"call_polycurvefit",
             [=, this] {
                 return call_polycurvefit(n, degree_, abscissas_.data(), ordinates_.data(),
                                          narrow_x_, narrow_y_);
             }},
            {"IC_semivariogram",
             [=, this] {
                 return IC_semivariogram(n, points_.data(), &settings_, distance_, semivariance_,
                                         model_, curve_x_, curve_y_, summary_, &event_);
             }},
            {"find_points_in_circle",
             [=, this] {
                 return find_points_in_circle(n, 4, center_, x_.data(), y_.data(), &found_,
                                              indices_.data(), &event_);
             }},
            {"find_points_in_polygon",
             [=, this] {
                 return find_points_in_polygon(200, n, outline_x_.data(), outline_y_.data(),
                                               x_.data(), y_.data(), &found_, indices_.data(),
                                               &event_);
             }},
            {"IC_PointsData_stats",
             [=, this] {
                 return IC_PointsData_stats(n, 6, 1.2, points_.data(), tests_.data(), at_tests_,
                                            line_, &found_, list_, predicted_, &event_);
             }},
            {"IC_coverage",
             [=, this] {
                 return IC_coverage(mesh_, n, 2, 2, bins_, passes_.data(), areas_.data(), results_,
                                    &event_);
             }},
        };
    }

private:
    double unit() { return std::uniform_real_distribution<double>(0, 1)(random_); }

    std::mt19937 random_;
    std::vector<t_icdata> points_, passes_, tests_;
    std::vector<double> x_, y_, outline_x_, outline_y_;
    std::vector<float> abscissas_, ordinates_;
    std::vector<t_areaflt> areas_;
    std::vector<int32_t> indices_ = std::vector<int32_t>(3000);
    t_statsout statistics_ = {}, pass_statistics_ = {}, at_tests_[6] = {};
    t_gamvset_user settings_ = {};
    t_fitout fit_ = {};
    t_event event_ = {};
    t_passbin bins_[2] = {{1, 3}, {4, -1}};
    t_binresult results_[2] = {};
    int32_t found_ = 0, degree_ = 0, list_[6] = {};
    double means_[4], curve_x_[100], curve_y_[100], distance_[18], semivariance_[18], model_[2];
    double predicted_[6], center_[2] = {7, 4};
    float narrow_x_[100], narrow_y_[100], summary_[4], line_[3], mesh_[2] = {0.3F, 0.9F};
};

#if defined(__GLIBC__)
constexpr int watched = FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW;

TEST(FloatingPoint, OrdinaryLotsRaiseNoExceptions) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        lot given(seed);
        for (const named_call& call : given.calls()) {
            std::feclearexcept(FE_ALL_EXCEPT);
            const int32_t status = call.run();
            const int raised = std::fetestexcept(watched);
            EXPECT_EQ(status, 1) << call.name << ", lot " << seed;
            EXPECT_EQ(raised, 0) << call.name << ", lot " << seed;
            if (raised != 0) continue; // would end the program
            std::feclearexcept(FE_ALL_EXCEPT);
            feenableexcept(watched);
            const int32_t unmasked = call.run();
            fedisableexcept(watched);
            EXPECT_EQ(unmasked, status) << call.name;
        }
    }
}
#endif

#if defined(__SSE2__)
// Three tries each, since a busy machine makes any one of them slow.
TEST(FloatingPoint, DenormalsAreZeroMakesNoCallSlow) {
    const auto seconds_of = [](const named_call& call) {
        double least = 1e9;
        for (int i = 0; i < 3; ++i) {
            const auto start = std::chrono::steady_clock::now();
            call.run();
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
            least = std::min(least, taken.count());
        }
        return least;
    };
    lot given(5);
    for (const named_call& call : given.calls()) {
        const double ordinary = seconds_of(call);
        const unsigned before = _mm_getcsr();
        _mm_setcsr(before | 0x8040); // denormals are zero, flush to zero
        const double flushed = seconds_of(call);
        _mm_setcsr(before);
        EXPECT_LT(flushed, 5 * ordinary + 0.02) << call.name;
    }
}
#endif

} // namespace
