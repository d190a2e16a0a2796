// The bounded fit and its test problems for bench/bounded_fit_survey: one call of the fit, and the
// residuals alone for an independent solver.
#include "numeric/bounded/bounded_fit.hpp"
#include "numeric/errors/error_stack.hpp"

#include <array>
#include <cmath>
#include <limits>
#include <vector>

using namespace qmx;
using namespace qmx::numeric;

namespace {

enum kind : i32 {
    linear,
    exponential,
    power_law, // the lots' own curves
    rosenbrock,
    wood,
    powell_singular,
    beale,
    freudenstein,
    box_three,
    brown_dennis,
    helical,
    bard,
    kowalik,
    jennrich,
    bilinear,
    linked, // textbook
    misra1a = 20,
    misra1b,
    danwood,
    chwirut2,
    lanczos3,
    mgh09,
    mgh17,
    rat42,
    rat43,
    cubic_ratio,
    eckerle4,
    kirby2,
    bennett5,
    nelson,
    boxbod // regressions with certified answers
};

// What the residual routines read: a [m by n] and b [m] of a linear problem, abscissas (second: the
// other regressor) and ordinates of a curve.
struct {
    i32 kind, n;
    const double *first, *second, *y;
    long calls;
    const double *lower, *upper;
    i32 outside;
} given;

template <class Real> Real to(double value) {
    return static_cast<Real>(value);
}

template <class Real> Real curve_at(const Real* b, Real x, Real z) {
    const Real one(1);
    switch (given.kind) {
    case exponential: return (one - std::exp((Real(3) * x) / -b[0])) * b[1];
    case power_law: return std::pow(x, b[1]) * b[0];
    case misra1a: return b[0] * (one - std::exp(-b[1] * x));
    case misra1b: {
        const Real u = one + b[1] * x / Real(2);
        return b[0] * (one - one / (u * u));
    }
    case danwood: return b[0] * std::pow(x, b[1]);
    case chwirut2: return std::exp(-b[0] * x) / (b[1] + b[2] * x);
    case lanczos3:
        return b[0] * std::exp(-b[1] * x) + b[2] * std::exp(-b[3] * x) + b[4] * std::exp(-b[5] * x);
    case mgh09: return b[0] * (x * x + x * b[1]) / (x * x + x * b[2] + b[3]);
    case mgh17: return b[0] + b[1] * std::exp(-x * b[3]) + b[2] * std::exp(-x * b[4]);
    case rat42: return b[0] / (one + std::exp(b[1] - b[2] * x));
    case rat43: return b[0] / std::pow(one + std::exp(b[1] - b[2] * x), one / b[3]);
    case cubic_ratio:
        return (b[0] + x * (b[1] + x * (b[2] + x * b[3]))) /
               (one + x * (b[4] + x * (b[5] + x * b[6])));
    case eckerle4: {
        const Real u = (x - b[2]) / b[1];
        return b[0] / b[1] * std::exp(to<Real>(-0.5) * u * u);
    }
    case kirby2: return (b[0] + x * (b[1] + x * b[2])) / (one + x * (b[3] + x * b[4]));
    case bennett5: return b[0] * std::pow(b[1] + x, -one / b[2]);
    case nelson: return b[0] - b[1] * x * std::exp(-b[2] * z);
    case boxbod: return b[0] * (one - std::exp(-b[1] * x));
    default: return std::numeric_limits<Real>::quiet_NaN();
    }
}

template <class Real> void textbook(i32 m, const Real* x, Real* f) {
    const auto t = [](double value) { return static_cast<Real>(value); };
    switch (given.kind) {
    case rosenbrock:
        f[0] = t(10) * (x[1] - x[0] * x[0]);
        f[1] = t(1) - x[0];
        return;
    case wood:
        f[0] = t(10) * (x[1] - x[0] * x[0]);
        f[1] = t(1) - x[0];
        f[2] = t(std::sqrt(90.0)) * (x[3] - x[2] * x[2]);
        f[3] = t(1) - x[2];
        f[4] = t(std::sqrt(10.0)) * (x[1] + x[3] - t(2));
        f[5] = t(1 / std::sqrt(10.0)) * (x[1] - x[3]);
        return;
    case powell_singular:
        f[0] = x[0] + t(10) * x[1];
        f[1] = t(std::sqrt(5.0)) * (x[2] - x[3]);
        f[2] = (x[1] - t(2) * x[2]) * (x[1] - t(2) * x[2]);
        f[3] = t(std::sqrt(10.0)) * (x[0] - x[3]) * (x[0] - x[3]);
        return;
    case beale:
        for (i32 i = 0; i < 3; ++i) {
            Real part = x[1];
            for (i32 k = 0; k < i; ++k) part *= x[1];
            f[i] =
                t(std::array{1.5, 2.25, 2.625}[static_cast<std::size_t>(i)]) - x[0] * (t(1) - part);
        }
        return;
    case freudenstein:
        f[0] = t(-13) + x[0] + ((t(5) - x[1]) * x[1] - t(2)) * x[1];
        f[1] = t(-29) + x[0] + ((x[1] + t(1)) * x[1] - t(14)) * x[1];
        return;
    case box_three:
        for (i32 i = 0; i < m; ++i) {
            const Real at = t(0.1 * (i + 1));
            f[i] = std::exp(-at * x[0]) - std::exp(-at * x[1]) -
                   x[2] * (std::exp(-at) - std::exp(t(-10) * at));
        }
        return;
    case brown_dennis:
        for (i32 i = 0; i < m; ++i) {
            const Real at = t((i + 1) / 5.0);
            const Real u = x[0] + at * x[1] - std::exp(at),
                       v = x[2] + x[3] * std::sin(at) - std::cos(at);
            f[i] = u * u + v * v;
        }
        return;
    case helical: {
        const Real turn =
            t(std::atan2(static_cast<double>(x[1]), static_cast<double>(x[0])) / 6.283185307179586);
        f[0] = t(10) * (x[2] - t(10) * turn);
        f[1] = t(10) * (std::sqrt(x[0] * x[0] + x[1] * x[1]) - t(1));
        f[2] = x[2];
        return;
    }
    case bard:
        for (i32 i = 0; i < m; ++i) {
            const Real u = t(i + 1), v = t(15 - i), w = std::min(u, v);
            f[i] = t(given.y[i]) - (x[0] + u / (v * x[1] + w * x[2]));
        }
        return;
    case kowalik:
        for (i32 i = 0; i < m; ++i) {
            const Real u = t(given.first[i]);
            f[i] = t(given.y[i]) - x[0] * (u * u + u * x[1]) / (u * u + u * x[2] + x[3]);
        }
        return;
    case jennrich:
        for (i32 i = 0; i < m; ++i)
            f[i] = t(2 + 2 * (i + 1)) - (std::exp(t(i + 1) * x[0]) + std::exp(t(i + 1) * x[1]));
        return;
    case bilinear:
        f[0] = x[0] - t(1);
        f[1] = x[1] - t(2);
        f[2] = x[0] * x[1];
        return;
    default:
        f[0] = x[0] + x[1];
        f[1] = x[1] + x[2];
        return;
    }
}

template <class Real> void residuals(const i32& M, const i32& N, const Real* x, Real* f) {
    ++given.calls;
    if (given.lower != nullptr)
        for (i32 j = 0; j < N; ++j) { // crossed bounds: the upper one
            const Real high = to<Real>(given.upper[j]);
            const bool has_upper = high != to<Real>(-1e30);
            Real low = to<Real>(given.lower[j]);
            const bool has_lower = low != to<Real>(1e30);
            if (has_lower && has_upper) low = std::min(low, high);
            if ((has_lower && !(x[j] >= low)) || (has_upper && !(x[j] <= high))) given.outside = 1;
        }
    if (given.kind == linear) {
        for (i32 i = 0; i < M; ++i) {
            f[i] = to<Real>(-given.y[i]);
            for (i32 j = 0; j < N; ++j) f[i] += to<Real>(given.first[i * N + j]) * x[j];
        }
    } else if (given.kind >= rosenbrock && given.kind < misra1a) {
        textbook(M, x, f);
    } else {
        for (i32 i = 0; i < M; ++i)
            f[i] = curve_at(x, to<Real>(given.first[i]),
                            to<Real>(given.second == nullptr ? 0.0 : given.second[i])) -
                   to<Real>(given.y[i]);
    }
}

struct fit_answer {
    double x[12];
    double norm;
    i32 status, code;
    i32 calls;
    i32 outside;
};

template <class Real>
void fit(i32 m, i32 n, const double* start, const double* lower, const double* upper, i32 rows,
         const double* c, const double* limits, const i32* types, i32 steps, i32 searches,
         fit_answer& answer) {
    const std::size_t count = static_cast<std::size_t>(n), held = static_cast<std::size_t>(rows);
    std::vector<Real> guess(start, start + n), x(count), low(count, to<Real>(1e30)),
        high(count, to<Real>(-1e30)), coefficients(held * count + 1), least(held + 1),
        most(held + 1);
    if (lower != nullptr)
        for (std::size_t j = 0; j < count; ++j) {
            low[j] = to<Real>(lower[j]);
            high[j] = to<Real>(upper[j]);
        }
    for (std::size_t k = 0; k < held * count; ++k) coefficients[k] = to<Real>(c[k]);
    for (std::size_t i = 0; i < held; ++i) {
        least[i] = to<Real>(limits[2 * i]);
        most[i] = to<Real>(limits[2 * i + 1]);
    }
    const Real root = std::sqrt(std::numeric_limits<Real>::epsilon()), small = to<Real>(1e-5);
    const Real tolerance = std::min(root, small);
    i32 IPARAM[6] = {1, steps, 0, 5, 0, searches != 0 ? 0 : 1};
    Real RPARAM[7] = {tolerance, tolerance, tolerance, small, small, root, Real(30)};
    Real norm = 0;
    i32 status = -7;
    const bounded_problem<Real> problem{
        residuals<Real>, nullptr,     m,     n,          rows,        coefficients.data(), rows,
        least.data(),    most.data(), types, low.data(), high.data(), guess.data()};
    bcnls(problem, IPARAM, RPARAM, x.data(), norm, status);
    for (std::size_t j = 0; j < count; ++j) answer.x[j] = static_cast<double>(x[j]);
    answer.norm = static_cast<double>(norm);
    answer.status = status;
    answer.code = IERCD();
}

} // namespace

extern "C" {

void choose_problem(i32 which, i32 n, const double* first, const double* second, const double* y) {
    given = {which, n, first, second, y, 0, nullptr, nullptr, 0};
    ERSET(0, 0, 0);
}

void residuals_at(i32 m, const double* x, double* f) {
    residuals<double>(m, given.n, x, f);
}
void single_residuals_at(i32 m, const float* x, float* f) {
    residuals<float>(m, given.n, x, f);
}

void fit_problem(i32 is_single, i32 m, const double* start, const double* lower,
                 const double* upper, i32 rows, const double* c, const double* limits,
                 const i32* types, i32 steps, i32 searches, fit_answer* answer) {
    given.calls = 0;
    given.outside = 0;
    given.lower = lower;
    given.upper = upper;
    if (is_single != 0)
        fit<float>(m, given.n, start, lower, upper, rows, c, limits, types, steps, searches,
                   *answer);
    else
        fit<double>(m, given.n, start, lower, upper, rows, c, limits, types, steps, searches,
                    *answer);
    given.lower = nullptr;
    answer->calls = static_cast<i32>(given.calls);
    answer->outside = given.outside;
}
}
