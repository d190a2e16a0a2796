// Search for a better local minimum between the bounds, after the first descent has ended. Called by
// minimise with the current point at the end of that descent.
//
// Fits of curves have plateaus, and minima on bounds that are not the best. Each parameter with two
// finite bounds is set to 48 places between them, the others are fitted to each place by a linear
// model, and descents start from the best local minima of this profile. Places that violate a
// constraint are skipped. The search is left out with more than 8 parameters, or on request.
#pragma once

#include "numeric/bounded/descent.hpp"

namespace qmx::numeric {

class multistart {
public:
    multistart(const residual_function& function, const fit_limits& limits,
               const solver_settings& settings, solver_storage& storage, local_model& model,
               descent& descent)
        : function_(function), limits_(limits), settings_(settings), work_(storage), model_(model),
          descent_(descent), m_(function.m), n_(function.n) {}

    // Descends from the current point, then searches. Leaves the best point in current.
    stop_code run(f64 start_norm);

private:
    using point = solver_storage::point;

    void copy_point(const point& from, point& to) const;
    void scan(i64 j);
    i32 deepest_minimum(f64 at, i64 j) const;

    const residual_function& function_;
    const fit_limits& limits_;
    const solver_settings& settings_;
    solver_storage& work_;
    local_model& model_;
    descent& descent_;
    i64 m_, n_;
};

// Places of a parameter between its bounds.
inline constexpr i32 places_across = 48;

} // namespace qmx::numeric
