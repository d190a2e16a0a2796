#include "text/spots_report.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "study/document/failure_report.hpp"
#include "text/reading_report.hpp"
#include "text/text_chart.hpp"
#include "text/text_table.hpp"

namespace qmx_study {

namespace {

constexpr int spots_with_chart = 200; // more points than characters tell nothing

const char* key_of(spot_state state) {
    switch (state) {
    case spot_state::in_line: return "in_line";
    case spot_state::too_few: return "too_few_ic_values";
    case spot_state::no_line: return "no_line";
    case spot_state::none_in_circle: return "none_in_circle";
    case spot_state::none_of_pass: return "none_of_pass";
    }
    return "";
}

std::string pass_text(const t_icdata& test) {
    return test.i_passno < 0 ? std::string("all") : fmt::format("{}", test.i_passno);
}

std::string remark(const spots_report& report, const spot_row& spot) {
    switch (spot.state) {
    case spot_state::in_line:
        return spot.has_stale_mean ? "one IC value: the line was given another mean" : "";
    case spot_state::too_few:
        return spot.count == 1 ? "not in the line: one IC value only"
                               : fmt::format("not in the line: {} IC values only", spot.count);
    case spot_state::no_line: return "";
    case spot_state::none_in_circle:
        return std::isnan(spot.nearest)
                   ? std::string("no IC data in the circle")
                   : fmt::format("no IC data in the circle; the nearest lies {}{} away",
                                 fmt::format("{:.3g}", spot.nearest),
                                 report.points.x.unit.empty() ? "" : " " + report.points.x.unit);
    case spot_state::none_of_pass:
        return fmt::format("no IC data of pass {}; {} of other passes in the circle",
                           spot.test.i_passno, spot.of_other_passes);
    }
    return {};
}

std::string table_of_spots(const spots_report& report) {
    text_table table("lrrrrrrrl");
    table.add(
        {"test", "pass", "value", "IC values", "IC mean", "CV %", "predicted", "residual", ""});
    table.add_rule();
    for (const spot_row& spot : report.spots)
        table.add({spot.name, pass_text(spot.test), number_text(spot.test.d_val),
                   count_text(spot.count), number_text(spot.mean),
                   std::isnan(spot.variation) ? "-" : fmt::format("{:.2f}", spot.variation),
                   number_text(spot.predicted), number_text(spot.mean - spot.predicted),
                   remark(report, spot)});
    return table.text();
}

std::string line_text(const spots_report& report) {
    const spot_line& line = *report.line;
    const line_statistics& statistics = line.statistics;
    const std::string unit = unit_suffix(report.points.value.unit);
    text_table table("ll");
    table.add({"Line", fmt::format("{} = {} {} {} × {}", report.points.value.name,
                                   number_text(line.intercept), line.slope < 0 ? "-" : "+",
                                   number_text(std::fabs(line.slope)), report.tests.value.name)});
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
    table.add({"Support", report.is_supported
                              ? fmt::format("the cloud supports a line (r ≥ {}, n ≥ {}, p ≤ 0.05)",
                                            report.least_correlation, report.least_pairs)
                              : std::string("the cloud does not support a line: see the notes")});
    return table.text();
}

std::string cloud_text(const spots_report& report) {
    plotted pairs, line;
    for (const spot_row& spot : report.spots) {
        if (spot.state != spot_state::in_line) continue;
        pairs.x.push_back(spot.test.d_val);
        pairs.y.push_back(spot.mean);
    }
    if (pairs.x.size() > spots_with_chart) return {};
    const auto [low, high] = std::minmax_element(pairs.x.begin(), pairs.x.end());
    for (const double x : {*low, *high}) {
        line.x.push_back(x);
        line.y.push_back(report.line->intercept + report.line->slope * x);
    }
    return "\n" + chart_text(pairs, line,
                             report.tests.value.name + unit_suffix(report.tests.value.unit),
                             "mean of " + report.points.value.name +
                                 unit_suffix(report.points.value.unit));
}

} // namespace

std::string spots_text(const spots_report& report) {
    std::string text = "IC data\n" + reading_text(report.source, report.points);
    text += "\nSpot tests\n" + reading_text(report.test_source, report.tests);
    text += fmt::format("\nIC data within {}{} of each spot test\n", number_text(report.radius),
                        report.points.x.unit.empty() ? "" : " " + report.points.x.unit);
    text += table_of_spots(report);
    if (report.line) text += "\nRegression\n" + line_text(report) + cloud_text(report);
    if (!report.notes.empty()) text += "\n";
    for (const std::string& note : report.notes) text += "Note: " + wrapped(note, 6) + "\n";
    return text;
}

json spots_json(const spots_report& report) {
    json document = new_document("spots");
    add_reading(document, report.source, report.points);
    json tests;
    add_reading(tests, report.test_source, report.tests);
    document["test_input"] = tests["input"];
    document["test_columns"] = tests["columns"];
    const json ic_unit = text_or_null(report.points.value.unit);
    document["units"] = {{"radius", text_or_null(report.points.x.unit)},
                         {"nearest_ic_data", text_or_null(report.points.x.unit)},
                         {"value", text_or_null(report.tests.value.unit)},
                         {"ic_mean", ic_unit},
                         {"ic_cv_percent", "%"},
                         {"predicted_ic_mean", ic_unit},
                         {"standard_error", ic_unit},
                         {"r_squared_percent", "%"}};
    document["radius"] = report.radius;
    document["least_ic_values"] = report.least_values;
    json spots = json::array();
    for (const spot_row& spot : report.spots) {
        json row{{"test", spot.name},
                 {report.test_source.is_delimited ? "line" : "record",
                  report.test_source.line_of(spot.record)},
                 {"x", spot.test.d_x},
                 {"y", spot.test.d_y},
                 {"pass", spot.test.i_passno < 0 ? json(nullptr) : json(spot.test.i_passno)},
                 {"value", spot.test.d_val},
                 {"ic_values", spot.count},
                 {"ic_mean", number_or_null(spot.mean)},
                 {"ic_cv_percent", number_or_null(spot.variation)},
                 {"predicted_ic_mean", number_or_null(spot.predicted)},
                 {"ic_values_of_other_passes", spot.of_other_passes},
                 {"nearest_ic_data", number_or_null(spot.nearest)},
                 {"state", key_of(spot.state)},
                 {"remark", text_or_null(remark(report, spot))}};
        spots.push_back(std::move(row));
    }
    document["tests"] = spots;
    document["regression"] = nullptr;
    if (report.line) {
        const spot_line& line = *report.line;
        const line_statistics& statistics = line.statistics;
        document["regression"] = {
            {"formula", "ic_mean = intercept + slope * value"},
            {"intercept", number_or_null(line.intercept)},
            {"slope", number_or_null(line.slope)},
            {"n", line.pairs},
            {"r_squared_percent", number_or_null(line.r_squared)},
            {"r", number_or_null(line.r)},
            {"standard_error", number_or_null(statistics.standard_error)},
            {"intercept_standard_error", number_or_null(statistics.intercept_standard_error)},
            {"slope_standard_error", number_or_null(statistics.slope_standard_error)},
            {"t", number_or_null(statistics.t)},
            {"p", number_or_null(statistics.p)},
            {"supported", report.is_supported},
            {"least_r", report.least_correlation},
            {"least_n", report.least_pairs}};
    }
    document["failure"] = failure_json(report.failure, report.explanation);
    document["notes"] = report.notes;
    return document;
}

} // namespace qmx_study
