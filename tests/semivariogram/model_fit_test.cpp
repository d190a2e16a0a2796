#include "semivariogram/model_fit.hpp"

#include "events/event.hpp"
#include "support/expect_event.hpp"
#include "support/semivariogram_profile.hpp"

using namespace qmx;

namespace {

constexpr f32 untouched = -77.0F;

struct fit_call {
    std::vector<f32> x, y;
    f32 coef[2] = {untouched, untouched};
    std::vector<f32> xcurve = std::vector<f32>(100, untouched);
    std::vector<f32> ycurve = std::vector<f32>(100, untouched);
    f32 summary[4] = {untouched, untouched, untouched, untouched};

    void add(double h, double semivariance) {
        x.push_back(static_cast<f32>(h));
        y.push_back(static_cast<f32>(semivariance));
    }
    i32 run(i32 model = 1) {
        clear_event();
        const i64 n = static_cast<i64>(x.size());
        return semivariogram_modlefit(model, static_cast<i32>(n), {x.data(), n}, {y.data(), n},
                                      coef, view_of(xcurve.data(), 100),
                                      view_of(ycurve.data(), 100), summary);
    }
    bool outputs_untouched() const {
        const auto are = [](const auto& values) {
            return std::count(std::begin(values), std::end(values), untouched) ==
                   std::ssize(values);
        };
        return are(coef) && are(xcurve) && are(ycurve) && are(summary);
    }
};

// ---- The fit beside a dense scan -----------------------------------------------------------------------

// An experimental semivariogram: true shape, nugget, noise, empty classes, a class at distance 0.
class simulator {
public:
    explicit simulator(unsigned seed) : engine_(seed) {}

    fit_call next(int shape) {
        const double lag = log_uniform(0.1, 100), sill = log_uniform(0.05, 10000);
        const int classes = static_cast<int>(uniform(6, 100));
        const double range = lag * classes * log_uniform(0.05, 5);
        const double nugget = uniform(0, 1) < 0.5 ? 0 : uniform(0, 0.9);
        const double noise = uniform(0, 1) < 0.3 ? 0 : log_uniform(0.001, 0.3);
        const double empty = shape == 8 ? 0.3 : 0.0;
        fit_call data;
        for (int i = 0; i < classes; ++i) {
            double h = lag * (i - 1 + uniform(-0.1, 0.1));
            if (i < 2) h = i == 0 ? 0 : lag * uniform(0.2, 0.5);
            double value = nugget + (1 - nugget) * shape_at(shape, h / range);
            if (i == 0) value = uniform(0, 1) < 0.8 ? 0 : nugget * uniform(0, 1);
            value *= sill * std::max(0.0, 1 + noise * normal_(engine_));
            if (i > 1 && uniform(0, 1) < empty) h = value = 0;
            data.add(h, value);
        }
        return data;
    }

private:
    double uniform(double from, double to) {
        return std::uniform_real_distribution<double>(from, to)(engine_);
    }
    double log_uniform(double from, double to) {
        return std::exp(uniform(std::log(from), std::log(to)));
    }
    double shape_at(int shape, double r) {
        switch (shape) {
        case 2: return r < 1 ? 1.5 * r - 0.5 * r * r * r : 1; // spherical
        case 3: return 1 - std::exp(-3 * r * r);              // Gaussian
        case 4: return r;                                     // without a sill
        case 5: return 1;                                     // nugget alone
        case 6: return 1 - std::cos(6 * r) * std::exp(-r);    // periodic
        case 7: return uniform(0, 1);                         // none at all
        default: return 1 - std::exp(-3 * r);
        }
    }

