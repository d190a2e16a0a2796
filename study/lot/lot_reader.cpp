#include "study/lot/lot_reader.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/lot/column_choice.hpp"
#include "study/lot/field_reader.hpp"
#include "study/lot/row_filter.hpp"

namespace qmx_study {

namespace {

constexpr double none = std::numeric_limits<double>::quiet_NaN();
constexpr std::int64_t rows_between_notes = 4096;

class lot_builder {
public:
    lot_builder(table_source& from, const row_survey& learned, const reading_options& chosen,
                const reading_needs& wanted, progress& on_terminal)
        : source(from), survey(learned), options(chosen), needs(wanted), shown(on_terminal),
          filter(options.where, source, survey),
          choice(choose_columns(source, survey, options, needs)), x(choice.x, "x", survey),
          y(choice.y, "y", survey), pass(choice.pass, "pass", survey) {
        for (const used_column& column : choice.values)
            values.push_back({field_reader(column, "value", survey), {}, {}, 0});
        result.decimal = survey.style.decimal;
        result.notes = source.lines.notes;
        reads_pass = choice.pass.found() && needs.pass != need::unused && !needs.value_is_pass;
    }

    lot build() {
        if (source.rows > 0) {
            result.points.reserve(static_cast<std::size_t>(source.rows));
            result.records.reserve(static_cast<std::size_t>(source.rows));
        }
        odd = source.lines.odd.begin();
        source.rewind_for(columns_asked_for(), choice.from_geometry);
        while (source.next()) {
            if (source.record() % rows_between_notes == 0)
                shown.note(fmt::format("reading {}", source.file),
                           static_cast<double>(source.record()), static_cast<double>(source.rows));
            take_row();
        }
        result.rows_read = source.record();
        settle_value();
        settle_columns();
        result.dropped = std::move(drops.rows);
        std::stable_sort(result.dropped.begin(), result.dropped.end(),
                         [](const auto& a, const auto& b) { return a.count > b.count; });
        if (result.points.empty() && !needs.allow_empty) refuse_empty();
        if (result.points.size() > static_cast<std::size_t>(std::numeric_limits<int32_t>::max()))
            throw usage_error(
                fmt::format("{}: {} points are more than one analysis takes (2^31 - 1); "
                            "divide the file or use --where",
                            source.file, result.points.size()));
        return std::move(result);
    }

private:
    table_source& source;
    const row_survey& survey;
    const reading_options& options;
    const reading_needs& needs;
    progress& shown;
    row_filter filter;
    column_choice choice;
    field_reader x, y, pass;
    std::vector<value_column> values;
    std::vector<odd_record>::const_iterator odd;
    drop_counter drops;
    lot result;
    bool reads_pass = false;
    std::int64_t further_points = 0; // of records with several

    std::vector<int> columns_asked_for() const {
        std::vector<int> columns = filter.columns();
        for (const field_reader* reader : {&x, &y, &pass}) columns.push_back(reader->column.index);
        for (const value_column& column : values) columns.push_back(column.reader.column.index);
        return columns;
    }

    bool has_sound_fields() {
        if (!source.is_delimited) return true;
        const std::int64_t record = source.record();
        if (odd != source.lines.odd.end() && odd->record == record) {
            const bool few = odd->fields < source.lines.head_fields;
            drops.add("", few ? "too_few_fields" : "too_many_fields", "the line has ",
                      few ? "too few fields" : "too many fields", record, {},
                      fmt::format("{} fields, not {}", odd->fields, source.lines.head_fields));
            ++odd;
            return false;
        }
        const int count = static_cast<int>(source.columns.size());
        int column = 0;
        while (column < count && trimmed(source.text(column)).empty()) ++column;
        if (column == count) {
            drops.add("empty_row", "all fields are empty", record);
            return false;
        }
        if (survey.is_out_of_place(source)) {
            drops.add("fields_out_of_place",
                      "the fields do not stand under their columns (one is lacking or too many)",
                      record);
            return false;
        }
        return true;
    }

