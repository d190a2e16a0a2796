// What a report says of its data, and its verdicts: an answer made by hand, in which one thing changes.
#include "study/analyses/report_cautions.hpp"

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace {

using namespace qmx_study;

constexpr double no_number = std::numeric_limits<double>::quiet_NaN();

void set_mean(stats_answer& stats, float mean, float deviation, float variation) {
    stats.result.x_stat[0] = mean;
    stats.result.x_stat[2] = deviation;
    stats.result.x_stat[8] = variation;
}

// Of 200 cells in metres, in which nothing is to be cautioned of and every verdict is met.
report_answer sound_answer() {
    report_answer answer;
    answer.settings.thresholds = thresholds_of("austria");
    for (const threshold& more : thresholds_of("general"))
        if (!find_threshold(answer.settings.thresholds, more.key))
            answer.settings.thresholds.push_back(more);
    answer.settings.target = 40;
    answer.settings.minimum = 30;
    answer.length_unit = "m";
    answer.metre = 1;
    answer.reading.rows_read = 1000;
    answer.reading.rows_used = 200;
    answer.reading.earlier_passes = 780;
    answer.reading.rows_dropped = 20; // 2 %, which is not many
    answer.lattice = cell_lattice{0.3, 0.4, 0, 0, 0, true, false, true, 0};
    answer.greatest_value = 60;
    answer.at_greatest_value = 9; // of 200
    answer.target_share = limit_share{28, {180, 200}};
    answer.minimum_share = limit_share{30, {190, 200}};
    answer.floor_share = limit_share{24, {200, 200}};

    stats_answer& stats = answer.stats.emplace();
    stats.result.i_numdata = 200;
    stats.result.i_numbins = 21;
    set_mean(stats, 40, 5, 0.125F);

    curve_answer& curve = answer.curve.emplace();
    curve.grown_out = 3;
    curve.last_growth = 1.5;
    curve.cells = {200, 200, 5};

    coverage_answer& coverage = answer.coverage.emplace();
    coverage.coverage = 99.5;
    coverage.selection = {1000, 9, 0};
    coverage.target = {3, 90, 95};
    coverage.plan_area = 24;
    coverage.area_unit = "m²";

    spots_answer& spots = answer.spots.emplace();
    spots.line = spot_line{12, 1, 2, 81, 0.9, {}};
    spots.least_pairs = 10;
    spots.least_correlation = 0.7;
    spots.spots.resize(12);
    for (spot_row& spot : spots.spots) spot.state = spot_state::in_line;

    semivariogram_answer& found = answer.semivariogram.emplace();
    found.result.reading[0] = 0.375F; // not beyond a cell
    found.result.curve_x[98] = 30;
    found.layout.points = 200;

    road_answer& road = answer.road.emplace();
    road.stations.resize(4);
    for (road_station& station : road.stations) station.cells = 50;
    return answer;
}

struct changed_answer {
    const char* what;
    std::function<void(report_answer&)> change;
    const char *part, *key; // of the only caution; no key where there is none
    const char* text;
    std::vector<double> numbers;
};

const changed_answer of_data[] = {
    {"nothing", [](report_answer&) {}, "", "", "", {}},
    {"one lift",
     [](report_answer& a) {
         a.traits[trait::lift].names = {{"1", 200}};
     },
     "",
     "",
     "",
     {}},
    {"two lifts",
     [](report_answer& a) {
         a.traits[trait::lift].names = {{"1", 100}, {"2", 100}};
     },
     "data",
     "mixed_lifts",
     "The rows belong to 2 lifts: cells of one lift hide those below. A filter takes one lift.",
     {2}},
    {"more machines than are listed",
     [](report_answer& a) {
         a.traits[trait::machine].names = {{"A", 150}};
         a.traits[trait::machine].further_names = 3;
     },
     "data",
     "several_machines",
     "4 machines measured: their values compare only where they are calibrated against each other.",
     {4}},
    {"rows without vibration, of all in use and of earlier passes",
     [](report_answer& a) { a.traits.rows_without_vibration = 49; },
     "data",
     "vibration_off",
     "49 of the rows in use (5.0 %) were made with vibration off: their values mean something "
     "else. A filter leaves them out.",
     {49, 5}},
    {"more than two in a hundred dropped",
     [](report_answer& a) { a.reading.rows_dropped = 21; },
     "data",
     "many_dropped",
     "21 of 1 000 rows (2.1 %) could not be used; the table of rows says why.",
     {21, 2.1}},
    {"no row at all", [](report_answer& a) { a.reading = {}; }, "", "", "", {}},
    {"rows without a pass",
     [](report_answer& a) { a.rows_without_pass = 1234; },
     "data",
     "rows_without_pass",
     "1 234 rows have no pass number: they are in no compaction curve, and the first to give way "
     "where a cell has several records.",
     {1234}}};

const changed_answer of_stats[] = {
    {"equal values, however many are the greatest",
     [](report_answer& a) {
         a.stats->result.i_numbins = 1;
         a.at_greatest_value = 200;
     },
     "stats",
     "constant",
     "All values are (nearly) equal: there is nothing to tell cells apart by.",
     {}},
    {"one in twenty at the greatest value",
     [](report_answer& a) { a.at_greatest_value = 10; },
     "stats",
     "capped_sensor",
     "10 of 200 values (5.0 %) equal the greatest, 60: the sensor may have been at its cap, and "
     "the true values higher.",
     {10, 5, 60}},
    {"four values are no cap",
     [](report_answer& a) {
         a.stats->result.i_numdata = 30;
         a.at_greatest_value = 4;
     },
     "",
     "",
     "",
     {}},
    {"few values",
     [](report_answer& a) {
         a.stats->result.i_numdata = 29;
         a.at_greatest_value = 1;
     },
     "stats",
     "few_values",
     "29 values are few for a distribution.",
     {29}},
    {"a range beyond the cells' longer side",
     [](report_answer& a) { a.semivariogram->result.reading[0] = 2.5F; },
     "stats",
     "correlated_cells",
     "Neighbouring cells are alike up to 2.5 m: confidence limits over them come out too narrow.",
     {2.5}},
    {"the same, in no known unit",
     [](report_answer& a) {
         a.semivariogram->result.reading[0] = 12.345F;
         a.length_unit.clear();
     },
     "stats",
     "correlated_cells",
     "Neighbouring cells are alike up to 12.3: confidence limits over them come out too narrow.",
     {12.345F}},
    {"a range at the bound of the fit is none",
     [](report_answer& a) {
         a.semivariogram->result.reading[0] = 2.5F;
         a.semivariogram->range_bound = model_bound::lower;
     },
     "",
     "",
     "",
     {}},
    {"no lattice to compare a range with",
     [](report_answer& a) {
         a.semivariogram->result.reading[0] = 2.5F;
         a.lattice.reset();
     },
     "",
     "",
     "",
     {}},
    {"no statistics",
     [](report_answer& a) { a.stats.reset(), a.at_greatest_value = 200; },
     "",
     "",
     "",
     {}}};

const changed_answer of_other_parts[] = {
    {"no line through the tests",
     [](report_answer& a) {
         a.spots->line.reset();
         a.spots->failure.explanation = "2 pairs are too few for a line";
         a.spots->spots.back().state = spot_state::none_in_circle;
     },
     "spots",
     "failed_fit",
     "2 pairs are too few for a line",
     {}},
    {"few tests",
     [](report_answer& a) { a.spots->line->pairs = 9; },
     "spots",
     "few_tests",
     "9 tests are few for a correlation; 10 or more are wanted.",
     {9, 10}},
    {"a line that falls",
     [](report_answer& a) { a.spots->line->slope = -0.5; },
     "spots",
     "negative_slope",
     "Where the spot tests read more, the roller reads less: the line says nothing of stiffness.",
     {}},
    {"a low correlation",
     [](report_answer& a) { a.spots->line->r = 0.6994; },
     "spots",
     "low_correlation",
     "r is 0.699, below 0.7: roller values do not stand for the tests here.",
     {0.6994, 0.7}},
    {"tests beside the data",
     [](report_answer& a) {
         a.spots->spots[3].state = spot_state::none_in_circle;
         a.spots->spots[7].state = spot_state::too_few;
     },
     "spots",
     "unmatched_tests",
     "2 of 12 tests are not in the line: too few roller values lie round them.",
     {2, 12}},
    {"no curve",
     [](report_answer& a) { a.curve->failure.explanation = "pass 1 has 3 points"; },
     "curve",
     "failed_fit",
     "pass 1 has 3 points",
     {}},
    {"a mean that grows to the end",
     [](report_answer& a) { a.curve->grown_out = 0; },
     "curve",
     "still_growing",
     "The mean still grows with the last pass: compaction has not ended.",
     {}},
    {"a single record in each cell",
     [](report_answer& a) {
         a.curve->cells = {200, 1, 2};
     },
     "curve",
     "final_coverage",
     "Hardly a cell holds more than one record: these look like data of final coverage, and a "
     "curve takes the records of all passes.",
     {}},
    {"no cell", [](report_answer& a) { a.curve->cells = {}; }, "", "", "", {}},
    {"no model",
     [](report_answer& a) { a.semivariogram->failure.explanation = "all lags are empty"; },
     "semivariogram",
     "failed_fit",
     "all lags are empty",
     {}},
    {"a semivariance that rises to the end",
     [](report_answer& a) { a.semivariogram->result.reading[0] = 30; },
     "semivariogram",
     "no_range",
     "The semivariance still rises at the longest lags: they show no range.",
     {}},
    {"a range at the upper bound of the fit",
     [](report_answer& a) { a.semivariogram->range_bound = model_bound::upper; },
     "semivariogram",
     "no_range",
     "The semivariance still rises at the longest lags: they show no range.",
     {}},
    {"cells drawn by chance",
     [](report_answer& a) {
         a.semivariogram->drawn = 9000;
         a.semivariogram->layout.points = 1234567;
     },
     "semivariogram",
     "drawn_points",
     "9 000 of 1 234 567 cells were drawn by chance, the same ones each time, for the pairs.",
     {9000, 1234567}},
    {"no target pass",
     [](report_answer& a) { a.coverage->failure.explanation = "the areas have no size"; },
     "coverage",
     "no_verdict",
     "the areas have no size",
     {}},
    {"an open hundredth of the area",
     [](report_answer& a) { a.coverage->coverage = 99; },
     "coverage",
     "gaps",
     "1.0 % of the area has no cell of these bins.",
     {1}},
    {"a hundredth of the rows outside",
     [](report_answer& a) { a.coverage->selection.outside = 10; },
     "coverage",
     "outside",
     "10 rows (1.0 %) lie outside the area.",
     {10, 1}},
    {"a station without a cell",
     [](report_answer& a) { a.road->stations[2].cells = 0; },
     "road",
     "gaps",
     "1 of 4 stations have no cell.",
     {1, 4}},
    {"a bend that the axis follows",
     [](report_answer& a) { a.road->frame.is_bent = a.road->frame.follows_bend = true; },
     "",
     "",
     "",
     {}},
    {"a bend that it does not follow",
     [](report_answer& a) { a.road->frame.is_bent = true; },
     "road",
     "bent_strip",
     "The cells fill little of a straight strip: stations run along its straight axis, and cells "
     "side by side may belong to different places of the road.",
     {}},
    {"nothing but data",
     [](report_answer& a) {
         a.stats.reset(), a.curve.reset(), a.coverage.reset(), a.spots.reset();
         a.semivariogram.reset(), a.road.reset();
     },
     "",
     "",
     "",
     {}}};

void expect_caution(const changed_answer& each) {
    SCOPED_TRACE(each.what);
    report_answer answer = sound_answer();
    each.change(answer);
    const std::vector<caution> found = cautions_of(answer);
    if (!*each.key) {
        EXPECT_TRUE(found.empty()) << found.front().text;
        return;
    }
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].part, each.part);
    EXPECT_EQ(found[0].key, each.key);
    EXPECT_EQ(found[0].text, each.text);
    ASSERT_EQ(found[0].numbers.size(), each.numbers.size());
    for (std::size_t i = 0; i < each.numbers.size(); ++i)
        EXPECT_DOUBLE_EQ(found[0].numbers[i], each.numbers[i]);
}

