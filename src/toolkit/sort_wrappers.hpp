// Sorting and searching, with numerical errors as events. For the probability plot.
//
// Return 1, or 3 with an event, code 101: "error calling imsl SVIGP" (SVRGP, ISRCH), with the
// wrapper's name twice in the path; "memory could not be allocated". Refused arguments are no
// failure; the outputs are then unwritten.
#pragma once

#include "base/array_view.hpp"

namespace qmx {

// IB becomes IA in ascending order, IB(i) = IA(IPERM(i)). The extent of IB is the number of keys;
// the other views must have it too. IPERM needs no preparation. An empty IB sorts nothing.
i32 imsl_svigp(const array_view<const i32>& IA, const array_view<i32>& IB,
               const array_view<i32>& IPERM);
i32 imsl_SVRGP(const array_view<const f32>& RA, const array_view<f32>& RB,
               const array_view<i32>& IPERM);

// Position, from 1, of an element of the ascending vector that equals the key; where there is none,
// minus the position at which the key would have to be inserted.
i32 imsl_isrch(const i32& key, const array_view<const i32>& vector, i32& index);

} // namespace qmx
