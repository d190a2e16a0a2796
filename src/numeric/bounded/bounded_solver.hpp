// The solver behind the bounded fit: option list in, stop code out.
#pragma once

#include "numeric/bounded/bounded_fit.hpp"

#include <array>

namespace qmx::numeric {

enum option_code : i32 {
    option_iterations = 2,
    option_gradient = 4,
    option_step = 5,
    option_change = 6,
    option_noise = 7,
    option_acceptance = 8,
    option_difference = 9,
    option_region = 10,
    option_linear_only = 14,
    option_boundary_steps = 15,
    option_evaluate_only = 16,
};

// IPARAM and RPARAM with their defaults.
inline constexpr std::size_t integer_settings = 6, real_settings = 7;
template <class Real> struct settings_table {
    std::array<i32, integer_settings> integers;
    std::array<Real, real_settings> reals;
};
template <class Real> settings_table<Real> default_settings();

// One setting that differs from its default; option_end ends the list.
struct solver_option {
    i32 code;
    f64 value;
};
inline constexpr i32 option_end = 99;

// indicators, lower and upper cover the N parameters, then the MCON constraints; an indicator is 1
// lower limit, 2 upper, 3 both, 4 none. X [N] holds the start, later the solution. Returns the stop
// code, or solver_refused after a terminal error (type 5): 11 M, 12 N, 13 MCON, 14 an indicator, 15
// an option, 16 the workspace.
template <class Real>
i32 solve_bounded(const bounded_problem<Real>& problem, const i32* indicators, const Real* lower,
                  const Real* upper, const solver_option* options, bool searches, Real* X,
                  Real& RNORM, std::byte* storage, i64 bytes);
inline constexpr i32 solver_refused = -2;

// Bytes of workspace it needs.
template <class Real> i64 solver_bytes(const bounded_problem<Real>& problem);

} // namespace qmx::numeric
