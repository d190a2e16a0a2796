// One call of the bounded fit, in either width.
#pragma once

#include "numeric/bounded/bounded_fit.hpp"
#include "support/expect_error.hpp"

namespace support {

using namespace qmx;
using namespace qmx::numeric;

constexpr double none_below = 1.0e30, none_above = -1.0e30; // no lower, no upper bound

template <class Real> Real to(double value) {
    return static_cast<Real>(value);
}

template <class Real> void rosenbrock(const i32&, const i32&, const Real* x, Real* f) {
    f[0] = to<Real>(10) * (x[1] - x[0] * x[0]);
    f[1] = to<Real>(1) - x[0];
}

// Has a saddle point near (-1, 1, -1, 1).
template <class Real> void wood(const i32&, const i32&, const Real* x, Real* f) {
    f[0] = to<Real>(10) * (x[1] - x[0] * x[0]);
    f[1] = to<Real>(1) - x[0];
    f[2] = to<Real>(std::sqrt(90.0)) * (x[3] - x[2] * x[2]);
    f[3] = to<Real>(1) - x[2];
    f[4] = to<Real>(std::sqrt(10.0)) * (x[1] + x[3] - to<Real>(2));
    f[5] = to<Real>(std::sqrt(0.1)) * (x[1] - x[3]);
}

// Linear residuals A x - b, A by rows.
inline std::vector<double> linear_a, linear_b;
template <class Real> void linear(const i32& M, const i32& N, const Real* x, Real* f) {
    for (i32 i = 0; i < M; ++i) {
        f[i] = to<Real>(-linear_b[static_cast<std::size_t>(i)]);
        for (i32 j = 0; j < N; ++j)
            f[i] += to<Real>(linear_a[static_cast<std::size_t>(i * N + j)]) * x[j];
    }
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

// The residual routine of a case, its bounds and its calls, none of which may lie outside them.
template <class Real> inline residual_routine<Real> watched;
inline std::vector<double> watched_lower, watched_upper;
inline bool has_left_bounds;
inline int watched_calls;

template <class Real> void watch(const i32& M, const i32& N, const Real* x, Real* f) {
    for (std::size_t j = 0; j < static_cast<std::size_t>(N) && j < watched_lower.size(); ++j)
        if (!(x[j] >= to<Real>(watched_lower[j]) && x[j] <= to<Real>(watched_upper[j])))
            has_left_bounds = true;
    ++watched_calls;
    watched<Real>(M, N, x, f);
}

// Runs the call under watch. Crossed bounds hold the upper one; a NaN does not bind.
template <class Real> void run_watched(fit_call<Real>& call) {
    watched_lower.clear();
    watched_upper.clear();
    for (std::size_t j = 0; j < call.lower.size(); ++j) {
        const double low = call.lower[j], high = call.upper[j];
        watched_upper.push_back(high == none_above || std::isnan(high) ? inf64 : high);
        watched_lower.push_back(
            low == none_below || std::isnan(low) ? -inf64 : std::min(low, watched_upper.back()));
    }
    has_left_bounds = false;
    watched_calls = 0;
    watched<Real> = call.residuals;
    call.residuals = watch<Real>;
    call.run();
    EXPECT_FALSE(has_left_bounds);
}

// Errors neither print nor stop the tests.
class silent_fit : public testing::Test {
protected:
    silent_fit() { ERSET(0, 0, 0); }
    ~silent_fit() override { ERSET(0, 2, 2); }
};

} // namespace support
