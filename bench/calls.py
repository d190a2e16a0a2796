"""Data and calls: each function makes the arguments of one export and returns them with `run`, which
takes a loaded library, makes that call and gives back what is compared."""

import ctypes
import os
import sys
from types import SimpleNamespace

for name in ("OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS", "NUMBA_NUM_THREADS"):
    os.environ.setdefault(name, "1")

import numpy as np  # noqa: E402  (after the thread settings)

ICDATA = np.dtype(
    {
        "names": ["d_x", "d_y", "d_val", "i_passno"],
        "formats": ["<f8", "<f8", "<f8", "<i4"],
        "offsets": [0, 8, 16, 24],
        "itemsize": 32,
    }
)
STATSOUT_BYTES = 2504
LEVELS_OFFSET = 2488
AREA_BYTES = 160008
EVENT_BYTES = 520


def load(build):
    try:
        return ctypes.CDLL(os.path.abspath(os.path.join(build, "libQMX_IC.so")))
    except OSError as failure:
        print(failure, file=sys.stderr)
        sys.exit(2)


def address(array):
    return ctypes.c_void_p(array.ctypes.data)


def event():
    return np.zeros(EVENT_BYTES, np.uint8)


def succeed(status, evt=None):
    if status != 1:
        text = evt[:256].tobytes().decode(errors="replace").rstrip() if evt is not None else ""
        raise RuntimeError(f"the call failed: {text}")


# ---- Points --------------------------------------------------------------------------------------