    // A row that need not have a position loses it here without being dropped.
    bool read_position(t_icdata& point) {
        point.d_x = point.d_y = none;
        if (!choice.x.found()) return true;
        drop_counter unwanted;
        const bool may_lack = needs.position == need::taken;
        drop_counter& counter = may_lack ? unwanted : drops;
        if (choice.from_geometry) {
            const shape* const geometry = first_point();
            if (!geometry || geometry->is_empty) {
                counter.add("position_missing", "the record has no point", source.record());
            } else if (geometry->kind != shape_kind::point) {
                counter.add("", "position_not_a_point", "", "the geometry is not a point",
                            source.record(), {}, geometry->name);
            } else {
                point.d_x = geometry->x;
                point.d_y = geometry->y;
            }
        } else {
            point.d_x = x.read(source, counter);
            if (!std::isnan(point.d_x)) point.d_y = y.read(source, counter);
        }
        if (choice.is_geographic && (std::fabs(point.d_x) > 360 || std::fabs(point.d_y) > 90)) {
            counter.add("", "position_not_degrees", "", "longitude or latitude is beyond its range",
                        source.record(), choice.x.name,
                        fmt::format("{}, {}", point.d_x, point.d_y));
            point.d_x = point.d_y = none;
        }
        if (std::isfinite(point.d_x) && std::isfinite(point.d_y)) return true;
        point.d_x = point.d_y = none;
        return may_lack;
    }

    // The point of a record, or the first of several; null where it has none.
    const shape* first_point() const {
        const shape* const geometry = source.geometry();
        const bool is_several = geometry && geometry->name == "MULTIPOINT";
        return is_several && !geometry->parts.empty() ? &geometry->parts.front() : geometry;
    }

    // The further points of a record with several: they share its value and its pass.
    void add_further_points(const t_icdata& first) {
        const shape* const geometry = choice.from_geometry ? source.geometry() : nullptr;
        if (!geometry || geometry->name != "MULTIPOINT" || std::isnan(first.d_x)) return;
        for (std::size_t i = 1; i < geometry->parts.size(); ++i) {
            t_icdata point = first;
            point.d_x = geometry->parts[i].x;
            point.d_y = geometry->parts[i].y;
            if (!std::isfinite(point.d_x) || !std::isfinite(point.d_y)) continue;
            ++further_points;
            add_point(point);
        }
    }

    void add_point(const t_icdata& point) {
        for (value_column& column : values)
            column.take(source, result.points.size(), result.points.capacity());
        result.points.push_back(point);
        result.records.push_back(source.record());
    }

    bool read_pass(t_icdata& point) {
        point.i_passno = 0;
        if (!reads_pass) return true;
        drop_counter unwanted;
        const bool may_lack = needs.pass == need::taken;
        drop_counter& counter = may_lack ? unwanted : drops;
        const double number = pass.read(source, counter);
        if (number == std::floor(number) &&
            std::fabs(number) <= std::numeric_limits<int32_t>::max()) {
            point.i_passno = static_cast<int32_t>(number);
            return true;
        }
        if (!std::isnan(number))
            counter.add("", "pass_not_whole", choice.pass.name, " is not a whole number",
                        source.record(), choice.pass.name, trimmed(source.text(choice.pass.index)));
        return may_lack;
    }

    void take_row() {
        if (!has_sound_fields()) return;
        if (!filter.passes(source)) {
            ++result.rows_filtered;
            return;
        }
        t_icdata point{};
        if (!read_position(point) || !read_pass(point)) return;
        point.d_val = none;
        add_point(point);
        add_further_points(point);
    }

