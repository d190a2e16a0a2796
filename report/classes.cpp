#include "report/classes.hpp"

#include <algorithm>
#include <cmath>
#include <string>

#include "study/base/portable_math.hpp"

namespace qmx_report {
namespace {

namespace portable = qmx_study::portable;

using colours = std::vector<colour>;

// Lightness rises evenly in the first list and falls in the second.
const colours value_colours = {{68, 1, 84},    {71, 44, 122},  {59, 81, 139},
                               {44, 113, 142}, {33, 144, 141}, {39, 173, 129},
                               {92, 200, 99},  {170, 220, 50}, {253, 231, 37}};
const colours pass_colours = {{250, 230, 150}, {222, 218, 125}, {178, 206, 118},
                              {128, 190, 132}, {80, 168, 148},  {46, 138, 156},
                              {38, 104, 148},  {42, 68, 128},   {34, 34, 92}};
constexpr colour missed_colour{178, 58, 20}, met_colour{158, 202, 225}, open_colour{200, 200, 200};
constexpr std::size_t most_classes = 9;
constexpr std::uint8_t no_class = 255;

// `number` shades spread over a list.
colours spread(const colours& list, std::size_t number) {
    colours chosen;
    for (std::size_t k = 0; k < number; ++k)
        chosen.push_back(
            list[number == 1 ? list.size() / 2 : k * (list.size() - 1) / (number - 1)]);
    return chosen;
}

double round_step(double least) {
    if (!(least > 0)) return least;
    const double power = portable::power_of_ten(portable::decimal_exponent(least));
    for (const double step : {1.0, 2.0, 2.5, 5.0, 10.0})
        if (step * power >= least * (1 - 1e-9)) return step * power;
    return least;
}

void shade(layer& shown, const colours& list) {
    const colours chosen = spread(list, shown.classes.size());
    for (std::size_t k = 0; k < shown.classes.size(); ++k) shown.classes[k].shade = chosen[k];
}

// Some thousand values stand for all: limits need no more.
std::vector<double> sample_of(const std::vector<double>& values) {
    std::vector<double> sample;
    const std::size_t stride = std::max<std::size_t>(1, values.size() / 5000);
    for (std::size_t k = 0; k < values.size(); k += stride)
        if (std::isfinite(values[k])) sample.push_back(values[k]);
    std::sort(sample.begin(), sample.end());
    return sample;
}

std::vector<double> limits_of(const std::vector<double>& sample, std::optional<double> target) {
    if (sample.empty() || sample.front() == sample.back())
        return target ? std::vector<double>{*target} : std::vector<double>{};
    const double low = sample[sample.size() / 50],
                 high = sample[sample.size() - 1 - sample.size() / 50];
    const double span = high > low ? high - low : sample.back() - sample.front();
    const double step = round_step(span / static_cast<double>(most_classes - 2));
    const bool through_target = target && *target > low - step && *target < high + step;
    const double base = through_target ? *target : 0;
    std::vector<double> limits;
    const double first = std::ceil((low - base) / step - 1e-9);
    for (double k = first; limits.size() + 1 < most_classes && base + k * step <= high + step * 0.5;
         ++k)
        limits.push_back(base + k * step);
    if (limits.empty()) limits.push_back(base + first * step);
    return limits;
}

} // namespace

layer value_layer(const qmx_study::cell_table& cells, std::optional<double> target) {
    layer shown{"value", {}, std::vector<std::uint8_t>(cells.size(), no_class)};
    const std::vector<double> limits = limits_of(sample_of(cells.value), target);
    colour_class next;
    for (const double limit : limits) {
        next.to = limit;
        shown.classes.push_back(next);
        next.from = limit;
    }
    next.to = std::numeric_limits<double>::infinity();
    shown.classes.push_back(next);
    shade(shown, value_colours);
    for (std::size_t k = 0; k < cells.size(); ++k) {
        if (!std::isfinite(cells.value[k])) continue;
        std::uint8_t at = 0;
        for (const double limit : limits)
            at = static_cast<std::uint8_t>(at + (cells.value[k] >= limit));
        shown.class_of_cell[k] = at;
    }
    return shown;
}

layer pass_layer(const qmx_study::cell_table& cells, std::optional<std::int32_t> target_passes) {
    layer shown{"passes", {}, {}};
    std::int32_t least = 1, most = 1;
    if (!cells.pass.empty()) {
        const auto [low, high] = std::minmax_element(cells.pass.begin(), cells.pass.end());
        least = *low;
        most = *high;
    }
    const double span = static_cast<double>(most) - least + 1;
    const double step = std::ceil(span / static_cast<double>(most_classes));
    const double target = target_passes.value_or(least);
    // The class limits are the target and whole steps from it.
    double first = target - std::ceil((target - least) / step - 1e-9) * step;
    while (std::floor((most - first) / step) + 1 > static_cast<double>(most_classes))
        first += step; // the first class is open below
    for (double from = first; from <= most && shown.classes.size() < most_classes; from += step)
        shown.classes.push_back({from, from + step, {}});
    if (shown.classes.empty())
        shown.classes.push_back({static_cast<double>(least), static_cast<double>(most) + 1, {}});
    shade(shown, pass_colours);
    const double classes = static_cast<double>(shown.classes.size());
    shown.class_of_cell.reserve(cells.size());
    for (const std::int32_t passes : cells.pass)
        shown.class_of_cell.push_back(static_cast<std::uint8_t>(
            std::clamp(std::floor((passes - first) / step), 0.0, classes - 1)));
    shown.class_of_cell.resize(cells.size(), no_class);
    return shown;
}

layer verdict_layer(const qmx_study::cell_table& cells) {
    layer shown{"verdict", {}, cells.verdict};
    shown.class_of_cell.resize(cells.size(), qmx_study::cell_without_verdict);
    for (std::uint8_t& state : shown.class_of_cell)
        state = std::min<std::uint8_t>(state, qmx_study::cell_without_verdict);
    shown.classes = {{0, 0, missed_colour}, {1, 1, met_colour}, {2, 2, open_colour}};
    return shown;
}

qmx_study::json legend_of(const layer& shown) {
    auto legend = qmx_study::json::array();
    std::vector<std::int64_t> cells(shown.classes.size(), 0);
    for (const std::uint8_t at : shown.class_of_cell)
        if (at < cells.size()) ++cells[at];
    for (std::size_t k = 0; k < shown.classes.size(); ++k) {
        const colour_class& one = shown.classes[k];
        legend.push_back({{"from", qmx_study::number_or_null(one.from)},
                          {"to", qmx_study::number_or_null(one.to)},
                          {"colour", {one.shade[0], one.shade[1], one.shade[2]}},
                          {"cells", cells[k]}});
    }
    return legend;
}

} // namespace qmx_report
