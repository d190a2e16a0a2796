#include "toolkit/probability_plot.hpp"

#include "base/bounded_text.hpp"
#include "base/elementary_functions.hpp"
#include "base/work_array.hpp"
#include "events/event.hpp"
#include "events/unit_table.hpp"
#include "numeric/distributions/distributions.hpp"
#include "numeric/errors/error_stack.hpp"
#include "numeric/plot/character_plot.hpp"
#include "toolkit/sort_wrappers.hpp"

#include <cmath>
#include <numbers>

namespace qmx {
namespace {

constexpr std::string_view explanation[] = {
    "The Normal Probability plot is a graphical technique to investigate",
    "whether data exhibit the standard normal or Gaussian distribution.",
    "The data are plotted against a theoretical normal distribution in such ",
    "a way that the points should form an approximately straight line.",
    "Departures from this straight line indicate departure from normality.",
    "One advantage of the Normal Probability plot is that the intercept",
    "and slope estimates of the fitted line are in fact estimates for",
    "for the location and scale parameter of the distribution.",
    "The Normal Probability presented here is similar to the NIST/DataPlot",
    "that ordered response -x- is plotted against Normal Order Statistic Median -y-.",
    "If plotted as Normal % Probability against the ordered responses,",
    "like the DesignExpert does, the vertical axis will need to be scaled in",
    "order order to obtain a straight line for normal distribution.",
    "NB: UOSM - Uniformed Ordered Statistc Medians",
    "    NOSM - Normal Order Statistc Medians, i.e. transformed data",
    "           with mean = 0 and standard deviation = 1.",
    "Possible Results: ",
    "  1. Approximately a straight line - normal distribution ",
    "  2. Right-skew - bend up to the left of the normal line ",
    "                - indicates a long tail to the right. ",
    "  3. left-skew  - bend down to the left of the normal line ",
    "                - indicates a long tail to the left. ",
    "  4. short-tails- an S-shaped curve",
    "                - indicates shorter than normal tail,",
    "                  i.e. less variance than expected. ",
    "  5. Long-tails - A curve starts before the normal line, bends",
    "                  to follow it, and ends above it.",
    "                - indicates a long tail. ",
    "                  i.e. more variance than expected. ",
};

// For the lower half of the order statistics, i from 1 to (n + 1) / 2; the upper half mirrors it.
f64 lower_uniform_median(i64 i, i64 n) {
    if (2 * i == n + 1) return 0.5;
    if (i == 1) return -exp_minus_1(-std::numbers::ln2 / static_cast<f64>(n)); // 1 - 0.5^(1/n)
    return (static_cast<f64>(i) - 0.3175) / (static_cast<f64>(n) + 0.365);
}

struct order_medians {
    f64 uniform, normal;
};

order_medians medians_of(i64 i, i64 n) {
    const bool is_lower = 2 * i <= n + 1;
    const f64 lower = lower_uniform_median(is_lower ? i : n + 1 - i, n);
    const f64 normal = numeric::DNORIN(lower);
    return is_lower ? order_medians{lower, normal} : order_medians{1.0 - lower, -normal};
}

void write_row(i32 unit, i64 number, i32 position, f32 value, const order_medians& medians) {
    bounded_text<96> row;
    row.append_field(static_cast<i32>(number), 5);
    row.append_field(position, 8);
    row.append_significant(f64{value}, 12, 6);
    row.append_field(medians.uniform, 9, 6);
    row.append_field(medians.normal, 9, 5);
    write_line(unit, row.view());
}

void write_to_unit(void* unit, std::string_view line) {
    write_line(*static_cast<const i32*>(unit), line);
}

} // namespace

i32 norm_prob(const array_view<const f32>& x_data, const i32& i_unit) {
    static constexpr routine_text self("norm_prob");
    const work_array<f32> values(x_data.extent), sorted(x_data.extent), medians(x_data.extent);
    const work_array<i32> positions(x_data.extent), permutation(x_data.extent);
    if (!values || !sorted || !medians || !positions || !permutation)
        return fail_out_of_memory(self);
    i64 count = 0;
    for (i64 i = 1; i <= x_data.extent; ++i) {
        if (std::isnan(x_data(i))) continue;
        values[count] = x_data(i);
        positions[count++] = static_cast<i32>(i);
    }
    if (imsl_SVRGP(view_of<const f32>(values.data(), count), view_of(sorted.data(), count),
                   view_of(permutation.data(), count)) != status_success)
        return pass_up(self); // GCOVR_EXCL_LINE: contiguous views need no memory

    write_line(i_unit, "  No. org_idx  Sort_Data   UOSM      NOSM");
    for (i64 i = 1; i <= count; ++i) {
        const order_medians both = medians_of(i, count);
        medians[i - 1] = static_cast<f32>(both.normal);
        write_row(i_unit, i, positions[permutation[i - 1] - 1], sorted[i - 1], both);
    }
    i32 unit = i_unit;
    numeric::ERSET(0, 0, 0);
    numeric::SCTP(static_cast<i32>(count), medians.data(), sorted.data(), "Normal Probability Plot",
                  "Normal Order Stat Medians", "Ordered Responses", {write_to_unit, &unit});
    if (numeric::N1RTY(1) != numeric::type_none) return fail_here(self, "IMSL SCTP Error");
    for (const std::string_view line : explanation) write_line(i_unit, line);
    return status_success;
}

} // namespace qmx
