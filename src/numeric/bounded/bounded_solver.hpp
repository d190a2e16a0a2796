// What the bounded fit asks of its solver: an option list in, a stop code out.
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
    option_far_steps = 15,
    option_evaluate_only = 16,
};

// The settings as IPARAM and RPARAM hold them, with their defaults.
inline constexpr std::size_t integer_settings = 6, real_settings = 7;
template <class Real> struct settings_table {
    std::array<i32, integer_settings> integers;
    std::array<Real, real_settings> reals;
};
template <class Real> settings_table<Real> default_settings();

// One setting that differs from its default; a list of them ends with option_end.
struct solver_option {
    i32 code;
    f64 value;
};
inline constexpr i32 option_end = 99;

// The solver on N parameters and, after them, MCON constraint values, each with an indicator (1
// lower, 2 upper, 3 both, 4 none) and its limits. X [N] holds the start. Returns the stop code.
// Posts, all of type 5, and then returns solver_refused: 11 M, 12 N, 13 MCON, 14 an indicator, 15
// an option, 16 the storage.
template <class Real>
i32 solve_bounded(const bounded_problem<Real>& problem, const i32* indicators, const Real* lower,
                  const Real* upper, const solver_option* options, bool searches, Real* X,
                  Real& RNORM, std::byte* storage, i64 bytes);
inline constexpr i32 solver_refused = -2;

// Bytes of storage it needs.
template <class Real> i64 solver_bytes(const bounded_problem<Real>& problem);

} // namespace qmx::numeric
