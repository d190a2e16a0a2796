#include "text/fit_report.hpp"

#include <algorithm>

#include <fmt/format.h>

#include "study/document/failure_report.hpp"
#include "text/reading_report.hpp"
#include "text/text_chart.hpp"
#include "text/text_table.hpp"

namespace qmx_study {

namespace {

// Of the 100 points these are printed: every eleventh.
constexpr std::size_t printed_step = 11;

// The head of other commands, where the two columns are a position of one unit.
std::string head_text(const fit_report& report) {
    const lot& points = report.points;
    std::string text = reading_text(report.source, points);
    const std::size_t start = text.find("\nPosition") + 1;
    text.replace(start, text.find('\n', start) - start,
                 fmt::format("Columns   {}{}, {}{}  {}", points.x.name, unit_suffix(points.x.unit),
                             points.y.name, unit_suffix(points.y.unit), points.x.why));
    return text;
}

} // namespace

std::string fit_text(const fit_report& report) {
    const lot& points = report.points;
    std::string text = head_text(report);
    text +=
        fmt::format("\nPolynomial of degree {}: {}{} against {}{}\n", report.degree, points.y.name,
                    unit_suffix(points.y.unit), points.x.name, unit_suffix(points.x.unit));
    const auto x_text = [&](double x) {
        return number_in_spread(x, report.largest_x - report.smallest_x);
    };
    const auto y_text = [&](double y) {
        return number_in_spread(y, report.largest_y - report.smallest_y);
    };
    text_table about("ll");
    about.add({"Points", count_text(static_cast<std::int64_t>(points.points.size()))});
    about.add({points.x.name, x_text(report.smallest_x) + " … " + x_text(report.largest_x)});
    about.add({points.y.name, y_text(report.smallest_y) + " … " + y_text(report.largest_y)});
    if (report.is_centred)
        about.add({"Centred", fmt::format("{} less {}; abscissas below are those of the file",
                                          points.x.name, x_text(report.centre))});
    text += about.text();
    if (report.has_curve()) {
        text_table curve("rr");
        curve.add({points.x.name, points.y.name});
        curve.add_rule();
        for (std::size_t i = 0; i < report.x.size(); i += printed_step)
            curve.add({x_text(report.x[i]), y_text(report.y[i])});
        text += "\nCurve\n" + curve.text() + "\n";
        plotted data, line;
        for (const t_icdata& point : points.points) {
            data.x.push_back(point.d_x);
            data.y.push_back(point.d_y);
        }
        line.x.assign(report.x.begin(), report.x.end());
        line.y.assign(report.y.begin(), report.y.end());
        text += chart_text(data, line, points.x.name, points.y.name);
        text += report.output.empty()
                    ? fmt::format("\n{} of {} points; --output writes all to a CSV\n",
                                  (curve_points + printed_step - 1) / printed_step, curve_points)
                    : fmt::format("\n{} points of the curve written to {}\n", curve_points,
                                  report.output);
    }
    if (!report.notes.empty()) text += "\n";
    for (const std::string& note : report.notes) text += "Note: " + wrapped(note, 6) + "\n";
    return text;
}

json fit_json(const fit_report& report) {
    const lot& points = report.points;
    json document = new_document("fit");
    add_reading(document, report.source, points);
    document["units"] = {{"x", text_or_null(points.x.unit)}, {"y", text_or_null(points.y.unit)}};
    document["degree"] = report.degree;
    document["points"] = points.points.size();
    document["extents"] = {{"smallest_x", report.smallest_x},
                           {"largest_x", report.largest_x},
                           {"smallest_y", report.smallest_y},
                           {"largest_y", report.largest_y}};
    document["centre"] = report.is_centred ? json(report.centre) : json(nullptr);
    document["digits_lost_estimate"] = number_or_null(report.digits_lost);
    document["centring_moves"] = number_or_null(report.centring_moves);
    document["curve"] = nullptr;
    if (report.has_curve()) {
        document["curve"] = {{"x", report.x}, {"y", json::array()}};
        for (const double y : report.y) document["curve"]["y"].push_back(number_or_null(y));
    }
    document["failure"] = failure_json({}, report.explanation);
    document["notes"] = report.notes;
    document["output"] = text_or_null(report.output);
    return document;
}

} // namespace qmx_study
