"""The library called plainly with ctypes: what the package's results are compared with, bit for bit."""

import ctypes
from pathlib import Path

import numpy as np

from qmx_ic import POINT, STATISTICS


def loaded_library():
    """The library that the package itself has loaded, wherever its wheel keeps it."""
    for line in Path("/proc/self/maps").read_text().splitlines():
        if "libQMX_IC" in line:
            return ctypes.CDLL(line.split(maxsplit=5)[5])
    raise RuntimeError("the package has not loaded its library")


LIBRARY = loaded_library()
i32, f64 = ctypes.c_int32, ctypes.c_double


def at(array):
    return ctypes.c_void_p(array.ctypes.data)


def call(name, *arguments):
    """What the function returns, and the message of its event."""
    event = np.zeros(520, np.uint8)
    function = getattr(LIBRARY, name)
    function.restype = i32
    plain = [at(one) if isinstance(one, np.ndarray) else one for one in arguments]
    returned = function(*plain) if name == "call_polycurvefit" else function(*plain, at(event))
    return returned, event[:256].tobytes().decode().strip()


def records(rows, rng, passes=1, spread=20.0):
    """Points at random places with random values."""
    made = np.zeros(rows, POINT)
    made["d_x"] = 421_500 + rng.uniform(0, spread, rows)
    made["d_y"] = 4_864_200 + rng.uniform(0, spread, rows)
    made["d_val"] = rng.gamma(20, 1.5, rows)
    made["i_passno"] = rng.integers(1, passes + 1, rows)
    return made


def statistics(points, pass_counts=False, below=False, target=None, percent=90.0, levels=(10, 90)):
    out = np.zeros(1, STATISTICS)
    out["i_flag_target"] = 2 if target is None else 1
    out["x_target"], out["x_target_pct"], out["x_pctlevel"] = target or 0, percent, levels
    returned, _ = call(
        "ICdata_stats", i32(1 if pass_counts else 2), i32(1 if below else 2), i32(points.size), points, out
    )
    assert returned == 1
    return out


def semivariogram(points, nlag, lag, azimuth, tolerance, bandwidth, standardise):
    settings = np.zeros(6, np.float32)
    settings[1:5] = lag, azimuth, tolerance, bandwidth
    settings.view(np.int32)[[0, 5]] = nlag, 1 if standardise else 2
    lags, curve, model, reading = np.zeros((2, nlag + 2)), np.zeros((2, 100)), np.zeros(2), np.zeros(4, np.float32)
    returned, text = call(
        "IC_semivariogram", i32(points.size), points, settings, lags[0], lags[1], model, curve[0], curve[1], reading
    )
    return returned, text, lags, curve, model, reading


def spot_tests(points, tests, radius):
    stats, line = np.zeros(tests.size, STATISTICS), np.zeros(3, np.float32)
    found, valid, predicted = np.zeros(1, np.int32), np.zeros(tests.size, np.int32), np.zeros(tests.size)
    returned, text = call(
        "IC_PointsData_stats", i32(points.size), i32(tests.size), f64(radius), points, tests, stats, line, found,
        valid, predicted,
    )
    return returned, text, stats, line, predicted


def coverage(counts, mesh, bins, areas):
    held = np.zeros(len(areas), np.dtype([("flags", "<i4", 2), ("x", "<f8", 10000), ("y", "<f8", 10000)]))
    for one, (outline, is_excluded) in zip(held, areas):
        one["flags"] = 1 if is_excluded else 2, len(outline)
        one["x"][: len(outline)], one["y"][: len(outline)] = np.array(outline).T
    points = np.zeros(len(counts), POINT)
    points["d_val"] = counts
    results = np.zeros((len(bins), 3), np.float32)
    returned, text = call(
        "IC_coverage", np.array(mesh, np.float32), i32(points.size), i32(len(bins)), i32(len(areas)),
        np.array(bins, np.int32), points, held, results,
    )
    assert returned == 1, text
    return results
