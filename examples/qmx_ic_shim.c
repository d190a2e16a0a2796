/* What R needs to call QMX_IC by .C, which hands over every argument as a pointer to numbers.
 *
 *     R CMD SHLIB qmx_ic_shim.c      with PKG_CPPFLAGS and PKG_LIBS naming header and library
 *
 * Records travel as raw vectors, which qmx_ic.R packs and unpacks; the header checks their layout
 * here. The outcome of a call comes back as the last argument. */
#include "qmx_ic.h"

#if defined(_WIN32)
#define FOR_R __declspec(dllexport)
#else
#define FOR_R
#endif

FOR_R void r_record_sizes(int* sizes) {
    const size_t all[8] = {sizeof(t_icdata),       sizeof(t_statsout), sizeof(t_fitout),
                           sizeof(t_gamvset_user), sizeof(t_passbin),  sizeof(t_areaflt),
                           sizeof(t_binresult),    sizeof(t_event)};
    int i;
    for (i = 0; i < 8; ++i) sizes[i] = (int)all[i];
}

FOR_R void r_ICdata_stats(const int* flag_pass, const int* flag_below, const int* count,
                          const t_icdata* data, t_statsout* out, t_event* event, int* outcome) {
    *outcome = ICdata_stats(*flag_pass, *flag_below, *count, data, out, event);
}

FOR_R void r_IC_compact_curve_b(const int* most, const int* least, const int* count,
                                const t_icdata* data, int* passes, double* means, double* x,
                                double* y, t_fitout* fit, t_event* event, int* outcome) {
    *outcome = IC_compact_curve_b(*most, *least, *count, data, passes, means, x, y, fit, event);
}

FOR_R void r_call_polycurvefit(const int* count, const int* degree, const float* x, const float* y,
                               float* curve_x, float* curve_y, int* outcome) {
    *outcome = call_polycurvefit(*count, *degree, x, y, curve_x, curve_y);
}

FOR_R void r_IC_semivariogram(const int* count, const t_icdata* data,
                              const t_gamvset_user* settings, double* distances,
                              double* semivariances, double* model, double* x, double* y,
                              float* summary, t_event* event, int* outcome) {
    *outcome = IC_semivariogram(*count, data, settings, distances, semivariances, model, x, y,
                                summary, event);
}

FOR_R void r_find_points_in_circle(const int* count, const double* radius, const double* center,
                                   const double* x, const double* y, int* found, int* indices,
                                   t_event* event, int* outcome) {
    *outcome = find_points_in_circle(*count, *radius, center, x, y, found, indices, event);
}

FOR_R void r_find_points_in_polygon(const int* vertices, const int* count, const double* vertex_x,
                                    const double* vertex_y, const double* x, const double* y,
                                    int* found, int* indices, t_event* event, int* outcome) {
    *outcome =
        find_points_in_polygon(*vertices, *count, vertex_x, vertex_y, x, y, found, indices, event);
}

FOR_R void r_IC_PointsData_stats(const int* count, const int* tests, const double* radius,
                                 const t_icdata* data, const t_icdata* spots, t_statsout* stats,
                                 float* line, int* valid, int* list, double* predicted,
                                 t_event* event, int* outcome) {
    *outcome = IC_PointsData_stats(*count, *tests, *radius, data, spots, stats, line, valid, list,
                                   predicted, event);
}

FOR_R void r_IC_coverage(const float* mesh, const int* count, const int* bins, const int* areas,
                         const t_passbin* bin, const t_icdata* data, const t_areaflt* area,
                         t_binresult* results, t_event* event, int* outcome) {
    *outcome = IC_coverage(mesh, *count, *bins, *areas, bin, data, area, results, event);
}
