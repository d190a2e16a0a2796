#include "study/analyses/stats.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include <fmt/format.h>

#include "study/analyses/library_call.hpp"
#include "study/analyses/lot_notes.hpp"
#include "study/analyses/wrong_option.hpp"
#include "study/base/value_text.hpp"
#include "study/lot/value_range.hpp"

namespace qmx_study {

namespace {

t_statsout prepared(const stats_question& question) {
    t_statsout result{};
    result.i_flag_target = question.target ? QMX_IC_YES : QMX_IC_NO;
    result.x_target = static_cast<float>(question.target.value_or(0));
    result.x_target_pct = static_cast<float>(question.target_percent.value_or(90));
    result.x_achieved_pct = std::numeric_limits<float>::quiet_NaN();
    for (int i = 0; i < 2; ++i) {
        result.x_pctlevel[i] = static_cast<float>(question.levels[static_cast<std::size_t>(i)]);
        result.x_pctvalue[i] = std::numeric_limits<float>::quiet_NaN();
    }
    return result;
}

// With exactly 200 classes the library's record is full and the last cumulative percentage takes the
// place of the target before the test reads it: what it then says is about another target.
void withdraw_overrun_target(stats_answer& answer, const stats_question& question) {
    t_statsout& result = answer.result;
    if (!answer.pass_counts || result.i_numbins != 200 || !question.target) return;
    result.x_target = static_cast<float>(*question.target);
    result.x_achieved_pct = std::numeric_limits<float>::quiet_NaN();
    result.i_target_met = 0;
}

// What is counted value by value.
void count_values(stats_answer& answer, const stats_question& question,
                  const std::vector<t_icdata>& points) {
    if (question.target)
        answer.target = counted_target{*question.target, question.target_percent.value_or(90),
                                       share_at(points, *question.target, question.below)};
    std::vector<double> percents{25, 50, 75};
    for (const double level : question.levels)
        if (std::find(percents.begin(), percents.end(), level) == percents.end())
            percents.push_back(level);
    std::sort(percents.begin(), percents.end());
    answer.quantiles = quantiles_of_points(points, percents);
}

// A sensor at its cap gives one value again and again. Says so when a twentieth of the values equal the
// largest one.
void note_capped_values(stats_answer& answer, const std::vector<t_icdata>& points) {
    double largest = points.front().d_val;
    std::size_t count = 0;
    for (const t_icdata& point : points) {
        if (point.d_val > largest) {
            largest = point.d_val;
            count = 0;
        }
        count += point.d_val == largest;
    }
    if (count < 5 || 20 * count < points.size()) return;
    answer.notes.push_back(fmt::format("{} of {} values equal the largest, {}: the sensor may have "
                                       "been at its cap, and the true values higher.",
                                       count, points.size(), largest));
}

void add_notes(stats_answer& answer, const loaded_lot& lot) {
    const t_statsout& result = answer.result;
    if (answer.is_constant()) {
        answer.notes.push_back("All values are (nearly) equal: the histogram has one class, and "
                               "nothing is read off it.");
    } else if (!(result.x_cumfreq[0] > 0) &&
               !(result.x_cumfreq[result.i_numbins > 0 ? result.i_numbins - 1 : 0] > 0)) {
        answer.notes.push_back("The values differ too little for their size: 32-bit class limits "
                               "coincide, so the histogram and what is read off it carry no "
                               "meaning.");
    }
    if (!answer.pass_counts && !answer.is_constant()) note_capped_values(answer, lot.data.points);
    note_chosen_value(answer.notes, lot);
    answer.notes.push_back("The 95 % limits take the values as independent. Neighbouring cells are "
                           "alike, so the limits come out too narrow.");
}

} // namespace

std::string unit_to_power(const std::string& unit, int power) {
    if (power == 0) return {};
    return power == 1 ? unit : squared_unit(unit);
}

int stats_answer::classes() const {
    return std::clamp(result.i_numbins, 0, 200);
}

std::string stats_answer::value_unit() const {
    return pass_counts ? "passes" : reading.value.unit;
}

void check(const stats_question& question) {
    for (const double level : question.levels)
        if (!(level >= 0 && level <= 100))
            throw wrong_option("--levels", ": {} is no percentage from 0 to 100", level);
    if (question.target_percent && !question.target)
        throw wrong_option("--target-percent", " needs --target");
    const double percent = question.target_percent.value_or(90);
    if (!(percent >= 0 && percent <= 100))
        throw wrong_option("--target-percent", ": {} is no percentage from 0 to 100", percent);
    const double target = question.target.value_or(0);
    if (!(std::fabs(target) <= static_cast<double>(std::numeric_limits<float>::max())))
        throw wrong_option("--target", ": {} is no number to compare with", target);
    if (question.below && !question.target) throw wrong_option("--below", " needs --target");
}

reading_needs needs_of(const stats_question& question) {
    reading_needs needs;
    needs.value_is_pass = question.pass_counts;
    if (question.last_pass) {
        needs.position = need::required;
        needs.pass = need::complete;
    }
    return needs;
}

stats_answer analyse(const stats_question& question, loaded_lot& lot) {
    refuse_values_too_large(lot.source(), lot.data);
    if (question.pass_counts) take_values_as_passes(lot.data);
    return analyse(question, lot,
                   take_finished_layer(lot, question.last_pass, question.all_records));
}

stats_answer analyse(const stats_question& question, const loaded_lot& lot,
                     const finished_layer& layer) {
    stats_answer answer;
    answer.result = prepared(question);
    answer.pass_counts = question.pass_counts;
    answer.below = question.below;
    answer.cells = layer.cells;
    answer.last_pass = layer.is_taken;
    answer.earlier_passes = layer.earlier_passes;
    answer.notes = layer.notes;
    answer.reading = account_of(lot);
    count_values(answer, question, lot.data.points);
    run_statistics(question.pass_counts, question.below, lot.data.points, answer.result);
    withdraw_overrun_target(answer, question);
    add_notes(answer, lot);
    return answer;
}

} // namespace qmx_study
