// The search over all pairs of points: pair counts, distance sums and measure sums of all lag classes.
//
// The result is that of a plain loop over i and, within it, over j >= i, bit by bit: every f32
// operation of a pair, the class found from the pair before, and the order of the additions in each
// class. What makes it faster: pairs that cannot be in range are not looked at; most classes follow
// from the distance alone; rows that lie side by side go side by side in the lanes of vectors, and
// their sums are put together as if they had been formed one after the other (ordered_growth.hpp).
#pragma once

#include "base/array_view.hpp"
#include "semivariogram/search/gamv_variables.hpp"

namespace qmx {

// The search direction as a unit vector, and the least cosines of pair and direction.
struct search_direction {
    f32 uvxazm, uvyazm; // in the plane
    f32 csatol;
    f32 uvzdec, uvhdec; // vertical and horizontal part
    f32 csdtol;
};

search_direction direction_of(const t_gamvset& set);

// Adds to the tables np, dis and gam, of nlag + 2 elements each; nlag + 2 is at most
// most_lag_classes. False when memory ran out.
bool search_pairs(const gamv_variables& variables, const array_view<f64>& np,
                  const array_view<f64>& dis, const array_view<f64>& gam);

} // namespace qmx
