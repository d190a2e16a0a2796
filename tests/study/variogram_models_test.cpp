// Models with a nugget against Bessel functions, a dense scan of ranges, and R's package gstat.
#include "study/variogram/model_fit.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include <boost/math/special_functions/bessel.hpp>
#include <gtest/gtest.h>

#include "study/analyses/semivariogram_models.hpp"
#include "support/case_count.hpp"

namespace {

using namespace qmx_study;

// The formulas as textbooks have them, by the scale.
double textbook(model_shape shape, double h, double scale) {
    const double u = h / scale;
    switch (shape) {
    case model_shape::exponential: return 1 - std::exp(-u);
    case model_shape::spherical: return u < 1 ? 1.5 * u - 0.5 * u * u * u : 1;
    case model_shape::gaussian: return 1 - std::exp(-u * u);
    case model_shape::matern_3_2: return 1 - (1 + u) * std::exp(-u);
    case model_shape::matern_5_2: break;
    }
    return 1 - (1 + u + u * u / 3) * std::exp(-u);
}

TEST(ModelShapes, AreThoseOfTheTextbooks) {
    for (const model_shape shape : all_shapes) {
        SCOPED_TRACE(name_of(shape));
        const double scale = 1 / practical_range_of_scale(shape);
        for (double h = 0; h < 12; h = h * 1.07 + 1e-7) {
            EXPECT_NEAR(rise(shape, h), textbook(shape, h, scale), 1e-14) << h;
            const double step = 1e-5;
            const double slope =
                (textbook(shape, h * (1 + step), scale) - textbook(shape, h * (1 - step), scale)) /
                (2 * step);
            EXPECT_NEAR(rise_by_log_distance(shape, h), slope, 1e-5) << h;
        }
        const double at_range = shape == model_shape::spherical ? 1 : -std::expm1(-3.0);
        EXPECT_NEAR(rise(shape, 1), at_range, 1e-14);
    }
    // The two closed forms are the Matérn class: 1 - 2^(1 - k) / Gamma(k) u^k K_k(u).
    for (const auto& [shape, smoothness] :
         {std::pair{model_shape::matern_3_2, 1.5}, std::pair{model_shape::matern_5_2, 2.5}})
        for (double h = 0.01; h < 5; h += 0.037) {
            const double u = h * practical_range_of_scale(shape);
            const double by_bessel = 1 - std::pow(2, 1 - smoothness) / std::tgamma(smoothness) *
                                             std::pow(u, smoothness) *
                                             boost::math::cyl_bessel_k(smoothness, u);
            EXPECT_NEAR(rise(shape, h), by_bessel, 1e-14) << h;
        }
    // Digits are kept near 0.
    for (const double x : {1e-300, 1e-12, 1e-5, 0.1, 0.1250001, 3.0, 800.0})
        EXPECT_NEAR(saturation(x), -std::expm1(-x), 2e-15 * -std::expm1(-x)) << x;
}

double weight(const variogram_lag& lag, lag_weights weights) {
    if (weights == lag_weights::equal) return 1;
    return weights == lag_weights::pairs ? lag.pairs : lag.pairs / lag.distance / lag.distance;
}

double squares_of(const std::vector<variogram_lag>& lags, const std::vector<double>& rises,
                  lag_weights weights, double nugget, double partial_sill) {
    double squares = 0;
    for (std::size_t i = 0; i < lags.size(); ++i)
        squares += weight(lags[i], weights) *
                   std::pow(lags[i].semivariance - nugget - partial_sill * rises[i], 2);
    return squares;
}

// Nugget and partial sill by the normal equations, each of them free or 0.
double least_squares_at(const std::vector<variogram_lag>& lags, const std::vector<double>& rises,
                        lag_weights weights) {
    double w = 0, r = 0, rr = 0, g = 0, rg = 0;
    for (std::size_t i = 0; i < lags.size(); ++i) {
        const double each = weight(lags[i], weights);
        w += each;
        r += each * rises[i];
        rr += each * rises[i] * rises[i];
        g += each * lags[i].semivariance;
        rg += each * rises[i] * lags[i].semivariance;
    }
    double least = std::min(squares_of(lags, rises, weights, g / w, 0),
                            squares_of(lags, rises, weights, 0, rg / rr));
    const double determinant = w * rr - r * r;
    const double nugget = (rr * g - r * rg) / determinant;
    const double partial_sill = (w * rg - r * g) / determinant;
    if (determinant > 1e-9 * w * rr && nugget >= 0 && partial_sill >= 0)
        least = std::min(least, squares_of(lags, rises, weights, nugget, partial_sill));
    return least;
}

std::vector<double> rises_at(const std::vector<variogram_lag>& lags, model_shape shape,
                             double range) {
    std::vector<double> rises;
    for (const variogram_lag& lag : lags)
        rises.push_back(textbook(shape, lag.distance, range / practical_range_of_scale(shape)));
    return rises;
}

class random_semivariograms {
public:
    std::vector<variogram_lag> next() {
        const int lags = static_cast<int>(between(4, 32));
        const double spacing = std::exp2(std::floor(between(-12, 12)));
        const double height = std::pow(10, between(-4, 5));
        const double range = between(0.5, 2.0 * lags), nugget = std::max(0.0, between(-0.5, 1));
        const double noise = chance() < 0.2 ? 0 : between(0, 0.4);
        const bool is_regular = chance() < 0.5;
        const auto kind = static_cast<int>(between(0, 8));
        std::vector<variogram_lag> result;
        for (int k = 0; k < lags; ++k) {
            const double h = k + (is_regular ? 1 : between(0.55, 1.45));
            const double g =
                std::max(0.0, curve(kind, h, range, nugget) * (1 + noise * between(-1, 1)));
            result.push_back({h * spacing, (kind == 5 ? std::round(4 * g) : g) * height,
                              std::floor(between(1, 1000))});
        }
        return result;
    }

private:
    double between(double low, double high) { return low + (high - low) * chance(); }
    double chance() { return uniform(random); }
    double curve(int kind, double h, double range, double nugget) {
        switch (kind) {
        case 0: return nugget + 0.1 * h;      // no sill
        case 1: return 1 + nugget;            // no rise
        case 2: return 1 / h + nugget;        // falls
        case 3: return 1.2 - std::sin(h) / h; // waves
        case 4: return chance();              // nothing
        default: break;                       // a model, 5: rounded to few numbers
        }
        const auto shape = all_shapes[static_cast<std::size_t>(between(0, 5))];
        return nugget + textbook(shape, h, range / practical_range_of_scale(shape));
    }

