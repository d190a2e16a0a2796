// Calls of UVSTA and what to hold them against.
#pragma once

#include "numeric/statistics/univariate.hpp"
#include "support/exact_statistics.hpp"
#include "support/expect_error.hpp"

namespace univariate {

using namespace qmx;
using namespace qmx::numeric;
using support::wide;

inline constexpr f32 untouched = -777.0F;

using column = std::array<f32, 15>;

struct outcome {
    column stat;
    i32 missing = -1;
    i32 type = 0;
    i32 code = 0;
    f32 row(int number) const { return stat[static_cast<std::size_t>(number - 1)]; }
};

// One variable, all rows in one call.
inline outcome statistics(const std::vector<f32>& x, f32 mean_level = 95, f32 variance_level = 95) {
    outcome result;
    result.stat.fill(untouched);
    const i32 n = static_cast<i32>(x.size());
    ERSET(0, 0, 0);
    UVSTA(0, n, 1, x.data(), n, 0, 0, mean_level, variance_level, 0, result.stat.data(), 15,
          &result.missing);
    result.type = N1RTY(1);
    result.code = N1RCD(1);
    return result;
}

inline bool same_bits(const column& a, const column& b) {
    return std::memcmp(a.data(), b.data(), sizeof a) == 0;
}

inline void expect_accurate(const column& got, const support::exact_statistics& exact,
                            const std::string& name, f64 bound = 2.0) {
    for (std::size_t i = 0; i < 14; ++i) {
        const bool shape = i == 3 || i == 4;
        EXPECT_LE(support::ulps_between(got[i], exact.row[i], shape ? 1.0 : 0.0), bound)
            << name << ", row " << i + 1 << ": " << got[i] << " for " << exact.row[i];
    }
    EXPECT_EQ(got[0], static_cast<f32>(exact.row[0])) << name << ": the mean rounds correctly";
}

inline std::vector<f32> made(std::size_t n,
                             const std::function<f32(std::size_t, std::mt19937&)>& value) {
    std::mt19937 random(20240607);
    std::vector<f32> x(n);
    for (std::size_t i = 0; i < n; ++i) x[i] = value(i, random);
    return x;
}

inline f32 normal(std::mt19937& random, f32 mean, f32 deviation) {
    return std::normal_distribution<f32>(mean, deviation)(random);
}

} // namespace univariate
