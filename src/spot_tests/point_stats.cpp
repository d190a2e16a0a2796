#include "spot_tests/point_stats.hpp"

#include "base/work_array.hpp"
#include "events/event.hpp"
#include "measure_statistics/statistics.hpp"
#include "spot_tests/circle_matching.hpp"
#include "toolkit/regression.hpp"

#include <algorithm>

namespace qmx {

namespace {

constexpr routine_text self("qmx_point_stats_drv");

constexpr i32 tests_for_a_line = 3;
constexpr std::string_view too_few_tests =
    "point tests data is < 3, not sufficient for regression ";
constexpr std::string_view too_few_valid_tests =
    "valid point tests data is < 3, not sufficient for regression ";

// Never cleared: what a statistics call does not write (classes 2 to 21 of constant data, the
// values at the percent levels) keeps the value of the spot test before, which hosts know.
t_statsout spot_statistics;

// The results of the last regression.
f64 analysis_of_variance[15];
f64 coefficients[2 * 5];
f64 covariances[2 * 2];
f64 lack_of_fit[10];

void reset(const array_view<t_statsout>& stats, f32* regress, const array_view<f64>& predict) {
    for (i64 k = 1; k <= stats.extent; ++k) {
        t_statsout& record = stats(k);
        record.i_numdata = 0;
        record.i_numbins = 0;
        std::fill(std::begin(record.x_stat), std::end(record.x_stat), 0.0F);
        std::fill(std::begin(record.x_bin), std::end(record.x_bin), 0.0F);
        std::fill(std::begin(record.x_freq), std::end(record.x_freq), 0.0F);
    }
    std::fill_n(regress, 3, 0.0F);
    for (i64 k = 1; k <= predict.extent; ++k) predict(k) = 0.0;
}

// Statistics of the matched values, for each spot test that has any.
i32 compute_statistics(const circle_matching& matching, match_table& matches,
                       const work_array<i32>& counts, const array_view<t_statsout>& stats,
                       i32& valid, const array_view<i32>& valid_list) {
    const work_array<f64> values(*std::max_element(counts.begin(), counts.end()));
    if (!values) return fail_out_of_memory(self);
    for (i64 test = 0; test < counts.size(); ++test) {
        if (counts[test] == 0) continue;
        valid_list(++valid) = static_cast<i32>(test) + 1;
        while (test >= matches.last)
            if (!gather_next_matches(matching, counts.view(), matches))
                return fail_out_of_memory(self);
        const array_view<const i32> matched = matches.of(test);
        for (i64 k = 1; k <= matched.extent; ++k)
            values[k - 1] = matching.points(matched(k) + 1).d_val;
        constexpr i32 no = 2;
        qmx_stats(no, no, counts[test], {values.data(), matched.extent}, spot_statistics);
        if (has_failed()) return pass_up(self);
        stats(test + 1) = spot_statistics;
    }
    return status_success;
}

// The regression line through the pairs of spot value and IC mean, and its predictions.
i32 fit_line(const array_view<const t_icdata>& tests, const array_view<t_statsout>& stats,
             i32 valid, const array_view<i32>& valid_list, f32* regress,
             const array_view<f64>& predict) {
    const work_array<f64> pairs(2 * i64{valid});
    const work_array<f64> cases(case_table_columns * i64{valid});
    if (!pairs || !cases) return fail_out_of_memory(self);
    for (i64 k = 1; k <= valid; ++k) {
        const i32 test = valid_list(k);
        pairs[k - 1] = tests(test).d_val;
        pairs[valid + k - 1] = static_cast<f64>(stats(test).x_stat[0]);
    }
    constexpr i32 spot_column = 1, mean_column = 2, columns = 2, intercept = 1, none = 0;
    constexpr f64 confidence = 95.0;
    i32 missing = 0;
    linr_regrs(valid, columns, pairs.data(), valid, intercept, mean_column, spot_column, none, none,
               none, confidence, confidence, none, analysis_of_variance, coefficients, columns,
               covariances, columns, lack_of_fit, cases.data(), valid, missing);
    if (has_failed()) return pass_up(self);

    regress[0] = static_cast<f32>(coefficients[0]);
    regress[1] = static_cast<f32>(coefficients[1]);
    regress[2] = static_cast<f32>(analysis_of_variance[10]);
    const f64* const predicted = cases.data() + valid; // the second column
    for (i64 k = 1; k <= valid; ++k)
        predict(valid_list(k)) = static_cast<f64>(static_cast<f32>(predicted[k - 1]));
    return status_success;
}

} // namespace

i32 qmx_point_stats_drv(const i32& i_numicdata, const i32& i_numtests,
                        const array_view<const t_icdata>& t_icd,
                        const array_view<const t_icdata>& t_tests, const f64& d_radius,
                        const array_view<t_statsout>& t_stats, f32* x_regress, i32* i_numvalid,
                        const array_view<i32>& i_validlist, const array_view<f64>& d_predict) {
    reset(t_stats, x_regress, d_predict);

    const circle_matching matching{{t_icd.base, i_numicdata, t_icd.stride},
                                   {t_tests.base, i_numtests, t_tests.stride},
                                   d_radius};
    const i64 tests = matching.tests.extent;
    const work_array<i32> counts(tests);
    match_table matches;
    if (!counts || !count_matches(matching, counts.view(), matches))
        return fail_out_of_memory(self);
    // Matching raises no event; one that stood before the call ends it here.
    if (tests > 0 && has_failed()) return pass_up(self);
    for (i64 k = 1; k <= tests; ++k) t_stats(k).i_numdata = counts[k - 1];

    *i_numvalid = 0;
    if (i_numtests < 1) return fail_here(self, too_few_tests);
    const i32 status =
        compute_statistics(matching, matches, counts, t_stats, *i_numvalid, i_validlist);
    if (status != status_success) return status;
    if (i_numtests < tests_for_a_line) return fail_here(self, too_few_tests);
    if (*i_numvalid < tests_for_a_line) return fail_here(self, too_few_valid_tests);
    return fit_line(t_tests, t_stats, *i_numvalid, i_validlist, x_regress, d_predict);
}

} // namespace qmx
