// Search for a better minimum after the first descent. Called by minimise with the start as the
// current point; the first descent alone decides the stop code of a fit that ends ordinarily.
//
// A descent may end at a saddle point, on a plateau, or in a minimum that is not the best. Hence
//
//   - where parameters lack bounds, another descent from the start does not fit the affine
//     parameters apart; if the best point is poorly determined, the parameters that are not affine
//     are scanned along powers of two times the start;
//   - one parameter between two bounds is scanned: set to places across its range, geometric and
//     even, with the others fitted there. Descents start from the best minima of this profile;
//   - several such parameters are sampled: descents start from the best points of the box.
//
// Affine residuals have one minimum and are not searched, and neither is a point that explains the
// residuals of the start to rounding. The search is left out with more than 8 parameters, or on
// request.
#pragma once

#include "numeric/bounded/descent.hpp"

namespace qmx::numeric {

class multistart {
public:
    multistart(const residual_function& function, const fit_limits& limits,
               const solver_settings& settings, solver_storage& storage, local_model& model,
               affine_parameters& affine, descent& descent)
        : function_(function), limits_(limits), settings_(settings), work_(storage), model_(model),
          affine_(affine), descent_(descent), m_(function.m), n_(function.n) {}

    // Descends from the current point, then searches. Leaves the best point in current.
    stop_code run(f64 start_norm);

private:
    using point = solver_storage::point;

    void copy_point(const point& from, point& to) const;
    bool descend_again(bool may_fit_affine = true);
    bool has_two_bounds(i64 j) const;
    bool explains_all() const;
    bool any_unbounded() const;
    void go_to_start();
    bool is_poorly_determined();
    bool scan_along_start();
    bool search_box();
    f64 place_between(i64 j, f64 part) const;
    i32 choose_places(i64 j);
    void sample_box(i64 sides);
    bool descend_from_samples(i32 places);
    void hold_scanned(bool is_held);
    void fit_at_place(bool others_affine);
    void fit_others();
    void record_place(i32 place);
    void record_between(i32 index);
    i32 scan(i64 j, i32 places);
    bool descend_from_minima(i64 j, i32 places);
    bool descend_from_place(i32 place);
    i32 deepest_minimum(i64 j, i32 places) const;

    const residual_function& function_;
    const fit_limits& limits_;
    const solver_settings& settings_;
    solver_storage& work_;
    local_model& model_;
    affine_parameters& affine_;
    descent& descent_;
    i64 m_, n_;
    f64 start_norm_ = 0.0;
    stop_code code_ = stop_code::nothing_asked;
};

// Most places of a scanned parameter.
inline constexpr i32 most_places = 96;

} // namespace qmx::numeric
