// The least residual norm that a model of a semivariogram can reach, by a dense scan of one parameter:
// both models are linear in the other, whose best value is then a quotient.
#pragma once

#include "support/test.hpp"

namespace support {

struct profile {
    std::vector<double> h, y;
    bool is_power; // else the exponential model
    double linear_low, linear_high;

    double basis(double distance, double x) const {
        return is_power ? std::pow(distance, x) : -std::expm1(-3.0 * distance / x);
    }
    double norm(double x, double linear) const {
        double sum = 0.0;
        for (std::size_t i = 0; i < h.size(); ++i)
            sum += std::pow(basis(h[i], x) * linear - y[i], 2);
        return std::sqrt(sum);
    }
    double best_norm(double x) const {
        double bb = 0.0, by = 0.0;
        for (std::size_t i = 0; i < h.size(); ++i) {
            const double b = basis(h[i], x);
            bb += b * b;
            by += b * y[i];
        }
        if (!std::isfinite(bb)) return inf64;
        return norm(x, std::clamp(bb > 0.0 ? by / bb : linear_low, linear_low, linear_high));
    }
    // Scan in even ratios, then golden sections around the best place.
    double scan(double low, double high, int places) const {
        double least = inf64, at = low;
        for (int k = 0; k <= places; ++k) {
            const double x = low * std::pow(high / low, static_cast<double>(k) / places);
            const double value = best_norm(x);
            if (value < least) least = value, at = x;
        }
        const double ratio = std::pow(high / low, 1.5 / places);
        double a = std::max(low, at / ratio), b = std::min(high, at * ratio);
        for (int k = 0; k < 60; ++k) {
            const double c = a + 0.381966 * (b - a), d = a + 0.618034 * (b - a);
            (best_norm(c) < best_norm(d) ? b : a) = best_norm(c) < best_norm(d) ? d : c;
        }
        return std::min(least, best_norm(0.5 * (a + b)));
    }
};

} // namespace support
