// qmx-ic semivariogram FILE: how the value varies with distance, and the model fitted to that.

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include <fmt/format.h>

#include "options/command.hpp"
#include "options/reading_options.hpp"
#include "study/analyses/pair_estimate.hpp"
#include "study/analyses/search_time.hpp"
#include "study/analyses/semivariogram_notes.hpp"
#include "study/base/output_file.hpp"
#include "study/document/failure_report.hpp"
#include "study/analyses/area_selection.hpp"
#include "text/semivariogram_report.hpp"
#include "text/text_table.hpp"

namespace qmx_study {

namespace {

struct semivariogram_options {
    reading_options reading;
    double lag = 0;
    int lags = 0;
    double azimuth = 0;
    double tolerance = 22.5;
    double bandwidth = 0;
    double value_scale = 1;
    bool standardise = false;
    bool last_pass = false;
    bool all_records = false;
    bool count_pairs = false;
    std::string output;
    bool as_json = false;
    CLI::Option* lag_option = nullptr;
    CLI::Option* lags_option = nullptr;
    CLI::Option* azimuth_option = nullptr;
    CLI::Option* tolerance_option = nullptr;
    CLI::Option* bandwidth_option = nullptr;
    CLI::Option* scale_option = nullptr;
};

// Lengths that squared, and added to their like, are still ordinary 32-bit numbers.
bool is_workable_length(double length) {
    return length >= 1e-15 && length <= 1e15;
}

void check(const semivariogram_options& options) {
    if (options.lag_option->count() > 0 && !is_workable_length(options.lag))
        throw usage_error(fmt::format(
            "--lag: {} is no length; give one above 0 in the unit of the positions", options.lag));
    if (options.lags_option->count() > 0 && (options.lags < 1 || options.lags > most_lags))
        throw usage_error(
            fmt::format("--nlag: {} is no number of lags from 1 to {}", options.lags, most_lags));
    if (options.azimuth_option->count() == 0 && options.tolerance_option->count() > 0 &&
        options.tolerance != 90)
        throw usage_error("--tolerance needs --azimuth, the direction that it is about");
    if (options.azimuth_option->count() == 0 && options.bandwidth_option->count() > 0)
        throw usage_error("--bandwidth needs --azimuth, the direction of its axis");
    if (!(std::fabs(options.azimuth) <= 360))
        throw usage_error(fmt::format(
            "--azimuth: {} is no direction; give degrees clockwise from north", options.azimuth));
    if (!(options.tolerance > 0 && options.tolerance <= 90))
        throw usage_error(fmt::format("--tolerance: {} is no half-angle above 0 and up to 90 "
                                      "degrees; 90 takes all directions",
                                      options.tolerance));
    if (options.bandwidth_option->count() > 0 && !is_workable_length(options.bandwidth))
        throw usage_error(fmt::format(
            "--bandwidth: {} is no length; give one above 0 in the unit of the positions",
            options.bandwidth));
    if (!(options.value_scale >= 1e-6 && options.value_scale <= 1e6))
        throw usage_error(fmt::format("--value-scale: {} is no factor from 0.000001 to 1000000",
                                      options.value_scale));
    if (options.standardise && options.scale_option->count() > 0)
        throw usage_error("--standardise divides by the variance, which undoes --value-scale; "
                          "leave one of them out");
}

// Differences are squared in 32 bits.
void refuse_values_too_large(const table_source& source, const lot& points, double scale) {
    constexpr double largest = 9e18;
    for (std::size_t i = 0; i < points.points.size(); ++i)
        if (!(std::fabs(points.points[i].d_val * scale) <= largest))
            throw usage_error(fmt::format("{}, {}, column {}: {} is too large to be squared as a "
                                          "32-bit number; leave the row out with --where or name "
                                          "the value with --missing",
                                          source.file, source.place(points.records[i]),
                                          points.value.name, points.points[i].d_val));
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

void settle_lags(semivariogram_report& report, const semivariogram_options& options) {
    const point_layout& layout = report.layout;
    const bool has_lag = options.lag_option->count() > 0;
    const bool has_lags = options.lags_option->count() > 0;
    if (!(layout.spacing > 0))
        throw analysis_error(
            fmt::format("the points ({}) lie in one place: there are no distances between them",
                        report.points.points.size()));
    lag_proposal proposal =
        propose_lags(layout, has_lag ? std::optional(options.lag) : std::nullopt,
                     has_lags ? std::optional(options.lags) : std::nullopt);
    if (!has_lag && !has_lags) keep_search_short(proposal, report.points.points);
    report.lag = proposal.lag;
    report.lags = proposal.lags;
    if (has_lag && has_lags) {
        report.lags_from = "as named";
        return;
    }
    const std::string& unit = report.points.x.unit;
    const auto length = [&](double value) {
        const std::string digits =
            value < 100 ? fmt::format("{:.3g}", value) : fmt::format("{:.0f}", value);
        return unit.empty() ? digits : digits + " " + unit;
    };
    report.lags_from = fmt::format(
        "{} from the diagonal of the points, {}{}, and their spacing, {}",
        has_lag || has_lags ? "the other one proposed" : "proposed", length(layout.diagonal),
        layout.has_stray_points()
            ? fmt::format(" (without stray points, with them {})", length(layout.whole_diagonal))
            : "",
        length(layout.spacing));
    if (proposal.is_shortened)
        report.notes.push_back(fmt::format(
            "The cut-off is shorter than a third of the diagonal, {}, {}. A longer --lag{} reaches "
            "farther.",
            length(layout.diagonal / 3),
            proposal.lags < most_lags ? "which keeps the search short"
                                      : fmt::format("since {} lags are the most", most_lags),
            proposal.lags < most_lags ? ", or a larger --nlag," : ""));
}

t_gamvset_user settings_of(const semivariogram_report& report) {
    t_gamvset_user settings{};
    settings.i_nlag = report.lags;
    settings.x_xlag = static_cast<float>(report.lag);
    settings.x_azm = static_cast<float>(report.azimuth);
    settings.x_atol = static_cast<float>(report.tolerance);
    settings.x_bandwh = static_cast<float>(report.bandwidth);
    settings.i_standsills = report.is_standardised ? QMX_IC_YES : QMX_IC_NO;
    return settings;
}

// The results of scaled values in the unit of the values themselves.
void scale_back(semivariogram& result, double scale) {
    const double square = scale * scale;
    for (double& value : result.semivariances) value /= square;
    result.sill /= square;
    for (double& value : result.curve_y) value /= square;
    for (std::size_t i = 1; i < result.reading.size(); ++i)
        result.reading[i] = static_cast<float>(static_cast<double>(result.reading[i]) / square);
}

// The library holds both parameters below the greatest semivariance, the range above 1 and the sill
// above 0.05, all as mere numbers.
void find_bounds(semivariogram_report& report, double greatest) {
    constexpr double close = 1e-6;
    const auto bound_of = [&](double parameter, double least) {
        if (parameter >= greatest * (1 - close)) return model_bound::upper;
        return parameter <= least * (1 + close) ? model_bound::lower : model_bound::none;
    };
    report.range_bound = bound_of(report.result.practical_range, 1);
    report.sill_bound = bound_of(report.result.sill, 0.05);
}

void analyse(semivariogram_report& report, const semivariogram_options& options,
             std::vector<t_icdata> points, progress& shown) {
    constexpr double worth_a_word = 3; // seconds
    const t_gamvset_user settings = settings_of(report);
    const double seconds = expected_seconds(points, settings);
    const bool count_too = options.count_pairs || seconds <= worth_a_word;
    if (seconds > worth_a_word) {
        shown.clear();
        fmt::print(stderr, "qmx-ic: about {} for {} points{}\n",
                   duration_text(count_too ? 2 * seconds : seconds),
                   count_text(static_cast<std::int64_t>(points.size())),
                   count_too ? ", half of it to count the pairs" : "");
    }
    run_with_clock(count_too ? 2 * seconds : seconds, shown, [&] {
        report.failure = run_semivariogram(points, settings, report.result);
        if (count_too) report.pairs = count_pairs(std::move(points), settings);
    });
    semivariogram& result = report.result;
    const auto first_lag = result.semivariances.begin() + 1;
    const double greatest =
        *std::max_element(result.semivariances.begin(), result.semivariances.end());
    if (report.failure) {
        const auto is_positive = [](double value) { return value > 0; };
        const bool has_pairs =
            std::any_of(result.distances.begin(), result.distances.end(), is_positive);
        report.explanation =
            !has_pairs ? "No two points in different places are within the cut-off: there is "
                         "nothing to fit. Name a longer --lag."
            : std::none_of(first_lag, result.semivariances.end(), is_positive)
                ? "All semivariances are 0, since the values do not differ: there is nothing to "
                  "fit."
                : "The semivariances stand as printed; only the model is missing.";
    } else {
        find_bounds(report, greatest);
    }
    scale_back(result, report.value_scale);
}

void run_command(const semivariogram_options& options) {
    check(options);
    progress shown;
    table_source source(options.reading.file, options.reading.layer, shown);
    const row_survey survey =
        survey_rows(source, missing_texts_of(options.reading), decimal_of(options.reading));
    reading_needs needs;
    needs.position = need::required;
    if (options.last_pass) needs.pass = need::complete;
    lot points = read_lot(source, survey, options.reading, needs, shown);
    refuse_degrees(source, points);
    refuse_mixed_units(points, "a distance");
    refuse_values_too_large(source, points, options.value_scale);
    refuse_input_as_output(source.file, options.output);

    semivariogram_report report(source, points);
    report.cells = summarise_cells(points);
    report.last_pass = options.last_pass;
    if (options.last_pass) {
        report.earlier_passes = keep_last_pass(points);
        if (!points.pass.found() && report.earlier_passes > 0)
            report.notes.push_back("There is no column of pass numbers: the later row of a cell "
                                   "counts as its last pass.");
    }
    report.layout = layout_of(points.points);
    report.origin_x = std::round(report.layout.middle_x);
    report.origin_y = std::round(report.layout.middle_y);
    const float reach = static_cast<float>(report.layout.reach) + 1;
    report.position_step = static_cast<double>(reach - std::nextafter(reach, 0.0F));
    settle_lags(report, options);
    report.is_directional = options.azimuth_option->count() > 0;
    report.azimuth = options.azimuth;
    report.tolerance = report.is_directional ? options.tolerance : 90;
    const bool has_band = options.bandwidth_option->count() > 0;
    report.bandwidth =
        has_band ? options.bandwidth : std::max(report.layout.whole_diagonal, report.cut_off());
    report.is_standardised = options.standardise;
    report.value_scale = options.value_scale;
    report.output = options.output;

    std::vector<t_icdata> local = points.points;
    for (t_icdata& point : local) {
        point.d_x -= report.origin_x;
        point.d_y -= report.origin_y;
        point.d_val *= report.value_scale;
    }
    analyse(report, options, std::move(local), shown);
    add_notes(report, options.all_records);
    if (points.candidates.size() > 1 && options.reading.value.empty())
        report.notes.push_back("The value column was chosen among several; --value names another.");
    if (!report.output.empty()) write_semivariogram(report);
    if (options.as_json) {
        print_document(semivariogram_json(report));
    } else {
        fmt::print("{}", semivariogram_text(report));
    }
    end_failed(report.failure, report.explanation);
}

} // namespace

void add_semivariogram_command(CLI::App& program) {
    const auto options = std::make_shared<semivariogram_options>();
    CLI::App* const command = program.add_subcommand(
        "semivariogram", "How the value varies with distance, with a fitted model");
    add_reading_options(*command, options->reading);
    const char* const lags = "Lags";
    options->lag_option =
        command
            ->add_option("--lag", options->lag,
                         "Distance from lag to lag, in the unit of the positions; a lag reaches "
                         "half of it to either side. Otherwise proposed from the data")
            ->group(lags);
    options->lags_option =
        command
            ->add_option("--nlag", options->lags,
                         fmt::format("Number of lags, 1 to {}; otherwise as many as reach a third "
                                     "of the diagonal of the points",
                                     most_lags))
            ->group(lags);
    const char* const direction = "Direction";
    options->azimuth_option =
        command
            ->add_option("--azimuth", options->azimuth,
                         "Only pairs in this direction or its opposite, degrees clockwise from "
                         "north; otherwise all directions")
            ->group(direction);
    options->tolerance_option =
        command
            ->add_option("--tolerance", options->tolerance,
                         "Angle that a pair may be off the azimuth, degrees; 90 takes all")
            ->capture_default_str()
            ->group(direction);
    options->bandwidth_option =
        command
            ->add_option("--bandwidth", options->bandwidth,
                         "Distance that a pair's end may be off the axis of the azimuth, in the "
                         "unit of the positions; otherwise any")
            ->group(direction);
    const char* const analysis = "Analysis";
    command
        ->add_flag("--standardise,--standardize", options->standardise,
                   "Divide the semivariances by the variance of the values")
        ->group(analysis);
    options->scale_option =
        command
            ->add_option("--value-scale", options->value_scale,
                         "Multiply the values for the analysis and scale the results back; frees a "
                         "practical range that stands on its bound")
            ->capture_default_str()
            ->group(analysis);
    command
        ->add_flag("--count-pairs", options->count_pairs,
                   "Count the pairs of each lag also where that takes seconds")
        ->group(analysis);
    CLI::Option* const last =
        command->add_flag("--last-pass", options->last_pass, "Only the last pass of each cell")
            ->group(analysis);
    command
        ->add_flag("--all-records", options->all_records,
                   "All records of a cell are meant, though there are several")
        ->excludes(last)
        ->group(analysis);
    command
        ->add_option("--output", options->output, "Write the lags and the model's curve to a CSV")
        ->group("Output");
    command->add_flag("--json", options->as_json, "Print JSON")->group("Output");
    command->callback([options] { run_command(*options); });
}

} // namespace qmx_study
