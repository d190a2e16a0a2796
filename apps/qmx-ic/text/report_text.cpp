#include "text/report_text.hpp"

#include <utility>

#include <fmt/format.h>

#include "study/base/value_text.hpp"
#include "text/text_table.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

std::string text_at(const json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::string number_at(const json& object, const char* key, const std::string& unit = {}) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number()) return "-";
    const std::string text = number_text(found->get<double>());
    return unit.empty() ? text : text + " " + unit;
}

std::string verdicts_text(const json& document) {
    text_table table("llrllrl");
    for (const json& each : document["verdicts"]) {
        const json& threshold = each["threshold"];
        const std::string unit = text_at(each, "unit");
        const std::string outcome = text_at(each, "outcome");
        table.add({outcome == "met"      ? "MET"
                   : outcome == "missed" ? "NOT MET"
                                         : "no verdict",
                   text_at(each, "key"), number_at(each, "measured", unit), "",
                   each["at_least"].get<bool>() ? "at least" : "at most",
                   number_at(threshold, "value", unit), text_at(threshold, "from")});
    }
    if (table.empty()) return "Verdicts\n  none: no threshold is in force\n";
    std::string text = "Verdicts\n" + table.text();
    for (const json& each : document["verdicts"]) {
        const std::string reason = text_at(each, "reason");
        if (!reason.empty())
            text += fmt::format("  {}: {}\n", text_at(each, "key"), wrapped(reason, 4));
    }
    return text;
}

std::string data_text(const json& document) {
    const json& input = document["input"];
    const auto count = [&](const char* key) { return count_text(input[key].get<std::int64_t>()); };
    std::string text =
        fmt::format("\nFile      {}  ({})\n", text_at(input, "file"), text_at(input, "format"));
    for (const json& each : document["inputs"])
        text += fmt::format("SHA-256   {}  {}\n", text_at(each, "sha256"), text_at(each, "file"));
    for (const char* const role : {"value", "x", "y", "pass"}) {
        const json& column = document["columns"][role];
        if (column.is_object())
            text += fmt::format("{:<10}{}{}\n", role, text_at(column, "name"),
                                unit_suffix(text_at(column, "unit")));
    }
    text += fmt::format("Rows      {} read, {} used, {} dropped", count("rows_read"),
                        count("rows_used"), count("rows_dropped"));
    for (const auto& [key, what] :
         {std::pair{"rows_left_out_by_filter", "left out by filters"},
          std::pair{"rows_of_earlier_passes", "of earlier passes, for the finished layer"},
          std::pair{"rows_left_without_position", "left out without a position"}})
        if (input[key].get<std::int64_t>() > 0) text += fmt::format(", {} {}", count(key), what);
    text += "\n";
    for (const json& each : input["dropped"])
        text += fmt::format("          {}: {}\n", count_text(each["count"].get<std::int64_t>()),
                            text_at(each, "text"));
    return text;
}

// A line for each part that is there.
std::string results_text(const json& document) {
    text_table table("ll");
    const std::string length = text_at(document["data"], "length_unit");
    if (const json& stats = document["stats"]; stats.is_object()) {
        const json& values = stats["statistics"];
        const std::string unit = text_at(stats["units"], "mean");
        table.add(
            {"Values", fmt::format("{} cells, mean {}, standard deviation {}",
                                   number_at(values, "count"), number_at(values, "mean", unit),
                                   number_at(values, "standard_deviation", unit))});
    }
    if (const json& coverage = document["coverage"]; coverage.is_object())
        table.add(
            {"Coverage",
             fmt::format("{} of {} {}", number_at(coverage["all_bins"], "coverage_percent", "%"),
                         number_at(coverage, "plan_area"), text_at(coverage["units"], "area"))});
    if (const json& curve = document["curve"]; curve.is_object() && curve["failure"].is_null())
        table.add(
            {"Growth", curve["growth"]["pass"].is_number()
                           ? fmt::format("ends after pass {}", number_at(curve["growth"], "pass"))
                           : std::string("does not end within the passes")});
    if (const json& spots = document["spots"]; spots.is_object() && spots["regression"].is_object())
        table.add(
            {"Spot tests",
             fmt::format("r {}, R² {}, {} tests in the line", number_at(spots["regression"], "r"),
                         number_at(spots["regression"], "r_squared_percent", "%"),
                         number_at(spots["regression"], "n"))});
    if (const json& semivariogram = document["semivariogram"];
        semivariogram.is_object() && semivariogram["failure"].is_null())
        table.add({"Variation",
                   fmt::format("sill {}, range {}", number_at(semivariogram["reading"], "sill"),
                               number_at(semivariogram["reading"], "range", length))});
    if (const json& road = document["road"]; road.is_object())
        for (const json& each : road["weak"])
            table.add(
                {"Weak", fmt::format("{} to {}: mean {}", number_at(each, "from"),
                                     number_at(each, "to", length), number_at(each, "mean"))});
    return table.empty() ? std::string() : "\nResults\n" + table.text();
}

std::string list_text(const json& list, const char* title) {
    std::string text;
    for (const json& each : list) {
        const std::string line =
            each.is_string() ? each.get<std::string>()
                             : fmt::format("{}: {}", text_at(each, "part"), text_at(each, "text"));
        text += fmt::format("  {}\n", wrapped(line, 4));
    }
    return text.empty() ? text : fmt::format("\n{}\n{}", title, text);
}

} // namespace

std::string report_text(const json& document) {
    return verdicts_text(document) + data_text(document) + results_text(document) +
           list_text(document["missing"], "Not in the report") +
           list_text(document["cautions"], "Cautions") + list_text(document["notes"], "Notes");
}

} // namespace qmx_terminal
