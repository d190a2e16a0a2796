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

// The running values of one row of pairs: class and distance of the pair found last. A new row
// starts with class 2; the distance then comes from the pair of the point with itself.
struct last_found {
    f32 lastdist;
    i32 lastlag;
};

// The class that the search finds for the distance h > epsilon_distance, or 0. It starts at the
// class of the last found pair, moved by the whole lags in between, and takes the first class that
// holds h. After coincident points it may start too high and find nothing: that is part of the
// method.
i32 find_lag_class(const lag_classes& classes, f32 h, const last_found& last);

// What lets most pairs be classified without the pairs before them.
//
// The state of a row is regular while lastlag is the class of lastdist (class 2 at distance 0
// included). If then |h - xlag * (k - 2)| <= half_width in f32, the search finds k whatever the last
// found pair was. Only distances within a few units in the last place of a border are left open.
//
// A coincident pair leaves distance 0 with a class above 2. From class dead_from on nothing more is
// found in that row but coincident pairs.
struct class_certainty {
    bool usable; // false where the limits are too odd for this; then every pair is searched for
    f32 half_width;
    i32 dead_from;
};
// The greatest square of a distance that counts as coincidence.
f32 greatest_coincident_square();

class_certainty certainty_of(const lag_classes& classes, f32 xltol);

} // namespace qmx
