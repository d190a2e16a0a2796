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

std::string target_text(const stats_answer& answer) {
    const counted_target& target = *answer.target;
    const std::string unit =
        answer.pass_counts ? " passes" : unit_suffix(answer.reading.value.unit);
    std::string text = fmt::format(
        "\nTarget\n  {:.2f} % of the values ({} of {}) are at or {} {}{}; {} % are required: {}\n",
        target.share.percent(), count_text(target.share.counted), count_text(target.share.of),
        answer.below ? "below" : "above", number_text(target.value), unit,
        number_text(target.required), target.is_met() ? "MET" : "NOT MET");
    if (answer.has_histogram_target())
        text += fmt::format("  (the library reads {} % off its {}, which is no count)\n",
                            number_text(answer.result.x_achieved_pct),
                            answer.pass_counts ? "classes" : "histogram by linear interpolation");
    return text;
}

std::string quantiles_text(const stats_answer& answer) {
    text_table table("lrl");
    for (const quantile& each : answer.quantiles)
        table.add({each.percent == 50 ? std::string("Median")
                                      : fmt::format("{} %", number_text(each.percent)),
                   number_text(each.value), answer.value_unit()});
    return "\nQuantiles (of the ordered values, type 7)\n" + table.text();
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
            table.add({fmt::format("{} % level, off the histogram",
                                   number_text(answer.result.x_pctlevel[i])),
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
    text += statistics_text(answer) + quantiles_text(answer);
    text += "\nHistogram\n" + histogram_text(answer);
    if (answer.target) text += target_text(answer);
    return text + notes_text(answer.notes);
}

} // namespace qmx_terminal
