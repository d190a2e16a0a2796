#include "support/bounded_fit_call.hpp"
#include "support/certified_set.hpp"

#include <complex>

using namespace support;

namespace {

using BoundedFitAccuracy = silent_fit;

// Models take complex parameters, for exact Jacobians.
using number = std::complex<double>;
using model = number (*)(const number* b, double x, double second);

number cubic_ratio(const number* b, double x, double) {
    return (b[0] + x * (b[1] + x * (b[2] + x * b[3]))) / (1.0 + x * (b[4] + x * (b[5] + x * b[6])));
}
number saturation(const number* b, double x, double) {
    return b[0] * (1.0 - exp(-b[1] * x));
}

struct regression {
    model form = nullptr;
    std::vector<std::array<double, 2>> x;
    std::vector<double> y, starts[2], certified;
};
regression current; // read by the residual routines

template <class Real> void model_residuals(const i32& M, const i32& N, const Real* X, Real* F) {
    const std::vector<number> b(X, X + N);
    for (std::size_t i = 0; i < static_cast<std::size_t>(M); ++i)
        F[i] = to<Real>(current.form(b.data(), current.x[i][0], current.x[i][1]).real() -
                        current.y[i]);
}

// Complex-step derivatives: exact to rounding, as no difference is formed.
void model_jacobian(const i32& M, const i32& N, const f64* X, f64* FJAC, const i32& LDFJAC) {
    constexpr double step = 1e-30;
    std::vector<number> b(X, X + N);
    for (i32 j = 0; j < N; ++j) {
        number& moved = b[static_cast<std::size_t>(j)];
        moved += number(0.0, step);
        for (i32 i = 0; i < M; ++i) {
            const auto& at = current.x[static_cast<std::size_t>(i)];
            FJAC[i + j * LDFJAC] = current.form(b.data(), at[0], at[1]).imag() / step;
        }
        moved = moved.real();
    }
}

template <class Real>
fit_call<Real> regression_call(int start, jacobian_routine<Real> jacobian = nullptr) {
    fit_call<Real> call{model_residuals<Real>, jacobian, static_cast<i32>(current.y.size()),
                        current.starts[start]};
    call.limit_iterations(500);
    call.run();
    return call;
}

template <class Real> double matching_digits(int start, jacobian_routine<Real> jacobian = nullptr) {
    const std::vector<Real> x = regression_call<Real>(start, jacobian).x;
    double digits = 11.0; // as many as the certified values carry
    for (std::size_t j = 0; j < x.size(); ++j) {
        const double truth = current.certified[j];
        const double error = std::abs(static_cast<double>(x[j]) - truth) / std::abs(truth);
        if (!(error <= 1.0)) return 0.0;
        if (error > 0.0) digits = std::min(digits, -std::log10(error));
    }
    return digits;
}

struct certified_case {
    const char* name;
    model form;
    // Least matching digits from the first and second start; 0: another minimum.
    double with_jacobian[2], with_differences[2], single[2];
};

void expect_digits(const certified_case& each) {
    for (const int start : {0, 1}) {
        SCOPED_TRACE(each.name + std::to_string(start + 1));
        EXPECT_GE(matching_digits<f64>(start, model_jacobian), each.with_jacobian[start]);
        EXPECT_GE(matching_digits<f64>(start), each.with_differences[start]);
        EXPECT_GE(matching_digits<f32>(start), each.single[start]);
    }
}

number two_decays(const number* b, double x, double) {
    return b[0] + b[1] * exp(-x * b[3]) + b[2] * exp(-x * b[4]);
}

// Three sets of the published regressions (public domain): monomolecular adsorption, biochemical
// oxygen demand, and two decays that a first start far away hides.
TEST_F(BoundedFitAccuracy, FindsCertifiedParametersFromEitherStart) {
    const auto abscissas = [](const std::vector<double>& values) {
        std::vector<std::array<double, 2>> x;
        for (const double value : values) x.push_back({value, 0.0});
        return x;
    };
    current = {saturation,
               abscissas({77.6, 114.9, 141.1, 190.8, 239.9, 289.0, 332.8, 378.4, 434.8, 477.3,
                          536.8, 593.1, 689.1, 760.0}),
               {10.07, 14.73, 17.94, 23.93, 29.61, 35.18, 40.02, 44.82, 50.76, 55.05, 61.01, 66.40,
                75.47, 81.78},
               {{500, 0.0001}, {250, 0.0005}},
               {2.3894212918E+02, 5.5015643181E-04}};
    expect_digits({"adsorption", saturation, {9, 9}, {8, 8}, {5, 5}});
    const auto call = regression_call<f64>(0, model_jacobian);
    EXPECT_NEAR(call.norm * call.norm, 1.2455138894E-01, 1e-10);
    EXPECT_EQ(call.code, 0);

    current = {saturation,
               {{1, 0}, {2, 0}, {3, 0}, {5, 0}, {7, 0}, {10, 0}},
               {109, 149, 149, 191, 213, 224},
               {{1, 1}, {100, 0.75}},
               {2.1380940889E+02, 5.4723748542E-01}};
    expect_digits({"oxygen_demand", saturation, {7, 7}, {7, 7}, {4, 4}});

    current = {two_decays,
               {},
               {},
               {{50, 150, -100, 1, 2}, {0.5, 1.5, -1, 0.01, 0.02}},
               {3.7541005211E-01, 1.9358469127E+00, -1.4646871366E+00, 1.2867534640E-02,
                2.2122699662E-02}};
    current.y = {0.844, 0.908, 0.932, 0.936, 0.925, 0.908, 0.881, 0.850, 0.818, 0.784, 0.751,
                 0.718, 0.685, 0.658, 0.628, 0.603, 0.580, 0.558, 0.538, 0.522, 0.506, 0.490,
                 0.478, 0.467, 0.457, 0.448, 0.438, 0.431, 0.424, 0.420, 0.414, 0.411, 0.406};
    for (int i = 0; i < 33; ++i) current.x.push_back({10.0 * i, 0.0});
    expect_digits({"two_decays", two_decays, {7, 7}, {6, 6}, {1, 1}});
}

void read_regression(const std::string& name, model form) {
    const support::certified_set set = read_certified(name);
    current = {};
    current.form = form;
    for (int k = 1;; ++k) {
        const auto line = set.after(" b" + std::to_string(k) + " ="); // starts, value, deviation
        if (line.size() < 4) break;
        current.starts[0].push_back(line[0]);
        current.starts[1].push_back(line[1]);
        current.certified.push_back(line[2]);
    }
    for (const auto& row : set.rows) {
        current.y.push_back(name == "Nelson" ? std::log(row[0]) : row[0]);
        current.x.push_back({row.at(1), row.size() > 2 ? row[2] : 0.0});
    }
}

TEST_F(BoundedFitAccuracy, FindsPublishedCertifiedParameters) {
    if (!has_certified_sets()) GTEST_SKIP() << "QMX_IC_DATA is not set";
    using values = const number*;
    // 0: from a far start rounding decides which minimum the descent reaches.
    // clang-format off
    const certified_case cases[] = {
        {"Misra1a", saturation, {9, 9}, {8, 8}, {5, 5}},
        {"Misra1b", [](values b, double x, double) { return b[0] * (1.0 - 1.0 / pow(1.0 + b[1] * x / 2.0, 2)); },
         {9, 9}, {8, 8}, {5, 5}},
        {"DanWood", [](values b, double x, double) { return b[0] * pow(x, b[1]); },
         {8, 8}, {8, 8}, {4, 4}},
        {"Chwirut2", [](values b, double x, double) { return exp(-b[0] * x) / (b[1] + b[2] * x); },
         {8, 8}, {7, 7}, {3, 3}},
        {"Lanczos3", [](values b, double x, double) {
             return b[0] * exp(-b[1] * x) + b[2] * exp(-b[3] * x) + b[4] * exp(-b[5] * x); },
         {0, 7}, {0, 5}, {0, 0}},
        {"MGH09", [](values b, double x, double) { return b[0] * x * (x + b[1]) / (x * (x + b[2]) + b[3]); },
         {7, 7}, {7, 7}, {2, 2}},
        {"MGH17", two_decays, {7, 7}, {6, 6}, {1, 1}},
        {"Rat42", [](values b, double x, double) { return b[0] / (1.0 + exp(b[1] - b[2] * x)); },
         {8, 8}, {8, 8}, {4, 4}},
        {"Rat43", [](values b, double x, double) { return b[0] / pow(1.0 + exp(b[1] - b[2] * x), 1.0 / b[3]); },
         {7, 7}, {7, 7}, {2, 2}},
        {"Thurber", cubic_ratio, {7, 7}, {7, 7}, {3, 3}},
        {"Eckerle4", [](values b, double x, double) {
             return b[0] / b[1] * exp(-0.5 * pow((x - b[2]) / b[1], 2)); },
         {8, 8}, {8, 8}, {4, 4}},
        {"Kirby2", [](values b, double x, double) {
             return (b[0] + x * (b[1] + x * b[2])) / (1.0 + x * (b[3] + x * b[4])); },
         {8, 8}, {7, 7}, {3, 3}},
        {"Hahn1", cubic_ratio, {7, 7}, {6, 6}, {3, 3}},
        {"Bennett5", [](values b, double x, double) { return b[0] * pow(b[1] + x, -1.0 / b[2]); },
         {7, 7}, {5, 5}, {0, 0}},
        {"Nelson", [](values b, double x, double second) { return b[0] - b[1] * x * exp(-b[2] * second); },
         {7, 7}, {6, 6}, {2, 2}}};
    // clang-format on
    for (const certified_case& each : cases) {
        read_regression(each.name, each.form);
        ASSERT_FALSE(current.y.empty() || current.certified.empty()) << each.name;
        expect_digits(each);
    }
}

} // namespace
