#include "study/analyses/least_squares.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx_study {

namespace {

using matrix = std::vector<std::vector<double>>; // by columns

// Turns the columns into an upper triangle and y along with them. False where a column is (nearly) a
// combination of those before it.
bool triangulate(matrix& columns, std::vector<double>& y) {
    constexpr double least_part = 1e-13; // of a column that is new
    for (std::size_t k = 0; k < columns.size(); ++k) {
        std::vector<double>& column = columns[k];
        double whole = 0;
        double rest = 0;
        for (std::size_t i = 0; i < column.size(); ++i) {
            whole += column[i] * column[i];
            if (i >= k) rest += column[i] * column[i];
        }
        if (!(rest > least_part * least_part * whole)) return false;
        const double diagonal = column[k] > 0 ? -std::sqrt(rest) : std::sqrt(rest);
        std::vector<double> mirror(column.begin() + static_cast<std::ptrdiff_t>(k), column.end());
        mirror[0] -= diagonal;
        double square = 0;
        for (const double part : mirror) square += part * part;
        const auto reflect = [&](std::vector<double>& vector) {
            double product = 0;
            for (std::size_t i = 0; i < mirror.size(); ++i) product += mirror[i] * vector[k + i];
            const double factor = 2 * product / square;
            for (std::size_t i = 0; i < mirror.size(); ++i) vector[k + i] -= factor * mirror[i];
        };
        for (std::size_t j = k; j < columns.size(); ++j) reflect(columns[j]);
        reflect(y);
    }
    return true;
}

// Columns of the inverse of the upper triangle.
matrix inverse_of(const matrix& triangle) {
    const std::size_t n = triangle.size();
    matrix inverse(n, std::vector<double>(n, 0));
    for (std::size_t j = 0; j < n; ++j)
        for (std::size_t i = j + 1; i-- > 0;) {
            double sum = i == j ? 1 : 0;
            for (std::size_t k = i + 1; k <= j; ++k) sum -= triangle[k][i] * inverse[j][k];
            inverse[j][i] = sum / triangle[i][i];
        }
    return inverse;
}

// Row k, column p: what ((x - middle) / half)^p has of x^k.
matrix expansion(std::size_t n, double middle, double half) {
    matrix powers(n, std::vector<double>(n, 0));
    powers[0][0] = 1;
    for (std::size_t p = 1; p < n; ++p)
        for (std::size_t k = 0; k <= p; ++k)
            powers[p][k] =
                ((k > 0 ? powers[p - 1][k - 1] : 0) - (k < p ? middle * powers[p - 1][k] : 0)) /
                half;
    return powers;
}

double spread_about_mean(const std::vector<double>& y) {
    double mean = 0;
    for (const double value : y) mean += (value - y[0]) / static_cast<double>(y.size());
    mean += y[0];
    double squares = 0;
    for (const double value : y) squares += (value - mean) * (value - mean);
    return squares;
}

} // namespace

std::optional<least_squares> polynomial_least_squares(const std::vector<double>& x,
                                                      const std::vector<double>& y, int degree) {
    const auto n = static_cast<std::size_t>(degree) + 1;
    if (x.size() < n || degree < 0) return {};
    const auto [least, greatest] = std::minmax_element(x.begin(), x.end());
    const double middle = *least + (*greatest - *least) / 2;
    const double half = *greatest > *least ? (*greatest - *least) / 2 : 1;
    matrix columns(n, std::vector<double>(x.size()));
    for (std::size_t i = 0; i < x.size(); ++i) {
        double power = 1;
        for (std::size_t p = 0; p < n; ++p, power *= (x[i] - middle) / half) columns[p][i] = power;
    }
    std::vector<double> turned = y;
    if (!triangulate(columns, turned)) return {};

    const matrix inverse = inverse_of(columns);
    const matrix powers = expansion(n, middle, half);
    // Row k of powers times the inverse: its square sums are the variances but for sigma squared.
    least_squares result;
    double residual = 0;
    for (std::size_t i = n; i < turned.size(); ++i) residual += turned[i] * turned[i];
    const auto freedom = static_cast<double>(x.size() - n);
    result.standard_error =
        freedom > 0 ? std::sqrt(residual / freedom) : std::numeric_limits<double>::quiet_NaN();
    const double spread = spread_about_mean(y);
    result.r_squared =
        spread > 0 ? 100 * (1 - residual / spread) : std::numeric_limits<double>::quiet_NaN();
    for (std::size_t k = 0; k < n; ++k) {
        double coefficient = 0;
        double squares = 0;
        for (std::size_t j = 0; j < n; ++j) {
            double entry = 0;
            for (std::size_t p = 0; p <= j; ++p) entry += powers[p][k] * inverse[j][p];
            coefficient += entry * turned[j];
            squares += entry * entry;
        }
        result.coefficients.push_back(coefficient);
        result.standard_errors.push_back(result.standard_error * std::sqrt(squares));
    }
    return result;
}

} // namespace qmx_study
