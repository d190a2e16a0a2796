#include "study/analyses/semivariogram.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include <fmt/format.h>

#include "study/analyses/area_selection.hpp"
#include "study/analyses/lot_notes.hpp"
#include "study/analyses/pair_estimate.hpp"
#include "study/analyses/search_time.hpp"
#include "study/analyses/semivariogram_notes.hpp"
#include "study/analyses/wrong_option.hpp"
#include "study/base/portable_math.hpp"
#include "study/base/value_text.hpp"

namespace qmx_study {

namespace {

// Lengths that squared, and added to their like, are still ordinary 32-bit numbers.
bool is_workable_length(double length) {
    return length >= 1e-15 && length <= 1e15;
}

// Differences are squared in 32 bits.
void refuse_large_squares(const loaded_lot& lot, double scale) {
    constexpr double largest = 9e18;
    for (std::size_t i = 0; i < lot.data.points.size(); ++i)
        if (!(std::fabs(lot.data.points[i].d_val * scale) <= largest))
            throw usage_error(fmt::format("{}, {}, column {}: {} is too large to be squared as a "
                                          "32-bit number; leave the row out with --where or name "
                                          "the value with --missing",
                                          lot.source().file, lot.place(lot.data.records[i]),
                                          lot.data.value.name, lot.data.points[i].d_val));
}

// Of very many points a third of the diagonal would keep the user waiting for minutes. The lag stays:
// it is what shows the range.
void keep_search_short(lag_proposal& proposal, const std::vector<t_icdata>& points) {
    constexpr double most_pairs = 1e10; // ten to twenty seconds
    constexpr int least_lags = 10;
    const double count = static_cast<double>(points.size());
    if (count * count / 2 < most_pairs) return;
    while (proposal.lags > least_lags) {
        const double pairs = estimated_pairs(points, (proposal.lags + 0.5) * proposal.lag);
        if (pairs < most_pairs) return;
        proposal.is_shortened = true;
        proposal.lags = std::clamp(static_cast<int>(proposal.lags * most_pairs / pairs), least_lags,
                                   proposal.lags - 1);
    }
}

// Whether a point belongs to a share of all of them, drawn by its number.
bool is_drawn(const portable::random_stream& numbers, std::size_t point, double share) {
    return numbers.uniform(point) < share;
}

std::vector<t_icdata> drawn_points(const std::vector<t_icdata>& points, double share,
                                   std::uint64_t stream) {
    const portable::random_stream numbers(1, stream);
    std::vector<t_icdata> drawn;
    for (std::size_t i = 0; i < points.size(); ++i)
        if (is_drawn(numbers, i, share)) drawn.push_back(points[i]);
    return drawn;
}

// The share of the points whose pairs are as many as the question allows. Points drawn by chance keep
// pairs of all distances in their proportions; every tenth row would not.
double share_to_draw(const semivariogram_answer& answer, const semivariogram_question& question,
                     const std::vector<t_icdata>& points) {
    constexpr double enough_to_estimate = 100000;
    const auto count = static_cast<double>(points.size());
    if (!question.most_pairs || count * count / 2 <= *question.most_pairs) return 1;
    const double sampled = std::min(1.0, enough_to_estimate / count);
    const double pairs = sampled < 1
                             ? estimated_pairs(drawn_points(points, sampled, 1), answer.cut_off()) /
                                   (sampled * sampled)
                             : estimated_pairs(points, answer.cut_off());
    return pairs <= *question.most_pairs ? 1 : std::sqrt(*question.most_pairs / pairs);
}

// The points of the search. Says so where they are not all.
std::vector<t_icdata> points_to_search(semivariogram_answer& answer,
                                       const semivariogram_question& question,
                                       const std::vector<t_icdata>& points) {
    const double share = share_to_draw(answer, question, points);
    if (share >= 1) return points;
    std::vector<t_icdata> drawn = drawn_points(points, share, 0);
    answer.drawn = drawn.size();
    answer.notes.push_back(fmt::format(
        "{} of {} points were drawn by chance, the same ones each time, so that the search for "
        "pairs "
        "stays short. The lags are those of all points; qmx-ic semivariogram searches them all.",
        count_text(static_cast<std::int64_t>(drawn.size())),
        count_text(static_cast<std::int64_t>(points.size()))));
    return drawn;
}

// How lag and number of lags came about.
void explain_lags(semivariogram_answer& answer, const semivariogram_question& question,
                  const lag_proposal& proposal) {
    if (question.lag && question.lags) {
        answer.lags_from = "as named";
        return;
    }
    const point_layout& layout = answer.layout;
    const std::string& unit = answer.reading.x.unit;
    const auto length = [&](double value) {
        const std::string digits =
            value < 100 ? fmt::format("{:.3g}", value) : fmt::format("{:.0f}", value);
        return unit.empty() ? digits : digits + " " + unit;
    };
    answer.lags_from =
        fmt::format("{} from the diagonal of the points, {}{}, and their spacing, {}",
                    question.lag || question.lags ? "the other one proposed" : "proposed",
                    length(layout.diagonal),
                    layout.has_stray_points() ? fmt::format(" (without stray points, with them {})",
                                                            length(layout.whole_diagonal))
                                              : "",
                    length(layout.spacing));
    if (proposal.is_shortened)
        answer.notes.push_back(fmt::format(
            "The cut-off is shorter than a third of the diagonal, {}, {}. A longer --lag{} reaches "
            "farther.",
            length(layout.diagonal / 3),
            proposal.lags < most_lags ? "which keeps the search short"
                                      : fmt::format("since {} lags are the most", most_lags),
            proposal.lags < most_lags ? ", or a larger --nlag," : ""));
}

void settle_lags(semivariogram_answer& answer, const semivariogram_question& question,
                 const std::vector<t_icdata>& points) {
    if (!(answer.layout.spacing > 0))
        throw analysis_error(
            fmt::format("the points ({}) lie in one place: there are no distances between them",
                        points.size()));
    lag_proposal proposal = propose_lags(answer.layout, question.lag, question.lags);
    if (!question.lag && !question.lags && !question.most_pairs)
        keep_search_short(proposal, points);
    answer.lag = proposal.lag;
    answer.lags = proposal.lags;
    explain_lags(answer, question, proposal);
}

void settle_direction(semivariogram_answer& answer, const semivariogram_question& question) {
    answer.is_directional = question.azimuth.has_value();
    answer.azimuth = question.azimuth.value_or(0);
    answer.tolerance = answer.is_directional ? question.tolerance.value_or(22.5) : 90;
    answer.bandwidth =
        question.bandwidth.value_or(std::max(answer.layout.whole_diagonal, answer.cut_off()));
}

double variance_of(const std::vector<t_icdata>& points) {
    const auto count = static_cast<double>(points.size());
    double mean = 0;
    for (const t_icdata& point : points) mean += (point.d_val - points.front().d_val) / count;
    mean += points.front().d_val;
    double variance = 0;
    for (const t_icdata& point : points)
        variance += (point.d_val - mean) * (point.d_val - mean) / count;
    return variance;
}

// The least power of two that is no less than this number.
double power_of_two_from(double number) {
    int exponent = 0;
    const double mantissa = std::frexp(number, &exponent); // 1/2 to 1
    return std::ldexp(1.0, mantissa > 0.5 ? exponent : exponent - 1);
}

// Powers of two change no digit of a lag. The fit holds the practical range between 1 and the greatest
// semivariance, as numbers: a lag becomes 2 or more of them, and the variance sixteen cut-offs.
void settle_scales(semivariogram_answer& answer, const semivariogram_question& question,
                   const std::vector<t_icdata>& points) {
    constexpr double least_lag = 2;
    constexpr double cut_offs_below_bound = 16;
    constexpr double largest_value = 1e15; // whose square is still far from the end of 32 bits
    const double variance = variance_of(points);
    if (question.standardise && variance > 0) answer.variance = variance;
    answer.scale_is_named = question.value_scale.has_value();
    answer.value_scale = question.value_scale.value_or(1);
    if (answer.scale_is_named) return;
    if (answer.lag < least_lag) answer.distance_scale = power_of_two_from(least_lag / answer.lag);
    const double wanted = cut_offs_below_bound * answer.cut_off() * answer.distance_scale;
    if (!(variance > 0) || variance >= wanted) return;
    double largest = 0;
    for (const t_icdata& point : points) largest = std::max(largest, std::fabs(point.d_val));
    const double scale = power_of_two_from(std::sqrt(wanted / variance));
    if (largest * scale <= largest_value) answer.value_scale = scale;
}

t_gamvset_user settings_of(const semivariogram_answer& answer) {
    t_gamvset_user settings{};
    settings.i_nlag = answer.lags;
    settings.x_xlag = static_cast<float>(answer.lag * answer.distance_scale);
    settings.x_azm = static_cast<float>(answer.azimuth);
    settings.x_atol = static_cast<float>(answer.tolerance);
    settings.x_bandwh = static_cast<float>(answer.bandwidth * answer.distance_scale);
    settings.i_standsills = QMX_IC_NO;
    return settings;
}

// The points as the library gets them: about the origin, positions and values scaled.
std::vector<t_icdata> local_points(const semivariogram_answer& answer,
                                   std::vector<t_icdata> local) {
    for (t_icdata& point : local) {
        point.d_x = (point.d_x - answer.origin_x) * answer.distance_scale;
        point.d_y = (point.d_y - answer.origin_y) * answer.distance_scale;
        point.d_val *= answer.value_scale;
    }
    return local;
}

// The results in the units of positions and values, divided by the variance where that is asked.
void scale_back(semivariogram_answer& answer) {
    semivariogram& result = answer.result;
    const double square = answer.value_scale * answer.value_scale * answer.variance;
    for (double& value : result.semivariances) value /= square;
    result.sill /= square;
    for (double& value : result.curve_y) value /= square;
    for (std::size_t i = 1; i < result.reading.size(); ++i)
        result.reading[i] = static_cast<float>(static_cast<double>(result.reading[i]) / square);
    const double stretch = answer.distance_scale;
    for (double& distance : result.distances) distance /= stretch;
    result.practical_range /= stretch;
    for (double& distance : result.curve_x) distance /= stretch;
    result.reading[0] = static_cast<float>(static_cast<double>(result.reading[0]) / stretch);
}

// The library holds both parameters below the greatest semivariance, the range above 1 and the sill
// above 0.05, all as mere numbers.
void find_bounds(semivariogram_answer& answer) {
    constexpr double close = 1e-6;
    const semivariogram& result = answer.result;
    const double greatest =
        *std::max_element(result.semivariances.begin(), result.semivariances.end());
    const auto bound_of = [&](double parameter, double least) {
        if (parameter >= greatest * (1 - close)) return model_bound::upper;
        return parameter <= least * (1 + close) ? model_bound::lower : model_bound::none;
    };
    answer.range_bound = bound_of(result.practical_range, 1);
    answer.sill_bound = bound_of(result.sill, 0.05);
}

// Why there is no model, in terms of the lags.
const char* explanation_of(const semivariogram& result) {
    const auto is_positive = [](double value) { return value > 0; };
    if (std::none_of(result.distances.begin(), result.distances.end(), is_positive))
        return "No two points in different places are within the cut-off: there is nothing to fit. "
               "Name a longer --lag.";
    if (std::none_of(result.semivariances.begin() + 1, result.semivariances.end(), is_positive))
        return "All semivariances are 0, since the values do not differ: there is nothing to fit.";
    return "The semivariances stand as printed; only the model is missing.";
}

void fill_model(semivariogram_answer& answer) {
    const semivariogram& result = answer.result;
    answer.model.assign(result.distances.size(), std::numeric_limits<double>::quiet_NaN());
    if (!answer.is_fitted()) return;
    for (std::size_t k = 0; k < answer.model.size(); ++k)
        if (!answer.is_empty(k))
            answer.model[k] =
                result.sill * saturation(3 * result.distances[k] / result.practical_range);
    double squares = 0;
    for (std::size_t k = 1; k < answer.model.size(); ++k) {
        if (answer.is_empty(k)) continue;
        const double left = result.semivariances[k] - answer.model[k];
        squares += left * left;
    }
    answer.residual_norm = std::sqrt(squares);
}

void fit_models(semivariogram_answer& answer, const semivariogram_question& question) {
    answer.has_models = !question.without_models;
    if (!answer.has_models) return;
    const bool is_counted = answer.are_all_counted();
    std::vector<variogram_lag> lags;
    for (std::size_t k = 1; k < answer.result.distances.size(); ++k)
        if (!answer.is_empty(k))
            lags.push_back({answer.result.distances[k], answer.result.semivariances[k],
                            is_counted ? static_cast<double>(answer.pairs[k]) : 0});
    answer.models = fit_models(lags, is_counted, question.weights);
}

void search_and_fit(semivariogram_answer& answer, const semivariogram_question& question,
                    std::vector<t_icdata> points, progress& shown,
                    const std::function<void(const work_ahead&)>& foreseen) {
    constexpr double worth_a_word = 3; // seconds
    const t_gamvset_user settings = settings_of(answer);
    const double once = question.most_pairs ? 0 : expected_seconds(points, settings);
    const bool count_too = question.count_pairs || once <= worth_a_word ||
                           question.weights.value_or(lag_weights::equal) != lag_weights::equal;
    const double seconds = count_too ? 2 * once : once;
    if (once > worth_a_word && foreseen) {
        shown.clear();
        foreseen({seconds, static_cast<std::int64_t>(points.size()), count_too});
    }
    const auto search = [&] {
        answer.failure.event = run_semivariogram(points, settings, answer.result);
        if (count_too) answer.pairs = count_pairs(std::move(points), settings);
    };
    if (question.most_pairs) {
        search(); // it is short, and needs no clock beside it
    } else {
        run_with_clock(seconds, shown, search);
    }
    if (answer.failure.event) {
        answer.failure.explanation = explanation_of(answer.result);
    } else {
        find_bounds(answer);
    }
    scale_back(answer);
    fill_model(answer);
    fit_models(answer, question);
}

} // namespace

bool semivariogram_answer::are_all_counted() const {
    return !pairs.empty() && std::none_of(pairs.begin() + 1, pairs.end(), [](std::int64_t count) {
        return count == unknown_pairs;
    });
}

void check(const semivariogram_question& question) {
    if (question.lag && !is_workable_length(*question.lag))
        throw wrong_option("--lag",
                           ": {} is no length; give one above 0 in the unit of the "
                           "positions",
                           *question.lag);
    if (question.lags && (*question.lags < 1 || *question.lags > most_lags))
        throw wrong_option("--nlag", ": {} is no number of lags from 1 to {}", *question.lags,
                           most_lags);
    const double tolerance = question.tolerance.value_or(22.5);
    if (!question.azimuth && question.tolerance && tolerance != 90)
        throw wrong_option("--tolerance", " needs --azimuth, the direction that it is about");
    if (!question.azimuth && question.bandwidth)
        throw wrong_option("--bandwidth", " needs --azimuth, the direction of its axis");
    if (question.azimuth && !(std::fabs(*question.azimuth) <= 360))
        throw wrong_option("--azimuth", ": {} is no direction; give degrees clockwise from north",
                           *question.azimuth);
    if (!(tolerance > 0 && tolerance <= 90))
        throw wrong_option("--tolerance",
                           ": {} is no half-angle above 0 and up to 90 degrees; 90 "
                           "takes all directions",
                           tolerance);
    if (question.bandwidth && !is_workable_length(*question.bandwidth))
        throw wrong_option("--bandwidth",
                           ": {} is no length; give one above 0 in the unit of the "
                           "positions",
                           *question.bandwidth);
    const double scale = question.value_scale.value_or(1);
    if (!(scale >= 1e-6 && scale <= 1e6))
        throw wrong_option("--value-scale", ": {} is no factor from 0.000001 to 1000000", scale);
}

reading_needs needs_of(const semivariogram_question& question) {
    reading_needs needs;
    needs.position = need::required;
    if (question.last_pass) needs.pass = need::complete;
    return needs;
}

semivariogram_answer analyse(const semivariogram_question& question, loaded_lot& lot,
                             progress& shown,
                             const std::function<void(const work_ahead&)>& foreseen) {
    refuse_degrees(lot.source(), lot.data);
    refuse_mixed_units(lot.data, "a distance");
    refuse_large_squares(lot, question.value_scale.value_or(1));
    finished_layer layer = take_finished_layer(lot, question.last_pass, question.all_records);
    return analyse(question, lot, std::move(layer), shown, foreseen);
}

semivariogram_answer analyse(const semivariogram_question& question, const loaded_lot& lot,
                             finished_layer layer, progress& shown,
                             const std::function<void(const work_ahead&)>& foreseen) {
    refuse_degrees(lot.source(), lot.data);
    refuse_mixed_units(lot.data, "a distance");
    refuse_large_squares(lot, question.value_scale.value_or(1));
    semivariogram_answer answer;
    answer.is_standardised = question.standardise;
    answer.cells = layer.cells;
    answer.last_pass = layer.is_taken;
    answer.earlier_passes = layer.earlier_passes;
    answer.notes = std::move(layer.notes);
    answer.reading = account_of(lot);
    if (!answer.is_standardised) answer.semivariance_unit = squared_unit(lot.data.value.unit);
    answer.layout = layout_of(lot.data.points);
    answer.origin_x = std::round(answer.layout.middle_x);
    answer.origin_y = std::round(answer.layout.middle_y);
    const float reach = static_cast<float>(answer.layout.reach) + 1;
    answer.position_step = static_cast<double>(reach - std::nextafter(reach, 0.0F));
    settle_lags(answer, question, lot.data.points);
    settle_direction(answer, question);
    settle_scales(answer, question, lot.data.points);
    search_and_fit(answer, question,
                   local_points(answer, points_to_search(answer, question, lot.data.points)), shown,
                   foreseen);
    add_notes(answer);
    note_chosen_value(answer.notes, lot);
    return answer;
}

} // namespace qmx_study
