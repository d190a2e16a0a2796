#include "coverage/first_match.hpp"

#include <numeric>

namespace qmx {

namespace {

constexpr i64 lowest_pass = std::numeric_limits<i32>::min();

i64 upper_end(const t_passbin& bin) {
    return bin.i_pass_upper == open_upper_end ? highest_pass : bin.i_pass_upper;
}

} // namespace

first_match_table::first_match_table(const array_view<const t_passbin>& bins)
    : starts_(2 * bins.extent + 1), firsts_(2 * bins.extent + 1), direct_(highest_direct + 1) {
    if (!starts_ || !firsts_ || !direct_) return;
    i64 count = 0;
    starts_[count++] = lowest_pass;
    for (i64 i = 1; i <= bins.extent; ++i) {
        if (bins(i).i_pass_lower > upper_end(bins(i))) continue; // holds nothing
        starts_[count++] = bins(i).i_pass_lower;
        starts_[count++] = upper_end(bins(i)) + 1;
    }
    std::sort(starts_.begin(), starts_.begin() + count);
    intervals_ = std::unique(starts_.begin(), starts_.begin() + count) - starts_.begin();
    if (!paint(bins)) return;
    for (i64 s = 0; s < intervals_; ++s) {
        const i64 begin = std::clamp(starts_[s], i64{0}, i64{highest_direct} + 1);
        const i64 next = s + 1 < intervals_ ? starts_[s + 1] : i64{highest_direct} + 1;
        const i64 end = std::clamp(next, i64{0}, i64{highest_direct} + 1);
        std::fill(direct_.begin() + begin, direct_.begin() + end, firsts_[s]);
    }
    is_complete_ = true;
} // GCOVR_EXCL_LINE: cleans up after a throw, and nothing here throws

// Assigns each interval to the first bin that covers it. An assigned interval links to the next
// free one, so that later bins skip what is assigned (disjoint sets: Tarjan 1975).
bool first_match_table::paint(const array_view<const t_passbin>& bins) {
    constexpr i32 no_bin = 0;
    std::fill_n(firsts_.data(), intervals_, no_bin);
    const work_array<i64> next_free(intervals_ + 1);
    if (!next_free) return false;
    std::iota(next_free.begin(), next_free.end(), i64{0});
    const auto first_free = [&](i64 interval) {
        i64 root = interval;
        while (next_free[root] != root) root = next_free[root];
        while (next_free[interval] != root) {
            const i64 above = next_free[interval];
            next_free[interval] = root;
            interval = above;
        }
        return root;
    };
    const i64* const first = starts_.begin();
    const i64* const last = first + intervals_;
    for (i64 i = 1; i <= bins.extent; ++i) {
        const i64 upper = upper_end(bins(i));
        const i64 begin = std::lower_bound(first, last, i64{bins(i).i_pass_lower}) - first;
        const i64 end = std::lower_bound(first, last, upper + 1) - first;
        for (i64 s = first_free(begin); s < end; s = first_free(s)) {
            firsts_[s] = static_cast<i32>(i);
            next_free[s] = s + 1;
        }
    }
    return true;
}

i32 first_match_table::search(i32 passes) const {
    const i64* const first = starts_.begin();
    const i64* const above = std::upper_bound(first, first + intervals_, i64{passes});
    return firsts_[above - first - 1];
}

} // namespace qmx