    std::mt19937_64 random{20};
    std::uniform_real_distribution<double> uniform{0, 1};
};

// Nugget and sill are linear, so a scan over the range alone shows the least sum of squares there is.
TEST(FittedModels, NoRangeOfADenseScanFitsBetter) {
    random_semivariograms semivariograms;
    constexpr int steps = 300;
    unsigned on_bound = 0, without_nugget = 0, without_rise = 0;
    for (unsigned trial = 0; trial < support::cases(2000); ++trial) {
        const std::vector<variogram_lag> lags = semivariograms.next();
        const lag_weights weights = all_weights[static_cast<std::size_t>(trial % 3)];
        const range_bounds bounds = bounds_of_range(lags);
        for (const model_shape shape : all_shapes) {
            SCOPED_TRACE(testing::Message() << "trial " << trial << ", " << name_of(shape));
            double least = std::numeric_limits<double>::infinity();
            for (int step = 0; step <= steps; ++step) {
                const double range =
                    bounds.least * std::pow(bounds.most / bounds.least, step / double{steps});
                least =
                    std::min(least, least_squares_at(lags, rises_at(lags, shape, range), weights));
            }
            const auto fit = fit_model(lags, shape, weights);
            if (!fit) {
                EXPECT_TRUE(std::all_of(lags.begin(), lags.end(), [](const variogram_lag& lag) {
                    return lag.semivariance == 0;
                }));
                continue;
            }
            double scale = 0; // of the sums, whose rounding shows where the model fits exactly
            for (const variogram_lag& lag : lags)
                scale += weight(lag, weights) * lag.semivariance * lag.semivariance;
            EXPECT_LE(fit->sum_of_squares, least * (1 + 1e-6) + 1e-26 * scale);
            const std::vector<double> rises = fit->range == range_place::no_rise
                                                  ? std::vector<double>(lags.size(), 0.0)
                                                  : rises_at(lags, shape, fit->practical_range);
            EXPECT_NEAR(fit->sum_of_squares,
                        squares_of(lags, rises, weights, fit->nugget, fit->partial_sill),
                        1e-9 * fit->sum_of_squares + 1e-26 * scale);
            EXPECT_GE(fit->nugget, 0);
            EXPECT_GE(fit->partial_sill, 0);
            EXPECT_EQ(fit->range == range_place::no_rise, fit->partial_sill == 0);
            if (fit->range == range_place::inside) {
                EXPECT_GT(fit->practical_range, bounds.least);
                EXPECT_LT(fit->practical_range, bounds.most);
            }
            on_bound += fit->range == range_place::on_lower_bound ||
                        fit->range == range_place::on_upper_bound;
            without_nugget += fit->nugget == 0;
            without_rise += fit->range == range_place::no_rise;
        }
    }
    // Every kind of end was met.
    EXPECT_GT(on_bound, support::cases(100));
    EXPECT_GT(without_nugget, support::cases(100));
    EXPECT_GT(without_rise, support::cases(100));
}

// The 155 samples of river soil in R's package sp, log of zinc: lags of the published semivariogram.
const std::vector<variogram_lag> river_soil = {
    {79.29244, 0.1234479, 57},    {163.97367, 0.2162185, 299},  {267.36483, 0.3027859, 419},
    {372.73542, 0.4121448, 457},  {478.47670, 0.4634128, 547},  {585.34058, 0.5646933, 533},
    {693.14526, 0.5689683, 574},  {796.18365, 0.6186769, 564},  {903.14650, 0.6471479, 589},
    {1011.29177, 0.6915705, 543}, {1117.86235, 0.7033984, 500}, {1221.32810, 0.6038770, 477},
    {1329.16407, 0.6517158, 452}, {1437.25620, 0.5665318, 457}, {1543.20248, 0.5748227, 415}};

struct peer_fit {
    lag_weights weights;
    model_shape shape;
    double nugget, partial_sill, scale, squares;
};

// By fit.variogram of gstat 2.1-0 with fit.method 6, 1 and 7; exponential without a nugget, since gstat
// lets it become negative. Gaussian: gstat stops before the minimum, so R's optim went on from there
// with the model's values by gstat.
const std::vector<peer_fit> peer_fits = {
    {lag_weights::equal, model_shape::exponential, 0, 0.6587612905, 357.9600256, 0.0310832033734},
    {lag_weights::equal, model_shape::spherical, 0.0533601, 0.57944504, 890.14495, 0.0191940440898},
    {lag_weights::equal, model_shape::gaussian, 0.12846446, 0.5034852, 425.46724, 0.0207463436897},
    {lag_weights::equal, model_shape::matern_3_2, 0.076953368, 0.56349824, 181.84217,
     0.0230120821353},
    {lag_weights::equal, model_shape::matern_5_2, 0.099366101, 0.53793126, 138.79825,
     0.0217208564794},
    {lag_weights::pairs, model_shape::exponential, 0, 0.6624729578, 355.764591, 14.8205096811},
    {lag_weights::pairs, model_shape::spherical, 0.06512676, 0.57110458, 911.04393, 9.21549089462},
    {lag_weights::pairs, model_shape::gaussian, 0.15124135, 0.48517143, 444.07916, 9.6585209182},
    {lag_weights::pairs, model_shape::matern_3_2, 0.062442963, 0.58132734, 180.52184, 11.077996174},
    {lag_weights::pairs, model_shape::matern_5_2, 0.10015952, 0.54110525, 140.71622, 10.4978432107},
    {lag_weights::pairs_by_distance, model_shape::exponential, 0, 0.7186583418, 449.764905,
     1.62832761523e-05},
    {lag_weights::pairs_by_distance, model_shape::spherical, 0.0506604, 0.59060588, 897.00628,
     9.0112038843e-06},
    {lag_weights::pairs_by_distance, model_shape::gaussian, 0.12435712, 0.50507093, 411.43832,
     1.76155255372e-05},
    {lag_weights::pairs_by_distance, model_shape::matern_3_2, 0.095063753, 0.56735109, 201.19321,
     1.09812475562e-05},
    {lag_weights::pairs_by_distance, model_shape::matern_5_2, 0.10891508, 0.54016062, 145.47768,
     1.21826369397e-05}};

TEST(FittedModels, HaveTheParametersThatRFinds) {
    for (const peer_fit& peer : peer_fits) {
        SCOPED_TRACE(testing::Message() << name_of(peer.weights) << ", " << name_of(peer.shape));
        const auto fit = fit_model(river_soil, peer.shape, peer.weights);
        ASSERT_TRUE(fit);
        EXPECT_NEAR(fit->nugget, peer.nugget, 2e-6 * peer.nugget); // 0 exactly
        EXPECT_NEAR(fit->partial_sill, peer.partial_sill, 2e-6 * peer.partial_sill);
        EXPECT_NEAR(fit->scale(), peer.scale, 2e-6 * peer.scale);
        EXPECT_NEAR(fit->sum_of_squares, peer.squares, 1e-9 * peer.squares);
        EXPECT_EQ(fit->range, range_place::inside);
    }
    for (const lag_weights weights : all_weights) {
        const variogram_models models = fit_models(river_soil, true, weights);
        ASSERT_TRUE(models.best_fit());
        EXPECT_EQ(models.fits.size(), peer_fits.size());
        EXPECT_EQ(models.best_fit()->shape, model_shape::spherical);
        EXPECT_EQ(models.best_fit()->weights, weights);
    }
    EXPECT_EQ(fit_models(river_soil, true, {}).weights, lag_weights::pairs);
    const variogram_models uncounted = fit_models(river_soil, false, {});
    EXPECT_EQ(uncounted.weights, lag_weights::equal);
    EXPECT_EQ(uncounted.fits.size(), all_shapes.size());
}

// Only operations that IEEE 754 rounds exactly, in a fixed order: no processor, compiler or
// mathematics library changes a bit.
TEST(FittedModels, HaveTheSameBitsOnEveryMachine) {
    std::uint64_t hash = 0;
    for (const nugget_model& fit : fit_models(river_soil, true, {}).fits)
        for (const double number :
             {fit.nugget, fit.partial_sill, fit.practical_range, fit.sum_of_squares})
            hash = (hash ^ std::bit_cast<std::uint64_t>(number)) * 0x100000001b3ULL;
    EXPECT_EQ(hash, 0xa8847986865fb70ULL);
}

TEST(FittedModels, FollowTheUnitsAndMeetTheEnds) {
    std::vector<variogram_lag> scaled = river_soil;
    for (variogram_lag& lag : scaled) {
        lag.distance *= 0x1p-10;
        lag.semivariance *= 0x1p300;
    }
    for (const model_shape shape : all_shapes) {
        const auto plain = fit_model(river_soil, shape, lag_weights::pairs);
        const auto fit = fit_model(scaled, shape, lag_weights::pairs);
        ASSERT_TRUE(plain && fit);
        EXPECT_EQ(fit->nugget, plain->nugget * 0x1p300);
        EXPECT_EQ(fit->partial_sill, plain->partial_sill * 0x1p300);
        EXPECT_EQ(fit->practical_range, plain->practical_range * 0x1p-10);
        EXPECT_EQ(fit->residual_norm, plain->residual_norm * 0x1p300);
    }
    const auto of = [](auto semivariance) {
        std::vector<variogram_lag> lags;
        for (int k = 1; k <= 12; ++k)
            lags.push_back({static_cast<double>(k), semivariance(static_cast<double>(k)), 10});
        return lags;
    };
    for (const model_shape shape : all_shapes) {
        SCOPED_TRACE(name_of(shape));
        const auto level = fit_model(of([](double) { return 3.0; }), shape, lag_weights::equal);
        EXPECT_EQ(level->range, range_place::no_rise);
        EXPECT_EQ(level->nugget, 3);
        EXPECT_TRUE(std::isnan(level->practical_range));
        EXPECT_EQ(level->at(5), 3);
        const auto parabola = fit_model(of([](double h) { return h * h; }), shape, {});
        EXPECT_EQ(parabola->range, range_place::on_upper_bound);
        EXPECT_EQ(parabola->practical_range, 120);
        EXPECT_EQ(parabola->nugget, 0);
        const auto exact =
            fit_model(of([&](double h) { return 0.7 + 2 * rise(shape, h / 6.5); }), shape, {});
        EXPECT_NEAR(exact->nugget, 0.7, 1e-7);
        EXPECT_NEAR(exact->practical_range, 6.5, 1e-6);
        EXPECT_NEAR(exact->residual_norm, 0, 1e-7);
        EXPECT_FALSE(fit_model(of([](double) { return 0.0; }), shape, {}));
        EXPECT_FALSE(fit_model(of([](double) { return 1e300; }), shape, {}));
    }
    std::vector<variogram_lag> few(river_soil.begin(), river_soil.begin() + 3);
    EXPECT_FALSE(fit_model(few, model_shape::spherical, lag_weights::equal));
    EXPECT_EQ(fit_models(few, true, {}).best_fit(), nullptr);
    EXPECT_EQ(fit_models({}, true, {}).lags, 0U);
}

} // namespace
