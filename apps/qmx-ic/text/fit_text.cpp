#include "text/fit_text.hpp"

#include <cmath>

#include <fmt/format.h>

#include "text/answer_parts.hpp"
#include "text/text_chart.hpp"
#include "text/text_table.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

// Of the 100 points these are printed: every eleventh.
constexpr std::size_t printed_step = 11;

std::string curve_part(const fit_answer& answer) {
    const reading_account& pair = answer.reading;
    const double x_spread = answer.largest_x - answer.smallest_x;
    const double y_spread = answer.largest_y - answer.smallest_y;
    text_table curve("rr");
    curve.add({pair.x.name, pair.y.name});
    curve.add_rule();
    for (std::size_t i = 0; i < answer.x.size(); i += printed_step)
        curve.add(
            {number_in_spread(answer.x[i], x_spread), number_in_spread(answer.y[i], y_spread)});
    const plotted data{answer.data_x, answer.data_y};
    const plotted line{{answer.x.begin(), answer.x.end()}, {answer.y.begin(), answer.y.end()}};
    return "\nCurve\n" + curve.text() + "\n" + chart_text(data, line, pair.x.name, pair.y.name) +
           (answer.output.empty()
                ? fmt::format("\n{} of {} points; --output writes all to a file\n",
                              (curve_points + printed_step - 1) / printed_step, curve_points)
                : fmt::format("\n{} points of the curve written to {}\n", curve_points,
                              answer.output));
}

// The coefficients by least squares in 64 bits.
std::string terms_text(const fit_answer& answer) {
    if (answer.terms.empty()) return {};
    const std::string variable =
        answer.is_centred ? fmt::format("({} - {})", answer.reading.x.name, answer.centre)
                          : answer.reading.x.name;
    text_table table("lrr");
    table.add({"term", "coefficient", "standard error"});
    table.add_rule();
    for (std::size_t k = 0; k < answer.terms.size(); ++k)
        table.add({k == 0   ? "1"
                   : k == 1 ? variable
                            : fmt::format("{}^{}", variable, k),
                   fmt::format("{:.9g}", answer.terms[k].coefficient),
                   number_text(answer.terms[k].standard_error)});
    text_table quality("ll");
    quality.add(
        {"R²", std::isnan(answer.r_squared) ? "-" : fmt::format("{:.4f} %", answer.r_squared)});
    quality.add({"Standard error", number_text(answer.standard_error) +
                                       unit_suffix(answer.reading.y.unit) +
                                       " of an ordinate about the curve"});
    return "\nCoefficients (least squares of the pairs)\n" + table.text() + "\n" + quality.text();
}

} // namespace

std::string fit_text(const fit_answer& answer) {
    const reading_account& pair = answer.reading;
    const auto x_text = [&](double x) {
        return number_in_spread(x, answer.largest_x - answer.smallest_x);
    };
    const auto y_text = [&](double y) {
        return number_in_spread(y, answer.largest_y - answer.smallest_y);
    };
    text_table about("ll");
    about.add({"Points", count_text(pair.rows_used)});
    about.add({pair.x.name, x_text(answer.smallest_x) + " … " + x_text(answer.largest_x)});
    about.add({pair.y.name, y_text(answer.smallest_y) + " … " + y_text(answer.largest_y)});
    if (answer.is_centred)
        about.add({"Centred", fmt::format("{} less {}; abscissas below are those of the file",
                                          pair.x.name, x_text(answer.centre))});
    return reading_text(pair, head_of_positions::as_pair) +
           fmt::format("\nPolynomial of degree {}: {} against {}\n", answer.degree,
                       named_with_unit(pair.y), named_with_unit(pair.x)) +
           about.text() + terms_text(answer) + (answer.has_curve() ? curve_part(answer) : "") +
           notes_text(answer.notes);
}

} // namespace qmx_terminal
