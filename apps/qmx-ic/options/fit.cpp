// qmx-ic fit FILE: a polynomial through the pairs of two columns.

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>

#include <fmt/format.h>

#include "options/command.hpp"
#include "options/reading_options.hpp"
#include "study/document/failure_report.hpp"
#include "study/output/curve_file.hpp"
#include "text/fit_report.hpp"
#include "text/text_chart.hpp"
#include "text/text_table.hpp"

namespace qmx_study {

namespace {

constexpr int highest_degree = 9;
constexpr double digits_of_sum = 15.95;     // of a 64-bit number
constexpr double digits_of_ordinate = 7.22; // of a 32-bit number

struct fit_options {
    reading_options reading;
    int degree = 2;
    bool centre = false;
    std::string output;
    bool as_json = false;
};

struct narrowed_pairs {
    std::vector<float> x, y;
};

// Without names: the first two columns of numbers, whatever they mean.
void choose_pair(reading_options& reading, const table_source& source, const row_survey& survey) {
    if (reading.x.empty() != reading.y.empty())
        throw usage_error("--x and --y go together; one of them is missing");
    if (!reading.x.empty()) return;
    std::vector<std::string> names;
    for (std::size_t i = 0; i < source.columns.size(); ++i)
        if (source.columns[i].is_numeric() || survey.columns[i].content == column_content::numbers)
            names.push_back(source.columns[i].name);
    if (names.size() < 2)
        throw usage_error(fmt::format("{}: there are not two columns of numbers; name them with "
                                      "--x and --y\n  its columns are: {}",
                                      source.file, source.column_list()));
    reading.x = names[0];
    reading.y = names[1];
}

narrowed_pairs narrowed(const table_source& source, const lot& points, double centre) {
    narrowed_pairs pairs;
    for (std::size_t i = 0; i < points.points.size(); ++i) {
        const double values[] = {points.points[i].d_x - centre, points.points[i].d_y};
        for (int k = 0; k < 2; ++k)
            if (!(std::fabs(values[k]) <= static_cast<double>(std::numeric_limits<float>::max())))
                throw usage_error(fmt::format("{}, {}, column {}: {} is beyond the range of 32-bit "
                                              "numbers; leave the row out with --where",
                                              source.file, source.place(points.records[i]),
                                              k == 0 ? points.x.name : points.y.name, values[k]));
        pairs.x.push_back(static_cast<float>(values[0]));
        pairs.y.push_back(static_cast<float>(values[1]));
    }
    return pairs;
}

void measure(fit_report& report) {
    const std::vector<t_icdata>& points = report.points.points;
    const auto [west, east] =
        std::minmax_element(points.begin(), points.end(),
                            [](const t_icdata& a, const t_icdata& b) { return a.d_x < b.d_x; });
    const auto [south, north] =
        std::minmax_element(points.begin(), points.end(),
                            [](const t_icdata& a, const t_icdata& b) { return a.d_y < b.d_y; });
    report.smallest_x = west->d_x;
    report.largest_x = east->d_x;
    report.smallest_y = south->d_y;
    report.largest_y = north->d_y;
}

// The terms of the sum grow with the powers of how far the abscissas lie from 0 against half their
// range, and what they have in common cancels: a power of the degree in digits.
double distance_ratio(const fit_report& report) {
    const double half = (report.largest_x - report.smallest_x) / 2;
    const double farthest = std::max(std::fabs(report.smallest_x - report.centre),
                                     std::fabs(report.largest_x - report.centre));
    return half > 0 ? farthest / half : 1;
}

double digits_lost(const fit_report& report) {
    const double ratio = distance_ratio(report);
    return ratio < 2 ? 0 : report.degree * std::log10(2 * ratio);
}

double middle(const fit_report& report) {
    return (report.smallest_x + report.largest_x) / 2;
}

double digits_of_abscissa(const fit_report& report) {
    return digits_of_ordinate - std::log10(distance_ratio(report));
}

// Whether digits that the result could show are at stake.
bool is_far_from_zero(const fit_report& report) {
    return report.digits_lost > digits_of_sum - digits_of_ordinate ||
           digits_of_abscissa(report) < digits_of_ordinate - 2;
}

// What the distance from 0 cost, seen on the curve through the centred abscissas.
void compare_with_centred(fit_report& report, const narrowed_pairs& centred) {
    polynomial_curve curve;
    if (!run_polynomial_fit(report.degree, centred.x, centred.y, curve)) return;
    report.centring_moves = 0;
    for (std::size_t i = 0; i < curve_points; ++i)
        report.centring_moves = std::max(report.centring_moves,
                                         std::fabs(static_cast<double>(curve.y[i]) - report.y[i]));
}

void add_notes(fit_report& report) {
    if (is_far_from_zero(report)) {
        std::string note = fmt::format(
            "{} lies far from 0 against its range. As 32-bit numbers the abscissas keep about "
            "{:.0f} digits of that range, and the sum of ascending powers loses up to {:.0f} of "
            "its 16 digits. --centre takes the middle, {}, off before the fit",
            report.points.x.name, std::max(digits_of_abscissa(report), 0.0),
            std::min(report.digits_lost, 16.0),
            number_in_spread(middle(report), report.largest_x - report.smallest_x));
        if (!std::isnan(report.centring_moves))
            note += fmt::format(", which moves the curve by up to {}",
                                number_text(report.centring_moves));
        report.notes.push_back(note + ".");
    }
    if (!report.has_curve()) return;
    const auto zeros = std::count(report.y.begin(), report.y.end(), 0.0);
    if (zeros > 0)
        report.notes.push_back(fmt::format(
            "{} of {} ordinates of the curve are 0: the library gives a negative ordinate as 0.",
            zeros, curve_points));
}

// Why the library refused the fit: it says no word itself.
std::string explanation_of(const fit_report& report, const narrowed_pairs& pairs) {
    const lot& points = report.points;
    if (report.degree > highest_degree)
        return fmt::format("The degree is {}; {} is the highest.", report.degree, highest_degree);
    const std::set<float> distinct(pairs.x.begin(), pairs.x.end());
    const auto constant = [](const std::vector<float>& values) {
        return std::all_of(values.begin(), values.end(),
                           [&](float value) { return value == values.front(); });
    };
    const std::string narrowing =
        " as 32-bit numbers, though not in the file: --centre tells them apart";
    if (distinct.size() == 1)
        return fmt::format("{} has one value only, {}: there is nothing to fit along{}.",
                           points.x.name, points.points.front().d_x,
                           report.smallest_x < report.largest_x ? narrowing : "");
    if (constant(pairs.y))
        return fmt::format("{} has the same value everywhere, {}: a polynomial has no part.",
                           points.y.name, points.points.front().d_y);
    const auto wanted = static_cast<std::size_t>(report.degree) + 1;
    if (distinct.size() < wanted)
        return fmt::format("{} has {} distinct values; degree {} takes at least {}.", points.x.name,
                           distinct.size(), report.degree, wanted);
    polynomial_curve lower;
    for (int degree = report.degree - 1; degree >= 1; --degree)
        if (run_polynomial_fit(degree, pairs.x, pairs.y, lower))
            return fmt::format("A polynomial of degree {0} runs through the points exactly: take "
                               "--degree {0}.",
                               degree);
    return "The points lie on no polynomial that 64-bit numbers can tell from one of a lower "
           "degree.";
}

void run_fit(const fit_options& given) {
    fit_options options = given;
    if (options.degree < 0)
        throw usage_error(fmt::format("--degree {}: a polynomial has a degree from 0 to {}",
                                      options.degree, highest_degree));
    progress shown;
    table_source source(options.reading.file, options.reading.layer, shown);
    const row_survey survey =
        survey_rows(source, missing_texts_of(options.reading), decimal_of(options.reading));
    const bool is_named = !options.reading.x.empty();
    choose_pair(options.reading, source, survey);
    reading_needs needs;
    needs.position = need::required;
    needs.value = need::unused;
    needs.pass = need::unused;
    lot points = read_lot(source, survey, options.reading, needs, shown);
    if (points.is_geographic)
        throw usage_error(fmt::format("{}: {} and {} are taken as degrees of longitude and "
                                      "latitude, along which there is no length to fit; name "
                                      "planar columns with --x and --y",
                                      source.file, points.x.name, points.y.name));
    points.x.why = is_named ? "named by --x and --y" : "the first two columns of numbers";
    points.pass = {};

    fit_report report(source, points);
    report.degree = options.degree;
    report.is_centred = options.centre;
    measure(report);
    if (options.centre) report.centre = middle(report);
    report.digits_lost = digits_lost(report);
    const narrowed_pairs pairs = narrowed(source, points, report.centre);
    polynomial_curve curve;
    if (points.points.size() == 1) {
        report.explanation = "There is a single point: no curve runs through it alone.";
    } else if (!run_polynomial_fit(options.degree, pairs.x, pairs.y, curve)) {
        report.explanation = explanation_of(report, pairs);
    }
    for (std::size_t i = 0; i < curve_points; ++i) {
        report.x[i] = report.centre + static_cast<double>(curve.x[i]);
        report.y[i] = static_cast<double>(curve.y[i]);
    }
    if (report.has_curve() && is_far_from_zero(report))
        compare_with_centred(report, narrowed(source, points, middle(report)));
    add_notes(report);
    if (report.has_curve()) report.output = options.output;
    if (!report.output.empty())
        write_curve(report.output, source.file, points.x.name, points.y.name, report.x, report.y);
    if (options.as_json) {
        print_document(fit_json(report));
    } else {
        fmt::print("{}", fit_text(report));
    }
    end_failed({}, report.explanation);
}

} // namespace

void add_fit_command(CLI::App& program) {
    const auto options = std::make_shared<fit_options>();
    CLI::App* const command =
        program.add_subcommand("fit", "A polynomial through the pairs of two columns");
    add_reading_options(*command, options->reading);
    const std::string group = "Analysis";
    command->get_option("--x")->description("Column of the abscissas (the first with numbers)");
    command->get_option("--y")->description("Column of the ordinates (the second)");
    for (const char* const unused : {"--value", "--pass", "--project"})
        command->remove_option(command->get_option(unused));
    command->add_option("--degree", options->degree, "Degree of the polynomial, 0 to 9")
        ->capture_default_str()
        ->group(group);
    command
        ->add_flag("--centre", options->centre,
                   "Subtract the middle of the abscissas before the fit, which keeps digits")
        ->group(group);
    command->add_option("--output", options->output, "Write the 100 points of the curve to a CSV")
        ->group("Output");
    command->add_flag("--json", options->as_json, "Print JSON")->group("Output");
    command->callback([options] { run_fit(*options); });
}

} // namespace qmx_study
