#include "study/output/table_writer.hpp"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/number_text.hpp"
#include "study/output/vector_output.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t written_at_once = std::size_t{1} << 20;

struct output_kind {
    std::optional<vector_format> format; // otherwise text
    bool is_packed = false;
    bool has_tabs = false;
};

output_kind kind_of(const std::string& output) {
    output_kind kind;
    std::string name = lower_case(output.substr(output.find_last_of("/\\") + 1));
    if (output == "-" || name.find('.', 1) == std::string::npos) return kind; // a device, a pipe
    if (name.ends_with(".gz")) {
        kind.is_packed = true;
        name.resize(name.size() - 3);
    }
    const std::string ending = name.substr(std::min(name.size(), name.rfind('.')));
    kind.has_tabs = ending == ".tsv";
    if (ending == ".csv" || ending == ".tsv" || ending == ".txt") return kind;
    if (!kind.is_packed) {
        if (ending == ".gpkg") kind.format = vector_format::gpkg;
        if (ending == ".geojson") kind.format = vector_format::geojson;
        if (ending == ".parquet") kind.format = vector_format::parquet;
    }
    if (!kind.format)
        throw usage_error(
            fmt::format("--output {}: no table is written under such a name; it may end in .csv, "
                        ".tsv, .txt (each also with .gz), .gpkg, .geojson or .parquet, or be - for "
                        "standard output",
                        output),
            error_place{"--output", output, 0, {}});
    return kind;
}

// Before anything is opened.
std::string checked(const std::string& output) {
    check_output_name(output);
    return output;
}

std::vector<std::string_view> parts_of(std::string_view text, char between) {
    std::vector<std::string_view> parts;
    for (std::size_t end = 0; end != std::string_view::npos;) {
        end = text.find(between);
        parts.push_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return parts;
}

} // namespace

void write_csv_text(const std::string& output, std::string_view csv) {
    if (csv.ends_with('\n')) csv.remove_suffix(1);
    std::vector<std::vector<std::string_view>> rows;
    for (const std::string_view line : parts_of(csv, '\n')) rows.push_back(parts_of(line, ','));
    const bool is_typed = is_vector_name(output);
    table_layout layout;
    for (std::size_t i = 0; i < rows.front().size(); ++i) {
        double number = 0;
        bool is_real = is_typed;
        for (std::size_t row = 1; row < rows.size() && is_real; ++row)
            is_real = rows[row][i].empty() || read_plain_number(rows[row][i], number);
        layout.columns.push_back(
            {std::string(rows.front()[i]), is_real ? table_type::real : table_type::text});
    }
    table_writer file(output, layout);
    for (std::size_t row = 1; row < rows.size(); ++row) {
        for (std::size_t i = 0; i < rows[row].size(); ++i) {
            double number = 0;
            if (layout.columns[i].type == table_type::text) {
                file.text(rows[row][i]);
            } else if (read_plain_number(rows[row][i], number)) {
                file.real(number);
            } else {
                file.missing();
            }
        }
        file.end_row();
    }
    file.close();
}

bool is_vector_name(const std::string& output) {
    return kind_of(output).format.has_value();
}

void check_output_name(const std::string& output) {
    if (const auto format = kind_of(output).format) check_can_write(*format, output);
}

table_writer::table_writer(const std::string& output, table_layout wanted)
    : layout(std::move(wanted)), name(checked(output)), bytes(name, kind_of(name).is_packed) {
    const output_kind kind = kind_of(name);
    if (kind.format) {
        if (kind.format == vector_format::geojson && layout.x >= 0 && !layout.system)
            throw usage_error(
                fmt::format("--output {}: GeoJSON places its points on the globe, and the "
                            "coordinate system of the positions is not known; name it, such as "
                            "--crs EPSG:26915, or take another ending",
                            name),
                error_place{"--crs", name, 0, {}});
        if (layout.is_long) built_in.emplace(name);
        features = std::make_unique<vector_output>(
            *kind.format, layout, output_names{name, built_in ? built_in->name() : std::string()});
        return;
    }
    if (kind.has_tabs) layout.separator = '\t';
    for (const table_column& each : layout.columns) field(each.name);
    end_row();
}

table_writer::~table_writer() = default;

void table_writer::field(std::string_view value) {
    if (column++ > 0) buffer += layout.separator;
    const char special[] = {layout.separator, '"', '\n', '\r', '\0'};
    if (value.find_first_of(special) == std::string_view::npos) {
        buffer += value;
        return;
    }
    buffer += '"';
    for (const char c : value) {
        if (c == '"') buffer += '"';
        buffer += c;
    }
    buffer += '"';
}

table_writer& table_writer::text(std::string_view value) {
    if (!features) {
        field(value);
    } else {
        features->text(column++, value);
    }
    return *this;
}

table_writer& table_writer::integer(std::int64_t value) {
    if (!features) {
        field(fmt::format_int(value).c_str());
    } else {
        features->integer(column++, value);
    }
    return *this;
}

table_writer& table_writer::real(double value) {
    if (!std::isfinite(value)) return missing();
    if (!features) {
        field(fmt::format("{}", value));
    } else {
        features->real(column++, value);
    }
    return *this;
}

table_writer& table_writer::real(float value) {
    if (features || !std::isfinite(value)) return real(static_cast<double>(value));
    field(fmt::format("{}", value));
    return *this;
}

table_writer& table_writer::missing() {
    if (!features) {
        field({});
    } else {
        ++column;
    }
    return *this;
}

void table_writer::end_row() {
    column = 0;
    if (features) return features->end_row();
    buffer += '\n';
    if (buffer.size() < written_at_once) return;
    bytes.write(buffer);
    buffer.clear();
}

void table_writer::close() {
    if (features) {
        features->write_to([&](std::string_view piece) { bytes.write(piece); });
    } else {
        bytes.write(buffer);
    }
    bytes.close();
}

} // namespace qmx_study