    // The first candidate that is filled in at least half of the rows; if there is none, the one with
    // the most values.
    value_column* best_value() {
        if (values.empty()) return nullptr;
        const auto rows = static_cast<std::int64_t>(result.points.size());
        for (value_column& column : values)
            if (2 * column.filled >= rows && column.filled > 0) return &column;
        return &*std::max_element(values.begin(), values.end(),
                                  [](const auto& a, const auto& b) { return a.filled < b.filled; });
    }

    void settle_value() {
        value_column* const best = best_value();
        if (!best) return;
        for (const value_column& column : values)
            result.candidates.push_back(
                {column.reader.column.name, column.reader.column.unit, column.filled});
        const auto rows = static_cast<std::int64_t>(result.points.size());
        if (values.size() > 1) {
            best->reader.column.why =
                "the first by name that is filled in at least half of the rows";
            if (2 * best->filled < rows) {
                best->reader.column.why = "the fullest of the columns found by name";
                result.notes.push_back(
                    fmt::format("no measured value fills half of the rows; {} fills {} of {}",
                                best->reader.column.name, best->filled, rows));
            }
        }
        result.value = best->reader.column;
        if (result.value.unit.empty() && best->reader.stripped.is_unit)
            result.value.unit = best->reader.stripped.text;
        const bool may_lack = needs.value == need::taken;
        std::size_t kept = 0;
        for (std::size_t i = 0; i < result.points.size(); ++i) {
            const double value = best->at(i);
            if (std::isnan(value) && !may_lack) continue;
            result.points[kept] = result.points[i];
            result.points[kept].d_val = value;
            result.records[kept++] = result.records[i];
        }
        result.points.resize(kept);
        result.records.resize(kept);
        if (!may_lack)
            for (dropped_rows& reason : best->drops.rows) drops.rows.push_back(std::move(reason));
        if (best->reader.stripped.count > 0) result.stripped.push_back(best->reader.stripped);
        values.clear();
    }

    void settle_columns() {
        result.x = x.column;
        result.y = y.column;
        result.pass = pass.column;
        result.is_geographic = choice.is_geographic;
        for (const field_reader* reader : {&x, &y, &pass})
            if (reader->stripped.count > 0) result.stripped.push_back(reader->stripped);
        if (result.has_positions())
            result.without_position =
                std::count_if(result.points.begin(), result.points.end(),
                              [](const t_icdata& point) { return std::isnan(point.d_x); });
        if (further_points > 0)
            result.notes.push_back(
                fmt::format("{} points are further ones of records with several; "
                            "each counts with the value of its record",
                            further_points));
        if (choice.from_geometry) result.system = source.reference();
        if (!options.crs.empty()) take_named_system();
        if (!result.system && !result.is_geographic && look_like_degrees()) {
            result.is_geographic = true;
            result.x.unit = result.y.unit = "deg";
            result.notes.push_back(
                fmt::format("{} and {} lie within a fraction of a unit and the range of degrees: "
                            "they are taken "
                            "as longitude and latitude; name another system with --crs",
                            result.x.name, result.y.name));
        }
        if (!result.system && result.is_geographic) result.system = wgs84();
        if (!options.project.empty()) project();
    }

    void take_named_system() {
        if (!result.has_positions())
            throw usage_error(fmt::format("{}: --crs needs positions, and no columns of them were "
                                          "recognised; name them with --x and --y",
                                          source.file),
                              {"--crs", source.file, 0, {}});
        result.system = system_from_text(options.crs);
        if (!result.system)
            throw usage_error(
                fmt::format("--crs \"{}\": no such coordinate system; give a code such "
                            "as EPSG:26915",
                            options.crs),
                {"--crs", {}, 0, {}});
        result.is_geographic = result.system->is_geographic();
        const std::string unit = result.system->length_unit();
        for (used_column* const column : {&result.x, &result.y})
            if (column->unit.empty() || result.is_geographic) column->unit = unit;
    }