    std::mt19937 engine_;
    std::normal_distribution<double> normal_;
};

// Squares of single-precision residuals are known to the spacing of the semivariances.
double resolution_of(const fit_call& data) {
    double sum = 0.0;
    for (const f32 value : data.y) sum += static_cast<double>(value) * value;
    return 2.0 * static_cast<double>(std::numeric_limits<f32>::epsilon()) * std::sqrt(sum);
}

TEST(ModelFit, ReachesTheLeastResidualNormThatItsBoundsAllow) {
    for (const i32 model : {1, 2}) {
        simulator simulated(static_cast<unsigned>(model));
        int failed = 0;
        for (int trial = 0; trial < 450; ++trial) {
            fit_call call = simulated.next(trial % 9);
            SCOPED_TRACE(std::to_string(model) + " " + std::to_string(trial));
            const f32 most = *std::max_element(call.y.begin(), call.y.end());
            if (call.run(model) != status_success) {
                ++failed;
                continue;
            }
            const f32 low = std::min(1.0F, most), sill_low = std::min(0.05F, most);
            EXPECT_GE(call.coef[0], low);
            EXPECT_LE(call.coef[0], most);
            EXPECT_GE(call.coef[1], sill_low);
            EXPECT_LE(call.coef[1], most);

            const bool is_power = model == 2;
            const support::profile truth{{call.x.begin(), call.x.end()},
                                         {call.y.begin(), call.y.end()},
                                         is_power,
                                         is_power ? low : sill_low,
                                         most};
            const double best = truth.scan(is_power ? sill_low : low, most, 400);
            const double reached =
                truth.norm(call.coef[is_power ? 1 : 0], call.coef[is_power ? 0 : 1]);
            EXPECT_LE(reached, 1.001 * best + resolution_of(call))
                << call.coef[0] << ' ' << call.coef[1] << " at most " << most;
        }
        EXPECT_LE(failed, 1);
    }
}

// ---- Bounds without room -----------------------------------------------------------------------------

struct narrow_case {
    const char* name;
    std::vector<f32> y; // at distances 5, 10, 15, ...
    i32 result;
    f32 range, sill; // NaN: whatever it is
};

TEST(ModelFit, BoundsWithoutRoomEndAtTheGreatestSemivariance) {
    const narrow_case cases[] = {
        {"greatest_below_1", {0.2F, 0.5F, 0.75F, 0.5F}, status_success, 0.75F, nan32},
        {"greatest_is_1", {0.25F, 0.5F, 1.0F, 0.75F}, status_success, 1.0F, 0.625F},
        {"below_the_least_sill", {0.02F, 0.03F, 0.04F, 0.03F}, status_success, 0.04F, 0.04F},
        {"below_both_lower_bounds", {0.005F, 0.01F, 0.01F, 0.01F}, status_success, 0.01F, 0.01F},
        {"least_sill_exactly", {0.0F, 0.05F, 0.01F, 0.0F}, status_success, 0.05F, 0.05F},
        {"sill_held_by_its_limit", {0.0F, 0.06F, 0.0F, 0.0F}, status_success, 0.06F, 0.05F},
        {"all_zero", {0.0F, 0.0F, 0.0F, 0.0F}, status_failure, nan32, nan32}};
    for (const narrow_case& each : cases) {
        SCOPED_TRACE(each.name);
        fit_call call;
        for (const f32 value : each.y)
            call.add(5.0 * static_cast<double>(call.x.size() + 1), value);
        EXPECT_EQ(call.run(), each.result);
        EXPECT_TRUE(std::isnan(each.range) || call.coef[0] == each.range) << call.coef[0];
        EXPECT_TRUE(std::isnan(each.sill) || std::abs(call.coef[1] - each.sill) < 1e-7F)
            << call.coef[1];
    }
}

TEST(ModelFit, ARangeIsFoundFromThePlateauAtItsLowerBound) {
    // At the start, range 1, no residual moves with the range: exp(-3h) is far below the spacing.
    fit_call call;
    for (int i = 1; i <= 100; ++i) { // up to where the sill, which bounds the fit, is reached
        const double h = 8.0 * i;
        call.add(h, 400.0 * (1.0 - std::exp(-3.0 * h / 120.0)));
    }
    ASSERT_EQ(call.run(), status_success);
    EXPECT_NEAR(call.coef[0], 120.0F, 1e-2F);
    EXPECT_NEAR(call.coef[1], 400.0F, 1e-3F);
}

// ---- Curve and reading --------------------------------------------------------------------------------

TEST(ModelFit, TheCurveIsTheModelOnAGridOneStepShortOfTheGreatestDistance) {
    fit_call call;
    for (int i = 0; i < 12; ++i)
        call.add(3.7 * i, 20.0 * (1.0 - std::exp(-0.2 * i)) + 0.3 * (i % 3));
    const auto [least, greatest] = std::minmax_element(call.x.begin(), call.x.end());
    const f32 step = (*greatest - *least) * 0.01F;
    for (const i32 model : {1, 2}) {
        ASSERT_EQ(call.run(model), status_success);
        for (std::size_t k = 0; k < 100; ++k) {
            volatile f32 product = static_cast<f32>(k) * step; // rounded before the sum
            const f32 h = product + *least;
            ASSERT_EQ(call.xcurve[k], h) << k;
            // The functions are correctly rounded.
            const f32 decay = static_cast<f32>(std::exp(f64{-(3.0F * h) / call.coef[0]}));
            const f32 power = static_cast<f32>(std::pow(f64{h}, f64{call.coef[1]}));
            const f32 g = model == 1 ? (1.0F - decay) * call.coef[1] : power * call.coef[0];
            ASSERT_EQ(call.ycurve[k], g) << k;
        }
        EXPECT_EQ(call.ycurve[0], 0.0F); // no nugget at distance 0
        EXPECT_EQ(call.summary[3], call.ycurve[0]);
        EXPECT_EQ(call.summary[2], call.summary[1] - call.summary[3]);
    }
}

// A semivariogram whose exponential model has the given range over the given distances; the sill is
// large enough for any range.
fit_call exponential_data(double first, double last, double range) {
    fit_call call;
    for (int i = 0; i < 20; ++i) {
        const double h = first + (last - first) * i / 19.0;
        call.add(h, 5000.0 * (1.0 - std::exp(-3.0 * h / range)));
    }
    return call;
}

TEST(ModelFit, RangeAndSillAreReadWhereTheCurveRisesByLessThanFiveDegrees) {
    // Of (1 - exp(-c u)) / (1 - exp(-c U)), u on the unit interval up to U = 1, the slope falls below
    // tan 5 degrees at u = ln(c / ((1 - exp(-c)) tan 5 degrees)) / c.
    for (const double range : {20.0, 50.0, 70.0}) {
        fit_call call = exponential_data(0.0, 100.0, range);
        ASSERT_EQ(call.run(), status_success);
        const double c = 3.0 * 99.0 / call.coef[0];
        const double u = std::log(c / ((1 - std::exp(-c)) * std::tan(std::acos(-1.0) / 36))) / c;
        EXPECT_NEAR(call.summary[0], 99.0 * u, 1.0) << range; // a step of the grid
        const auto at = std::find(call.xcurve.begin(), call.xcurve.end(), call.summary[0]);
        ASSERT_NE(at, call.xcurve.end());
        EXPECT_EQ(call.summary[1], call.ycurve[static_cast<std::size_t>(at - call.xcurve.begin())]);
    }
}

TEST(ModelFit, WithoutAFlatPartPoint99IsReported) {
    fit_call never_flat = exponential_data(0.0, 100.0, 1000.0);
    fit_call one_distance = exponential_data(50.0, 50.0, 100.0);
    fit_call flat = exponential_data(1e4, 2e4, 20.0); // every ordinate the same: slopes are NaN
    for (fit_call* call : {&never_flat, &one_distance, &flat}) {
        ASSERT_EQ(call->run(), status_success);
        EXPECT_EQ(call->summary[0], call->xcurve[98]);
        EXPECT_EQ(call->summary[1], call->ycurve[98]);
        EXPECT_EQ(call->summary[3], call->ycurve[0]);
    }
    EXPECT_EQ(flat.ycurve[0], flat.ycurve[99]);
    EXPECT_EQ(one_distance.xcurve[0], one_distance.xcurve[99]);
}

TEST(ModelFit, ThePolynomialComesFromTheCurveMaker) {
    fit_call call;
    for (int i = 0; i <= 10; ++i)
        call.add(i, 4 + 3 * i - 0.25 * i * i + (i % 2 == 0 ? 0.125 : -0.125));
    ASSERT_EQ(call.run(3), status_success);
    EXPECT_NEAR(call.coef[0], 4.0F, 0.1F);
    EXPECT_NEAR(call.coef[1], 3.0F, 0.1F);
    EXPECT_EQ(call.xcurve[99], 99 * (10.0F * 0.01F)); // own grid, not that of the ordinates
    EXPECT_NEAR(call.ycurve[99], 4 + 30 - 25, 0.2F);
    const auto [least, greatest] = std::minmax_element(call.y.begin(), call.y.end());
    for (const f32 value : call.ycurve) {
        EXPECT_GE(value, *least);
        EXPECT_LE(value, *greatest);
    }
}

// ---- Failures ---------------------------------------------------------------------------------------------

TEST(ModelFit, FailuresNameTheirPathAndLeaveTheOutputs) {
    struct failure_case {
        i32 model, points;
        f32 spoilt; // value of one semivariance
        const char* description;
    };
    const failure_case cases[] = {
        {1, 10, nan32, "error calling imsl BCNLS with the exponential function"},
        {2, 10, nan32, "error calling imsl BCNLS with the power function"},
        {0, 10, 1.0F, "idx_model is not defined correctly"},
        {4, 10, 1.0F, "idx_model is not defined correctly"},
        {1, 101, 1.0F, "i_npoints exceeds the maximum 100"}};
    for (const failure_case& each : cases) {
        SCOPED_TRACE(each.description);
        fit_call call;
        for (int i = 0; i < each.points; ++i) call.add(i, i);
        call.y[4] = each.spoilt;
        EXPECT_EQ(call.run(each.model), status_failure);
        support::expect_event(each.description, "modelfit_all/modelfit_all/semivariogram_modlefit");
        EXPECT_TRUE(call.outputs_untouched());
    }
}

TEST(ModelFit, AFailedPolynomialShowsInTheEvent) {
    fit_call call;
    for (int i = 0; i < 8; ++i) call.add(i, 5.0); // constant: no fit
    EXPECT_EQ(call.run(3), status_failure);
    support::expect_event("error calling imsl drcurv",
                          "polycurvfit/polycurvfit/semivariogram_modlefit");
    EXPECT_EQ(call.summary[0], untouched);
}

TEST(ModelFit, NoPointsAtAllGoUnseenAndLeaveTheParametersAsTheyWereSet) {
    fit_call call;
    EXPECT_EQ(call.run(), status_success);
    EXPECT_EQ(call.coef[0], 30.0F);
    EXPECT_EQ(call.coef[1], 0.2F);
}

} // namespace
