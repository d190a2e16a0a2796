/* A C99 host: the header alone is enough, and the functions link under their plain names. */
#include "qmx_ic.h"

int points_found_from_c(void);

int points_found_from_c(void) {
    const double center[2] = {0.0, 0.0};
    const double x[3] = {0.0, 5.0, 1.0};
    const double y[3] = {0.0, 5.0, 0.0};
    int32_t found = -1;
    int32_t indices[3];
    t_event event;
    if (find_points_in_circle(3, 2.0, center, x, y, &found, indices, &event) != QMX_IC_SUCCESS)
        return -1;
    return indices[0] == 0 && indices[1] == 2 && indices[2] == 0 ? (int)found : -2;
}
