/* One call of each function on a small lot: four passes over 20 by 6 cells of half a metre.
 *
 * The eight_calls.* of each language prints the same lines. The marked parts are the examples on the
 * pages of the functions. */
#include "qmx_ic.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { cells = 120, passes = 4, records = cells * passes };

static t_icdata lot[records];
static const t_icdata* const last = lot + records - cells; /* the records of the last pass */
static double x[cells], y[cells];

static void make_lot(void) {
    int pass, i;
    for (pass = 1; pass <= passes; ++pass)
        for (i = 0; i < cells; ++i) {
            t_icdata* const point = &lot[(pass - 1) * cells + i];
            point->d_x = x[i] = 0.5 * (i % 20);
            point->d_y = y[i] = 0.5 * (i / 20);
            point->d_val = 25 + 10 * pass - pass * pass + 7 * i % 11;
            point->i_passno = pass;
        }
}

static void print_number(const char* name, double number) {
    printf("%-26s%14.4f\n", name, number);
}

static void check(int32_t outcome, const t_event* event) {
    if (outcome == QMX_IC_SUCCESS) return;
    fprintf(stderr, "%.256s\n", event != NULL ? event->c_description : "failed");
    exit(1);
}

static void statistics(void) {
    /* [ICdata_stats] */
    t_statsout out;
    t_event event;
    memset(&out, 0, sizeof out);
    out.i_flag_target = QMX_IC_YES;
    out.x_target = 49.0F;     /* at least that much ... */
    out.x_target_pct = 90.0F; /* ... on so much of the layer */
    check(ICdata_stats(QMX_IC_NO, QMX_IC_NO, cells, last, &out, &event), &event);
    print_number("mean", (double)out.x_stat[0]);
    print_number("above the target", (double)out.x_achieved_pct);
    /* [ICdata_stats] */
}

static void curve(void) {
    /* [IC_compact_curve_b] */
    int32_t used; /* passes that went into the curve */
    double means[passes], curve_x[100], curve_y[100];
    t_fitout fit;
    t_event event;
    check(IC_compact_curve_b(passes, 1, records, lot, &used, means, curve_x, curve_y, &fit, &event),
          &event);
    print_number("passes", used);
    print_number("mean of pass 1", means[0]);
    print_number("mean of the last pass", means[used - 1]);
    print_number("quadratic term", (double)fit.x_coef[2]);
    print_number("end of the curve", curve_y[99]);
    /* [IC_compact_curve_b] */
}

static void polynomial(void) {
    /* [call_polycurvefit] */
    float abscissas[10], ordinates[10], curve_x[100], curve_y[100];
    int k;
    for (k = 0; k < 10; ++k) {
        abscissas[k] = (float)k;
        ordinates[k] = (float)(5 + k * k + k % 2);
    }
    check(call_polycurvefit(10, 2, abscissas, ordinates, curve_x, curve_y), NULL);
    print_number("start of the polynomial", (double)curve_y[0]);
    print_number("end of the polynomial", (double)curve_y[99]);
    /* [call_polycurvefit] */
}

static void semivariogram(void) {
    /* [IC_semivariogram] */
    enum { lags = 6 };
    t_gamvset_user settings;
    double distances[lags + 2], semivariances[lags + 2], model[2], curve_x[100], curve_y[100];
    float summary[4];
    t_event event;
    settings.i_nlag = lags;
    settings.x_xlag = 0.5F;
    settings.x_azm = 0.0F;
    settings.x_atol = 90.0F;   /* in all directions */
    settings.x_bandwh = 10.0F; /* at least the extent of the lot */
    settings.i_standsills = QMX_IC_NO;
    check(IC_semivariogram(cells, last, &settings, distances, semivariances, model, curve_x,
                           curve_y, summary, &event),
          &event);
    print_number("distance of class 3", distances[3]);
    print_number("semivariance of class 3", semivariances[3]);
    print_number("range of the model", model[0]);
    print_number("sill of the model", model[1]);
    print_number("range read off", (double)summary[0]);
    /* [IC_semivariogram] */
}

static void circle(void) {
    /* [find_points_in_circle] */
    const double center[2] = {2.0, 1.0};
    int32_t found, indices[cells];
    t_event event;
    check(find_points_in_circle(cells, 1.0, center, x, y, &found, indices, &event), &event);
    print_number("in the circle", found);
    print_number("first, from 0", indices[0]);
    print_number("last", indices[found - 1]);
    /* [find_points_in_circle] */
}

static void polygon(void) {
    /* [find_points_in_polygon] */
    const double vertex_x[4] = {1.1, 4.1, 4.1, 1.1};
    const double vertex_y[4] = {0.6, 0.6, 2.1, 2.1};
    int32_t found, indices[cells];
    t_event event;
    check(find_points_in_polygon(4, cells, vertex_x, vertex_y, x, y, &found, indices, &event),
          &event);
    print_number("in the polygon", found);
    print_number("first, from 0", indices[0]);
    print_number("last", indices[found - 1]);
    /* [find_points_in_polygon] */
}

static void spot_tests(void) {
    /* [IC_PointsData_stats] */
    const t_icdata tests[4] = {{1.0, 1.0, 10.0, 4, 0}, /* after pass 4; -1: all passes */
                               {4.0, 1.0, 12.0, 4, 0},
                               {7.0, 1.0, 15.0, 4, 0},
                               {4.0, 2.0, 11.0, 4, 0}};
    static t_statsout stats[4];
    float line[3];
    int32_t valid, list[4];
    double predicted[4];
    t_event event;
    check(IC_PointsData_stats(records, 4, 1.0, lot, tests, stats, line, &valid, list, predicted,
                              &event),
          &event);
    print_number("spot tests with data", valid);
    print_number("records round the first", stats[0].i_numdata);
    print_number("intercept", (double)line[0]);
    print_number("slope", (double)line[1]);
    print_number("R-squared, percent", (double)line[2]);
    print_number("predicted", predicted[list[0] - 1]);
    /* [IC_PointsData_stats] */
}

static void coverage(void) {
    /* [IC_coverage] */
    const float mesh[2] = {0.5F, 0.5F};
    const t_passbin bins[2] = {{1, 2}, {3, -1}};
    static const t_areaflt areas[2] = {{2, 4, {0, 10, 10, 0}, {0, 0, 3, 3}}, /* included */
                                       {1, 4, {1, 2, 2, 1}, {1, 1, 2, 2}}};  /* excluded */
    t_icdata counts[cells]; /* d_val is the pass count */
    t_binresult results[2];
    t_event event;
    int i;
    memcpy(counts, last, sizeof counts);
    for (i = 0; i < cells; ++i) counts[i].d_val = 1 + i % 4;
    check(IC_coverage(mesh, cells, 2, 2, bins, counts, areas, results, &event), &event);
    print_number("1 or 2 passes, percent", (double)results[0].x_coverage);
    print_number("3 and more, area", (double)results[1].x_compacted_area);
    print_number("area of the plan", (double)results[0].x_plan_area);
    /* [IC_coverage] */
}

int main(void) {
    make_lot();
    statistics();
    curve();
    polynomial();
    semivariogram();
    circle();
    polygon();
    spot_tests();
    coverage();
    return 0;
}
