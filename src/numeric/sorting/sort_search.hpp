// Chamber sorting: the one sorting method of the library, with and without a permutation, and
// binary search. Called by the toolkit's wrappers, by the curve fits and by the lack-of-fit test.
// Equal keys end in a defined order, which results depend on (quicksort.hpp).
//
//   SVIGP, SVRGP, DSVRGP   IB(i) = IA(IPERM(i)), IB ascending
//   DSVRGN                 the same without the permutation
//   ISRCH                  INDEX with IX(INDEX) = KEY
//
//   N      keys; 1 or more (for the search 0 or more)
//   IA     [N] keys; the same array as IB sorts in place
//   IB     [N] keys, ascending
//   IPERM  [N] in and out: every exchange of keys is applied to it, so fill it with 1 to N first
//   IX     N elements at a stride of INCX elements, ascending
//   INDEX  position, from 1, of an element equal to KEY (of several, the first that is probed);
//          -p if there is none and p is where KEY would have to be inserted
//
// Terminal errors (type 5), everything is left unwritten: code 1, N too small; code 2 of ISRCH,
// INCX below 1. With a NaN among the keys the order is not defined; IPERM still is a permutation.
// No routine allocates.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

void SVIGP(const i32& N, const i32* IA, i32* IB, i32* IPERM);
void SVRGP(const i32& N, const f32* RA, f32* RB, i32* IPERM);
void DSVRGP(const i32& N, const f64* RA, f64* RB, i32* IPERM);
void DSVRGN(const i32& N, const f64* RA, f64* RB);
void ISRCH(const i32& N, const i32& KEY, const i32* IX, const i32& INCX, i32& INDEX);

} // namespace qmx::numeric
