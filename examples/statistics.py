"""Statistics of ten points: a first call from Python. python3 statistics.py path/to/libQMX_IC.so

It prints the lines of statistics.c.
"""

import ctypes
import sys

import qmx_ctypes as ic

NAMES = [
    "mean", "variance", "standard deviation", "skewness", "excess kurtosis", "minimum", "maximum", "range",
    "coefficient of variation", "values", "mean, lower limit", "mean, upper limit", "variance, lower limit",
    "variance, upper limit", "unused",
]  # fmt: skip


def print_number(name: str, number: float) -> None:
    print(f"{name:26}{number:14.4f}")


print("records", *(ctypes.sizeof(record) for record in ic.SIZES))
# [first call]
values = [61.5, 72.0, 70.5, 66.0, 81.0, 75.5, 58.0, 69.5, 77.0, 64.5]
points = (ic.t_icdata * 10)(*((0.3 * i, 0.0, value, 4, 0) for i, value in enumerate(values)))

statistics = ic.t_statsout()
statistics.i_flag_target = ic.YES
statistics.x_target = 70.0  # unit of the measure
statistics.x_target_pct = 60.0  # share of the points that must reach it
statistics.x_pctlevel[:] = [10.0, 90.0]

library = ic.load(sys.argv[1])
event = ic.t_event()
if library.ICdata_stats(ic.NO, ic.NO, 10, points, statistics, event) != ic.SUCCESS:
    sys.exit(event.description)
print_number("mean", statistics.x_stat[0])
# [first call]
for name, number in list(zip(NAMES, statistics.x_stat))[1:]:
    print_number(name, number)
print_number("value at 10 %", statistics.x_pctvalue[0])
print_number("value at 90 %", statistics.x_pctvalue[1])
print_number("above 70, percent", statistics.x_achieved_pct)
print("target", "met" if statistics.i_target_met == ic.YES else "missed")

# Two points are too few: the event says so.
assert library.ICdata_stats(ic.NO, ic.NO, 2, points, statistics, event) == ic.FAILURE
print("two points:", event.description)
print("failed in:", event.path)
print(f"code {event.i_errcode}, class {event.i_errclass}")
