#include "text/curve_text.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "text/answer_parts.hpp"
#include "text/text_chart.hpp"
#include "text/text_table.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

constexpr int widest_growth_bar = 24;

const char* words_for(left_out reason) {
    switch (reason) {
    case left_out::too_few: return "left out: fewer than 100 points";
    case left_out::gap: return "no points: the curve ends before this gap";
    case left_out::after_the_end: return "left out: after the end of the curve";
    case left_out::no_curve:
    case left_out::no: break;
    }
    return "";
}

std::string percent_text(double value) {
    if (std::isnan(value)) return "-";
    return std::fabs(value) < 1e6 ? fmt::format("{:+.2f}", value) : fmt::format("{:+.6g}", value);
}

std::string passes_text(const curve_answer& answer) {
    double largest = 0;
    bool has_bars = true;
    for (const pass_row& row : answer.passes) {
        if (row.reason != left_out::no) continue;
        largest = std::max(largest, row.mean);
        has_bars &= row.mean >= 0;
    }
    text_table table("rrrrrrl");
    table.add({"pass", "points", "mean", "st. dev.", "growth %", "curve", ""});
    table.add_rule();
    for (const pass_row& row : answer.passes) {
        const std::string last = row.reason != left_out::no ? words_for(row.reason)
                                 : has_bars && largest > 0
                                     ? bar(row.mean / largest, widest_growth_bar)
                                     : "";
        table.add({fmt::format("{}", row.pass), count_text(row.points), number_text(row.mean),
                   number_text(row.deviation), percent_text(row.growth), number_text(row.fitted),
                   last});
    }
    return table.text();
}

std::string formula(const t_fitout& fit) {
    std::string text = number_text(fit.x_coef[0]);
    const char* const powers[] = {"", " p", " p²"};
    for (int k = 1; k <= 2; ++k)
        text += fmt::format(" {} {}{}", fit.x_coef[k] < 0 ? "-" : "+",
                            number_text(std::fabs(fit.x_coef[k])), powers[k]);
    return text;
}

std::string growth_text(const curve_answer& answer) {
    const std::string limit = number_text(answer.growth_limit);
    if (answer.grown_out > 0)
        return fmt::format("after pass {} the mean {} ({} %): less than {} %", answer.grown_out,
                           answer.last_growth < 0 ? "falls" : "hardly grows",
                           percent_text(answer.last_growth), limit);
    if (answer.curve.passes < 2) return "-";
    return answer.has_growth ? fmt::format("{} % or more with each pass up to pass {}: more passes "
                                           "may pay",
                                           limit, answer.curve.passes)
                             : "has no percentage: a mean is not positive";
}

std::string curve_chart(const curve_answer& answer) {
    plotted means, curve;
    for (std::int32_t k = 0; k < answer.curve.passes; ++k) {
        means.x.push_back(k + 1);
        means.y.push_back(answer.curve.means[static_cast<std::size_t>(k)]);
    }
    curve.x.assign(answer.curve.x.begin(), answer.curve.x.end());
    curve.y.assign(answer.curve.y.begin(), answer.curve.y.end());
    return chart_text(means, curve, "pass", "mean of " + named_with_unit(answer.reading.value));
}

} // namespace

std::string curve_text(const curve_answer& answer) {
    std::string text = reading_text(answer.reading);
    text += fmt::format("\nCompaction curve of {}\n", named_with_unit(answer.reading.value));
    text += passes_text(answer);
    text_table result("ll", 2);
    if (answer.has_curve()) {
        result.add({"Curve", fmt::format("{},  p the pass, 1 to {}", formula(answer.curve.fit),
                                         answer.curve.passes)});
        result.add(
            {"R²", fmt::format("{:.2f} % of the spread of the means", answer.curve.fit.x_rsq)});
    }
    if (answer.curve.passes > 0) result.add({"Growth", growth_text(answer)});
    if (!result.empty()) text += "\n" + result.text();
    if (answer.has_curve()) text += "\n" + curve_chart(answer);
    if (!answer.output.empty())
        text +=
            fmt::format("\n{} points of the curve written to {}\n", curve_points, answer.output);
    return text + notes_text(answer.notes);
}

} // namespace qmx_terminal
