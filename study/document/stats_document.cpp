#include "study/document/stats_document.hpp"

#include "study/document/answer_parts.hpp"

namespace qmx_study {

namespace {

json quantiles_json(const stats_answer& answer) {
    json quantiles = json::array();
    for (const quantile& each : answer.quantiles)
        quantiles.push_back({{"percent", each.percent}, {"value", number_or_null(each.value)}});
    return quantiles;
}

// What the library reads off its classes by linear interpolation: coarser than what is counted.
json histogram_readings(const stats_answer& answer) {
    const t_statsout& result = answer.result;
    json levels = json::array();
    for (int i = 0; i < 2; ++i)
        levels.push_back({{"percent", number_or_null(result.x_pctlevel[i])},
                          {"value", number_or_null(result.x_pctvalue[i])}});
    json target = nullptr;
    if (result.i_flag_target == QMX_IC_YES)
        target = {{"value", number_or_null(result.x_target)},
                  {"side", answer.below         ? "at_or_below"
                           : answer.pass_counts ? "at_least"
                                                : "above"},
                  {"achieved_percent", number_or_null(result.x_achieved_pct)},
                  {"met", answer.has_histogram_target() ? json(result.i_target_met == QMX_IC_YES)
                                                        : json(nullptr)}};
    return {{"percent_levels", levels}, {"target", target}};
}

} // namespace

json part_of(const stats_answer& answer) {
    const t_statsout& result = answer.result;
    const std::string unit = answer.value_unit();
    json document;
    document["kind"] = answer.pass_counts ? "pass_counts" : "measure";
    document["cells"] = nullptr;
    if (answer.cells.cells > 0) {
        document["cells"] = cells_json(answer.cells);
        document["cells"]["last_pass_only"] = answer.last_pass;
        document["cells"]["earlier_records_left_out"] = answer.earlier_passes;
    }
    json values;
    json units;
    values["count"] = result.i_numdata;
    for (const statistic& row : listed_statistics) {
        values[row.key] = number_or_null(result.x_stat[row.index]);
        units[row.key] = text_or_null(unit_to_power(unit, row.power));
    }
    document["statistics"] = values;
    document["units"] = units;
    json histogram = json::array();
    for (int i = 0; i < answer.classes(); ++i)
        histogram.push_back({{answer.pass_counts ? "passes" : "upper_limit",
                              answer.pass_counts ? json(i) : number_or_null(result.x_bin[i])},
                             {"percent", number_or_null(result.x_freq[i])},
                             {"cumulative_percent", number_or_null(result.x_cumfreq[i])}});
    document["histogram"] = histogram;
    document["quantiles"] = quantiles_json(answer);
    document["quantile_type"] = 7;
    document["target"] = nullptr;
    if (answer.target)
        document["target"] = {{"value", number_or_null(answer.target->value)},
                              {"side", answer.below ? "at_or_below" : "at_or_above"},
                              {"required_percent", number_or_null(answer.target->required)},
                              {"counted", answer.target->share.counted},
                              {"counted_percent", number_or_null(answer.target->share.percent())},
                              {"met", answer.target->is_met()}};
    document["read_off_histogram"] = histogram_readings(answer);
    document["notes"] = answer.notes;
    return document;
}

json document_of(const stats_answer& answer) {
    return whole_document(new_document("stats", 2), answer.reading, part_of(answer), answer.output);
}

} // namespace qmx_study
