// The first bin that holds a pass count, by table lookup.
#pragma once

#include "base/array_view.hpp"
#include "base/work_array.hpp"
#include "qmx_ic.h"

namespace qmx {

inline constexpr i32 open_upper_end = -1; // as the upper end of a bin means
inline constexpr i32 highest_pass = 10000;

// The ends of the bins cut the pass counts into intervals with one first match each. The table
// holds the starts of the intervals, ascending, and the bin of each; counts up to highest_direct
// have an entry of their own.
class first_match_table {
public:
    explicit first_match_table(const array_view<const t_passbin>& bins);
    explicit operator bool() const { return is_complete_; } // false when memory ran out

    // The 1-based number of the first bin that holds the pass count, or 0.
    i32 operator()(i32 passes) const {
        const auto index = static_cast<std::uint32_t>(passes);
        return index <= highest_direct ? direct_[index] : search(passes);
    }

private:
    static constexpr std::uint32_t highest_direct = 16383;

    bool paint(const array_view<const t_passbin>& bins);
    i32 search(i32 passes) const;

    bool is_complete_ = false;
    i64 intervals_ = 0;
    work_array<i64> starts_;
    work_array<i32> firsts_;
    work_array<i32> direct_;
};

} // namespace qmx
