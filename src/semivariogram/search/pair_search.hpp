// The search over all pairs of points: counts, sums of distances and sums of squared differences of all
// lag classes. Called by gslib_gamv.
//
// The result is that of a plain loop over i and, within it, over j >= i, bit by bit: every f32
// operation of a pair, the class found from the pair before, and the order of the additions in each
// class. Four things make it faster: pairs that cannot be in range are not looked at; most classes
// follow from the distance alone; rows of pairs are searched side by side in the lanes of registers; and
// their sums are joined as if they had been formed one after the other (ordered_growth.hpp).
#pragma once

#include "base/array_view.hpp"
#include "semivariogram/search/gamv_variables.hpp"

namespace qmx {

// Adds to the tables np, dis and gam, of nlag + 2 elements each; nlag + 2 is at most
// most_lag_classes. Trimmed values are overwritten. False when memory ran out.
bool search_pairs(gamv_variables& variables, const array_view<f64>& np, const array_view<f64>& dis,
                  const array_view<f64>& gam);

} // namespace qmx
