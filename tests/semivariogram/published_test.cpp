// The experimental semivariogram beside its definition: distances and differences in f64, classes by
// their borders, no search. The definition is first shown to give a published table.
#include "semivariogram/gamv_call.hpp"

#include <memory>

using namespace gamv_test;

namespace {

struct lag_class {
    i64 pairs = 0;
    f64 distance = 0, semivariance = 0; // means once all pairs are in
};

// Class k holds the pairs with borders[k] < distance <= borders[k + 1] that `accepts` (dx, dy).
template <class Accepts>
std::vector<lag_class> by_definition(const lot& data, const std::vector<f64>& borders,
                                     Accepts&& accepts) {
    std::vector<lag_class> classes(borders.size() - 1);
    for (std::size_t i = 0; i < data.size(); ++i)
        for (std::size_t j = 0; j < i; ++j) {
            const f64 dx = data[j].d_x - data[i].d_x;
            const f64 dy = data[j].d_y - data[i].d_y;
            const f64 distance = std::hypot(dx, dy);
            if (!accepts(dx, dy)) continue;
            for (std::size_t k = 0; k < classes.size(); ++k)
                if (borders[k] < distance && distance <= borders[k + 1]) {
                    ++classes[k].pairs;
                    classes[k].distance += distance;
                    classes[k].semivariance += std::pow(data[i].d_val - data[j].d_val, 2) / 2;
                }
        }
    for (lag_class& found : classes)
        if (found.pairs > 0) {
            found.distance /= static_cast<f64>(found.pairs);
            found.semivariance /= static_cast<f64>(found.pairs);
        }
    return classes;
}

bool everything(f64, f64) {
    return true;
}

// Borders of classes centred on 0, lag, 2 lag, ...
std::vector<f64> centred(i32 nlag, f64 lag) {
    std::vector<f64> borders = {0};
    for (i32 k = 0; k <= nlag; ++k) borders.push_back((k + 0.5) * lag);
    return borders;
}

// Lag class 1 holds each point with itself, so that class k of the definition is lag class k + 2.
// Only the 32-bit arithmetic lies between the two; `counted` is how often a pair is counted.
void expect_definition(const t_gamvset& set, const lot& data,
                       const std::vector<lag_class>& expected, i64 counted, f64 sill = 1) {
    const table result(set, data);
    ASSERT_EQ(result.classes, static_cast<i32>(expected.size()) + 1);
    EXPECT_EQ(result.pairs(1), static_cast<f64>(counted * std::ssize(data)));
    for (std::size_t k = 0; k < expected.size(); ++k) {
        SCOPED_TRACE(k);
        const auto& [pairs, distance, semivariance] = expected[k];
        const i64 lag_class = static_cast<i64>(k) + 2;
        EXPECT_EQ(result.pairs(lag_class), static_cast<f64>(counted * pairs));
        EXPECT_NEAR(result.distance(lag_class), distance, 1e-6 * distance);
        EXPECT_NEAR(result.semivariance(lag_class), semivariance / sill,
                    1e-5 * semivariance / sill);
    }
}

// Places on a grid of 1/64 m, exact in 32 bits, and values that resemble each other nearby.
lot scattered(std::size_t count) {
    std::mt19937 random(20);
    lot data(count);
    for (t_icdata& point : data) {
        point.d_x = static_cast<f64>(random() % 6400) / 64;
        point.d_y = static_cast<f64>(random() % 3200) / 64;
        point.d_val = 80 + 10 * std::sin(0.1 * point.d_x) * std::cos(0.07 * point.d_y) +
                      static_cast<f64>(random() % 1000) / 250;
    }
    return data;
}

f64 population_variance(const lot& data) {
    f64 mean = 0, variance = 0;
    for (const t_icdata& point : data) mean += point.d_val / static_cast<f64>(data.size());
    for (const t_icdata& point : data)
        variance += std::pow(point.d_val - mean, 2) / static_cast<f64>(data.size());
    return variance;
}

TEST(Definition, HoldsForAllDirections) {
    const lot data = scattered(400);
    for (const i32 nlag : {1, 12, 98}) {
        const f32 lag = 53.7F / static_cast<f32>(nlag);
        t_gamvset set = settings(nlag, lag);
        const auto expected = by_definition(data, centred(nlag, f64{lag}), everything);
        expect_definition(set, data, expected, 2);
        set.isill = 1;
        expect_definition(set, data, expected, 2, population_variance(data));
    }
}

// A pair counts if the line through it is within the tolerance of the direction, whichever way round,
// and its end no further than the bandwidth from the axis through its start.
TEST(Definition, HoldsForAConeCutToItsBand) {
    const lot data = scattered(400);
    // Degrees clockwise from north, degrees, metres.
    for (const auto& [azimuth, tolerance, bandwidth] :
         {std::array{0.0F, 22.5F, 1e9F}, {30, 40, 6}, {250, 10, 1e9F}, {117, 60, 2.25F}}) {
        SCOPED_TRACE(azimuth);
        t_gamvset set = settings(12, 4.5F);
        set.azm = azimuth;
        set.atol = tolerance;
        set.bandwh = bandwidth;
        const f64 degree = std::acos(-1.0) / 180;
        const f64 east = std::sin(f64{set.azm} * degree);
        const f64 north = std::cos(f64{set.azm} * degree);
        const auto expected = by_definition(data, centred(12, 4.5), [&](f64 dx, f64 dy) {
            const f64 along = std::abs(dx * east + dy * north);
            const f64 across = std::abs(dx * north - dy * east);
            return std::atan2(across, along) <= f64{set.atol} * degree && across <= f64{set.bandwh};
        });
        EXPECT_GT(expected[6].pairs, 20);
        expect_definition(set, data, expected, 1);
    }
}

// 155 river-soil samples, the set "meuse" of R's package sp: log of zinc. Empty without R or the
// package.
lot river_soil() {
#if defined(_WIN32)
    return {};
#else
    const char* const command =
        "Rscript --vanilla -e \"data(meuse, package = 'sp');"
        "cat(sprintf('%d %d %.17g', meuse[['x']], meuse[['y']], log(meuse[['zinc']])), sep = '\\n')"
        "\" 2>/dev/null";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command, "r"), pclose);
    lot data;
    t_icdata point{};
    while (pipe &&
           std::fscanf(pipe.get(), "%lf %lf %lf", &point.d_x, &point.d_y, &point.d_val) == 3)
        data.push_back(point);
    return data;
