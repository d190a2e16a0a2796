// Models with a nugget, fitted to the lags of a semivariogram by weighted least squares.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "study/variogram/model_shapes.hpp"

namespace qmx_study {

struct variogram_lag {
    double distance = 0; // mean of its pairs, above 0
    double semivariance = 0;
    double pairs = 0; // above 0 where weights ask for them
};

// What a lag weighs in the sum of squares: 1, its pairs, or its pairs over its squared distance.
// N. Cressie: Fitting variogram models by weighted least squares (1985).
enum class lag_weights { equal, pairs, pairs_by_distance };

inline constexpr std::array all_weights = {lag_weights::equal, lag_weights::pairs,
                                           lag_weights::pairs_by_distance};

const char* name_of(lag_weights weights); // for a reader: "pairs / distance²"
const char* key_of(lag_weights weights);  // for options and documents: "pairs-by-distance"

// Where a fitted range stands: between its bounds, on one of them, or nowhere, since there is no rise.
enum class range_place { inside, on_lower_bound, on_upper_bound, no_rise };

struct nugget_model {
    model_shape shape{};
    lag_weights weights{};
    double nugget = 0, partial_sill = 0; // neither is negative; 0 exactly where 0 is best
    double practical_range = 0;          // NaN without a rise
    range_place range{};
    double sum_of_squares = 0; // weighted
    // Root of the sum of squares with weights scaled to a mean of 1: in the unit of semivariance, and
    // the plain norm of the residuals where all weigh the same.
    double residual_norm = 0;

    double sill() const { return nugget + partial_sill; }
    double scale() const { return practical_range / practical_range_of_scale(shape); }
    double at(double distance) const; // above 0
};

// Ranges are sought from the shortest to ten times the longest distance of the lags: shorter and
// longer ones cannot be told apart by these lags.
struct range_bounds {
    double least = 0, most = 0;
};
range_bounds bounds_of_range(const std::vector<variogram_lag>& lags);

// Three parameters need a fourth lag to be judged by.
inline constexpr std::size_t least_lags_of_models = 4;

// The best model of this shape with nugget >= 0, partial sill >= 0 and the range between its bounds.
// Nothing with too few lags, without any semivariance, or with numbers whose squares overflow.
std::optional<nugget_model> fit_model(const std::vector<variogram_lag>& lags, model_shape shape,
                                      lag_weights weights);

} // namespace qmx_study
