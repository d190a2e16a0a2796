// The module's side: what gdal_calls.hpp names.
#include "study/table/gdal_calls.hpp"

#include "study/base/module_file.hpp"

#define QMX_IC_OFFERED extern "C" __attribute__((visibility("default"))) const

namespace qmx_study {

QMX_IC_OFFERED char qmx_ic_module_mark[] = QMX_IC_BUILT_ALIKE;

QMX_IC_OFFERED reference_calls qmx_ic_reference_calls{
    [](const spatial_reference& of) { return of.name(); },
    [](const spatial_reference& of) { return of.is_geographic(); },
    [](const spatial_reference& one, const spatial_reference& other) {
        return one.is_same_as(other);
    },
    [](const spatial_reference& of) { return of.length_unit(); },
    [] { return wgs84(); },
    [](const std::string& text) { return system_from_text(text); },
};

QMX_IC_OFFERED vector_table_calls qmx_ic_vector_table_calls{
    [](const std::string& file, const std::string& layer) { return new vector_table(file, layer); },
    [](vector_table* table) { delete table; },
    [](vector_table& table) { table.rewind(); },
    [](vector_table& table, const std::vector<int>& wanted, bool with_geometry) {
        table.rewind_for(wanted, with_geometry);
    },
    [](vector_table& table) { return table.next(); },
    [](const vector_table& table) { return table.is_changed(); },
    [](const vector_table& table, int column) { return table.is_missing(column); },
    [](const vector_table& table, int column) { return table.text(column); },
    [](const vector_table& table, int column) { return table.number(column); },
    [](const vector_table& table) { return table.geometry(); },
};

} // namespace qmx_study
