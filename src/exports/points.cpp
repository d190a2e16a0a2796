#include "exports/export_frame.hpp"
#include "selection/point_selection.hpp"

using namespace qmx;

namespace {

// Behind the positions found, the host's array reads 0.
void clear_from(i32 found, const array_view<i32>& indices) {
    std::fill_n(indices.base + found, indices.extent - found, 0);
}

} // namespace

extern "C" int32_t find_points_in_circle(int32_t i_numpoints, double d_radius,
                                         const double* d_center, const double* d_x,
                                         const double* d_y, int32_t* i_found, int32_t* i_indices,
                                         t_event* t_evt) noexcept {
    static constexpr routine_text self("find_points_in_circle");
    clear_event();
    const array_view<i32> indices = view_of(i_indices, i_numpoints);
    icd_points_in_circle(d_center, d_radius, {d_x, d_y, indices.extent}, *i_found, indices);
    clear_from(*i_found, indices);
    return finish_export(self, t_evt);
}

extern "C" int32_t find_points_in_polygon(int32_t i_numvertices, int32_t i_numpoints,
                                          const double* d_vertexx, const double* d_vertexy,
                                          const double* d_x, const double* d_y, int32_t* i_found,
                                          int32_t* i_indices, t_event* t_evt) noexcept {
    static constexpr routine_text self("find_points_in_polygon");
    clear_event();
    const array_view<i32> indices = view_of(i_indices, i_numpoints);
    icd_points_in_polygon({d_vertexx, d_vertexy, i_numvertices}, {d_x, d_y, indices.extent},
                          *i_found, indices);
    clear_from(*i_found, indices);
    return finish_export(self, t_evt);
}
