// The build without GDAL: GeoJSON alone.
#include "study/table/vector_table.hpp"

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/number_text.hpp"
#include "study/table/geojson_table.hpp"

namespace qmx_study {

struct vector_table::state {
    geojson_table table;
};

vector_table::vector_table(const std::string& file, const std::string& layer)
    : now(new state{geojson_table(file, layer)}) {
    format_name = "GeoJSON";
    column_list = now->table.columns();
    row_count = now->table.rows();
    is_spatial = now->table.has_geometry();
    reference = now->table.system();
}

vector_table::~vector_table() = default;

void vector_table::rewind() {
    now->table.rewind();
}
void vector_table::rewind_for(const std::vector<int>&, bool) {
    rewind();
}

bool vector_table::next() {
    if (now->table.next()) return true;
    reason = now->table.failure();
    return false;
}

bool vector_table::is_changed() const {
    return false; // all of it is in memory
}

bool vector_table::is_missing(int column) const {
    return now->table.is_missing(column);
}
std::string_view vector_table::text(int column) const {
    return now->table.text(column);
}
double vector_table::number(int column) const {
    return now->table.number(column);
}
const shape* vector_table::geometry() const {
    return now->table.geometry();
}

void refuse_unknown_format(const std::string& file, const std::string& reason) {
    const std::string lower = lower_case(file);
    const std::size_t point = lower.find_last_of("./\\");
    const std::string ending =
        point == std::string::npos || lower[point] != '.' ? "" : file.substr(point);
    throw usage_error(
        fmt::format("{}: {} needs a build with GDAL{}; this one reads delimited text (.csv, .tsv, "
                    ".txt, packed by gzip too) and GeoJSON",
                    file, ending.empty() ? "this format" : "a " + ending + " file",
                    reason.empty() ? "" : " (" + reason + ")"),
        {{}, file, 0, {}});
}

} // namespace qmx_study
