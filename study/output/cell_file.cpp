#include "study/output/cell_file.hpp"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/output/cell_style.hpp"
#include "study/output/row_writer.hpp"

namespace qmx_study {

namespace {

enum cell_column : std::size_t { cell_x, cell_y, cell_pass, cell_value, cell_verdict_text };

// The system that the cells lie in; null where it is not known.
coordinate_system system_of(const lot_report& report, const table_source& source) {
    const reading_account& reading = report.answer.reading;
    const reading_options& options = report.answer.settings.reading;
    if (reading.system.empty()) return nullptr;
    const std::string_view utm = "WGS 84 / UTM zone ";
    if (reading.is_projected && reading.system.starts_with(utm)) {
        const std::string_view zone = std::string_view(reading.system).substr(utm.size());
        int number = 0;
        std::from_chars(zone.data(), zone.data() + zone.size(), number);
        return system_from_text(
            fmt::format("EPSG:{}", (zone.ends_with('S') ? 32700 : 32600) + number));
    }
    if (reading.is_projected) return system_from_text(options.project);
    if (!options.crs.empty()) return system_from_text(options.crs);
    return source.reference() ? source.reference() : system_from_text(reading.system);
}

void refuse_streams(const reading_options& options) {
    for (const std::string& file : options.files())
        if (is_stream(file))
            throw usage_error(fmt::format("{}: the cells' columns are carried through from the "
                                          "file, which cannot be read twice; store it first",
                                          file),
                              {"--cells", file, 0, {}});
}

// The cells' records are counted in the file as the report read it.
void refuse_other_files(const lot_report& report, table_source& source) {
    std::size_t part = 0;
    for (const marked_input& input : report.answer.inputs)
        if (input.role == "points" && part < source.part_count() &&
            source.mark_of_part(part++).sha256 != input.mark.sha256)
            throw usage_error(fmt::format("{}: {}", input.file, changed_while_read),
                              {"--cells", input.file, 0, {}});
}

// The side of a cell, 0 where it is not known.
double metres_of_cell(const road_answer& road, const std::string& unit) {
    if (!road.lattice.is_lattice) return 0;
    const double side = std::max(road.lattice.along, road.lattice.across);
    if (unit == "ft") return side * 0.3048;
    if (unit == "US survey ft") return side * 1200 / 3937;
    return unit == "m" || unit.empty() ? side : 0;
}

// The cells' columns and their place in the world.
leading_columns columns_of(const lot_report& report, const table_source& source) {
    const report_answer& answer = report.answer;
    const cell_table& cells = report.cells;
    const reading_account& reading = answer.reading;
    leading_columns leading;
    table_layout& layout = leading.layout;
    layout.columns = {{"x", table_type::real},
                      {"y", table_type::real},
                      {"pass", table_type::integer},
                      {"value", table_type::real},
                      {"verdict", table_type::text}};
    layout.x = cell_x;
    layout.y = cell_y;
    layout.keeps_positions = true;
    layout.system = system_of(report, source);
    layout.length_unit = reading.x.unit;
    layout.is_long = layout.in_degrees = true;
    layout.time_stamp = answer.settings.time_stamp;
    const double cell_size = answer.road ? metres_of_cell(*answer.road, reading.x.unit) : 0;
    layout.styles = cell_styles(cells, reading.value.name, reading.value.unit, cell_size);
    leading.write = [&cells](table_writer& file, std::size_t row) {
        file.real(cells.x[row]).real(cells.y[row]);
        const std::int32_t pass = cells.pass.empty() ? 0 : cells.pass[row];
        if (pass > 0) {
            file.integer(pass);
        } else {
            file.missing();
        }
        file.real(cells.value[row]).text(verdict_text(cells.verdict[row]));
    };
    leading.left_out = {reading.value.index, reading.pass.index};
    if (!reading.is_projected) { // degrees are kept beside the plane
        leading.left_out.push_back(reading.x.index);
        leading.left_out.push_back(reading.y.index);
    }
    return leading;
}

} // namespace

void write_cells(const std::string& output, const lot_report& report, progress& shown) {
    const reading_options& options = report.answer.settings.reading;
    try {
        check_output_name(output);
        refuse_streams(options);
        opened_table table = open_table(options, shown);
        refuse_other_files(report, *table.source);
        const leading_columns leading = columns_of(report, *table.source);
        write_rows(*table.source, report.cells.records, leading, table.survey, output, shown);
    } catch (const usage_error& error) { // tables know one option alone
        const std::string message = error.what();
        const std::string option = "--output " + output;
        if (!message.starts_with(option)) throw;
        error_place place = error.place;
        if (place.option == "--output") place.option = "--cells";
        throw usage_error("--cells " + output + message.substr(option.size()), place);
    }
}

} // namespace qmx_study
