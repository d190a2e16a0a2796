#include "toolkit/statistics_wrappers.hpp"

#include "base/limits.hpp"
#include "base/work_array.hpp"
#include "events/event.hpp"
#include "numeric/arithmetic/contiguous.hpp"
#include "numeric/statistics/frequency.hpp"
#include "numeric/statistics/univariate.hpp"
#include "toolkit/outcome.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace qmx {
namespace {

template <class Real> void reverse(const array_view<Real>& x) {
    for (i64 i = 1; i <= x.extent / 2; ++i) std::swap(x(i), x(x.extent + 1 - i));
}

} // namespace

i32 imsl_uvsta(const array_view<const f32>& x, const array_view<f32>& x_stat) {
    static constexpr routine_text self("imsl_uvsta");
    if (x.extent < 2) return fail_here(self, "the data array is too small. Could be bad data.");
    const numeric::contiguous_elements data(x);
    if (!data) return fail_out_of_memory(self);

    std::array<f32, statistics_rows> statistics{};
    constexpr f32 level = 95.0F;
    const i32 rows = static_cast<i32>(x.extent);
    numeric::ERSET(0, 0, 0);
    numeric::UVSTA(0, rows, 1, data.data(), rows, 0, 0, level, level, 0, statistics.data(),
                   statistics_rows, nullptr);
    if (ran_out_of_memory(numeric::univariate_storage_code)) return fail_out_of_memory(self);
    const i64 wanted = std::min<i64>(x_stat.extent, statistics_rows);
    for (i64 i = 1; i <= wanted; ++i) x_stat(i) = statistics[static_cast<std::size_t>(i - 1)];
    return status_success;
}

i32 imsl_owfrq(const i32& n, const array_view<const f32>& x, const i32& k,
               const array_view<const f32>& DIV, const array_view<f32>& x_percent) {
    static constexpr routine_text self("imsl_owfrq");
    const numeric::contiguous_elements data(x);
    const work_array<f32> divisions(k, std::numeric_limits<f32>::quiet_NaN());
    const work_array<f32> table(k, 0.0F); // stays 0 where the tally is refused
    if (!data || !divisions || !table) return fail_out_of_memory(self);
    // Missing limits stay NaN, which the tally refuses.
    for (i64 i = 1; i <= std::min<i64>(k, DIV.extent); ++i) divisions[i - 1] = DIV(i);

    numeric::ERSET(0, 0, 0);
    numeric::OWFRQ(static_cast<i32>(x.extent), data.data(), k, 2, 0.0F, 0.0F, 0.0F,
                   divisions.data(), table.data());
    const f32 count = static_cast<f32>(n);
    const i64 classes = std::min<i64>(k, x_percent.extent);
    for (i64 i = 1; i <= classes; ++i) x_percent(i) = table[i - 1] / count * 100.0F;
    return outcome_of(self, "error calling imsl drcurv");
}

i32 reverse_arr_d(const array_view<f64>& d_x) {
    reverse(d_x);
    return status_success;
}

i32 reverse_arr_s(const array_view<f32>& x_x) {
    reverse(x_x);
    return status_success;
}

} // namespace qmx
