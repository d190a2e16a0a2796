// The lag classes of one computation, and the search for the class of a distance.
//
// Class 1 holds pairs no further apart than epsilon. Class k, from 2 to last, is centred on
// xlag * (k - 2) and reaches xltol to either side, both limits included; by rounding, neighbours may
// overlap by a few units in the last place, or leave a gap.
#pragma once

#include "base/base_types.hpp"
#include "base/limits.hpp"

namespace qmx {

// Distances up to it count as coincidence.
inline constexpr f32 epsilon_distance = 1.0e-20F;
inline constexpr i32 coincident_class = 1;
inline constexpr i32 first_distance_class = 2;

struct lag_classes {
    i32 last;                        // nlag + 2
    f32 xlag;                        // lag distance
    f32 dismxs;                      // square of the greatest distance
    f32 lower[most_lag_classes + 1]; // limits of class k, from 2 on
    f32 upper[most_lag_classes + 1];
};

// nlag + 2 is at most most_lag_classes. A tolerance of 0 or less becomes half the lag distance.
lag_classes make_lag_classes(i32 nlag, f32 xlag, f32 xltol);

// The last pair of a row that was found in a class: its class and distance. A row starts with class 2
// and the distance 0 of the point to itself.
struct last_found {
    f32 lastdist;
    i32 lastlag;
};

// The class of a distance h > epsilon_distance, or 0. The search starts at the class of the last pair,
// plus the whole lags in between, and takes the first class that holds h. After coincident points it may
// start too high and find nothing: that is part of the method.
i32 find_lag_class(const lag_classes& classes, f32 h, const last_found& last);

// Which distances have a class that does not depend on the pairs before.
//
// The state of a row is regular while lastlag is the class of lastdist (class 2 for distance 0). Then a
// distance with |h - xlag * (k - 2)| <= half_width in f32 is found in class k, whatever the last pair
// was. Only distances within a few units in the last place of a border depend on it.
//
// A coincident pair leaves distance 0 with a class above 2. If that is dead_from or more, only coincident
// pairs are found in the rest of the row.
struct class_certainty {
    bool usable; // false: the class of every pair is searched for
    f32 half_width;
    i32 dead_from;
    // What is certain of class k, which may be a little more than the half width says.
    f32 least[most_lag_classes + 1];
    f32 greatest[most_lag_classes + 1];
};
// The greatest squared distance that counts as coincidence: its root rounds to epsilon_distance. A
// constant, since the neighbouring subnormal numbers cannot be tried where the processor flushes them to 0.
inline constexpr f32 greatest_coincident_square = 0x1.16c2p-133F;

class_certainty certainty_of(const lag_classes& classes, f32 xltol);
// The class of a distance that does not depend on the pairs before, or 0; inverse_lag is about 1 / xlag.
inline i32 certain_class(const lag_classes& classes, const class_certainty& certainty,
                         f32 inverse_lag, f32 h) {
    const i32 below = truncated(h * inverse_lag) + first_distance_class;
    for (i32 k = below; k <= below + 1; ++k)
        if (k <= classes.last && certainty.least[k] <= h && h <= certainty.greatest[k]) return k;
    return 0;
}

} // namespace qmx
