"""A first call from Python with NumPy: python3 statistics.py path/to/libQMX_IC.so

The mean of a measure, and the share of a layer that reached its target.
"""

import ctypes
import sys

import numpy as np

icdata = np.dtype(
    {
        "names": ["d_x", "d_y", "d_val", "i_passno"],
        "formats": ["<f8", "<f8", "<f8", "<i4"],
        "offsets": [0, 8, 16, 24],
        "itemsize": 32,
    }
)
statsout = np.dtype(
    [
        ("i_flag_target", "<i4"), ("i_target_met", "<i4"), ("i_numdata", "<i4"),
        ("x_stat", "<f4", 15), ("i_numbins", "<i4"), ("x_bin", "<f4", 200),
        ("x_freq", "<f4", 200), ("x_cumfreq", "<f4", 200), ("x_target", "<f4"),
        ("x_target_pct", "<f4"), ("x_achieved_pct", "<f4"), ("x_pctlevel", "<f4", 2),
        ("x_pctvalue", "<f4", 2),
    ]
)  # fmt: skip
assert icdata.itemsize == 32 and statsout.itemsize == 2504

library = ctypes.CDLL(sys.argv[1])
event = np.zeros((), [("description", "S256"), ("path", "S256"), ("code", "<i4"), ("kind", "<i4")])

points = np.zeros(6, icdata)
points["d_val"] = [61.5, 72.0, 70.5, 66.0, 81.0, 75.5]
statistics = np.zeros((), statsout)
statistics["i_flag_target"] = 1
statistics["x_target"] = 70.0  # unit of the measure
statistics["x_target_pct"] = 60.0  # share of the points that must reach it

address = lambda array: ctypes.c_void_p(array.ctypes.data)
status = library.ICdata_stats(2, 2, len(points), address(points), address(statistics), address(event))
if status != 1:
    sys.exit(event["description"].item().decode().rstrip())
met = "target met" if statistics["i_target_met"] == 1 else "target missed"
print(
    f"mean {statistics['x_stat'][0]:.2f}, {statistics['x_achieved_pct']:.1f} % above"
    f" {statistics['x_target']:.1f}: {met}"
)
