// One call of the regression on rows of a test, and rows made up for it.
#pragma once

#include "numeric/regression/simple_regression.hpp"
#include "support/expect_error.hpp"

namespace regression_test {

using namespace qmx;
using namespace qmx::numeric;

struct observation {
    f64 x, y, frequency = 1.0, weight = 1.0, future = 1.0;
};

struct regression {
    std::vector<f64> AOV = std::vector<f64>(15, -7.0);
    std::array<std::array<f64, 5>, 2> COEF = {}; // row 1 is the slope, with and without intercept
    std::array<std::array<f64, 2>, 2> COVB = {};
    std::vector<f64> TESTLF = std::vector<f64>(10, -7.0);
    std::vector<std::array<f64, 12>> CASE;
    i32 missing = -7;
    i32 type = 0, code = 0, seen = 0;
};

inline regression regress(const std::vector<observation>& data, i32 intercept = 1,
                          f64 mean_confidence = 95.0, f64 prediction_confidence = 90.0) {
    // Columns in an order of their own, leading dimensions larger than need be.
    const i32 n = static_cast<i32>(data.size()), leading = n + 3;
    std::vector<f64> X(static_cast<std::size_t>(leading) * 6, -99.0);
    for (i32 i = 0; i < n; ++i) {
        const observation& row = data[static_cast<std::size_t>(i)];
        const f64 columns[6] = {row.future, row.y, nan64, row.x, row.weight, row.frequency};
        for (i32 k = 0; k < 6; ++k) X[static_cast<std::size_t>(i + k * leading)] = columns[k];
    }
    regression found;
    f64 COEF[3 * 5], COVB[4 * 2];
    std::vector<f64> CASE(static_cast<std::size_t>(leading) * 12);
    ERSET(0, 0, 0);
    DRONE(n, 6, X.data(), leading, intercept, 2, 4, 6, 5, 1, mean_confidence, prediction_confidence,
          0, found.AOV.data(), COEF, 3, COVB, 4, found.TESTLF.data(), CASE.data(), leading,
          found.missing);
    found.type = N1RTY(1);
    found.code = N1RCD(1);
    found.seen = IERCD();
    for (i32 row = 0; row <= intercept; ++row) {
        const auto to = static_cast<std::size_t>(intercept == 1 ? row : 1);
        for (std::size_t k = 0; k < 5; ++k) found.COEF[to][k] = COEF[row + 3 * static_cast<i32>(k)];
        for (i32 k = 0; k <= intercept; ++k)
            found.COVB[to][static_cast<std::size_t>(intercept == 1 ? k : 1)] = COVB[row + 4 * k];
    }
    found.CASE.resize(data.size());
    for (std::size_t i = 0; i < data.size(); ++i)
        for (std::size_t k = 0; k < 12; ++k)
            found.CASE[i][k] = CASE[i + k * static_cast<std::size_t>(leading)];
    return found;
}

inline std::vector<observation> made_up(unsigned seed, int n, f64 x_offset, f64 x_span,
                                        f64 y_offset, f64 noise, bool replicated, bool counted,
                                        bool weighted) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<f64> unit(0.0, 1.0);
    std::vector<observation> data;
    for (int i = 0; i < n; ++i) {
        const f64 place = replicated ? std::floor(8 * unit(random)) / 8 : unit(random);
        observation o{x_offset + x_span * place, y_offset + place + noise * (unit(random) - 0.5)};
        if (counted) o.frequency = 1 + std::floor(3 * unit(random));
        if (weighted) o.weight = std::exp(6 * unit(random) - 3);
        o.future = 1 + std::floor(3 * unit(random));
        data.push_back(o);
    }
    return data;
}

} // namespace regression_test
