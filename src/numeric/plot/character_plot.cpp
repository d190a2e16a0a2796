#include "numeric/plot/character_plot.hpp"

#include "base/bounded_text.hpp"
#include "base/elementary_functions.hpp"
#include "numeric/errors/numeric_frame.hpp"
#include "numeric/errors/print_options.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace qmx::numeric {
namespace {

constexpr i32 characters_per_interval = 10, lines_per_interval = 4;
constexpr i32 most_intervals_upwards = 8, most_intervals_across = 12;
constexpr i32 most_columns = most_intervals_across * characters_per_interval + 1;
constexpr i32 most_lines = most_intervals_upwards * lines_per_interval + 1;
constexpr i32 label_width = 13; // -1.234567e-38
constexpr i32 left_of_frame = label_width + 1;

using line_text = bounded_text<left_of_frame + most_columns + label_width + 2>;

// ---- Axes ---------------------------------------------------------------------------------------

struct value_bounds {
    f64 lowest = HUGE_VAL, highest = -HUGE_VAL;
    void include(f64 value) {
        lowest = std::min(lowest, value);
        highest = std::max(highest, value);
    }
};

// Ticks at first_tick * step, (first_tick + 1) * step and so on, an interval between two of them.
struct plot_axis {
    f64 step, first_tick;
    i32 intervals;
    f64 tick(i32 i) const { return (first_tick + i) * step; }
    i32 position_of(f64 value, i32 characters) const {
        return static_cast<i32>(std::lround((value / step - first_tick) * characters));
    }
};

// The axis with the smallest step of 1, 2, 2.5 or 5 times a power of ten that covers the values
// with at most the given number of intervals.
plot_axis axis_over(const value_bounds& bounds, i32 most_intervals) {
    constexpr f64 round_numbers[] = {1.0, 2.0, 2.5, 5.0};
    // Equal values are drawn in the middle; nearly equal ones get an axis wide enough for its
    // labels to differ.
    const f64 size = std::max(std::abs(bounds.lowest), std::abs(bounds.highest));
    const bool are_equal = bounds.lowest == bounds.highest;
    const f64 least_width = are_equal ? (size > 0.0 ? size : 1.0) : size * 1.0e-6;
    const f64 width = std::max(bounds.highest - bounds.lowest, least_width);
    const f64 lowest = are_equal ? bounds.lowest - 0.5 * width : bounds.lowest;
    for (f64 exponent = std::floor(logarithm_10(width / most_intervals));; exponent += 1.0) {
        for (const f64 round : round_numbers) {
            const f64 step = round * power(10.0, exponent);
            const f64 first = std::floor(lowest / step), last = std::ceil((lowest + width) / step);
            if (last - first <= most_intervals)
                return {step, first, static_cast<i32>(last - first)};
        }
    }
}

void append_label(line_text& line, f64 value) {
    char digits[32]; // written alike in every locale
    const auto end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 7).ptr;
    line.append({digits, static_cast<std::size_t>(end - digits)});
}

void append_blanks(line_text& line, i64 count) {
    for (i64 i = 0; i < count; ++i) line.append(" ");
}

// Centred below the middle, or further left where the page ends.
void append_centred(line_text& line, std::string_view text, i64 middle) {
    const i64 size = static_cast<i64>(text.size());
    const i64 start = std::min(middle - size / 2, page_width() - size);
    append_blanks(line, start - static_cast<i64>(line.length));
    line.append(text);
}

// ---- The field of points ------------------------------------------------------------------------

// Line 0 is the lowest.
struct point_field {
    char cells[most_lines][most_columns];
    i32 columns, lines;

