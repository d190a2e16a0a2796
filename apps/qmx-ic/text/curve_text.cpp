#include "text/curve_report.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "study/document/failure_report.hpp"
#include "text/reading_report.hpp"
#include "text/text_chart.hpp"
#include "text/text_table.hpp"

namespace qmx_study {

namespace {

constexpr int widest_bar = 24;

struct reason_words {
    const char* key;
    const char* text;
};

reason_words words_for(left_out reason) {
    switch (reason) {
    case left_out::too_few: return {"too_few_points", "left out: fewer than 100 points"};
    case left_out::gap: return {"no_points", "no points: the curve ends before this gap"};
    case left_out::after_the_end: return {"after_the_end", "left out: after the end of the curve"};
    case left_out::no_curve: return {"no_curve", ""};
    case left_out::no: break;
    }
    return {"", ""};
}

std::string percent_text(double value) {
    return std::isnan(value) ? "-" : fmt::format("{:+.2f}", value);
}

std::string passes_text(const curve_report& report) {
    double largest = 0;
    bool has_bars = true;
    for (const pass_row& row : report.passes) {
        if (row.reason != left_out::no) continue;
        largest = std::max(largest, row.mean);
        has_bars &= row.mean >= 0;
    }
    text_table table("rrrrrrl");
    table.add({"pass", "points", "mean", "st. dev.", "growth %", "curve", ""});
    table.add_rule();
    for (const pass_row& row : report.passes) {
        const std::string last = row.reason != left_out::no ? words_for(row.reason).text
                                 : has_bars && largest > 0  ? bar(row.mean / largest, widest_bar)
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

std::string growth_text(const curve_report& report) {
    const std::string limit = number_text(report.growth_limit);
    if (report.grown_out == 0) {
        if (report.curve.passes < 2) return "-";
        const bool is_defined = std::all_of(report.curve.means.begin(),
                                            report.curve.means.begin() + report.curve.passes - 1,
                                            [](double mean) { return mean > 0; });
        return is_defined ? fmt::format("{} % or more with each pass up to pass {}: more passes "
                                        "may pay",
                                        limit, report.curve.passes)
                          : "has no percentage: a mean is not positive";
    }
    const auto next =
        std::find_if(report.passes.begin(), report.passes.end(),
                     [&](const pass_row& row) { return row.pass == report.grown_out + 1; });
    return fmt::format("after pass {} the mean {} ({} %): less than {} %", report.grown_out,
                       next->growth < 0 ? "falls" : "hardly grows", percent_text(next->growth),
                       limit);
}

std::string curve_chart(const curve_report& report) {
    plotted means, curve;
    for (std::int32_t k = 0; k < report.curve.passes; ++k) {
        means.x.push_back(k + 1);
        means.y.push_back(report.curve.means[static_cast<std::size_t>(k)]);
    }
    curve.x.assign(report.curve.x.begin(), report.curve.x.end());
    curve.y.assign(report.curve.y.begin(), report.curve.y.end());
    return chart_text(means, curve, "pass",
                      "mean of " + report.points.value.name +
                          unit_suffix(report.points.value.unit));
}

} // namespace

double quadratic(const t_fitout& fit, double pass) {
    double value = 0;
    for (int k = 2; k >= 0; --k) value = value * pass + static_cast<double>(fit.x_coef[k]);
    return value;
}

std::string curve_text(const curve_report& report) {
    std::string text = reading_text(report.source, report.points);
    text += fmt::format("\nCompaction curve of {}{}\n", report.points.value.name,
                        unit_suffix(report.points.value.unit));
    text += passes_text(report);
    text_table result("ll", 2);
    if (report.has_curve()) {
        result.add({"Curve", fmt::format("{},  p the pass, 1 to {}", formula(report.curve.fit),
                                         report.curve.passes)});
        result.add(
            {"R²", fmt::format("{:.2f} % of the spread of the means", report.curve.fit.x_rsq)});
    }
    if (report.curve.passes > 0) result.add({"Growth", growth_text(report)});
    if (!result.empty()) text += "\n" + result.text();
    if (report.has_curve()) text += "\n" + curve_chart(report);
    if (!report.output.empty())
        text +=
            fmt::format("\n{} points of the curve written to {}\n", curve_points, report.output);
    if (!report.notes.empty()) text += "\n";
    for (const std::string& note : report.notes) text += "Note: " + wrapped(note, 6) + "\n";
    return text;
}

json curve_json(const curve_report& report) {
    json document = new_document("curve");
    add_reading(document, report.source, report.points);
    const json unit = text_or_null(report.points.value.unit);
    document["units"] = {{"mean", unit},
                         {"standard_deviation", unit},
                         {"fitted", unit},
                         {"growth_percent", "%"},
                         {"r_squared_percent", "%"}};
    document["cells"] = report.cells.cells == 0
                            ? json(nullptr)
                            : json{{"count", report.cells.cells},
                                   {"with_several_records", report.cells.shared_cells},
                                   {"most_records", report.cells.most_records}};
    json passes = json::array();
    for (const pass_row& row : report.passes)
        passes.push_back({{"pass", row.pass},
                          {"points", row.points},
                          {"mean", number_or_null(row.mean)},
                          {"standard_deviation", number_or_null(row.deviation)},
                          {"growth_percent", number_or_null(row.growth)},
                          {"fitted", number_or_null(row.fitted)},
                          {"in_curve", row.reason == left_out::no},
                          {"left_out_for", text_or_null(words_for(row.reason).key)}});
    document["passes"] = passes;
    document["passes_in_curve"] = report.curve.passes;
    document["growth"] = {{"limit_percent", report.growth_limit},
                          {"pass", report.grown_out > 0 ? json(report.grown_out) : json(nullptr)}};
    document["curve"] = nullptr;
    if (report.has_curve()) {
        json& curve = document["curve"];
        curve["degree"] = report.curve.fit.i_degree;
        curve["coefficients"] = json::array();
        for (int k = 0; k <= report.curve.fit.i_degree; ++k)
            curve["coefficients"].push_back(number_or_null(report.curve.fit.x_coef[k]));
        curve["r_squared_percent"] = number_or_null(report.curve.fit.x_rsq);
        curve["pass"] = report.curve.x;
        curve["value"] = json::array();
        for (const double value : report.curve.y) curve["value"].push_back(number_or_null(value));
    }
    document["failure"] = failure_json(report.failure, report.explanation);
    document["notes"] = report.notes;
    document["output"] = text_or_null(report.output);
    return document;
}

} // namespace qmx_study
