#include "study/output/answer_tables.hpp"

#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "study/base/number_text.hpp"
#include "study/output/table_writer.hpp"

namespace qmx_study {

namespace {

constexpr table_type text = table_type::text;
constexpr table_type integer = table_type::integer;
constexpr table_type real = table_type::real;

table_layout plain(std::vector<table_column> columns) {
    table_layout layout;
    layout.columns = std::move(columns);
    return layout;
}

std::string with_unit(const std::string& name, const std::string& unit) {
    return unit.empty() ? name : fmt::format("{} ({})", name, unit);
}

// The head of a value column; the pass count stands beside it under its own name.
std::string value_name(const used_column& value) {
    return same_text(value.name, "PassCount") ? "Value" : value.name;
}

} // namespace

void write_table(const std::string& output, const columns_answer& answer) {
    table_writer file(output, plain({{"name", text},
                                     {"taken_as", text},
                                     {"content", text},
                                     {"numbers", integer},
                                     {"texts", integer},
                                     {"missing", integer},
                                     {"smallest", real},
                                     {"largest", real},
                                     {"unit", text},
                                     {"example", text}}));
    for (const column_contents& column : answer.columns) {
        const bool any = column.numbers > 0;
        const double none = std::numeric_limits<double>::quiet_NaN();
        file.text(column.name).text(column.taken_as).text(column.content());
        file.integer(column.numbers).integer(column.texts).integer(column.missing);
        file.real(any ? column.smallest : none).real(any ? column.largest : none);
        file.text(column.unit).text(column.example).end_row();
    }
    file.close();
}

void write_table(const std::string& output, const coverage_answer& answer) {
    table_writer file(output, plain({{"passes", text},
                                     {"points", integer},
                                     {with_unit("area", answer.area_unit), real},
                                     {"percent_of_area", real}}));
    for (std::size_t i = 0; i < answer.bins.size(); ++i) {
        const t_binresult& result = answer.results[i];
        file.text(bin_name(answer.bins[i])).integer(answer.counts.in_bin[i]);
        file.real(result.x_compacted_area).real(result.x_coverage).end_row();
    }
    const auto narrow = [](double value) { return static_cast<float>(value); };
    file.text("all bins").integer(answer.counts.total_in_bins());
    file.real(narrow(answer.covered_area)).real(narrow(answer.coverage)).end_row();
    file.text("not covered").missing();
    file.real(narrow(answer.not_covered)).real(narrow(100 - answer.coverage)).end_row();
    file.close();
}

void write_table(const std::string& output, const grid_answer& answer) {
    const reading_account& reading = answer.reading;
    table_layout layout = plain({{with_unit("Easting", reading.x.unit), real},
                                 {with_unit("Northing", reading.y.unit), real},
                                 {"PassCount", integer},
                                 {value_name(reading.value), real}});
    layout.x = 0;
    layout.y = 1;
    layout.system = answer.system;
    layout.length_unit = reading.x.unit;
    table_writer file(output, layout);
    for (const grid_entry& entry : answer.grid.entries) {
        const auto centre = [&](std::int32_t number) {
            constexpr double resolution = 1e6; // of the digits written, per unit
            return std::round(cell_centre(number, answer.settings.cell) * resolution) / resolution;
        };
        file.real(centre(entry.column)).real(centre(entry.row));
        file.integer(entry.pass).real(entry.value).end_row();
    }
    file.close();
}

void write_table(const std::string& output, const spots_answer& answer) {
    const std::string unit = answer.reading.value.unit;
    table_layout layout = plain({{"test", text},
                                 {with_unit("Easting", answer.reading.x.unit), real},
                                 {with_unit("Northing", answer.reading.y.unit), real},
                                 {"pass", integer},
                                 {with_unit("value", answer.test_reading.value.unit), real},
                                 {"ic_values", integer},
                                 {with_unit("ic_mean", unit), real},
                                 {"ic_cv_percent", real},
                                 {with_unit("predicted_ic_mean", unit), real},
                                 {"in_line", integer},
                                 {"remark", text}});
    layout.x = 1;
    layout.y = 2;
    layout.keeps_positions = true;
    layout.system = answer.system;
    layout.length_unit = answer.reading.x.unit;
    table_writer file(output, layout);
    for (const spot_row& spot : answer.spots) {
        file.text(spot.name).real(spot.test.d_x).real(spot.test.d_y);
        if (spot.test.i_passno < 0) {
            file.missing();
        } else {
            file.integer(spot.test.i_passno);
        }
        file.real(spot.test.d_val).integer(spot.count).real(spot.mean).real(spot.variation);
        file.real(spot.predicted).integer(spot.state == spot_state::in_line).text(spot.remark);
        file.end_row();
    }
    file.close();
}

void write_table(const std::string& output, const stats_answer& answer) {
    const t_statsout& result = answer.result;
    const std::string unit = answer.value_unit();
    table_writer file(output, plain({{"part", text}, // statistic, quantile, class
                                     {"name", text}, // of a class its upper limit or pass count
                                     {"value", real},
                                     {"unit", text},
                                     {"percent", real},
                                     {"cumulative_percent", real}}));
    const auto row = [&](const char* part, const std::string& name) -> table_writer& {
        return file.text(part).text(name);
    };
    row("statistic", "count").real(static_cast<double>(result.i_numdata)).text("");
    file.missing().missing().end_row();
    for (const statistic& each : listed_statistics) {
        row("statistic", each.key).real(result.x_stat[each.index]);
        file.text(unit_to_power(unit, each.power)).missing().missing().end_row();
    }
    for (const quantile& each : answer.quantiles) {
        row("quantile", fmt::format("{}", each.percent)).real(each.value).text(unit);
        file.real(each.percent).missing().end_row();
    }
    for (int i = 0; i < answer.classes(); ++i) {
        const std::string limit =
            answer.pass_counts ? fmt::format("{}", i) : fmt::format("{}", result.x_bin[i]);
        row("class", limit).real(answer.pass_counts ? static_cast<float>(i) : result.x_bin[i]);
        file.text(unit).real(result.x_freq[i]).real(result.x_cumfreq[i]).end_row();
    }
    file.close();
}

} // namespace qmx_study
