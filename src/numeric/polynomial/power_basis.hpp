// Analysis of variance of a fit by orthogonal polynomials, and its expansion into powers of x.
#pragma once

#include "numeric/polynomial/orthogonal_fit.hpp"
#include "numeric/regression/variance_table.hpp"

namespace qmx::numeric {

struct power_analysis {
    f64 variance[variance_entries] = {}; // in the order of variance_table.hpp
    // Sum of the magnitudes of a coefficient's terms over its own magnitude, for the worst
    // coefficient: the factor by which the expansion amplifies errors of the fit.
    f64 amplification = 0.0;
};

// Expands a fit into powers: B, [fit.degree + 1]. Returns false when memory ran out.
bool expand_into_powers(const orthogonal_fit& fit, const orthogonal_term* terms, f64* B,
                        f64& amplification);

// Analyses a fit and expands it: B, [fit.degree + 1], receives the coefficients of the powers of x
// in the units of x, constant term first, computed in double-double and rounded once. Returns false
// when memory ran out.
bool DR2TAP(const orthogonal_fit& fit, const orthogonal_term* TERMS, power_analysis& analysis,
            f64* B);

} // namespace qmx::numeric
