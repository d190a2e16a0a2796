#include "toolkit/correlation_wrappers.hpp"

#include "base/work_array.hpp"
#include "events/event.hpp"
#include "numeric/arithmetic/contiguous.hpp"
#include "numeric/distributions/tabulated_quantile.hpp"
#include "numeric/statistics/cross_correlation.hpp"
#include "toolkit/outcome.hpp"

#include <algorithm>
#include <cmath>

namespace qmx {
namespace {

bool is_zero(const array_view<const f32>& x) {
    constexpr f32 least = 1.1920929E-07F;
    for (i64 i = 1; i <= x.extent; ++i)
        if (std::abs(x(i)) > least) return false;
    return true;
}

} // namespace

i32 imsl_ccf(const array_view<const f32>& x_xval, const array_view<const f32>& x_yval,
             const i32& i_maxlag, const array_view<f32>& x_correlation, i32* i_lag,
             f32* x_at_lag_0) {
    static constexpr routine_text self("imsl_ccf");
    numeric::ERSET(0, 0, 0);
    if (x_xval.extent != x_yval.extent)
        return fail_here(self, "two time series are in different size");
    if (x_xval.extent < 2) return fail_here(self, "number of obervation is less than 2");
    if (i_maxlag < 1 || i_maxlag > x_xval.extent)
        return fail_here(self, "i_maxlag is out of range");
    if (is_zero(x_xval)) return fail_here(self, "x_xval is a zero array");
    if (is_zero(x_yval)) return fail_here(self, "x_yval is a zero array");

    const i64 positions = 2 * i64{i_maxlag} + 1;
    const numeric::contiguous_elements x(x_xval), y(x_yval);
    const work_array<f32> covariance(positions), correlation(positions, 0.0F);
    if (!x || !y || !covariance || !correlation) return fail_out_of_memory(self);
    constexpr i32 no_standard_errors = 0, compute_means = 1, no_print = 0;
    f32 mean_x = 0.0F, mean_y = 0.0F, variance_x = 0.0F, variance_y = 0.0F;
    numeric::CCF(x.data(), y.data(), static_cast<i32>(x_xval.extent), i_maxlag, no_standard_errors,
                 compute_means, no_print, mean_x, mean_y, variance_x, variance_y, covariance.data(),
                 correlation.data(), nullptr);
    if (ran_out_of_memory(numeric::cross_correlation_storage_code)) return fail_out_of_memory(self);

    for (i64 i = 1; i <= x_correlation.extent; ++i)
        x_correlation(i) = i <= positions ? correlation[i - 1] : 0.0F;
    const bool was_refused = numeric::N1RTY(1) == numeric::type_terminal;
    const auto largest = std::max_element(correlation.begin(), correlation.end());
    if (i_lag != nullptr)
        *i_lag = was_refused ? 0 : static_cast<i32>(largest - correlation.begin()) - i_maxlag;
    if (x_at_lag_0 != nullptr) *x_at_lag_0 = correlation[i_maxlag];
    return outcome_of(self, "error calling imsl drcurv");
}

i32 imsl_GCIN(const array_view<const f32>& x_probability, const array_view<const f32>& x_abscissa,
              const array_view<const f32>& x_ordinate, const array_view<f32>& x_quantile) {
    static constexpr routine_text self("imsl_GCIN");
    static constexpr std::string_view message = "IMSL GCIN Error";
    constexpr i32 curve_through_probabilities = 3;
    numeric::ERSET(0, 0, 0);
    for (i64 i = 1; i <= x_quantile.extent; ++i) x_quantile(i) = 0.0F;
    if (x_abscissa.extent != x_ordinate.extent) return fail_in_call(self, message);
    const numeric::contiguous_elements abscissas(x_abscissa), ordinates(x_ordinate);
    if (!abscissas || !ordinates) return fail_out_of_memory(self);

    const i64 count = std::min(x_probability.extent, x_quantile.extent);
    for (i64 i = 1; i <= count; ++i) {
        const f32 quantile =
            numeric::GCIN(x_probability(i), abscissas.data(), ordinates.data(),
                          static_cast<i32>(x_abscissa.extent), curve_through_probabilities);
        if (ran_out_of_memory(numeric::tabulated_quantile_storage_code))
            return fail_out_of_memory(self);
        if (numeric::N1RTY(1) != numeric::type_none) return fail_in_call(self, message);
        x_quantile(i) = quantile;
    }
    return status_success;
}

} // namespace qmx
