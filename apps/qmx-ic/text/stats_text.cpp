#include "text/stats_text.hpp"

#include <algorithm>
#include <iterator>
#include <string_view>

#include <fmt/format.h>

#include "text/answer_parts.hpp"
#include "text/text_table.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

constexpr int widest_bar = 40;

struct named_statistic {
    const char* key;
    const char* text;
};
constexpr named_statistic names[] = {{"mean", "Mean"},
                                     {"standard_deviation", "Standard deviation"},
                                     {"coefficient_of_variation", "Coefficient of variation"},
                                     {"variance", "Variance"},
                                     {"skewness", "Skewness"},
                                     {"excess_kurtosis", "Excess kurtosis"},
                                     {"minimum", "Minimum"},
                                     {"maximum", "Maximum"},
                                     {"range", "Range"}};
constexpr int coefficient_of_variation = 8;

std::string target_sentence(const stats_answer& answer) {
    const t_statsout& result = answer.result;
    const char* const side = answer.below         ? "at or below"
                             : answer.pass_counts ? "at least"
                                                  : "above";
    return fmt::format(
        "{} % of the values are {} {}{}; {} % are required: {}{}",
        number_text(result.x_achieved_pct), side, number_text(result.x_target),
        answer.pass_counts ? " passes" : unit_suffix(answer.reading.value.unit),
        number_text(result.x_target_pct), result.i_target_met == QMX_IC_YES ? "MET" : "NOT MET",
        answer.pass_counts ? "" : "\n  (read off the histogram by linear interpolation)");
}

std::string statistics_text(const stats_answer& answer) {
    const auto& x_stat = answer.result.x_stat;
    const std::string unit = answer.value_unit();
    text_table table("lrl");
    table.add({"Values", count_text(answer.result.i_numdata), ""});
    for (const statistic& row : listed_statistics) {
        const auto* const name =
            std::find_if(std::begin(names), std::end(names), [&](const named_statistic& each) {
                return std::string_view(each.key) == row.key;
            });
        if (name == std::end(names)) continue; // limits follow in pairs
        if (row.index == coefficient_of_variation) {
            table.add({name->text, number_text(100.0 * x_stat[row.index]), "%"});
        } else {
            table.add({name->text, number_text(x_stat[row.index]), unit_to_power(unit, row.power)});
        }
    }
    const auto limits = [&](const char* name, int lower, int power) {
        table.add({name, number_text(x_stat[lower]) + " … " + number_text(x_stat[lower + 1]),
                   unit_to_power(unit, power)});
    };
    limits("95 % limits of the mean", 10, 1);
    limits("95 % limits of the variance", 12, 2);
    if (!answer.is_constant())
        for (int i = 0; i < 2; ++i)
            table.add({fmt::format("{} % level", number_text(answer.result.x_pctlevel[i])),
                       number_text(answer.result.x_pctvalue[i]), unit});
    return table.text();
}

std::string histogram_text(const stats_answer& answer) {
    const t_statsout& result = answer.result;
    const int classes = answer.classes();
    float largest = 0;
    for (int i = 0; i < classes; ++i) largest = std::max(largest, result.x_freq[i]);
    text_table table("rlrrrl");
    table.add({"", answer.pass_counts ? "passes" : "up to", "", "%", "cum. %", ""});
    for (int i = 0; i < classes; ++i) {
        const std::string limit =
            answer.pass_counts ? fmt::format("{}", i) : number_text(result.x_bin[i]);
        table.add({!answer.pass_counts && i == 0 ? "=" : "", limit, "",
                   fmt::format("{:.2f}", result.x_freq[i]),
                   fmt::format("{:.2f}", result.x_cumfreq[i]),
                   largest > 0 ? bar(result.x_freq[i] / largest, widest_bar) : ""});
    }
    return table.text();
}

} // namespace

std::string stats_text(const stats_answer& answer) {
    std::string text = reading_text(answer.reading);
    if (answer.last_pass)
        text +=
            fmt::format("Cells     {} cells, the last pass of each; {} earlier records left out\n",
                        count_text(answer.cells.cells), count_text(answer.earlier_passes));
    text += fmt::format("\nStatistics of {}\n", named_with_unit(answer.reading.value));
    text += statistics_text(answer);
    text += "\nHistogram\n" + histogram_text(answer);
    if (answer.has_verdict()) text += "\nTarget\n  " + target_sentence(answer) + "\n";
    return text + notes_text(answer.notes);
}

} // namespace qmx_terminal