    point_field(const plot_axis& across, const plot_axis& upwards)
        : columns(across.intervals * characters_per_interval + 1),
          lines(upwards.intervals * lines_per_interval + 1) {
        for (auto& line : cells) std::fill_n(line, most_columns, ' ');
    }
    void add(i32 column, i32 line) {
        char& cell = cells[line][column];
        if (cell == ' ')
            cell = '*';
        else if (cell == '*')
            cell = '2';
        else
            cell = cell >= '2' && cell <= '8' ? static_cast<char>(cell + 1) : '#';
    }
    std::string_view line(i32 number) const {
        return {cells[number], static_cast<std::size_t>(columns)};
    }
};

void write_border(const line_sink& sink, i32 columns) {
    line_text border;
    append_blanks(border, left_of_frame);
    for (i32 i = 0; i < columns; ++i) border.append(i % characters_per_interval == 0 ? "+" : "-");
    sink.write(sink.context, border.view());
}

void write_field(const line_sink& sink, const point_field& field, const plot_axis& upwards) {
    for (i32 number = field.lines - 1; number >= 0; --number) {
        const bool has_tick = number % lines_per_interval == 0;
        line_text line;
        if (has_tick) {
            line_text label;
            append_label(label, upwards.tick(number / lines_per_interval));
            append_blanks(line, label_width - static_cast<i64>(label.length));
            line.append(label.view());
        }
        append_blanks(line, label_width - static_cast<i64>(line.length));
        line.append(has_tick ? "+" : "|");
        line.append(field.line(number));
        line.append(has_tick ? "+" : "|");
        sink.write(sink.context, line.view());
    }
}

// A label below every tick, or below every other where they would run into each other.
void write_labels_across(const line_sink& sink, const plot_axis& across) {
    std::size_t longest = 0;
    for (i32 i = 0; i <= across.intervals; ++i) {
        line_text label;
        append_label(label, across.tick(i));
        longest = std::max(longest, label.length);
    }
    line_text line;
    for (i32 i = 0; i <= across.intervals; i += longest < characters_per_interval ? 1 : 2) {
        line_text label;
        append_label(label, across.tick(i));
        append_centred(line, label.view(), left_of_frame + i * characters_per_interval);
    }
    sink.write(sink.context, line.view());
}

void write_title(const line_sink& sink, std::string_view title, i32 columns) {
    line_text line;
    append_centred(line, title, left_of_frame + columns / 2);
    sink.write(sink.context, line.view());
}

} // namespace

void SCTP(const i32& NOBS, const f32* X, const f32* Y, std::string_view TITLE,
          std::string_view XTITLE, std::string_view YTITLE, const line_sink& sink) {
    const numeric_frame frame("SCTP ");
    if (NOBS < 1) {
        E1STI(1, NOBS);
        post(type_terminal, 1, "NOBS = %(I1).  There must be at least one point.");
        return;
    }
    const auto is_finite = [&](i32 i) { return std::isfinite(X[i]) && std::isfinite(Y[i]); };
    value_bounds x, y;
    for (i32 i = 0; i < NOBS; ++i) {
        if (!is_finite(i)) continue;
        x.include(f64{X[i]});
        y.include(f64{Y[i]});
    }
    if (x.lowest > x.highest) {
        E1STI(1, NOBS);
        post(type_terminal, 2, "None of the %(I1) points has finite coordinates.");
        return;
    }
    const i32 room = page_width() - left_of_frame - 2;
    const i32 most_across = std::clamp(room / characters_per_interval, 1, most_intervals_across);
    const plot_axis across = axis_over(x, most_across);
    const plot_axis upwards = axis_over(y, most_intervals_upwards);
    point_field field(across, upwards);
    for (i32 i = 0; i < NOBS; ++i)
        if (is_finite(i))
            field.add(across.position_of(f64{X[i]}, characters_per_interval),
                      upwards.position_of(f64{Y[i]}, lines_per_interval));

    write_title(sink, TITLE, field.columns);
    sink.write(sink.context, YTITLE);
    write_border(sink, field.columns);
    write_field(sink, field, upwards);
    write_border(sink, field.columns);
    write_labels_across(sink, across);
    write_title(sink, XTITLE, field.columns);
}

} // namespace qmx::numeric
