// One experimental semivariogram of a lot, and its table.
#pragma once

#include "events/event.hpp"
#include "semivariogram/experimental.hpp"
#include "support/test.hpp"

namespace gamv_test {

using namespace qmx;
using lot = std::vector<t_icdata>;

inline t_gamvset settings(i32 nlag, f32 xlag) {
    return {-1.0e21F, 1.0e21F, nlag, xlag, xlag * 0.5F, 0, 90, 1.0e9F, 0, 0, 1.0e9F, 0, 1, 1, 1};
}

struct table {
    table(const t_gamvset& set, const lot& data) { fill(set, data); }
    void fill(const t_gamvset& set, const lot& data) {
        const i64 count = std::ssize(data);
        clear_event();
        gslib_gamv(set, static_cast<i32>(count), view_of(data.data(), count), classes, view());
        ASSERT_FALSE(has_failed());
    }
    array_view<f64> view() { return view_of(values.data(), std::ssize(values)); }
    f64 at(result_column column, i64 k) const {
        return values[static_cast<std::size_t>(result_index(column, k) - 1)];
    }
    f64 distance(i64 k) const { return at(result_column::distance, k); }
    f64 semivariance(i64 k) const { return at(result_column::semivariance, k); }
    f64 pairs(i64 k) const { return at(result_column::pair_count, k); }

    i32 classes = 0;
    std::vector<f64> values = std::vector<f64>(result_columns * most_lag_classes, -1.0);
};

} // namespace gamv_test