    // A lot that is some metres wide spans a few 1e-5 degrees, and no lot spans half a metre.
    bool look_like_degrees() const {
        constexpr double widest = 0.5;
        constexpr std::ptrdiff_t fewest = 3;
        double left = 1e9, right = -1e9, bottom = 1e9, top = -1e9;
        std::ptrdiff_t count = 0;
        for (const t_icdata& point : result.points) {
            if (std::isnan(point.d_x)) continue;
            ++count;
            left = std::min(left, point.d_x);
            right = std::max(right, point.d_x);
            bottom = std::min(bottom, point.d_y);
            top = std::max(top, point.d_y);
        }
        return count >= fewest && left >= -180 && right <= 180 && bottom >= -90 && top <= 90 &&
               right - left < widest && top - bottom < widest && right > left && top > bottom;
    }

    void project() {
        if (!result.has_positions())
            throw usage_error(
                fmt::format("{}: --project needs positions, and no columns of them were "
                            "recognised; name them with --x and --y",
                            source.file),
                {"--project", source.file, 0, {}});
        if (!result.system)
            throw usage_error(
                fmt::format("{}: --project is for longitudes and latitudes, but {} and "
                            "{} are planar already",
                            source.file, result.x.name, result.y.name),
                {"--project", source.file, 0, {}});
        std::vector<double> eastings(result.points.size());
        std::vector<double> northings(result.points.size());
        for (std::size_t i = 0; i < result.points.size(); ++i) {
            eastings[i] = result.points[i].d_x;
            northings[i] = result.points[i].d_y;
        }
        const coordinate_system plane =
            planar_system(options.project, *result.system, eastings, northings);
        transform(*result.system, *plane, eastings, northings);
        for (std::size_t i = 0; i < result.points.size(); ++i) {
            t_icdata& point = result.points[i];
            if (!std::isnan(point.d_x) && std::isnan(eastings[i]))
                throw usage_error(
                    fmt::format(
                        "{}, {}: the position {}, {} has no place in {}; choose another --project",
                        source.file, source.place(result.records[i]), point.d_x, point.d_y,
                        plane->name()),
                    {"--project", source.file, source.line_of(result.records[i]), {}});
            point.d_x = eastings[i];
            point.d_y = northings[i];
        }
        result.system = plane;
        result.is_geographic = false;
        result.is_projected = true;
        result.x.unit = result.y.unit = plane->length_unit();
    }

    [[noreturn]] void refuse_empty() {
        std::string message =
            fmt::format("{}: no row is left of {} read", source.file, result.rows_read);
        if (result.rows_filtered > 0)
            message += fmt::format("\n  {} left out by --where \"{}\"", result.rows_filtered,
                                   options.where);
        for (const dropped_rows& reason : result.dropped) {
            message += fmt::format("\n  {} dropped: {}, first on {}", reason.count, reason.text,
                                   source.place(reason.first_record));
            if (!reason.value.empty()) message += fmt::format(" (\"{}\")", reason.value);
        }
        message += "\n  name other columns with --x, --y, --value, or change --where, --missing or "
                   "--decimal; `qmx-ic columns` shows what was recognised";
        throw usage_error(message);
    }
};

} // namespace

std::int64_t lot::rows_dropped() const {
    std::int64_t count = 0;
    for (const dropped_rows& reason : dropped) count += reason.count;
    return count;
}

lot read_lot(table_source& source, const row_survey& survey, const reading_options& options,
             const reading_needs& needs, progress& shown) {
    lot_builder builder(source, survey, options, needs, shown);
    lot result = builder.build();
    shown.clear();
    return result;
}

char decimal_of(const reading_options& options) {
    if (options.decimal == "point") return '.';
    return options.decimal == "comma" ? ',' : '\0';
}

std::vector<std::string> missing_texts_of(const reading_options& options) {
    std::vector<std::string> texts = default_missing_texts();
    texts.insert(texts.end(), options.missing.begin(), options.missing.end());
    return texts;
}

} // namespace qmx_study
