// The program's side of the module for GDAL.
#include "study/table/vector_table.hpp"

#include "study/base/module_file.hpp"
#include "study/table/gdal_calls.hpp"

namespace qmx_study {

namespace {

const vector_table_calls& table_module() {
    static const vector_table_calls& calls =
        calls_of_module<vector_table_calls>(vector_table_calls_name);
    return calls;
}

} // namespace

struct vector_table::state {
    vector_table* theirs;
    ~state() { table_module().close(theirs); }
};

vector_table::vector_table(const std::string& file, const std::string& layer)
    : now(new state{table_module().open(file, layer)}), format_name(now->theirs->format()),
      column_list(now->theirs->columns()), row_count(now->theirs->rows()),
      is_spatial(now->theirs->has_geometry()), reference(now->theirs->system()) {}

vector_table::~vector_table() = default;

void vector_table::rewind() {
    table_module().rewind(*now->theirs);
}
void vector_table::rewind_for(const std::vector<int>& wanted, bool with_geometry) {
    table_module().rewind_for(*now->theirs, wanted, with_geometry);
}

bool vector_table::next() {
    if (table_module().next(*now->theirs)) return true;
    reason = now->theirs->failure();
    return false;
}

bool vector_table::is_changed() const {
    return table_module().is_changed(*now->theirs);
}
bool vector_table::is_missing(int column) const {
    return table_module().is_missing(*now->theirs, column);
}
std::string_view vector_table::text(int column) const {
    return table_module().text(*now->theirs, column);
}
double vector_table::number(int column) const {
    return table_module().number(*now->theirs, column);
}
const shape* vector_table::geometry() const {
    return table_module().geometry(*now->theirs);
}

} // namespace qmx_study