#endif
}

// Published with R's package gstat for these samples: classes from 0 in steps of 106.44151 m.
constexpr f64 published_width = 106.44151;
const std::vector<lag_class> published = {
    {57, 79.29244, 0.1234479},    {299, 163.97367, 0.2162185},  {419, 267.36483, 0.3027859},
    {457, 372.73542, 0.4121448},  {547, 478.47670, 0.4634128},  {533, 585.34058, 0.5646933},
    {574, 693.14526, 0.5689683},  {564, 796.18365, 0.6186769},  {589, 903.14650, 0.6471479},
    {543, 1011.29177, 0.6915705}, {500, 1117.86235, 0.7033984}, {477, 1221.32810, 0.6038770},
    {452, 1329.16407, 0.6517158}, {457, 1437.25620, 0.5665318}, {415, 1543.20248, 0.5748227}};

TEST(PublishedSemivariogram, HoldsInCentredClasses) {
    const lot data = river_soil();
    if (data.empty()) GTEST_SKIP() << "R or its package sp is not there";
    ASSERT_EQ(data.size(), 155U);

    std::vector<f64> borders;
    for (std::size_t k = 0; k <= published.size(); ++k)
        borders.push_back(static_cast<f64>(k) * published_width);
    const auto found = by_definition(data, borders, everything);
    for (std::size_t k = 0; k < published.size(); ++k) {
        EXPECT_EQ(found[k].pairs, published[k].pairs) << k;
        EXPECT_NEAR(found[k].distance, published[k].distance, 5.01e-6) << k;
        EXPECT_NEAR(found[k].semivariance, published[k].semivariance, 5.01e-8) << k;
    }

    // The same samples in classes about multiples of the lag, half as wide and as wide as published.
    for (const auto& [nlag, lag] : {std::pair{15, 106.44151F}, std::pair{30, 53.220755F}})
        expect_definition(settings(nlag, lag), data,
                          by_definition(data, centred(nlag, f64{lag}), everything), 2);
}

} // namespace
