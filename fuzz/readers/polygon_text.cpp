// Polygons as text: well-known text, files of it, GeoJSON and tables of vertices.
#include <cmath>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "study/shapes/polygon_reader.hpp"
#include "study/table/geojson_table.hpp"
#include "study/table/shape.hpp"
#include "support/input_bytes.hpp"
#include "support/reader_input.hpp"

using namespace fuzz;
using namespace qmx_study;

namespace {

bool is_same(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

bool is_same(const ring& a, const ring& b) {
    return std::equal(a.x.begin(), a.x.end(), b.x.begin(), b.x.end(),
                      [](double p, double q) { return is_same(p, q); }) &&
           std::equal(a.y.begin(), a.y.end(), b.y.begin(), b.y.end(),
                      [](double p, double q) { return is_same(p, q); });
}

bool is_same(const shape& a, const shape& b) {
    return a.kind == b.kind && a.name == b.name && a.is_empty == b.is_empty && is_same(a.x, b.x) &&
           is_same(a.y, b.y) &&
           std::equal(a.rings.begin(), a.rings.end(), b.rings.begin(), b.rings.end(),
                      [](const ring& p, const ring& q) { return is_same(p, q); }) &&
           std::equal(a.parts.begin(), a.parts.end(), b.parts.begin(), b.parts.end(),
                      [](const shape& p, const shape& q) { return is_same(p, q); });
}

std::size_t vertices_of(const shape& of, bool& paired) {
    std::size_t count = of.kind == shape_kind::point && !of.is_empty;
    for (const ring& each : of.rings) {
        paired = paired && each.x.size() == each.y.size();
        count += each.x.size();
    }
    for (const shape& part : of.parts) count += vertices_of(part, paired);
    return count;
}

std::string written(const ring& of) {
    std::string text = "(";
    for (std::size_t i = 0; i < of.x.size(); ++i)
        text += fmt::format("{}{} {}", i > 0 ? ", " : "", of.x[i], of.y[i]);
    return text + ")";
}

std::string written(const shape& of, bool with_name = true) {
    std::string text = with_name ? of.name + " " : "";
    if (of.is_empty) return text + "EMPTY";
    if (of.kind == shape_kind::point) return text + fmt::format("({} {})", of.x, of.y);
    if (of.kind == shape_kind::line) return text + written(of.rings.front());
    text += "(";
    for (std::size_t i = 0; i < of.rings.size(); ++i)
        text += (i > 0 ? "," : "") + written(of.rings[i]);
    for (std::size_t i = 0; i < of.parts.size(); ++i)
        text += (i > 0 ? "," : "") + written(of.parts[i], of.name == "GEOMETRYCOLLECTION");
    return text + ")";
}

void check_wkt(std::string_view text) {
    std::string_view rest = text;
    shape taken;
    const bool is_taken = take_wkt(rest, taken);
    require<"a text is cut where it was read">(
        is_taken ? rest.size() < text.size() && text.ends_with(rest) : rest == text);
    if (!is_taken) return;
    bool paired = true;
    const std::size_t vertices = vertices_of(taken, paired);
    const auto marks = static_cast<std::size_t>(std::count(text.begin(), text.end(), ',')) + 1;
    require<"there are no more vertices than the text has">(paired && vertices <= marks);
    shape again;
    const std::string canonical = written(taken);
    require<"what is written of a shape is read back the same">(read_wkt(canonical, again) &&
                                                                is_same(taken, again));
}

// The same polygons one after the other, by the reader of one.
bool plain_polygons(std::string_view text, std::size_t& polygons, std::size_t& vertices) {
    const auto without_blanks = [](std::string_view left) {
        const std::size_t start = left.find_first_not_of(" \t\r\n;");
        return start == std::string_view::npos ? std::string_view() : left.substr(start);
    };
    for (text = without_blanks(text); !text.empty(); text = without_blanks(text)) {
        shape taken;
        if (!take_wkt(text, taken)) return false;
        if (taken.kind != shape_kind::polygon) continue;
        if (taken.is_empty || taken.rings.empty()) continue;
        ++polygons;
        for (const ring& each : taken.rings) vertices += each.x.size();
    }
    return true;
}

void require_sound(const polygon_set& set) {
    std::size_t vertices = 0, holes = 0;
    bool sound = !set.polygons.empty();
    const auto count = [&](const outline& of) {
        vertices += of.x.size();
        sound = sound && of.x.size() == of.y.size() && of.x.size() >= 3;
        for (std::size_t i = 0; i < of.x.size(); ++i)
            sound = sound && std::isfinite(of.x[i]) && std::isfinite(of.y[i]);
    };
    for (const polygon& each : set.polygons) {
        count(each.outer);
        for (const outline& hole : each.holes) count(hole);
        holes += each.holes.size();
    }
    require<"polygons have outlines of finite vertices">(sound);
    require<"vertices and holes are counted">(vertices == set.vertices && holes == set.holes);
}

void check_wkt_file(std::string_view text) {
    static const memory_file file(".wkt");
    file.write(text);
    polygon_set set;
    const bool is_read = reads([&] { set = read_polygons(file.name(), ""); });
    if (!is_read || text.find('\0') != std::string_view::npos) return;
    require_sound(set);
    const bool is_plain = text.find_first_of("\x1F\x8B\xFE\xFF\xEF") == std::string_view::npos;
    std::size_t polygons = 0, vertices = 0;
    const bool is_read_plainly = plain_polygons(text, polygons, vertices);
    if (is_plain)
        require<"a file of polygons is read to its end">(
            is_read_plainly && polygons <= set.polygons.size() && vertices <= set.vertices);
}

void check_vertices(std::string_view text) {
    static const memory_file file("");
    file.write(text);
    polygon_set set;
    if (reads([&] { set = read_polygons(file.name(), ""); })) require_sound(set);
}

void check_geojson(std::string_view text) {
    static const memory_file file(".geojson");
    file.write(text);
    reads([&] {
        geojson_table table(file.name(), "");
        std::int64_t rows = 0;
        bool paired = true;
        while (table.next()) {
            ++rows;
            if (const shape* const geometry = table.geometry()) vertices_of(*geometry, paired);
            for (int column = 0; column < static_cast<int>(table.columns().size()); ++column)
                if (!table.is_missing(column))
                    table.columns()[static_cast<std::size_t>(column)].is_numeric()
                        ? (void)table.number(column)
                        : (void)table.text(column);
        }
        require<"a table of features has the rows that it says">(!table.failure().empty() ||
                                                                 rows == table.rows());
        require<"a vertex has two coordinates">(paired);
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_bytes input(data, size);
    const std::uint8_t way = input.byte();
    const std::string_view text = text_of(input.rest(), input.left());
    switch (way % 4) {
    case 0: check_wkt(text); break;
    case 1: check_wkt_file(text); break;
    case 2: check_vertices(text); break;
    default: check_geojson(text);
    }
    return 0;
}
