#include "text/semivariogram_report.hpp"

#include <cmath>

#include <fmt/format.h>

#include "options/command.hpp"
#include "study/base/output_file.hpp"
#include "study/document/failure_report.hpp"
#include "text/reading_report.hpp"
#include "text/text_chart.hpp"
#include "text/text_table.hpp"

namespace qmx_study {

namespace {

std::string with_unit(const std::string& number, const std::string& unit) {
    return unit.empty() ? number : number + " " + unit;
}

std::string length_text(const semivariogram_report& report, double length) {
    return with_unit(number_text(length), report.points.x.unit);
}

std::string cells_text(const semivariogram_report& report) {
    const std::string cells = count_text(report.cells.cells) + " cells";
    if (report.last_pass)
        return fmt::format("{}, the last pass of each; {} earlier records left out", cells,
                           count_text(report.earlier_passes));
    if (report.cells.shared_cells == 0) return cells + ", one record in each";
    return fmt::format("{}, {} of them with several records", cells,
                       count_text(report.cells.shared_cells));
}

std::string direction_text(const semivariogram_report& report) {
    if (!report.is_directional) return "all";
    std::string text = fmt::format("azimuth {}° from north, within {}° to either side",
                                   number_text(report.azimuth), number_text(report.tolerance));
    if (report.bandwidth < report.cut_off())
        text += fmt::format(" and {} from the axis", length_text(report, report.bandwidth));
    return text;
}

std::string pairs_text(const semivariogram_report& report, std::size_t lag_class) {
    if (report.pairs.empty()) return "";
    const std::int64_t pairs = report.pairs[lag_class];
    if (pairs == unknown_pairs) return "?";
    return (pairs > most_exact_pairs ? "≈ " : "") + count_text(pairs);
}

std::string lags_table(const semivariogram_report& report) {
    const std::string& unit = report.points.x.unit;
    text_table table("rrrrr");
    table.add({"lag" + unit_suffix(unit), report.pairs.empty() ? "" : "pairs",
               "mean distance" + unit_suffix(unit),
               "semivariance" + unit_suffix(report.semivariance_unit()),
               report.is_fitted() ? "model" : ""});
    table.add_rule();
    const semivariogram& result = report.result;
    const std::size_t classes = result.distances.size();
    const auto lag_text = [&](std::size_t k) {
        return k == 0 ? "same place" : number_text(static_cast<double>(k - 1) * report.lag);
    };
    for (std::size_t k = 0; k < classes; ++k) {
        std::size_t last = k; // of a run of empty lags
        while (report.is_empty(k) && last + 1 < classes && report.is_empty(last + 1)) ++last;
        if (last >= k + 2) {
            table.add({lag_text(k) + " … " + lag_text(last), pairs_text(report, k), "empty"});
            k = last;
        } else if (report.is_empty(k)) {
            table.add({lag_text(k), pairs_text(report, k), "empty"});
        } else {
            table.add(
                {lag_text(k), pairs_text(report, k), fmt::format("{:.3f}", result.distances[k]),
                 number_text(result.semivariances[k]),
                 report.is_fitted() ? number_text(report.model_at(result.distances[k])) : ""});
        }
    }
    return table.text();
}

const char* bound_text(model_bound bound) {
    switch (bound) {
    case model_bound::lower: return "on its lower bound";
    case model_bound::upper: return "on its upper bound";
    case model_bound::none: break;
    }
    return "";
}

std::string model_text(const semivariogram_report& report) {
    const semivariogram& result = report.result;
    const std::string& length = report.points.x.unit;
    const std::string squared = report.semivariance_unit();
    const auto value = [](float number) { return number_text(static_cast<double>(number)); };
    std::string text =
        "\nModel fitted to the lags: sill × (1 − exp(−3 × distance / practical range))\n";
    text_table model("lrll");
    model.add({"Practical range", number_text(result.practical_range), length,
               bound_text(report.range_bound)});
    model.add({"Sill", number_text(result.sill), squared, bound_text(report.sill_bound)});
    text += model.text();
    text += report.flattens()
                ? "Read off the model's curve, where it flattens (5° in the unit square)\n"
                : "Read off the end of the model's curve, which does not flatten before\n";
    text_table reading("lrl");
    reading.add({"Range", value(result.reading[0]), length});
    reading.add({"Sill", value(result.reading[1]), squared});
    reading.add({"Sill less nugget", value(result.reading[2]), squared});
    reading.add({"Nugget", value(result.reading[3]), squared});
    return text + reading.text();
}

std::string chart_of(const semivariogram_report& report) {
    plotted lags, curve;
    for (std::size_t k = 1; k < report.result.distances.size(); ++k) {
        if (report.is_empty(k)) continue;
        lags.x.push_back(report.result.distances[k]);
        lags.y.push_back(report.result.semivariances[k]);
    }
    if (lags.x.empty()) return {};
    if (report.is_fitted()) {
        curve.x.assign(report.result.curve_x.begin(), report.result.curve_x.end());
        curve.y.assign(report.result.curve_y.begin(), report.result.curve_y.end());
    } else { // the axes start at 0 with or without a model
        curve.x.push_back(0);
        curve.y.push_back(0);
    }
    return "\n" + chart_text(lags, curve, "distance" + unit_suffix(report.points.x.unit),
                             "semivariance" + unit_suffix(report.semivariance_unit()));
}

// The model and its curve are 32-bit results that the library hands over as 64-bit numbers.
json narrow(double value) {
    return number_or_null(static_cast<float>(value));
}

json bound_json(model_bound bound) {
    switch (bound) {
    case model_bound::lower: return "lower";
    case model_bound::upper: return "upper";
    case model_bound::none: break;
    }
    return nullptr;
}

} // namespace

double semivariogram_report::model_at(double distance) const {
    return result.sill * -std::expm1(-3 * distance / result.practical_range);
}

std::string semivariogram_report::semivariance_unit() const {
    return is_standardised ? std::string() : squared_unit(points.value.unit);
}

std::string semivariogram_text(const semivariogram_report& report) {
    std::string text = reading_text(report.source, report.points);
    text_table head("ll", 0);
    head.add({"Cells   ", cells_text(report)});
    head.add({"Origin", fmt::format("{:.0f}, {:.0f} subtracted: 32-bit positions then step by at "
                                    "most {}",
                                    report.origin_x, report.origin_y,
                                    with_unit(fmt::format("{:.1g}", report.position_step),
                                              report.points.x.unit))});
    head.add({"Lags",
              fmt::format("{} of {}, cut-off {}: {}", report.lags, length_text(report, report.lag),
                          length_text(report, report.cut_off()), report.lags_from)});
    head.add({"Direction", direction_text(report)});
    text += head.text();
    text += fmt::format("\nSemivariogram of {}{}{}\n", report.points.value.name,
                        unit_suffix(report.points.value.unit),
                        report.is_standardised ? ", divided by the variance of the values" : "");
    text += lags_table(report);
    if (report.is_fitted()) text += model_text(report);
    text += chart_of(report);
    if (!report.output.empty())
        text += fmt::format("\n{} written to {}\n", report.is_fitted() ? "Lags and curve" : "Lags",
                            report.output);
    if (!report.notes.empty()) text += "\n";
    for (const std::string& note : report.notes) text += "Note: " + wrapped(note, 6) + "\n";
    return text;
}

json semivariogram_json(const semivariogram_report& report) {
    const semivariogram& result = report.result;
    json document = new_document("semivariogram");
    add_reading(document, report.source, report.points);
    document["cells"] = {{"count", report.cells.cells},
                         {"with_several_records", report.cells.shared_cells},
                         {"most_records", report.cells.most_records},
                         {"last_pass_only", report.last_pass},
                         {"earlier_records_left_out", report.earlier_passes}};
    document["units"] = {{"distance", text_or_null(report.points.x.unit)},
                         {"semivariance", text_or_null(report.semivariance_unit())}};
    document["origin"] = {{"x", report.origin_x}, {"y", report.origin_y}};
    document["settings"] = {
        {"lag", report.lag},
        {"lags", report.lags},
        {"lags_from", report.lags_from},
        {"cut_off", report.cut_off()},
        {"omnidirectional", !report.is_directional},
        {"azimuth", report.is_directional ? json(report.azimuth) : json(nullptr)},
        {"tolerance", report.is_directional ? json(report.tolerance) : json(nullptr)},
        {"bandwidth", report.is_directional ? json(report.bandwidth) : json(nullptr)},
        {"standardised", report.is_standardised},
        {"value_scale", report.value_scale}};
    json lags = json::array();
    for (std::size_t k = 0; k < result.distances.size(); ++k) {
        const bool is_empty = report.is_empty(k);
        const bool is_counted = !report.pairs.empty() && report.pairs[k] != unknown_pairs;
        lags.push_back(
            {{"class", k},
             {"lag", k == 0 ? json(nullptr) : json(static_cast<double>(k - 1) * report.lag)},
             {"empty", is_empty},
             {"pairs", is_counted ? json(report.pairs[k]) : json(nullptr)},
             {"pairs_exact",
              is_counted ? json(report.pairs[k] <= most_exact_pairs) : json(nullptr)},
             {"mean_distance", is_empty ? json(nullptr) : number_or_null(result.distances[k])},
             {"semivariance", is_empty ? json(nullptr) : number_or_null(result.semivariances[k])},
             {"model", is_empty || !report.is_fitted()
                           ? json(nullptr)
                           : number_or_null(report.model_at(result.distances[k]))}});
    }
    document["lags"] = lags;
    document["model"] = nullptr;
    document["reading"] = nullptr;
    document["curve"] = nullptr;
    if (report.is_fitted()) {
        document["model"] = {{"kind", "exponential"},
                             {"practical_range", narrow(result.practical_range)},
                             {"practical_range_on_bound", bound_json(report.range_bound)},
                             {"sill", narrow(result.sill)},
                             {"sill_on_bound", bound_json(report.sill_bound)}};
        document["reading"] = {{"flattens", report.flattens()},
                               {"range", number_or_null(result.reading[0])},
                               {"sill", number_or_null(result.reading[1])},
                               {"sill_less_nugget", number_or_null(result.reading[2])},
                               {"nugget", number_or_null(result.reading[3])}};
        json& curve = document["curve"];
        curve = {{"distance", json::array()}, {"semivariance", json::array()}};
        for (std::size_t i = 0; i < result.curve_x.size(); ++i) {
            curve["distance"].push_back(narrow(result.curve_x[i]));
            curve["semivariance"].push_back(narrow(result.curve_y[i]));
        }
    }
    document["failure"] = failure_json(report.failure, report.explanation);
    document["notes"] = report.notes;
    document["output"] = text_or_null(report.output);
    return document;
}

void write_semivariogram(const semivariogram_report& report) {
    const semivariogram& result = report.result;
    std::string text = "part,class,lag,pairs,distance,semivariance,model\n";
    for (std::size_t k = 0; k < result.distances.size(); ++k) {
        const std::string lag =
            k == 0 ? "" : fmt::format("{}", static_cast<double>(k - 1) * report.lag);
        const bool is_counted = !report.pairs.empty() && report.pairs[k] != unknown_pairs;
        text += fmt::format("lag,{},{},{},", k, lag,
                            is_counted ? fmt::format("{}", report.pairs[k]) : "");
        text += report.is_empty(k)
                    ? std::string(",")
                    : fmt::format("{},{}", result.distances[k], result.semivariances[k]);
        text += report.is_empty(k) || !report.is_fitted()
                    ? std::string(",\n")
                    : fmt::format(",{}\n", report.model_at(result.distances[k]));
    }
    for (std::size_t i = 0; report.is_fitted() && i < result.curve_x.size(); ++i)
        text += fmt::format("curve,,,,{},,{}\n", static_cast<float>(result.curve_x[i]),
                            static_cast<float>(result.curve_y[i]));
    write_output(report.output, text);
}

} // namespace qmx_study
