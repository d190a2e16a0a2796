#include "text/stats_report.hpp"

#include <algorithm>

#include <fmt/format.h>

#include "text/reading_report.hpp"
#include "text/text_table.hpp"

namespace qmx_study {

namespace {

constexpr int widest_bar = 40;

struct statistic {
    int index; // in x_stat
    const char* key;
    const char* text;
    int power; // of the unit of the measure
};
constexpr statistic statistics[] = {{0, "mean", "Mean", 1},
                                    {2, "standard_deviation", "Standard deviation", 1},
                                    {8, "coefficient_of_variation", "Coefficient of variation", 0},
                                    {1, "variance", "Variance", 2},
                                    {3, "skewness", "Skewness", 0},
                                    {4, "excess_kurtosis", "Excess kurtosis", 0},
                                    {5, "minimum", "Minimum", 1},
                                    {6, "maximum", "Maximum", 1},
                                    {7, "range", "Range", 1},
                                    {10, "mean_lower_95", "", 1},
                                    {11, "mean_upper_95", "", 1},
                                    {12, "variance_lower_95", "", 2},
                                    {13, "variance_upper_95", "", 2}};
constexpr int coefficient_of_variation = 8;

std::string unit_to(const std::string& unit, int power) {
    if (power == 0) return {};
    return power == 1 ? unit : squared_unit(unit);
}

int class_count(const t_statsout& result) {
    return std::clamp(result.i_numbins, 0, 200);
}

std::string target_sentence(const stats_report& report) {
    const t_statsout& result = report.result;
    const char* const side = report.below         ? "at or below"
                             : report.pass_counts ? "at least"
                                                  : "above";
    return fmt::format(
        "{} % of the values are {} {}{}; {} % are required: {}{}",
        number_text(result.x_achieved_pct), side, number_text(result.x_target),
        report.pass_counts ? " passes" : unit_suffix(report.points.value.unit),
        number_text(result.x_target_pct), result.i_target_met == QMX_IC_YES ? "MET" : "NOT MET",
        report.pass_counts ? "" : "\n  (read off the histogram by linear interpolation)");
}

std::string statistics_text(const stats_report& report) {
    const auto& x_stat = report.result.x_stat;
    const std::string unit = report.pass_counts ? "passes" : report.points.value.unit;
    text_table table("lrl");
    table.add({"Values", count_text(report.result.i_numdata), ""});
    for (const statistic& row : statistics) {
        if (*row.text == '\0') continue;
        if (row.index == coefficient_of_variation) {
            table.add({row.text, number_text(100.0 * x_stat[row.index]), "%"});
        } else {
            table.add({row.text, number_text(x_stat[row.index]), unit_to(unit, row.power)});
        }
    }
    table.add({"95 % limits of the mean", number_text(x_stat[10]) + " … " + number_text(x_stat[11]),
               unit_to(unit, 1)});
    table.add({"95 % limits of the variance",
               number_text(x_stat[12]) + " … " + number_text(x_stat[13]), unit_to(unit, 2)});
    if (!report.is_constant())
        for (int i = 0; i < 2; ++i)
            table.add({fmt::format("{} % level", number_text(report.result.x_pctlevel[i])),
                       number_text(report.result.x_pctvalue[i]), unit_to(unit, 1)});
    return table.text();
}

std::string histogram_text(const stats_report& report) {
    const t_statsout& result = report.result;
    const int classes = class_count(result);
    float largest = 0;
    for (int i = 0; i < classes; ++i) largest = std::max(largest, result.x_freq[i]);
    text_table table("rlrrrl");
    table.add({"", report.pass_counts ? "passes" : "up to", "", "%", "cum. %", ""});
    for (int i = 0; i < classes; ++i) {
        const std::string limit =
            report.pass_counts ? fmt::format("{}", i) : number_text(result.x_bin[i]);
        table.add({!report.pass_counts && i == 0 ? "=" : "", limit, "",
                   fmt::format("{:.2f}", result.x_freq[i]),
                   fmt::format("{:.2f}", result.x_cumfreq[i]),
                   largest > 0 ? bar(result.x_freq[i] / largest, widest_bar) : ""});
    }
    return table.text();
}

} // namespace

std::string stats_text(const stats_report& report) {
    std::string text = reading_text(report.source, report.points);
    if (report.last_pass)
        text +=
            fmt::format("Cells     {} cells, the last pass of each; {} earlier records left out\n",
                        count_text(report.cells.cells), count_text(report.earlier_passes));
    text += fmt::format("\nStatistics of {}{}\n", report.points.value.name,
                        unit_suffix(report.points.value.unit));
    text += statistics_text(report);
    text += "\nHistogram\n" + histogram_text(report);
    if (report.has_verdict()) text += "\nTarget\n  " + target_sentence(report) + "\n";
    if (!report.notes.empty()) text += "\n";
    for (const std::string& note : report.notes) text += "Note: " + wrapped(note, 6) + "\n";
    return text;
}

json stats_json(const stats_report& report) {
    const t_statsout& result = report.result;
    const std::string unit = report.pass_counts ? "passes" : report.points.value.unit;
    json document = new_document("stats");
    add_reading(document, report.source, report.points);
    document["kind"] = report.pass_counts ? "pass_counts" : "measure";
    document["cells"] = report.cells.cells == 0
                            ? json(nullptr)
                            : json{{"count", report.cells.cells},
                                   {"with_several_records", report.cells.shared_cells},
                                   {"most_records", report.cells.most_records},
                                   {"last_pass_only", report.last_pass},
                                   {"earlier_records_left_out", report.earlier_passes}};
    json values;
    json units;
    values["count"] = result.i_numdata;
    for (const statistic& row : statistics) {
        values[row.key] = number_or_null(result.x_stat[row.index]);
        units[row.key] = text_or_null(unit_to(unit, row.power));
    }
    document["statistics"] = values;
    document["units"] = units;
    json histogram = json::array();
    for (int i = 0; i < class_count(result); ++i)
        histogram.push_back({{report.pass_counts ? "passes" : "upper_limit",
                              report.pass_counts ? json(i) : number_or_null(result.x_bin[i])},
                             {"percent", number_or_null(result.x_freq[i])},
                             {"cumulative_percent", number_or_null(result.x_cumfreq[i])}});
    document["histogram"] = histogram;
    json levels = json::array();
    for (int i = 0; i < 2; ++i)
        levels.push_back({{"percent", number_or_null(result.x_pctlevel[i])},
                          {"value", number_or_null(result.x_pctvalue[i])}});
    document["percent_levels"] = levels;
    document["target"] = nullptr;
    if (result.i_flag_target == QMX_IC_YES)
        document["target"] = {{"value", number_or_null(result.x_target)},
                              {"side", report.below         ? "at_or_below"
                                       : report.pass_counts ? "at_least"
                                                            : "above"},
                              {"required_percent", number_or_null(result.x_target_pct)},
                              {"achieved_percent", number_or_null(result.x_achieved_pct)},
                              {"met", report.has_verdict() ? json(result.i_target_met == QMX_IC_YES)
                                                           : json(nullptr)}};
    document["notes"] = report.notes;
    return document;
}

} // namespace qmx_study
