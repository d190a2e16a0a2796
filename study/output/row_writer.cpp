#include "study/output/row_writer.hpp"

#include <cstring>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/output_file.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t written_at_once = std::size_t{1} << 20;

class text_writer {
public:
    text_writer(const std::string& path, char between)
        : name(path), separator(between), file(path) {
        buffer.reserve(written_at_once + 4096);
    }

    void field(std::string_view text) {
        if (!at_start) buffer += separator;
        at_start = false;
        const char special[] = {separator, '"', '\n', '\r', '\0'};
        if (text.find_first_of(special) == std::string_view::npos) {
            buffer += text;
            return;
        }
        buffer += '"';
        for (const char c : text) {
            if (c == '"') buffer += '"';
            buffer += c;
        }
        buffer += '"';
    }

    void end_row() {
        buffer += '\n';
        at_start = true;
        if (buffer.size() >= written_at_once) flush();
    }

    void close() {
        flush();
        if (const int error = file.finish(); error != 0)
            throw usage_error(fmt::format("--output {}: {}", name, std::strerror(error)),
                              error_place{"--output", name, 0, {}});
    }

private:
    std::string name;
    char separator;
    unfinished_file file;
    std::string buffer;
    bool at_start = true;

    void flush() {
        file.write(buffer);
        buffer.clear();
    }
};

} // namespace

void write_rows(table_source& source, const std::vector<std::int64_t>& records,
                const std::string& output, progress& shown) {
    refuse_inputs_as_output(source.files(), output);
    text_writer writer(output, source.separator());
    const bool has_points = source.has_geometry() && !source.is_delimited;
    if (has_points) {
        writer.field("x");
        writer.field("y");
    }
    for (const source_column& column : source.columns) writer.field(column.name);
    writer.end_row();

    auto wanted = records.begin();
    source.rewind();
    while (wanted != records.end() && source.next()) {
        if (source.record() % 4096 == 0)
            shown.note("writing " + output, static_cast<double>(source.record()),
                       static_cast<double>(records.back()));
        if (source.record() != *wanted) continue;
        while (wanted != records.end() && *wanted == source.record()) ++wanted; // several points
        if (has_points) {
            const shape* const geometry = source.geometry();
            const bool is_point =
                geometry && geometry->kind == shape_kind::point && !geometry->is_empty;
            writer.field(is_point ? fmt::format("{}", geometry->x) : "");
            writer.field(is_point ? fmt::format("{}", geometry->y) : "");
        }
        for (int column = 0; column < static_cast<int>(source.columns.size()); ++column)
            writer.field(source.text(column));
        writer.end_row();
    }
    writer.close();
    shown.clear();
}

} // namespace qmx_study
