"""What the package adds to a call of the library: `python bench/python_calls.py` where qmx_ic is installed.

For each function with few points: a call of the package less the bare call, which is made with all
arguments at hand, less what ctypes takes for as many of them. And for a million
rows: how long the columns of a DataFrame take to become records.
"""

import ctypes
import statistics
import sys
import time
import warnings
from pathlib import Path

import numpy as np

import qmx_ic

sys.path.insert(0, str(Path(__file__).parents[1] / "python/tests/exports"))
from library import LIBRARY, at as address  # noqa: E402

warnings.simplefilter("ignore")
ROUNDS, CALLS = 301, 50


def microseconds_of(call):
    begin = time.thread_time_ns()  # without what other work on the machine takes
    for _ in range(CALLS):
        call()
    return (time.thread_time_ns() - begin) / CALLS / 1000


def compared(package, bare_call, empty_call):
    """Medians over rounds that take all three in turn, so that other work meets them alike: the package,
    the bare call, and what the package adds, each in microseconds."""
    rounds = []
    for _ in range(ROUNDS):
        ours, theirs = microseconds_of(package), microseconds_of(bare_call) - microseconds_of(empty_call)
        rounds.append((ours, theirs, ours - theirs))
    return [statistics.median(column) for column in zip(*rounds)]


def bare(name, *arguments):
    """A call with all arguments made beforehand, less what ctypes itself takes for as many of them."""
    function = getattr(LIBRARY, name)
    function.restype = ctypes.c_int32
    nothing = ctypes.CDLL(None).abs  # returns at once
    nothing.restype = ctypes.c_int32
    return lambda: function(*arguments), lambda: nothing(*arguments)


def cases(rng):
    n = 10
    east, north = rng.uniform(0, 5, n), rng.uniform(0, 5, n)
    value, passes = rng.normal(30, 4, n), np.ones(n, np.int64)
    lot = {"x": east, "y": north, "value": value, "pass": passes}
    records = qmx_ic.to_records(lot)
    pairs32 = east.astype(np.float32), value.astype(np.float32)
    f8, f4, i4, event = np.zeros(500), np.zeros(500, np.float32), np.zeros(500, np.int32), np.zeros(520, np.uint8)
    more_f8, more_f4, stats = np.zeros(500), np.zeros(500, np.float32), np.zeros(20, qmx_ic.STATISTICS)
    i32, f64 = ctypes.c_int32, ctypes.c_double
    held = [east, north, value, records, *pairs32, f8, f4, i4, event, more_f8, more_f4, stats]

    many = np.repeat(records, 30)
    many["d_val"] = rng.normal(30, 4, many.size)
    many["i_passno"] = np.repeat([1, 2, 3], 100)
    fit = np.zeros(48, np.uint8)
    yield (
        "statistics", lambda: qmx_ic.statistics(value),
        bare("ICdata_stats", i32(2), i32(2), i32(n), address(records), address(stats), address(event)),
    )
    yield (
        "compaction_curve", lambda: qmx_ic.compaction_curve(many),
        bare("IC_compact_curve_b", i32(3), i32(100), i32(300), address(many), address(i4), address(f8[:3]),
             address(f8[100:]), address(f8[200:]), address(fit), address(event)),
    )
    yield (
        "polynomial_curve", lambda: qmx_ic.polynomial_curve(x=east, y=value),
        bare("call_polycurvefit", i32(n), i32(2), address(pairs32[0]), address(pairs32[1]), address(f4), address(more_f4)),
    )
    local = records.copy()
    local["d_x"] -= 2
    local["d_y"] -= 2
    settings = np.zeros(6, np.float32)
    settings[1:5] = 1, 0, 90, 7
    settings.view(np.int32)[[0, 5]] = 5, 2
    yield (
        "semivariogram", lambda: qmx_ic.semivariogram(lot, lag=1, nlag=5, origin=(2.0, 2.0)),
        bare("IC_semivariogram", i32(n), address(local), address(settings), address(f8), address(more_f8),
             address(f8[100:]), address(f8[200:]), address(more_f8[200:]), address(f4), address(event)),
    )
    center = np.array([2.0, 2.0])
    yield (
        "points_in_circle", lambda: qmx_ic.points_in_circle(lot, center=(2.0, 2.0), radius=1.5),
        bare("find_points_in_circle", i32(n), f64(1.5), address(center), address(east), address(north),
             address(i4[:1]), address(i4[10:]), address(event)),
    )
    square = np.array([(1.0, 1.0), (3.0, 1.0), (3.0, 3.0), (1.0, 3.0)])
    vx, vy = np.ascontiguousarray(square[:, 0]), np.ascontiguousarray(square[:, 1])
    yield (
        "points_in_polygon", lambda: qmx_ic.points_in_polygon(lot, polygon=square),
        bare("find_points_in_polygon", i32(4), i32(n), address(vx), address(vy), address(east),
             address(north), address(i4[:1]), address(i4[10:]), address(event)),
    )
    tests = records[:4].copy()
    yield (
        "spot_tests", lambda: qmx_ic.spot_tests(records, tests, radius=4.0),
        bare("IC_PointsData_stats", i32(n), i32(4), f64(4.0), address(records), address(tests), address(stats),
             address(f4), address(i4), address(i4[10:]), address(f8), address(event)),
    )
    counts = rng.integers(1, 4, n).astype(float)
    counted = qmx_ic.to_records(value=counts)
    area = np.zeros(160008, np.uint8)
    area[:8].view(np.int32)[:] = 2, 4
    area[8:40].view(np.float64)[:] = vx
    area[80008:80040].view(np.float64)[:] = vy
    mesh, bins = np.ones(2, np.float32), np.array([(1, 2), (3, -1)], qmx_ic.PASS_BIN)
    held += [local, settings, center, square, vx, vy, tests, many, fit, counted, area, mesh, bins]
    yield (
        "coverage", lambda: qmx_ic.coverage(counts, area=square, mesh=1.0, bins=[(1, 2), (3, None)]),
        bare("IC_coverage", address(mesh), i32(n), i32(2), i32(1), address(bins), address(counted), address(area),
             address(f4), address(event)),
    )


def main():
    rng = np.random.default_rng(1)
    worst = 0.0
    print(f"{'microseconds':20}{'package':>9}{'bare':>9}{'added':>9}")
    for name, ours, (bare_call, empty_call) in cases(rng):
        assert bare_call() == 1, name
        package, call, added = compared(ours, bare_call, empty_call)
        worst = max(worst, added)
        print(f"{name:20}{package:9.2f}{call:9.2f}{added:9.2f}")
    try:
        import pandas
    except ImportError:
        sys.exit("pandas is not installed: no million rows")
    n = 1_000_000
    table = pandas.DataFrame(
        {
            "x": rng.uniform(0, 1e3, n),
            "y": rng.uniform(0, 1e3, n),
            "value": rng.normal(30, 4, n),
            "pass": rng.integers(1, 8, n),
        }
    )
    times = []
    for _ in range(15):
        begin = time.perf_counter()
        qmx_ic.to_records(table)
        times.append(1000 * (time.perf_counter() - begin))
    print(f"a million rows to records: {statistics.median(times):.1f} ms (least {min(times):.1f})")
    print(f"most added to a call: {worst:.2f} microseconds")


if __name__ == "__main__":
    main()
