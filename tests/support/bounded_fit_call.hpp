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
constexpr double no_number = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

template <class Real> Real to(double value) {
    return static_cast<Real>(value);
}

template <class Real> void rosenbrock(const i32&, const i32&, const Real* x, Real* f) {
    f[0] = to<Real>(10) * (x[1] - x[0] * x[0]);
    f[1] = to<Real>(1) - x[0];
}

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
    i32 status = -7; // unchanged where the stop code has no status
    i32 code = 0;

    void run() {
        const std::size_t n = start.size(), constraints = rows.size();
        std::vector<Real> XLB(lower.begin(), lower.end()), XUB(upper.begin(), upper.end());
        XLB.resize(n, to<Real>(none_below));
        XUB.resize(n, to<Real>(none_above));
        std::vector<Real> C(constraints * n), BL, BU, guess(start.begin(), start.end());
        std::vector<i32> IRTYPE;
        for (std::size_t i = 0; i < constraints; ++i) {
            for (std::size_t j = 0; j < n; ++j)
                C[i + j * constraints] = to<Real>(rows[i].coefficients[j]);
            BL.push_back(to<Real>(rows[i].lower));
            BU.push_back(to<Real>(rows[i].upper));
            IRTYPE.push_back(rows[i].type);
        }
        x.assign(n, Real{-99});
        const i32 MCON = static_cast<i32>(constraints);
        bcnls<Real>({residuals, jacobian, m, static_cast<i32>(n), MCON, C.data(), MCON, BL.data(),
                     BU.data(), IRTYPE.data(), XLB.data(), XUB.data(), guess.data()},
                    IPARAM.data(), RPARAM.data(), x.data(), norm, status);
        code = IERCD();
    }
    void limit_iterations(i32 limit) {
        IPARAM = {1, limit, 0, 5, 0, 0};
        const Real root = std::sqrt(std::numeric_limits<Real>::epsilon());
        const Real small = to<Real>(1.0e-5), tolerance = std::min(root, small);
        RPARAM = {tolerance, tolerance, tolerance, small, small, root, Real{30}};
    }
};

// Errors neither print nor stop the tests.
class silent_fit : public testing::Test {
protected:
    silent_fit() { ERSET(0, 0, 0); }
    ~silent_fit() override { ERSET(0, 2, 2); }
};

} // namespace support
