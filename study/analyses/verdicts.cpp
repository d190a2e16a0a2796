#include "study/analyses/verdicts.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "study/analyses/report.hpp"
#include "study/base/value_text.hpp"

namespace qmx_study {

namespace {

constexpr std::int64_t least_values = 3;    // fewer carry no share, as they carry no statistics
constexpr double metres_of_rounding = 1e-9; // of a length brought to metres

verdict begun(const char* key, const char* part, const threshold& measured_against,
              const char* unit, bool at_least = true) {
    verdict one;
    one.key = key;
    one.part = part;
    one.measured_against = measured_against;
    one.unit = unit;
    one.at_least = at_least;
    return one;
}

verdict not_given(verdict one, const char* key, std::string reason) {
    one.result = outcome::not_given;
    one.reason_key = key;
    one.reason = std::move(reason);
    return one;
}

verdict given(verdict one, double measured, bool is_met, std::string basis) {
    one.measured = measured;
    one.result = is_met ? outcome::met : outcome::missed;
    one.basis = std::move(basis);
    return one;
}

// The reason that a part of the report is missing is the reason that there is no verdict on it.
verdict without_part(const verdict& one, const report_answer& answer) {
    for (const missing_part& part : answer.missing)
        if (part.part == one.part) return not_given(one, part.key.c_str(), part.text);
    return not_given(one, "failed", "there are no numbers to compare");
}

std::string with_unit(double value, const std::string& unit) {
    return unit.empty() ? number_text(value) : number_text(value) + " " + unit;
}

verdict coverage_verdict(const report_answer& answer, const threshold& least) {
    const verdict one = begun("coverage", "coverage", least, "%");
    if (!answer.coverage) return without_part(one, answer);
    const coverage_answer& coverage = *answer.coverage;
    if (coverage.target.passes == 0)
        return not_given(one, "no_target_passes",
                         "no target pass is named, and the compaction curve shows none");
    if (!coverage.has_verdict()) return not_given(one, "failed", coverage.failure.explanation);
    const auto achieved = static_cast<double>(coverage.target.achieved);
    return given(one, achieved, achieved >= least.value,
                 fmt::format("{:.1f} % of the area of {} has {} passes or more", achieved,
                             with_unit(static_cast<double>(coverage.plan_area), coverage.area_unit),
                             coverage.target.passes));
}

std::string counted_text(const limit_share& share, bool below, const std::string& of_what) {
    return fmt::format("{} of {} cells at or {} {} ({})", count_text(share.share.counted),
                       count_text(share.share.of), below ? "below" : "above",
                       number_text(share.limit), of_what);
}

verdict of_few_values(const verdict& one, const limit_share& share) {
    return not_given(one, "few_values",
                     fmt::format("{} cells have a value; a share takes {} or more",
                                 count_text(share.share.of), least_values));
}

verdict target_verdict(const report_answer& answer, const threshold& least) {
    const verdict one = begun("target", "stats", least, "%");
    if (!answer.settings.target) return not_given(one, "no_target", "no target value is named");
    if (!answer.target_share) return without_part(one, answer);
    const limit_share& share = *answer.target_share;
    if (share.share.of < least_values) return of_few_values(one, share);
    const threshold* const fraction =
        find_threshold(answer.settings.thresholds, "target_fraction_percent");
    const std::string target = number_text(*answer.settings.target);
    const bool is_whole = answer.settings.below || !fraction;
    return given(one, share.share.percent(), share.share.percent() >= least.value,
                 counted_text(share, answer.settings.below,
                              is_whole ? "the target"
                                       : fmt::format("{} % of the target {}",
                                                     number_text(fraction->value), target)));
}

verdict growth_verdict(const report_answer& answer, const threshold& most) {
    const verdict one = begun("growth", "curve", most, "%", false);
    if (!answer.curve) return without_part(one, answer);
    const curve_answer& curve = *answer.curve;
    if (curve.grown_out > 0)
        return given(one, curve.last_growth, true,
                     fmt::format("after pass {} the mean grows by {:.1f} %", curve.grown_out,
                                 curve.last_growth));
    const auto last =
        std::find_if(curve.passes.rbegin(), curve.passes.rend(), [](const pass_row& row) {
            return row.reason == left_out::no && !std::isnan(row.growth);
        });
    if (last == curve.passes.rend())
        return not_given(one, "one_pass",
                         "two passes in a row with 100 points each are needed to see a growth");
    return given(one, last->growth, false,
                 fmt::format("pass {}, the last, still adds {:.1f} % to the mean", last->pass,
                             last->growth));
}

verdict correlation_verdict(const report_answer& answer, const threshold& least) {
    const verdict one = begun("correlation", "spots", least, "");
    if (!answer.spots) return without_part(one, answer);
    const spots_answer& spots = *answer.spots;
    if (!spots.line || std::isnan(spots.line->r))
        return not_given(one, spots.line ? "no_variation" : "too_few_pairs",
                         spots.line ? "the tests or the roller values do not vary"
                                    : spots.failure.explanation);
    const threshold* const tests = find_threshold(answer.settings.thresholds, "correlation_tests");
    if (tests && spots.line->pairs < tests->value)
        return not_given(one, "few_tests",
                         fmt::format("{} spot tests are in the line; {} are needed",
                                     spots.line->pairs, number_text(tests->value)));
    return given(
        one, spots.line->r, spots.line->r >= least.value,
        fmt::format("r of {} spot tests; R² {:.1f} %", spots.line->pairs, spots.line->r_squared));
}

verdict variation_verdict(const report_answer& answer, const threshold& most) {
    const verdict one = begun("variation", "stats", most, "%", false);
    if (!answer.stats) return without_part(one, answer);
    const auto statistic = [&](int index) {
        return static_cast<double>(answer.stats->result.x_stat[index]);
    };
    constexpr int mean = 0, deviation = 2, variation = 8;
    if (!(statistic(mean) > 0) || !std::isfinite(statistic(variation)))
        return not_given(one, "mean_not_positive",
                         "a coefficient of variation needs a mean above 0");
    const double percent = 100 * statistic(variation);
    return given(one, percent, percent <= most.value,
                 fmt::format("standard deviation {}, mean {}", number_text(statistic(deviation)),
                             number_text(statistic(mean))));
}

verdict share_verdict(const char* key, const report_answer& answer, const threshold& least,
                      const std::optional<limit_share>& share, const std::string& of_what) {
    const verdict one = begun(key, "stats", least, "%");
    if (!answer.settings.minimum) return not_given(one, "no_minimum", "no minimum value is named");
    if (!share) return without_part(one, answer);
    if (share->share.of < least_values) return of_few_values(one, *share);
    return given(one, share->share.percent(), share->share.percent() >= least.value,
                 counted_text(*share, false, of_what));
}

verdict floor_verdict(const report_answer& answer, const threshold& least) {
    const threshold* const fraction =
        find_threshold(answer.settings.thresholds, "floor_fraction_percent");
    return share_verdict("floor", answer, least, answer.floor_share,
                         fraction ? fmt::format("{} % of the minimum", number_text(fraction->value))
                                  : "the minimum");
}

verdict cell_size_verdict(const report_answer& answer, const threshold& most) {
    const verdict one = begun("cell_size", "road", most, "m", false);
    if (!answer.lattice || !answer.lattice->is_lattice)
        return not_given(one, "no_lattice",
                         "the positions lie on no lattice: there is no size of a cell");
    if (!(answer.metre > 0))
        return not_given(one, "unknown_unit", "the unit of the positions is not known");
    const double size = std::max(answer.lattice->along, answer.lattice->across) / answer.metre;
    return given(one, size, size <= most.value + metres_of_rounding,
                 fmt::format("cells are {} × {} {}", number_text(answer.lattice->along),
                             number_text(answer.lattice->across), answer.length_unit));
}

} // namespace

std::vector<verdict> verdicts_of(const report_answer& answer) {
    std::vector<verdict> verdicts;
    const auto add = [&](const char* key, auto&& judge) {
        if (const threshold* const one = find_threshold(answer.settings.thresholds, key))
            verdicts.push_back(judge(*one));
    };
    add("coverage_percent", [&](const threshold& t) { return coverage_verdict(answer, t); });
    add("target_share_percent", [&](const threshold& t) { return target_verdict(answer, t); });
    add("growth_percent", [&](const threshold& t) { return growth_verdict(answer, t); });
    add("correlation_r", [&](const threshold& t) { return correlation_verdict(answer, t); });
    add("variation_percent", [&](const threshold& t) { return variation_verdict(answer, t); });
    add("minimum_share_percent", [&](const threshold& t) {
        return share_verdict("minimum", answer, t, answer.minimum_share, "the minimum");
    });
    add("floor_share_percent", [&](const threshold& t) { return floor_verdict(answer, t); });
    add("cell_size", [&](const threshold& t) { return cell_size_verdict(answer, t); });
    return verdicts;
}

} // namespace qmx_study
