#include "study/output/curve_file.hpp"

#include "study/output/table_writer.hpp"

namespace qmx_study {

void write_curve(const std::string& output, const std::string& x_name, const std::string& y_name,
                 const std::array<double, curve_points>& x,
                 const std::array<double, curve_points>& y) {
    table_layout layout;
    layout.columns = {{x_name, table_type::real}, {y_name, table_type::real}};
    table_writer file(output, layout);
    for (std::size_t i = 0; i < x.size(); ++i) file.real(x[i]).real(y[i]).end_row();
    file.close();
}

} // namespace qmx_study
