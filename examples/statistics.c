/* Statistics of ten points, and the share of them that reached a target: a first call from C.
 *
 * The statistics.* of each language prints the same lines. */
#include "qmx_ic.h"

#include <stdio.h>

static const char* const names[15] = {"mean",
                                      "variance",
                                      "standard deviation",
                                      "skewness",
                                      "excess kurtosis",
                                      "minimum",
                                      "maximum",
                                      "range",
                                      "coefficient of variation",
                                      "values",
                                      "mean, lower limit",
                                      "mean, upper limit",
                                      "variance, lower limit",
                                      "variance, upper limit",
                                      "unused"};

/* The header has checked the records already, when it was compiled. */
static void print_record_sizes(void) {
    printf("records %d %d %d %d %d %d %d %d\n", (int)sizeof(t_icdata), (int)sizeof(t_statsout),
           (int)sizeof(t_fitout), (int)sizeof(t_gamvset_user), (int)sizeof(t_passbin),
           (int)sizeof(t_areaflt), (int)sizeof(t_binresult), (int)sizeof(t_event));
}

static void print_number(const char* name, float number) {
    printf("%-26s%14.4f\n", name, (double)number);
}

/* Texts of an event are padded with blanks and have no terminator. */
static void print_text(const char* title, const char* text) {
    int length = 256;
    while (length > 0 && text[length - 1] == ' ') --length;
    printf("%s: %.*s\n", title, length, text);
}

int main(void) {
    print_record_sizes();
    /* [first call] */
    const double values[10] = {61.5, 72.0, 70.5, 66.0, 81.0, 75.5, 58.0, 69.5, 77.0, 64.5};
    t_icdata points[10] = {{0}};
    t_statsout statistics = {0};
    t_event event;
    for (int i = 0; i < 10; ++i) {
        points[i].d_x = 0.3 * i; /* easting, in metres, say; the northing is 0 */
        points[i].d_val = values[i];
        points[i].i_passno = 4;
    }
    statistics.i_flag_target = QMX_IC_YES;
    statistics.x_target = 70.0F;     /* unit of the measure                    */
    statistics.x_target_pct = 60.0F; /* share of the points that must reach it */
    statistics.x_pctlevel[0] = 10.0F;
    statistics.x_pctlevel[1] = 90.0F;
    if (ICdata_stats(QMX_IC_NO, QMX_IC_NO, 10, points, &statistics, &event) != QMX_IC_SUCCESS) {
        fprintf(stderr, "%.256s\n", event.c_description); /* padded with blanks */
        return 1;
    }
    printf("%-26s%14.4f\n", "mean", (double)statistics.x_stat[0]);
    /* [first call] */
    for (int i = 1; i < 15; ++i) print_number(names[i], statistics.x_stat[i]);
    print_number("value at 10 %", statistics.x_pctvalue[0]);
    print_number("value at 90 %", statistics.x_pctvalue[1]);
    print_number("above 70, percent", statistics.x_achieved_pct);
    printf("target %s\n", statistics.i_target_met == QMX_IC_YES ? "met" : "missed");

    /* Two points are too few: the event says so. */
    if (ICdata_stats(QMX_IC_NO, QMX_IC_NO, 2, points, &statistics, &event) != QMX_IC_FAILURE)
        return 1;
    print_text("two points", event.c_description);
    print_text("failed in", event.c_subfunc);
    printf("code %d, class %d\n", (int)event.i_errcode, (int)event.i_errclass);
    return 0;
}
