/* The mean of a measure, and the share of a layer that reached its target: a first call. */
#include "qmx_ic.h"

#include <stdio.h>
#include <string.h>

int main(void) {
    /* Easting, northing, measured value, pass number. */
    const t_icdata points[6] = {{0.0, 0.0, 61.5, 4, 0}, {0.3, 0.0, 72.0, 4, 0},
                                {0.6, 0.0, 70.5, 4, 0}, {0.0, 0.3, 66.0, 4, 0},
                                {0.3, 0.3, 81.0, 4, 0}, {0.6, 0.3, 75.5, 4, 0}};
    t_statsout statistics;
    t_event event;

    memset(&statistics, 0, sizeof statistics);
    statistics.i_flag_target = QMX_IC_YES;
    statistics.x_target = 70.0F;     /* unit of the measure                    */
    statistics.x_target_pct = 60.0F; /* share of the points that must reach it */

    if (ICdata_stats(QMX_IC_NO, QMX_IC_NO, 6, points, &statistics, &event) != QMX_IC_SUCCESS) {
        fprintf(stderr, "%.256s\n", event.c_description); /* padded with blanks, no terminator */
        return 1;
    }
    printf("mean %.2f, %.1f %% above %.1f: %s\n", (double)statistics.x_stat[0],
           (double)statistics.x_achieved_pct, (double)statistics.x_target,
           statistics.i_target_met == QMX_IC_YES ? "target met" : "target missed");
    return 0;
}
