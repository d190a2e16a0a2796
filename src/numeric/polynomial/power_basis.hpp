// From a fit by orthogonal polynomials to its analysis of variance and to powers of x.
#pragma once

#include "numeric/polynomial/orthogonal_fit.hpp"
#include "numeric/regression/variance_table.hpp"

namespace qmx::numeric {

struct power_analysis {
    f64 variance[variance_entries] = {}; // in the order of variance_table.hpp
    // How much larger the terms of the worst coefficient are than what they sum to: by so much the
    // conversion widens errors of the fit.
    f64 amplification = 0.0;
};

// Analyses a fit and expands it: B, [fit.degree + 1], holds the coefficients of the powers of x in
// its own units, constant term first, expanded in pairs of f64 and rounded once. Returns false when
// memory ran out.
bool DR2TAP(const orthogonal_fit& fit, const orthogonal_term* TERMS, power_analysis& analysis,
            f64* B);

} // namespace qmx::numeric
