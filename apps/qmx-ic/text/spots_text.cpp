#include "text/spots_text.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "text/answer_parts.hpp"
#include "text/text_chart.hpp"
#include "text/text_table.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

constexpr int spots_with_chart = 200; // more points than characters tell nothing

std::string pass_text(const t_icdata& test) {
    return test.i_passno < 0 ? std::string("all") : fmt::format("{}", test.i_passno);
}

std::string table_of_spots(const spots_answer& answer) {
    text_table table("lrrrrrrrl");
    table.add(
        {"test", "pass", "value", "IC values", "IC mean", "CV %", "predicted", "residual", ""});
    table.add_rule();
    for (const spot_row& spot : answer.spots)
        table.add({spot.name, pass_text(spot.test), number_text(spot.test.d_val),
                   count_text(spot.count), number_text(spot.mean),
                   std::isnan(spot.variation) ? "-" : fmt::format("{:.2f}", spot.variation),
                   number_text(spot.predicted), number_text(spot.residual), spot.remark});
    return table.text();
}

std::string line_text(const spots_answer& answer) {
    const spot_line& line = *answer.line;
    const line_statistics& statistics = line.statistics;
    const std::string unit = unit_suffix(answer.reading.value.unit);
    text_table table("ll");
    table.add(
        {"Line", fmt::format("{} = {} {} {} × {}", answer.reading.value.name,
                             number_text(line.intercept), line.slope < 0 ? "-" : "+",
                             number_text(std::fabs(line.slope)), answer.test_reading.value.name)});
    table.add({"Pairs n", fmt::format("{}", line.pairs)});
    table.add({"R²", std::isnan(line.r_squared) ? "-" : fmt::format("{:.2f} %", line.r_squared)});
    table.add({"r", std::isnan(line.r) ? "-" : fmt::format("{:.3f}", line.r)});
    table.add({"Standard error", number_text(statistics.standard_error) + unit +
                                     " of a predicted IC mean about the line"});
    table.add({"", fmt::format("{} of the slope, {} of the intercept",
                               number_text(statistics.slope_standard_error),
                               number_text(statistics.intercept_standard_error))});
    table.add({"Slope against 0",
               std::isnan(statistics.p)
                   ? std::string("-")
                   : fmt::format("t {}, p {}", number_text(statistics.t),
                                 statistics.p < 1e-4 ? "below 0.0001"
                                                     : fmt::format("{:.4f}", statistics.p))});
    table.add({"Support", answer.is_supported
                              ? fmt::format("the cloud supports a line (r ≥ {}, n ≥ {}, p ≤ 0.05)",
                                            answer.least_correlation, answer.least_pairs)
                              : std::string("the cloud does not support a line: see the notes")});
    return table.text();
}

std::string cloud_text(const spots_answer& answer) {
    plotted pairs, line;
    for (const spot_row& spot : answer.spots) {
        if (spot.state != spot_state::in_line) continue;
        pairs.x.push_back(spot.test.d_val);
        pairs.y.push_back(spot.mean);
    }
    if (pairs.x.size() > spots_with_chart) return {};
    const auto [low, high] = std::minmax_element(pairs.x.begin(), pairs.x.end());
    for (const double x : {*low, *high}) {
        line.x.push_back(x);
        line.y.push_back(answer.line->intercept + answer.line->slope * x);
    }
    return "\n" + chart_text(pairs, line, named_with_unit(answer.test_reading.value),
                             "mean of " + named_with_unit(answer.reading.value));
}

} // namespace

std::string spots_text(const spots_answer& answer) {
    std::string text = "IC data\n" + reading_text(answer.reading);
    text += "\nSpot tests\n" + reading_text(answer.test_reading);
    text += fmt::format("\nIC data within {}{} of each spot test\n", number_text(answer.radius),
                        answer.reading.x.unit.empty() ? "" : " " + answer.reading.x.unit);
    text += table_of_spots(answer);
    if (answer.line) text += "\nRegression\n" + line_text(answer) + cloud_text(answer);
    return text + notes_text(answer.notes);
}

} // namespace qmx_terminal
