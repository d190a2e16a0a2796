#include "study/analyses/fit.hpp"

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>
#include <utility>

#include <fmt/format.h>

#include "study/analyses/least_squares.hpp"
#include "study/analyses/wrong_option.hpp"
#include "study/base/portable_math.hpp"
#include "study/base/value_text.hpp"

namespace qmx_study {

namespace {

constexpr int highest_degree = 9;
constexpr double digits_of_sum = 15.95;     // of a 64-bit number
constexpr double digits_of_ordinate = 7.22; // of a 32-bit number

struct narrowed_pairs {
    std::vector<float> x, y;
};

// Which two columns belong together only the user knows.
void refuse_missing_names(const reading_options& reading, const opened_table& table) {
    if (!reading.x.empty() && !reading.y.empty()) return;
    const table_source& source = *table.source;
    std::string names;
    for (std::size_t i = 0; i < source.columns.size(); ++i)
        if (source.columns[i].is_numeric() ||
            table.survey.columns[i].content == column_content::numbers)
            names += (names.empty() ? "" : ", ") + source.columns[i].name;
    throw usage_error(fmt::format("{}: name the column of the abscissas with --x and that of the "
                                  "ordinates with --y\n  its columns with numbers: {}",
                                  source.file, names.empty() ? "none" : names),
                      error_place{reading.x.empty() ? "--x" : "--y", source.file, 0, {}});
}

narrowed_pairs narrowed(const loaded_lot& lot, double centre) {
    narrowed_pairs pairs;
    for (std::size_t i = 0; i < lot.data.points.size(); ++i) {
        const double values[] = {lot.data.points[i].d_x - centre, lot.data.points[i].d_y};
        for (int k = 0; k < 2; ++k)
            if (!(std::fabs(values[k]) <= static_cast<double>(std::numeric_limits<float>::max())))
                throw usage_error(fmt::format(
                    "{}, {}, column {}: {} is beyond the range of 32-bit numbers; leave the row "
                    "out with --where",
                    lot.source().file, lot.place(lot.data.records[i]),
                    k == 0 ? lot.data.x.name : lot.data.y.name, values[k]));
        pairs.x.push_back(static_cast<float>(values[0]));
        pairs.y.push_back(static_cast<float>(values[1]));
    }
    return pairs;
}

void take_data(fit_answer& answer, const std::vector<t_icdata>& points) {
    for (const t_icdata& point : points) {
        answer.data_x.push_back(point.d_x);
        answer.data_y.push_back(point.d_y);
    }
    const auto [west, east] = std::minmax_element(answer.data_x.begin(), answer.data_x.end());
    const auto [south, north] = std::minmax_element(answer.data_y.begin(), answer.data_y.end());
    answer.smallest_x = *west;
    answer.largest_x = *east;
    answer.smallest_y = *south;
    answer.largest_y = *north;
}

// The terms of the sum grow with the powers of how far the abscissas lie from 0 against half their
// range, and what they have in common cancels: a power of the degree in digits.
double distance_ratio(const fit_answer& answer) {
    const double half = (answer.largest_x - answer.smallest_x) / 2;
    const double farthest = std::max(std::fabs(answer.smallest_x - answer.centre),
                                     std::fabs(answer.largest_x - answer.centre));
    return half > 0 ? farthest / half : 1;
}

double digits_lost(const fit_answer& answer) {
    const double ratio = distance_ratio(answer);
    return ratio < 2 ? 0 : answer.degree * portable::decimal_logarithm(2 * ratio);
}

double middle(const fit_answer& answer) {
    return (answer.smallest_x + answer.largest_x) / 2;
}

double digits_of_abscissa(const fit_answer& answer) {
    return digits_of_ordinate - portable::decimal_logarithm(distance_ratio(answer));
}

// Whether digits that the result could show are at stake.
bool is_far_from_zero(const fit_answer& answer) {
    return answer.digits_lost > digits_of_sum - digits_of_ordinate ||
           digits_of_abscissa(answer) < digits_of_ordinate - 2;
}

// What the distance from 0 cost, seen on the curve through the centred abscissas.
void compare_with_centred(fit_answer& answer, const narrowed_pairs& centred) {
    polynomial_curve curve;
    if (!run_polynomial_fit(answer.degree, centred.x, centred.y, curve)) return;
    answer.centring_moves = 0;
    for (std::size_t i = 0; i < curve_points; ++i)
        answer.centring_moves = std::max(answer.centring_moves,
                                         std::fabs(static_cast<double>(curve.y[i]) - answer.y[i]));
}

void add_notes(fit_answer& answer) {
    if (is_far_from_zero(answer)) {
        std::string note = fmt::format(
            "{} lies far from 0 against its range. As 32-bit numbers the abscissas keep about "
            "{:.0f} digits of that range, and the sum of ascending powers loses up to {:.0f} of "
            "its 16 digits. --centre takes the middle, {}, off before the fit",
            answer.reading.x.name, std::max(digits_of_abscissa(answer), 0.0),
            std::min(answer.digits_lost, 16.0),
            number_in_spread(middle(answer), answer.largest_x - answer.smallest_x));
        if (!std::isnan(answer.centring_moves))
            note += fmt::format(", which moves the curve by up to {}",
                                number_text(answer.centring_moves));
        answer.notes.push_back(note + ".");
    }
    if (!answer.has_curve()) return;
    const auto zeros = std::count(answer.y.begin(), answer.y.end(), 0.0);
    if (zeros > 0)
        answer.notes.push_back(fmt::format(
            "{} of {} ordinates of the curve are 0: the library gives a negative ordinate as 0.",
            zeros, curve_points));
}

// The terms of the curve, which the library does not tell.
void settle_terms(fit_answer& answer) {
    std::vector<double> x;
    for (const double abscissa : answer.data_x) x.push_back(abscissa - answer.centre);
    const std::optional<least_squares> found =
        polynomial_least_squares(x, answer.data_y, answer.degree);
    if (!found) return;
    for (std::size_t k = 0; k < found->coefficients.size(); ++k)
        answer.terms.push_back({found->coefficients[k], found->standard_errors[k]});
    answer.r_squared = found->r_squared;
    answer.standard_error = found->standard_error;
}

// The library does not tell a lack of memory from a fit that cannot be: whether there is as much as a fit
// takes is tried, and the fit once more.
bool is_fitted(std::int32_t degree, const narrowed_pairs& pairs, polynomial_curve& curve) {
    if (run_polynomial_fit(degree, pairs.x, pairs.y, curve)) return true;
    const std::size_t room = pairs.x.size() * sizeof(double) * (highest_degree + 8);
    ::operator delete(::operator new(room));
    return run_polynomial_fit(degree, pairs.x, pairs.y, curve);
}

// Why the library refused the fit, of which it says nothing.
std::string explanation_of(const fit_answer& answer, const narrowed_pairs& pairs) {
    const used_column& x = answer.reading.x;
    const std::set<float> distinct(pairs.x.begin(), pairs.x.end());
    const auto constant = [](const std::vector<float>& values) {
        return std::all_of(values.begin(), values.end(),
                           [&](float value) { return value == values.front(); });
    };
    const std::string narrowing =
        " as 32-bit numbers, though not in the file: --centre tells them apart";
    if (distinct.size() == 1)
        return fmt::format("{} has one value only, {}: there is nothing to fit along{}.", x.name,
                           answer.data_x.front(),
                           answer.smallest_x < answer.largest_x ? narrowing : "");
    if (constant(pairs.y))
        return fmt::format("{} has the same value everywhere, {}: no polynomial is fitted.",
                           answer.reading.y.name, answer.data_y.front());
    const auto wanted = static_cast<std::size_t>(answer.degree) + 1;
    if (distinct.size() < wanted)
        return fmt::format("{} has {} distinct values; degree {} takes at least {}.", x.name,
                           distinct.size(), answer.degree, wanted);
    polynomial_curve lower;
    for (int degree = answer.degree - 1; degree >= 1; --degree)
        if (run_polynomial_fit(degree, pairs.x, pairs.y, lower))
            return fmt::format("A polynomial of degree {0} runs through the points exactly: take "
                               "--degree {0}.",
                               degree);
    return "Not resolvable in double precision; lower the degree.";
}

} // namespace

void check(const fit_question& question) {
    if (question.degree < 0 || question.degree > highest_degree)
        throw wrong_option("--degree", " {}: a polynomial has a degree from 0 to {}",
                           question.degree, highest_degree);
}

loaded_lot load_pairs(const reading_options& options, progress& shown) {
    opened_table table = open_table(options, shown);
    refuse_missing_names(options, table);
    reading_needs needs;
    needs.position = need::required;
    needs.value = need::unused;
    needs.pass = need::unused;
    needs.are_pairs = true;
    loaded_lot lot = read_table(std::move(table), options, needs, shown);
    if (lot.data.is_geographic)
        throw usage_error(fmt::format("{}: {} and {} are taken as degrees of longitude and "
                                      "latitude, along which there is no length to fit; name "
                                      "planar columns with --x and --y",
                                      lot.source().file, lot.data.x.name, lot.data.y.name));
    lot.data.pass = {};
    return lot;
}

fit_answer analyse(const fit_question& question, loaded_lot& lot) {
    fit_answer answer;
    answer.reading = account_of(lot);
    answer.degree = question.degree;
    answer.is_centred = question.centre;
    take_data(answer, lot.data.points);
    if (question.centre) answer.centre = middle(answer);
    answer.digits_lost = digits_lost(answer);
    const narrowed_pairs pairs = narrowed(lot, answer.centre);
    polynomial_curve curve;
    if (lot.data.points.size() == 1) {
        answer.failure.explanation = "There is a single point: no curve runs through it alone.";
    } else if (!is_fitted(question.degree, pairs, curve)) {
        answer.failure.explanation = explanation_of(answer, pairs);
    }
    for (std::size_t i = 0; i < curve_points; ++i) {
        answer.x[i] = answer.centre + static_cast<double>(curve.x[i]);
        answer.y[i] = static_cast<double>(curve.y[i]);
    }
    if (answer.has_curve()) settle_terms(answer);
    if (answer.has_curve() && is_far_from_zero(answer))
        compare_with_centred(answer, narrowed(lot, middle(answer)));
    add_notes(answer);
    return answer;
}

} // namespace qmx_study
