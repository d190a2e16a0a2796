// How many pairs each lag class of a semivariogram holds, counted by the library itself.
//
// The library keeps its counts to itself, but a semivariance is half a sum over a count: where all
// values are 0 but for one pair in each class, whose values differ by 1, a class of n pairs has the
// semivariance 1 / (2 n). Such a pair is laid out for each class, so far from the points and from the
// others that no other pair comes of it, and the analysis is run once more. Every rule by which the
// library takes a pair or leaves it out applies as before.
#pragma once

#include <cstdint>
#include <vector>

#include <qmx_ic.h>

namespace qmx_study {

// Beyond this many pairs in a class its count is one of 24 bits: off by less than 1 in 8 million.
inline constexpr std::int64_t most_exact_pairs = std::int64_t{1} << 23;

inline constexpr std::int64_t unknown_pairs = -1;

// The count of each of the settings' lag classes; unknown_pairs where the pair laid out for the class
// could not be kept inside it: a band or a cone too narrow for 32-bit positions. Takes as long as the
// analysis; the points are used up.
std::vector<std::int64_t> count_pairs(std::vector<t_icdata> points, const t_gamvset_user& settings);

} // namespace qmx_study
