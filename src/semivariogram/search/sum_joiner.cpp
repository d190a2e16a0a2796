#include "semivariogram/search/sum_joiner.hpp"

#include <algorithm>

namespace qmx {

using namespace pair_kernel;
using namespace ordered_growth;

sum_joiner::sum_joiner(const search_rules& rules, class_sums& sums)
    : rules_(rules), sums_(sums), last_class_(rules.classes->last) {
    for (i32 k = coincident_class; k <= last_class_; ++k)
        greatest_exact_[k] = exact_distance_sum(*rules.classes, k);
}

void sum_joiner::begin_class(i32 k, const expected_sums& expected) {
    std::uint8_t needs = 0;
    if (!(expected.distance < greatest_exact_[k])) needs |= ordered_distance;
    const f64 squares = sums_.of[k].squares;
    if (expected.squares > next_power(squares)) needs |= next_squares | apart;
    if (!rules_.twice || !can_pool(squares)) needs |= apart;
    needs_[k] = needs;
    taken_in_[k] = {0, 0};
}

void sum_joiner::begin_sweep(bool again) {
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        if (!is_wanted(k)) continue;
        if (again && taken_in_[k].distance < rows_) needs_[k] |= ordered_distance;
        if (again) needs_[k] |= apart;
        const f64 squares = sums_.of[k].squares;
        power_[static_cast<i32>(row_sum::squares)][k] = power_of(squares);
        power_[static_cast<i32>(row_sum::next_squares)][k] = next_power(squares);
        power_[static_cast<i32>(row_sum::distances)][k] = power_of(sums_.of[k].distance);
    }
}

// The last row before the given one at which a sum has stopped, or -1.
i64 sum_joiner::last_stop_before(i64 row) const {
    i64 last = -1;
    for (i32 k = coincident_class; k <= last_class_; ++k)
        for (const i64 stop : {taken_in_[k].squares, taken_in_[k].distance})
            if (stop < row) last = std::max(last, stop);
    return last;
}

} // namespace qmx
