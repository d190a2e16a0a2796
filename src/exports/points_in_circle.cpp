#include "exports/export_frame.hpp"
#include "selection/point_selection.hpp"

using namespace qmx;

extern "C" int32_t find_points_in_circle(int32_t i_numpoints, double d_radius,
                                         const double* d_center, const double* d_x,
                                         const double* d_y, int32_t* i_found, int32_t* i_indices,
                                         t_event* t_evt) noexcept {
    static constexpr routine_text self("find_points_in_circle");
    const call_arithmetic arithmetic;
    clear_event();
    const array_view<i32> indices = view_of(i_indices, i_numpoints);
    icd_points_in_circle(d_center, d_radius, {d_x, d_y, indices.extent}, *i_found, indices);
    // Entries past the positions found read 0.
    std::fill_n(indices.base + *i_found, indices.extent - *i_found, 0);
    return finish_export(self, t_evt);
}
