#include "semivariogram/class_report.hpp"

#include "base/bounded_text.hpp"
#include "events/event.hpp"
#include "events/unit_table.hpp"
#include "logs/log_files.hpp"
#include "semivariogram/experimental.hpp"

namespace qmx {

namespace {

using line = bounded_text<256>;

line class_line(i64 k, const array_view<f64>& result) {
    const auto entry = [&](result_column column) { return result(result_index(column, k)); };
    line text;
    text.append_field(static_cast<i32>(k), 3);
    text.append(" ");
    text.append_field(entry(result_column::distance), 12, 3);
    text.append(" ");
    text.append_field(entry(result_column::semivariance), 12, 5);
    text.append(" ");
    text.append_field(entry(result_column::pair_count), 12, 0);
    return text;
}

} // namespace

void write_class_report(i32 classes, const array_view<f64>& result, f64 seconds) {
    const i32 unit = io_tmp_file("gslib_gamv_out.txt");
    if (has_failed()) return;
    line elapsed;
    elapsed.append("Elapse time: ");
    elapsed.append_number(seconds);
    write_line(unit, elapsed.view());
    write_line(unit, "direction 1");
    for (i64 k = 1; k <= classes; ++k) write_line(unit, class_line(k, result).view());
    write_line(unit, " gamv version: 3.001 finished");
    close_unit(unit);
}

} // namespace qmx