def strip(count, seed):
    """Points of a strip 12 m wide: lanes 0.5 m apart, a point every 0.3 m, a correlated value."""
    rng = np.random.default_rng(seed)
    lanes = 24
    along = -(-count // lanes)
    x = np.tile(np.arange(along) * 0.3, lanes)[:count] + rng.normal(0, 0.01, count)
    y = np.repeat(np.arange(lanes) * 0.5 + 0.25, along)[:count] + rng.normal(0, 0.01, count)
    return x, y, value_at(x, y, rng)


def lattice(count, passes, seed):
    """A strip 12 m wide of cells of 0.3 m, each with one record for every pass, pass after pass."""
    rng = np.random.default_rng(seed)
    cells, lanes = count // passes, 40
    along = -(-cells // lanes)
    x = np.tile(np.tile(np.arange(along) * 0.3, lanes)[:cells], passes)
    y = np.tile(np.repeat(np.arange(lanes) * 0.3, along)[:cells], passes)
    return x, y, value_at(x, y, rng)


def roller_cells(count, seed, drum=7, paths=6):
    """Cells of 0.3 m as a roller writes them: at each step all cells under the drum, up one path and
    down the next."""
    rng = np.random.default_rng(seed)
    along = count // (drum * paths)
    steps = [np.arange(along) if k % 2 == 0 else np.arange(along)[::-1] for k in range(paths)]
    x = np.concatenate([np.repeat(step, drum) for step in steps]) * 0.3
    y = np.concatenate([np.tile(np.arange(drum) + k * drum, along) for k in range(paths)]) * 0.3
    return x, y, value_at(x, y, rng)


def sorted_cells(count, seed):
    """The same cells, column by column."""
    columns = roller_cells(count, seed)
    listed = np.lexsort((columns[0], columns[1]))
    return [column[listed] for column in columns]


def value_at(x, y, rng):
    return 80 + 10 * np.sin(x / 15) * np.cos(y / 4) + rng.normal(0, 6, len(x))


def records(x, y, value, passes=1):
    points = np.zeros(len(x), ICDATA)
    points["d_x"], points["d_y"], points["d_val"], points["i_passno"] = x, y, value, passes
    return points


def outline(vertices, x, y):
    """A wavy ring round the middle of the points."""
    turn = np.linspace(0, 2 * np.pi, vertices, endpoint=False)
    swing = 1 + 0.1 * np.sin(17 * turn) + 0.02 * np.sin(61 * turn)
    center = (x.min() + x.max()) / 2, (y.min() + y.max()) / 2
    reach = 0.4 * (x.max() - x.min()), 0.4 * (y.max() - y.min())
    return center[0] + reach[0] * swing * np.cos(turn), center[1] + reach[1] * swing * np.sin(turn)


# ---- Exports -------------------------------------------------------------------------------------


def statistics(count):
    points = records(*strip(count, 1))
    out = np.zeros(STATSOUT_BYTES, np.uint8)
    out[LEVELS_OFFSET : LEVELS_OFFSET + 8] = np.array([10, 90], "<f4").view(np.uint8)
    evt = event()

    def run(library):
        succeed(library.ICdata_stats(2, 2, count, address(points), address(out), address(evt)), evt)
        return out[12:72].view("<f4").copy()  # mean, variance, deviation, skewness, excess, ...

    return SimpleNamespace(points=points, run=run)


def circle(count):
    x, y, _ = strip(count, 2)
    center = np.array([x.mean(), y.mean()])
    radius = 0.25 * (x.max() - x.min())
    found, indices, evt = np.zeros(1, np.int32), np.zeros(count, np.int32), event()

    def run(library):
        succeed(library.find_points_in_circle(
            count, ctypes.c_double(radius), address(center), address(x), address(y),
            address(found), address(indices), address(evt),
        ), evt)  # fmt: skip
        return indices[: found[0]]

    return SimpleNamespace(x=x, y=y, center=center, radius=radius, run=run)


def polygon(count, vertices):
    x, y, _ = strip(count, 3)
    vx, vy = outline(vertices, x, y)
    found, indices, evt = np.zeros(1, np.int32), np.zeros(count, np.int32), event()

    def run(library):
        succeed(library.find_points_in_polygon(
            vertices, count, address(vx), address(vy), address(x), address(y),
            address(found), address(indices), address(evt),
        ), evt)  # fmt: skip
        return indices[: found[0]]

    return SimpleNamespace(x=x, y=y, vx=vx, vy=vy, run=run)


def coverage(count, bins):
    """Pass counts from 0 to just beyond the last of equal bins."""
    width = 1 if bins > 20 else 4
    limits = np.array([[1 + k * width, (k + 1) * width] for k in range(bins)], np.int32)
    points = np.zeros(count, ICDATA)
    points["d_val"] = np.random.default_rng(4).integers(0, bins * width + 2, count)
    area = np.zeros(AREA_BYTES, np.uint8)
    area[:8] = np.array([2, 4], np.int32).view(np.uint8)
    area[8:40] = np.array([0, 100, 100, 0], "<f8").view(np.uint8)
    area[8 + 80000 : 40 + 80000] = np.array([0, 0, 100, 100], "<f8").view(np.uint8)
    mesh, results, evt = np.ones(2, np.float32), np.zeros((bins, 3), np.float32), event()

    def run(library):
        succeed(library.IC_coverage(
            address(mesh), count, bins, 1, address(limits), address(points), address(area),
            address(results), address(evt),
        ), evt)  # fmt: skip
        return results[:, 1].astype(np.int64)

    return SimpleNamespace(points=points, limits=limits, bins=bins, run=run)


def compaction(count):
    x, y, value = strip(count, 5)
    last = min(12, max(2, count // 300))  # a pass with few points ends the curve
    passes = np.random.default_rng(5).integers(1, last + 1, count)
    points = records(x, y, value + 20 * (1 - np.exp(-(passes - 1) / 1.5)), passes)
    number, means = np.zeros(1, np.int32), np.zeros(12)
    curve, fit, evt = np.zeros((2, 100)), np.zeros(48, np.uint8), event()

    def run(library):
        succeed(library.IC_compact_curve_b(
            last, 0, count, address(points), address(number), address(means),
            address(curve[0]), address(curve[1]), address(fit), address(evt),
        ), evt)  # fmt: skip
        return curve[1].copy()

    return SimpleNamespace(points=points, last=last, run=run)


def polynomial(count, degree, order):
    rng = np.random.default_rng(degree)
    x = np.sort(rng.uniform(0, 10, count)).astype(np.float32)
    if order == "shuffled":
        rng.shuffle(x)
    y = (30 + 4 * np.sin(x) + rng.normal(0, 1, count)).astype(np.float32)
    curve = np.zeros((2, 100), np.float32)

    def run(library):
        succeed(library.call_polycurvefit(
            count, degree, address(x), address(y), address(curve[0]), address(curve[1])
        ))  # fmt: skip
        return curve[1].copy()

    return SimpleNamespace(x=x, y=y, degree=degree, run=run)


def spots(count, tests):
    x, y, value = strip(count, 6)
    rng = np.random.default_rng(6)
    places = rng.uniform(x.min(), x.max(), tests), rng.uniform(y.min(), y.max(), tests)
    points, spot = records(x, y, value), records(*places, rng.normal(40, 5, tests), -1)
    out, line = np.zeros((tests, STATSOUT_BYTES), np.uint8), np.zeros(3, np.float32)
    valid, positions, predicted = np.zeros(1, np.int32), np.zeros(tests, np.int32), np.zeros(tests)
    evt = event()

    def run(library):
        succeed(library.IC_PointsData_stats(
            count, tests, ctypes.c_double(1.0), address(points), address(spot), address(out),
            address(line), address(valid), address(positions), address(predicted), address(evt),
        ), evt)  # fmt: skip
        return out[:, 8:12].copy().view("<i4").ravel()  # points round each test

    return SimpleNamespace(points=points, spots=spot, radius=1.0, run=run)


def semivariogram(columns, reach, lags=20, azimuth=90, tolerance=90, bandwidth=1e9):
    """Positions and values are 32-bit numbers, so that peers in f64 see the very same data."""
    columns = [np.asarray(column, np.float32) for column in columns]
    points = records(*columns)
    lag = float(np.float32(reach / (lags + 0.5)))
    settings = np.zeros(1, [("nlag", "<i4"), ("real", "<f4", 4), ("standardise", "<i4")])
    settings[0] = (lags, (lag, azimuth, tolerance, bandwidth), 2)
    distance, gamma = np.zeros(lags + 2), np.zeros(lags + 2)
    model, curve, summary, evt = np.zeros(2), np.zeros((2, 100)), np.zeros(4, np.float32), event()

    def run(library):
        # A fit that fails leaves the lag classes, which are what is compared.
        library.IC_semivariogram(
            len(points), address(points), address(settings), address(distance), address(gamma),
            address(model), address(curve[0]), address(curve[1]), address(summary), address(evt),
        )  # fmt: skip
        if not distance.any():
            succeed(3, evt)
        return gamma.copy()

    x, y, value = (column.astype(np.float64) for column in columns)
    return SimpleNamespace(
        points=points, x=x, y=y, value=value, lag=lag, lags=lags, reach=(lags + 0.5) * lag, run=run
    )


def strip_semivariogram(count, kind, order="lanes", **direction):
    """Within 10 m; within half the strip's length, which holds three quarters of all pairs; or all."""
    columns = strip(count, 7)
    length, width = np.ptp(columns[0]), np.ptp(columns[1])
    reach = {"local": 10, "global": length / 2, "all pairs": 1.01 * np.hypot(length, width)}[kind]
    listed = {
        "lanes": lambda: slice(None),
        "two rollers in turn": lambda: np.arange(count).reshape(2, -1).T.ravel(),
        "by columns": lambda: np.argsort(columns[0], kind="stable"),
        "shuffled": lambda: np.random.default_rng(1).permutation(count),
    }[order]()
    return semivariogram([column[listed] for column in columns], reach, **direction)
