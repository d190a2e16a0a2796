"""One call of each function on a small lot. python3 eight_calls.py path/to/libQMX_IC.so

It prints the lines of eight_calls.c.
"""

import sys
from ctypes import c_double, c_float, c_int32

import qmx_ctypes as ic

library = ic.load(sys.argv[1])
event = ic.t_event()
CELLS, PASSES = 120, 4
RECORDS = CELLS * PASSES


def check(outcome: int) -> None:
    if outcome != ic.SUCCESS:
        sys.exit(event.description)


def print_number(name: str, number: float) -> None:
    print(f"{name:26}{number:14.4f}")


x = (c_double * CELLS)(*(0.5 * (i % 20) for i in range(CELLS)))
y = (c_double * CELLS)(*(0.5 * (i // 20) for i in range(CELLS)))
lot = (ic.t_icdata * RECORDS)(
    *(
        (x[i], y[i], 25 + 10 * k - k * k + 7 * i % 11, k, 0)
        for k in range(1, PASSES + 1)
        for i in range(CELLS)
    )
)
last = (ic.t_icdata * CELLS)(*lot[RECORDS - CELLS :])

out = ic.t_statsout(i_flag_target=ic.YES, x_target=49.0, x_target_pct=90.0)
check(library.ICdata_stats(ic.NO, ic.NO, CELLS, last, out, event))
print_number("mean", out.x_stat[0])
print_number("above the target", out.x_achieved_pct)

used, fit = c_int32(), ic.t_fitout()
means, curve_x, curve_y = (c_double * PASSES)(), (c_double * 100)(), (c_double * 100)()
check(library.IC_compact_curve_b(PASSES, 1, RECORDS, lot, used, means, curve_x, curve_y, fit, event))
print_number("passes", used.value)
print_number("mean of pass 1", means[0])
print_number("mean of the last pass", means[used.value - 1])
print_number("quadratic term", fit.x_coef[2])
print_number("end of the curve", curve_y[99])

abscissas = (c_float * 10)(*range(10))
ordinates = (c_float * 10)(*(5 + k * k + k % 2 for k in range(10)))
polynomial_x, polynomial_y = (c_float * 100)(), (c_float * 100)()
if library.call_polycurvefit(10, 2, abscissas, ordinates, polynomial_x, polynomial_y) != ic.SUCCESS:
    sys.exit("failed")
print_number("start of the polynomial", polynomial_y[0])
print_number("end of the polynomial", polynomial_y[99])

settings = ic.t_gamvset_user(6, 0.5, 0.0, 90.0, 10.0, ic.NO)
distances, semivariances, model = (c_double * 8)(), (c_double * 8)(), (c_double * 2)()
summary = (c_float * 4)()
check(
    library.IC_semivariogram(
        CELLS, last, settings, distances, semivariances, model, curve_x, curve_y, summary, event
    )
)
print_number("distance of class 3", distances[3])
print_number("semivariance of class 3", semivariances[3])
print_number("range of the model", model[0])
print_number("sill of the model", model[1])
print_number("range read off", summary[0])

found, indices = c_int32(), (c_int32 * CELLS)()
center = (c_double * 2)(2.0, 1.0)
check(library.find_points_in_circle(CELLS, 1.0, center, x, y, found, indices, event))
print_number("in the circle", found.value)
print_number("first, from 0", indices[0])
print_number("last", indices[found.value - 1])

vertex_x, vertex_y = (c_double * 4)(1.1, 4.1, 4.1, 1.1), (c_double * 4)(0.6, 0.6, 2.1, 2.1)
check(library.find_points_in_polygon(4, CELLS, vertex_x, vertex_y, x, y, found, indices, event))
print_number("in the polygon", found.value)
print_number("first, from 0", indices[0])
print_number("last", indices[found.value - 1])

tests = (ic.t_icdata * 4)(
    (1.0, 1.0, 10.0, 4), (4.0, 1.0, 12.0, 4), (7.0, 1.0, 15.0, 4), (4.0, 2.0, 11.0, 4)
)  # fmt: skip
stats, line, valid = (ic.t_statsout * 4)(), (c_float * 3)(), c_int32()
one_based, predicted = (c_int32 * 4)(), (c_double * 4)()
check(
    library.IC_PointsData_stats(
        RECORDS, 4, 1.0, lot, tests, stats, line, valid, one_based, predicted, event
    )
)
print_number("spot tests with data", valid.value)
print_number("records round the first", stats[0].i_numdata)
print_number("intercept", line[0])
print_number("slope", line[1])
print_number("R-squared, percent", line[2])
print_number("predicted", predicted[one_based[0] - 1])

bins = (ic.t_passbin * 2)((1, 2), (3, -1))
areas = (ic.t_areaflt * 2)()
for area, exclusion, easting, northing in (
    (areas[0], ic.NO, (0, 10, 10, 0), (0, 0, 3, 3)),
    (areas[1], ic.YES, (1, 2, 2, 1), (1, 1, 2, 2)),
):
    area.i_flag_exclusion, area.i_numvertices = exclusion, 4
    area.d_vert_x[:4], area.d_vert_y[:4] = easting, northing
counts = (ic.t_icdata * CELLS)(*last)
for i, point in enumerate(counts):
    point.d_val = 1 + i % 4
results = (ic.t_binresult * 2)()
mesh = (c_float * 2)(0.5, 0.5)
check(library.IC_coverage(mesh, CELLS, 2, 2, bins, counts, areas, results, event))
print_number("1 or 2 passes, percent", results[0].x_coverage)
print_number("3 and more, area", results[1].x_compacted_area)
print_number("area of the plan", results[0].x_plan_area)
