// One call of the bounded fit, in either width.
#pragma once

#include "numeric/bounded/bounded_fit.hpp"
#include "numeric/errors/error_stack.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace support {

using namespace qmx;
using namespace qmx::numeric;

constexpr double none_below = 1.0e30, none_above = -1.0e30; // no lower, no upper bound

struct row {
    std::vector<double> coefficients;
    i32 type;
    double lower, upper;
};

template <class Real> struct fit_call {
    residual_routine<Real> residuals;
    jacobian_routine<Real> jacobian = nullptr;
    i32 m;
    std::vector<double> start;
    std::vector<double> lower = {}, upper = {}; // empty: no bounds
    std::vector<row> rows = {};
    std::array<i32, 6> IPARAM = {};
    std::array<Real, 7> RPARAM = {};

    std::vector<Real> x = {};
    Real norm = -1;
    i32 status = -7; // what is there on entry stays where no stop code has a status
    i32 code = 0;

    void run() {
        const std::size_t n = start.size(), constraints = rows.size();
        std::vector<Real> XLB(n, static_cast<Real>(none_below));
        std::vector<Real> XUB(n, static_cast<Real>(none_above));
        for (std::size_t j = 0; j < lower.size(); ++j) {
            XLB[j] = static_cast<Real>(lower[j]);
            XUB[j] = static_cast<Real>(upper[j]);
        }
        std::vector<Real> C(constraints * n), BL, BU, guess(start.begin(), start.end());
        std::vector<i32> IRTYPE;
        for (std::size_t i = 0; i < constraints; ++i) {
            for (std::size_t j = 0; j < n; ++j)
                C[i + j * constraints] = static_cast<Real>(rows[i].coefficients[j]);
            BL.push_back(static_cast<Real>(rows[i].lower));
            BU.push_back(static_cast<Real>(rows[i].upper));
            IRTYPE.push_back(rows[i].type);
        }
        x.assign(n, Real{-99});
        const i32 MCON = static_cast<i32>(constraints);
        bcnls<Real>({residuals, jacobian, m, static_cast<i32>(n), MCON, C.data(), MCON, BL.data(),
                     BU.data(), IRTYPE.data(), XLB.data(), XUB.data(), guess.data()},
                    IPARAM.data(), RPARAM.data(), x.data(), norm, status);
        code = IERCD();
    }
    // Room for slow problems.
    void allow_iterations(i32 limit) {
        IPARAM = {1, limit, 0, 5, 0, 0};
        const Real root = std::sqrt(std::numeric_limits<Real>::epsilon());
        const Real small = static_cast<Real>(1.0e-5), tolerance = std::min(root, small);
        RPARAM = {tolerance, tolerance, tolerance, small, small, root, Real{30}};
    }
};

// Nothing prints, nothing stops the tests.
class silent_fit : public testing::Test {
protected:
    silent_fit() { ERSET(0, 0, 0); }
    ~silent_fit() override { ERSET(0, 2, 2); }
};

} // namespace support
