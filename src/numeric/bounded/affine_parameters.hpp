// Parameters in which the residuals are affine, as the factor before a curve is. Found at the start
// of a fit; the descent and the multistart fit them exactly while the other parameters move (Golub
// and Pereyra, The differentiation of pseudo-inverses and nonlinear least squares problems whose
// variables separate, 1973).
#pragma once

#include "numeric/bounded/local_model.hpp"
#include "numeric/bounded/trust_region.hpp"

namespace qmx::numeric {

class affine_parameters {
public:
    affine_parameters(const residual_function& function, const fit_limits& limits,
                      solver_storage& storage, local_model& model)
        : function_(function), limits_(limits), work_(storage), model_(model), m_(function.m),
          n_(function.n) {}

    // Tests each free parameter at the current point by moving it twice, as far as its bounds, and
    // all affine ones together. Sets is_affine of the storage; true if it is set for all.
    bool find();

    // Moves the affine parameters to the least sum of squares for the other parameters of at, whose
    // residuals are known. Residuals and sum, which it returns, are the predicted ones.
    f64 refit(solver_storage::point& at);

private:
    bool is_affine(i64 j);
    bool is_affine_together();
    bool evaluate_moved(i64 j, f64 to);
    f64 difference(solver_storage::point& at, i64 j, f64* column);

    const residual_function& function_;
    const fit_limits& limits_;
    solver_storage& work_;
    local_model& model_;
    i64 m_, n_;
};

} // namespace qmx::numeric
