#include "coverage/run_log.hpp"

#include "base/bounded_text.hpp"
#include "coverage/coverage_state.hpp"
#include "coverage/first_match.hpp"
#include "events/event.hpp"
#include "events/unit_table.hpp"
#include "logs/log_files.hpp"

namespace qmx {

namespace {

using log_text = bounded_text<1024>;

constexpr i64 points_shown = 10;

void write(const run_log& log, const log_text& line) {
    write_line(log.unit, line.view());
}

void append_values(log_text&) {}

template <class Number, class... More>
void append_values(log_text& line, std::string_view text, Number value, const More&... more) {
    line.append(text);
    line.append(" ");
    line.append_number(value);
    append_values(line, more...);
}

template <class... Values> void write_values(const run_log& log, const Values&... values) {
    log_text line;
    append_values(line, values...);
    write(log, line);
}

// A number in 5 columns, then each value in 13 columns with 3 decimals, each followed by a blank.
void write_row(const run_log& log, i64 number, std::initializer_list<f64> values) {
    log_text line;
    line.append_field(static_cast<i32>(number), 5);
    line.append(" ");
    for (const f64 value : values) {
        line.append_field(value, 13, 3);
        line.append(" ");
    }
    write(log, line);
}

void log_bin(const run_log& log, i64 number, const t_passbin& bin) {
    log_line(log, " bin no.=", number);
    constexpr std::string_view limits = " passes (lower/upper) =";
    if (bin.i_pass_upper != open_upper_end) {
        write_values(log, limits, bin.i_pass_lower, "", bin.i_pass_upper);
        return;
    }
    log_text line;
    append_values(line, limits, bin.i_pass_lower);
    line.append(" max passes set as 10000");
    write(log, line);
}

void log_area(const run_log& log, i64 number, const t_areaflt& area) {
    log_line(log, " ===========================");
    log_line(log, " area no.=", number);
    log_line(log, " i_flag_exclusion (1=Y,2=N) =", i64{area.i_flag_exclusion});
    log_line(log, " i_numvertices.=", i64{area.i_numvertices});
    log_line(log, " No.  Easting  Northing");
    log_line(log, " ---------------------------");
    // Inputs are logged before they are checked: the count may exceed the array.
    constexpr i32 most = static_cast<i32>(std::extent_v<decltype(t_areaflt::d_vert_x)>);
    for (i32 k = 0; k < std::min(area.i_numvertices, most); ++k)
        write_row(log, k + 1, {area.d_vert_x[k], area.d_vert_y[k]});
}

} // namespace

void open_run_log(run_log& log) {
    bounded_text<64> name;
    name.append(coverage_routine.trimmed());
    name.append(".txt");
    const i32 unit = io_tmp_file(name.view());
    if (has_failed()) return;
    log = {true, unit};
}

void log_line(const run_log& log, std::string_view text) {
    if (log.is_on) write_line(log.unit, text);
}

void log_line(const run_log& log, std::string_view text, i64 value) {
    if (log.is_on) write_values(log, text, value);
}

void log_line(const run_log& log, std::string_view text, f64 value) {
    if (log.is_on) write_values(log, text, value);
}

void log_line(const run_log& log, std::string_view text, i64 value, std::string_view more,
              i64 other) {
    if (log.is_on) write_values(log, text, value, more, other);
}

void log_count(const run_log& log, i64 number, i64 count) {
    if (log.is_on) write_values(log, "", number, "", count);
}

void log_vertices(const run_log& log, const f64* pairs, i64 count) {
    if (!log.is_on) return;
    for (i64 k = 0; k < count; ++k)
        write_values(log, "", k + 1, "", pairs[2 * k], "", pairs[2 * k + 1]);
}

void log_inputs(const coverage_state& state) {
    const run_log& log = state.log;
    if (!log.is_on) return;
    log_line(log, "  initialize and check inputs");
    log_line(log, "  *** IC_coverage_cal***");
    write_values(log, " x_meshsize - N/S (m) =", state.x_meshsize[0], "", state.x_meshsize[1]);
    log_line(log, " i_num_point          =", i64{state.i_num_point});
    log_line(log, " i_num_bins           =", i64{state.i_num_bins});
    log_line(log, " i_num_areas          =", i64{state.i_num_areas});
    log_line(log, "  >>> Pass Bin Info");
    for (i64 i = 1; i <= state.bins.extent; ++i) log_bin(log, i, state.bins(i));
    log_line(log, "  >>> Area Filter Info");
    for (i64 i = 1; i <= state.areas.extent; ++i) log_area(log, i, state.areas(i));
    log_line(log, "  >>> Data point Info");
    log_line(log, "the first 10 data points");
    log_line(log, " No.  Easting  Northing Passes(as values)");
    log_line(log, "===========================");
    for (i64 i = 1; i <= std::min(state.points.extent, points_shown); ++i) {
        const t_icdata& point = state.points(i);
        write_row(log, i, {point.d_x, point.d_y, point.d_val});
    }
}

void log_results(const coverage_state& state) {
    const run_log& log = state.log;
    if (!log.is_on) return;
    log_line(log, "  *** results***");
    log_line(log, " bin_No.  coverage, compacted area, plan_area");
    log_line(log, " ---------------------------------------------");
    for (i64 i = 1; i <= state.results.extent; ++i) {
        const t_binresult& result = state.results(i);
        log_text line;
        line.append_field(static_cast<i32>(i), 4);
        line.append(" ");
        for (const f32 value : {result.x_coverage, result.x_compacted_area, result.x_plan_area}) {
            line.append_field(f64{value}, 12, 2);
            line.append(" ");
        }
        write(log, line);
    }
    log_line(log, " ---------------------------------------------");
}

void log_exit(const coverage_state& state, bool success) {
    const run_log& log = state.log;
    if (!log.is_on) return;
    log_line(log, success ? "  *** Exit with success" : "  *** Exit with error");
    if (!success) print_event(log.unit);
    close_unit(log.unit);
}

} // namespace qmx
