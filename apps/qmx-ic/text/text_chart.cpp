#include "text/text_chart.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "text/text_table.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

constexpr int chart_width = 60;
constexpr int chart_height = 14;

struct interval {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();
    void take(double value) {
        low = std::min(low, value);
        high = std::max(high, value);
    }
    // Where a value stands among `steps` characters, from 0.
    int place(double value, int steps) const {
        const double share = high > low ? (value - low) / (high - low) : 0.5;
        return static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * (steps - 1)));
    }
};

struct chart {
    interval x, y;
    std::array<std::array<char, chart_width>, chart_height> marks{};

    void span(const plotted& drawn) {
        for (std::size_t i = 0; i < drawn.x.size(); ++i) {
            if (!std::isfinite(drawn.x[i]) || !std::isfinite(drawn.y[i])) continue;
            x.take(drawn.x[i]);
            y.take(drawn.y[i]);
        }
    }
    void mark(double at_x, double at_y, char with) {
        if (!std::isfinite(at_x) || !std::isfinite(at_y)) return;
        const auto row = static_cast<std::size_t>(chart_height - 1 - y.place(at_y, chart_height));
        marks[row][static_cast<std::size_t>(x.place(at_x, chart_width))] = with;
    }
    void join(const plotted& curve) {
        constexpr int steps = 2 * chart_width; // fine enough for every column to get its mark
        for (std::size_t i = 1; i < curve.x.size(); ++i)
            for (int k = 0; k <= steps; ++k) {
                const double part = static_cast<double>(k) / steps;
                mark(std::lerp(curve.x[i - 1], curve.x[i], part),
                     std::lerp(curve.y[i - 1], curve.y[i], part), '.');
            }
    }
};

} // namespace

std::string chart_text(const plotted& points, const plotted& curve, const std::string& x_name,
                       const std::string& y_name) {
    chart drawn;
    drawn.span(points);
    drawn.span(curve);
    if (!(drawn.x.low <= drawn.x.high)) return {};
    drawn.join(curve);
    for (std::size_t i = 0; i < points.x.size(); ++i) drawn.mark(points.x[i], points.y[i], 'o');

    const std::string top = number_in_spread(drawn.y.high, drawn.y.high - drawn.y.low);
    const std::string bottom = number_in_spread(drawn.y.low, drawn.y.high - drawn.y.low);
    const std::size_t margin = 2 + std::max(width_of(top), width_of(bottom));
    const auto flush_right = [&](const std::string& label) {
        return std::string(margin - width_of(label), ' ') + label;
    };
    std::string text = flush_right("") + "  " + y_name + "\n";
    for (std::size_t row = 0; row < drawn.marks.size(); ++row) {
        const bool is_last = row + 1 == drawn.marks.size();
        std::string line = flush_right(row == 0  ? top
                                       : is_last ? bottom
                                                 : "") +
                           (row == 0 || is_last ? " ┤" : " │");
        for (const char mark : drawn.marks[row])
            line += mark == 'o' ? "●" : mark == '.' ? "·" : " ";
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    std::string axis = flush_right("") + " └";
    for (int i = 0; i < chart_width; ++i) axis += "─";
    const std::string left = number_in_spread(drawn.x.low, drawn.x.high - drawn.x.low);
    const std::string right = number_in_spread(drawn.x.high, drawn.x.high - drawn.x.low);
    const std::size_t taken = width_of(left) + width_of(x_name) + width_of(right);
    const std::size_t blanks = taken + 2 < chart_width ? chart_width - taken : 2;
    text += axis + "\n" + flush_right("") + "  " + left + std::string(blanks / 2, ' ') + x_name +
            std::string(blanks - blanks / 2, ' ') + right + "\n";
    return text;
}

} // namespace qmx_terminal
