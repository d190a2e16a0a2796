// Decides the classes that the pairs of a block leave open, in the order of the row.
#pragma once

#include "semivariogram/lag_classes.hpp"
#include "semivariogram/pair_kernel.hpp"

namespace qmx {

// How the class of the next pair is found.
enum class row_manner {
    regular,  // lastlag is the class of lastdist: most classes are certain
    searched, // a coincident pair broke that: search for each pair until one is found
    dead      // it broke it for good: only coincident pairs are found in the rest of the row
};

struct row_state {
    row_manner manner = row_manner::regular;
    last_found last = {0, first_distance_class}; // as the pair of the point with itself leaves it
};

// Settles the open classes of a classified block, and leaves the state for the next block of the
// row. With any_open false the block has none.
void settle_block(const lag_classes& classes, const class_certainty& certainty, bool any_open,
                  row_state& state, pair_kernel::pair_block& block);

} // namespace qmx
