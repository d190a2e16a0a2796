#include "study/analyses/semivariogram_models.hpp"

namespace qmx_study {

std::optional<std::size_t> best_of(const std::vector<nugget_model>& fits, lag_weights weights) {
    constexpr double clearly = 1 - 1e-9;
    std::optional<std::size_t> best;
    for (std::size_t i = 0; i < fits.size(); ++i)
        if (fits[i].weights == weights &&
            (!best || fits[i].sum_of_squares < clearly * fits[*best].sum_of_squares))
            best = i;
    return best;
}

variogram_models fit_models(const std::vector<variogram_lag>& lags, bool is_counted,
                            std::optional<lag_weights> asked) {
    variogram_models models;
    models.lags = lags.size();
    models.weights = is_counted ? asked.value_or(lag_weights::pairs) : lag_weights::equal;
    if (lags.size() < least_lags_of_models) return models;
    models.bounds = bounds_of_range(lags);
    for (const lag_weights weights : all_weights) {
        if (weights != lag_weights::equal && !is_counted) continue;
        for (const model_shape shape : all_shapes)
            if (const auto fit = fit_model(lags, shape, weights)) models.fits.push_back(*fit);
    }
    models.best = best_of(models.fits, models.weights);
    return models;
}

} // namespace qmx_study