TEST(Cautions, NameWhatTheDataDoNotSupport) {
    for (const changed_answer& each : of_data) expect_caution(each);
    for (const changed_answer& each : of_stats) expect_caution(each);
    for (const changed_answer& each : of_other_parts) expect_caution(each);
}

TEST(Notes, OfAllPartsStandOnce) {
    report_answer answer = sound_answer();
    EXPECT_TRUE(notes_of(answer).empty());
    answer.reading.notes = {"a", "b"};
    answer.coverage->notes = {"b", "c"};
    answer.stats->notes = {"a"};
    answer.curve->notes = {"d"};
    answer.spots->notes = {"c", "e"};
    answer.semivariogram->notes = {"f"};
    EXPECT_EQ(notes_of(answer), (std::vector<std::string>{"a", "b", "c", "d", "e", "f"}));
    answer.outlines_are_thinned = true;
    EXPECT_EQ(notes_of(answer).size(), 7U);
    EXPECT_EQ(notes_of(answer)[2].substr(0, 12), "The outlines");
}

struct ending {
    const char* what;
    std::function<void(report_answer&)> change;
    const char* key;
    qmx_study::outcome result;
    const char* reason_or_basis; // its key, or the words of what was measured
    double measured = no_number;
};

const ending endings[] = {
    {"all sound", [](report_answer&) {}, "coverage", qmx_study::outcome::met,
     "95.0 % of the area of 24 m² has 3 passes or more", 95},
    {"covered as asked", [](report_answer& a) { a.coverage->target.achieved = 90; }, "coverage",
     qmx_study::outcome::met, "90.0 % of the area of 24 m² has 3 passes or more", 90},
    {"area in no unit",
     [](report_answer& a) {
         a.coverage->area_unit.clear();
         a.coverage->target.achieved = 89.5F;
     },
     "coverage", qmx_study::outcome::missed, "89.5 % of the area of 24 has 3 passes or more", 89.5},
    {"areas that fail", [](report_answer& a) { a.coverage->failure.explanation = "no size"; },
     "coverage", qmx_study::outcome::not_given, "failed"},
    {"no target pass", [](report_answer& a) { a.coverage->target.passes = 0; }, "coverage",
     qmx_study::outcome::not_given, "no_target_passes"},
    {"a part that is missing without a word", [](report_answer& a) { a.coverage.reset(); },
     "coverage", qmx_study::outcome::not_given, "failed"},
    {"a part that is missing",
     [](report_answer& a) {
         a.coverage.reset();
         a.missing = {{"curve", "no_passes", "none"}, {"coverage", "degrees", "in degrees"}};
     },
     "coverage", qmx_study::outcome::not_given, "degrees"},

    {"sound", [](report_answer&) {}, "target", qmx_study::outcome::met,
     "180 of 200 cells at or above 28 (70 % of the target 40)", 90},
    {"no fraction of the target",
     [](report_answer& a) {
         drop_threshold(a.settings.thresholds, "target_fraction_percent");
         a.target_share->limit = 40;
     },
     "target", qmx_study::outcome::met, "180 of 200 cells at or above 40 (the target)", 90},
    {"below the target",
     [](report_answer& a) {
         a.settings.below = true;
         a.target_share = limit_share{40, {179, 200}};
     },
     "target", qmx_study::outcome::missed, "179 of 200 cells at or below 40 (the target)", 89.5},
    {"two values",
     [](report_answer& a) {
         a.target_share = limit_share{28, {2, 2}};
     },
     "target", qmx_study::outcome::not_given, "few_values"},
    {"three values",
     [](report_answer& a) {
         a.target_share = limit_share{28, {3, 3}};
     },
     "target", qmx_study::outcome::met, "3 of 3 cells at or above 28 (70 % of the target 40)", 100},
    {"no share", [](report_answer& a) { a.target_share.reset(); }, "target",
     qmx_study::outcome::not_given, "failed"},

    {"grown out", [](report_answer&) {}, "growth", qmx_study::outcome::met,
     "after pass 3 the mean grows by 1.5 %", 1.5},
    {"not grown out; passes outside the curve do not count",
     [](report_answer& a) {
         a.curve->grown_out = 0;
         a.curve->passes.resize(4);
         a.curve->passes[0].growth = no_number;
         a.curve->passes[1].pass = 2;
         a.curve->passes[1].growth = 7.25;
         a.curve->passes[2].growth = no_number;
         a.curve->passes[3].growth = 20;
         a.curve->passes[3].reason = left_out::too_few;
     },
     "growth", qmx_study::outcome::missed, "pass 2, the last, still adds 7.2 % to the mean", 7.25},
    {"a single pass",
     [](report_answer& a) {
         a.curve->grown_out = 0;
         a.curve->passes.resize(1);
         a.curve->passes[0].growth = no_number;
     },
     "growth", qmx_study::outcome::not_given, "one_pass"},

    {"correlated", [](report_answer&) {}, "correlation", qmx_study::outcome::met,
     "r of 12 spot tests; R² 81.0 %", 0.9},
    {"as low as may be", [](report_answer& a) { a.spots->line->r = 0.7; }, "correlation",
     qmx_study::outcome::met, "r of 12 spot tests; R² 81.0 %", 0.7},
    {"against each other", [](report_answer& a) { a.spots->line->r = -0.9; }, "correlation",
     qmx_study::outcome::missed, "r of 12 spot tests; R² 81.0 %", -0.9},
    {"no variation", [](report_answer& a) { a.spots->line->r = no_number; }, "correlation",
     qmx_study::outcome::not_given, "no_variation"},
    {"no line",
     [](report_answer& a) {
         a.spots->line.reset();
         a.spots->failure.explanation = "one pair";
     },
     "correlation", qmx_study::outcome::not_given, "too_few_pairs"},
    {"nine tests", [](report_answer& a) { a.spots->line->pairs = 9; }, "correlation",
     qmx_study::outcome::not_given, "few_tests"},
    {"nine tests where no number is asked",
     [](report_answer& a) {
         a.spots->line->pairs = 9;
         drop_threshold(a.settings.thresholds, "correlation_tests");
     },
     "correlation", qmx_study::outcome::met, "r of 9 spot tests; R² 81.0 %", 0.9},

    {"even", [](report_answer&) {}, "variation", qmx_study::outcome::met,
     "standard deviation 5, mean 40", 12.5},
    {"uneven", [](report_answer& a) { set_mean(*a.stats, 40, 10, 0.25F); }, "variation",
     qmx_study::outcome::missed, "standard deviation 10, mean 40", 25},
    {"a mean of nothing", [](report_answer& a) { set_mean(*a.stats, 0, 10, 0); }, "variation",
     qmx_study::outcome::not_given, "mean_not_positive"},
    {"a variation without end",
     [](report_answer& a) { set_mean(*a.stats, 1, 10, std::numeric_limits<float>::infinity()); },
     "variation", qmx_study::outcome::not_given, "mean_not_positive"},
    {"no statistics", [](report_answer& a) { a.stats.reset(); }, "variation",
     qmx_study::outcome::not_given, "failed"},

    {"above the minimum", [](report_answer&) {}, "minimum", qmx_study::outcome::met,
     "190 of 200 cells at or above 30 (the minimum)", 95},
    {"two values above it",
     [](report_answer& a) {
         a.minimum_share = limit_share{30, {2, 2}};
     },
     "minimum", qmx_study::outcome::not_given, "few_values"},
    {"no share of it", [](report_answer& a) { a.minimum_share.reset(); }, "minimum",
     qmx_study::outcome::not_given, "failed"},
    {"above the floor", [](report_answer&) {}, "floor", qmx_study::outcome::met,
     "200 of 200 cells at or above 24 (80 % of the minimum)", 100},
    {"one below the floor",
     [](report_answer& a) {
         a.floor_share->share.counted = 199;
         drop_threshold(a.settings.thresholds, "floor_fraction_percent");
     },
     "floor", qmx_study::outcome::missed, "199 of 200 cells at or above 24 (the minimum)", 99.5},

    {"small cells", [](report_answer&) {}, "cell_size", qmx_study::outcome::met,
     "cells are 0.3 × 0.4 m", 0.4},
    {"feet, but for rounding",
     [](report_answer& a) {
         a.metre = 1 / 0.3048;
         a.length_unit = "ft";
         a.lattice->across = 0.45 / 0.3048;
     },
     "cell_size", qmx_study::outcome::met, "cells are 0.3 × 1.47638 ft", 0.45},
    {"large cells", [](report_answer& a) { a.lattice->along = 0.46; }, "cell_size",
     qmx_study::outcome::missed, "cells are 0.46 × 0.4 m", 0.46},
    {"no lattice", [](report_answer& a) { a.lattice->is_lattice = false; }, "cell_size",
     qmx_study::outcome::not_given, "no_lattice"},
    {"no unit", [](report_answer& a) { a.metre = 0; }, "cell_size", qmx_study::outcome::not_given,
     "unknown_unit"}};

TEST(Verdicts, CompareWhatWasMeasuredOrSayWhyNot) {
    for (const ending& each : endings) {
        SCOPED_TRACE(fmt::format("{}: {}", each.key, each.what));
        report_answer answer = sound_answer();
        each.change(answer);
        int found = 0;
        for (const verdict& one : verdicts_of(answer)) {
            if (one.key != each.key) continue;
            ++found;
            EXPECT_EQ(one.result, each.result);
            const bool is_given = each.result != qmx_study::outcome::not_given;
            EXPECT_EQ(is_given ? one.basis : one.reason_key, each.reason_or_basis);
            EXPECT_EQ(one.reason.empty(), is_given);
            ASSERT_EQ(one.measured.has_value(), is_given);
            EXPECT_NEAR(one.measured.value_or(0), is_given ? each.measured : 0, 1e-12);
        }
        EXPECT_EQ(found, 1);
    }
    report_answer answer = sound_answer();
    answer.settings.thresholds.clear();
    EXPECT_TRUE(verdicts_of(answer).empty());
}

} // namespace
