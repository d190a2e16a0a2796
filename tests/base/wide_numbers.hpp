// Numbers of 50 digits as truth, and arguments of all magnitudes.
#pragma once

#include "base/base_types.hpp"

#include <boost/multiprecision/cpp_bin_float.hpp>

#include <cmath>
#include <random>

namespace support {

using qmx::f64;
using wide = boost::multiprecision::number<boost::multiprecision::cpp_bin_float<50>>;

// Numbers of either sign whose magnitudes are spread evenly over the exponents between two.
class spread_numbers {
public:
    spread_numbers(f64 least, f64 greatest) : exponent_(std::log2(least), std::log2(greatest)) {}
    f64 operator()() {
        const f64 magnitude = std::exp2(exponent_(engine_));
        return (engine_() & 1) != 0 ? -magnitude : magnitude;
    }

private:
    std::mt19937_64 engine_{20240607};
    std::uniform_real_distribution<f64> exponent_;
};

} // namespace support
