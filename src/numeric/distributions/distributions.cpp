#include "numeric/distributions/distributions.hpp"

#include "numeric/distributions/distribution_values.hpp"
#include "numeric/errors/numeric_frame.hpp"

#include <limits>
#include <type_traits>

namespace qmx::numeric {

namespace {

constexpr i32 code_of_probability = 1;
constexpr i32 code_of_degrees = 2;
constexpr i32 code_of_bracket = 3;
constexpr i32 code_of_iterations = 4;
constexpr i32 code_of_beta_argument = 5;
constexpr i32 code_of_beta_shapes = 6;

template <class Real> constexpr Real not_a_number = std::numeric_limits<Real>::quiet_NaN();

template <class Real> constexpr bool is_single = std::is_same_v<Real, f32>;

// Rounds once. What the narrower type cannot hold is infinite.
template <class Real> Real rounded(f64 value) {
    if constexpr (is_single<Real>) {
        constexpr f64 halfway_to_overflow = 0x1.ffffffp127;
        constexpr f64 infinity = std::numeric_limits<f64>::infinity();
        if (std::fabs(value) >= halfway_to_overflow)
            return static_cast<Real>(std::copysign(infinity, value));
    }
    return static_cast<Real>(value);
}

// Stores the value of a message's placeholder %(Rn) or %(Dn).
template <class Real> void store_value(i32 index, Real value) {
    if constexpr (is_single<Real>) {
        E1STR(index, value);
    } else {
        E1STD(index, value);
    }
}

// Comparisons are written so that a NaN is refused.
template <class Real> bool is_open_probability(Real p) {
    return p > Real(0) && p < Real(1);
}

template <class Real>
Real inverse_erfc_checked(std::string_view name, std::string_view message, Real x) {
    const numeric_frame frame(name);
    if (!(x > Real(0) && x < Real(2))) {
        store_value(1, x);
        post(type_terminal, code_of_probability, message);
        return not_a_number<Real>;
    }
    return rounded<Real>(inverse_erfc(x));
}

template <class Real> Real normal_checked(std::string_view name, std::string_view message, Real p) {
    constexpr f64 minus_root_of_2 = -1.4142135623730951;
    const numeric_frame frame(name);
    if (!is_open_probability(p)) {
        store_value(1, p);
        post(type_terminal, code_of_probability, message);
        return not_a_number<Real>;
    }
    if (p == Real(0.5)) return Real(0);
    return rounded<Real>(minus_root_of_2 * inverse_erfc(2.0 * p));
}

struct student_messages {
    std::string_view name, probability, degrees;
};

template <class Real> Real student_checked(const student_messages& text, Real p, Real df) {
    const numeric_frame frame(text.name);
    if (!is_open_probability(p)) {
        store_value(1, p);
        post(type_terminal, code_of_probability, text.probability);
        return not_a_number<Real>;
    }
    if (!(df >= Real(1))) {
        store_value(1, df);
        post(type_terminal, code_of_degrees, text.degrees);
        return not_a_number<Real>;
    }
    return rounded<Real>(student_quantile(p, df));
}

struct chi_squared_messages {
    std::string_view name, probability, degrees, bracket;
};

template <class Real> Real chi_squared_checked(const chi_squared_messages& text, Real p, Real df) {
    const numeric_frame frame(text.name);
    if (!is_open_probability(p)) {
        store_value(1, p);
        post(type_terminal, code_of_probability, text.probability);
        return not_a_number<Real>;
    }
    if (!(df >= Real(0.5))) {
        store_value(1, df);
        post(type_terminal, code_of_degrees, text.degrees);
        return not_a_number<Real>;
    }
    const search_result found = chi_squared_quantile(p, df);
    // GCOVR_EXCL_START: the search converges from its starts; both ends are kept for callers who ask.
    if (found.outcome == search_outcome::left_the_range) {
        store_value(1, p);
        store_value(2, df);
        post(type_terminal, code_of_bracket, text.bracket);
        return not_a_number<Real>;
    }
    if (found.outcome == search_outcome::out_of_steps) {
        post(type_fatal, code_of_iterations,
             "Over 100 iterations have occurred without convergence.  Convergence is assumed.");
    }
    // GCOVR_EXCL_STOP
    return rounded<Real>(found.root);
}

} // namespace

f32 ERFCI(const f32& X) {
    return inverse_erfc_checked(
        "ERFCI ",
        "The argument to the function must be greater than 0.0 and less than 2.0.  X = %(R1).", X);
}

f64 DERFCI(const f64& X) {
    return inverse_erfc_checked(
        "DERFCI ",
        "The argument to the function must be greater than 0.0 and less than 2.0.  X = %(D1).", X);
}

f32 ANORIN(const f32& P) {
    return normal_checked(
        "ANORIN ",
        "The argument to the function must be greater than 0.0 and less than 1.0.  P = %(R1).", P);
}

f64 DNORIN(const f64& P) {
    return normal_checked(
        "DNORIN ",
        "The argument to the function must be greater than 0.0 and less than 1.0.  P = %(D1).", P);
}

f32 TIN(const f32& P, const f32& DF) {
    static constexpr student_messages text{
        "TIN ", "The input probability value, P = %(R1), must be in the open interval (0.0,1.0).",
        "The input number of degrees of freedom, DF = %(R1), must be at least 1."};
    return student_checked(text, P, DF);
}

f64 DTIN(const f64& P, const f64& DF) {
    static constexpr student_messages text{
        "DTIN ", "The input probability value, P = %(D1), must be in the open interval (0.0,1.0).",
        "The input number of degrees of freedom, DF = %(D1), must be at least 1."};
    return student_checked(text, P, DF);
}

f32 CHIIN(const f32& P, const f32& DF) {
    static constexpr chi_squared_messages text{
        "CHIIN ", "The input probability, P = %(R1), must be in the open interval (0.0, 1.0).",
        "The degrees of freedom, DF = %(R1), must be greater than or equal to 0.5.",
        "Unable to bracket the value of the inverse chi-square at P = %(R1) with DF = %(R2)."};
    return chi_squared_checked(text, P, DF);
}

f64 DCHIIN(const f64& P, const f64& DF) {
    static constexpr chi_squared_messages text{
        "DCHIIN ", "The input probability, P = %(D1), must be in the open interval (0.0, 1.0).",
        "The degrees of freedom, DF = %(D1), must be greater than or equal to 0.5.",
        "Unable to bracket the value of the inverse chi-square at P = %(D1) with DF = %(D2)."};
    return chi_squared_checked(text, P, DF);
}

f64 DBETAI(const f64& X, const f64& PIN, const f64& QIN) {
    const numeric_frame frame("DBETAI ");
    if (!(X >= 0.0 && X <= 1.0)) {
        E1STD(1, X);
        post(type_terminal, code_of_beta_argument, "X = %(D1) is not in the range (0.0,1.0).");
        return not_a_number<f64>;
    }
    if (!(PIN > 0.0 && QIN > 0.0)) {
        E1STD(1, PIN);
        E1STD(2, QIN);
        post(type_terminal, code_of_beta_shapes,
             "Both PIN = %(D1) and QIN = %(D2) must be greater than 0.0.");
        return not_a_number<f64>;
    }
    return incomplete_beta_ratio(X, PIN, QIN);
}

} // namespace qmx::numeric
