// The models that the field fits to a semivariogram, and which of them is best.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "study/variogram/model_fit.hpp"

namespace qmx_study {

// All shapes fitted with all weights to the lags that have pairs. Every model has three parameters, so
// the least weighted sum of squares names the best one of those with the same weights; the sums of
// different weights cannot be compared.
struct variogram_models {
    std::vector<nugget_model>
        fits;              // by weights, then by shape; empty where nothing could be fitted
    std::size_t lags = 0;  // with pairs
    range_bounds bounds;   // of the practical range
    lag_weights weights{}; // that the best model is named by
    std::optional<std::size_t> best;

    const nugget_model* best_fit() const { return best ? &fits[*best] : nullptr; }
};

// Position of the best of the fits with these weights; of equally good ones the first.
std::optional<std::size_t> best_of(const std::vector<nugget_model>& fits, lag_weights weights);

// Without counts only lags of equal weight are fitted. asked: that the best is to be named by;
// otherwise the pairs where they are counted.
variogram_models fit_models(const std::vector<variogram_lag>& lags, bool is_counted,
                            std::optional<lag_weights> asked);

} // namespace qmx_study
