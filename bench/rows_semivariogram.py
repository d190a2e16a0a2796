"""Rows of bench/compare about the semivariogram: beside its peers, beside itself on other data, and
the memory it takes."""

import ctypes
import gc
import os
import statistics
import subprocess
import sys

import numpy as np

import calls
import peers
from calls import address
from timing import Row, measure, points

# Up to here peers run by default; with everything asked for, up to the second number.
LIMITS = {
    "numba double loop": (100_000, 100_000),
    "plain loop": (10_000, 1_000_000),
    "gstat": (50_000, 1_000_000),
}
SIZES = {"local": (10_000, 100_000, 1_000_000), "global": (10_000, 50_000, 100_000)}
ORDERS = ("two rollers in turn", "by columns", "shuffled")  # than lane by lane


def close(ours, theirs):
    """A pair within the last place of a class border may lie on its other side in f64."""
    return np.allclose(ours, theirs, rtol=2e-4)


def every_pair_rows(everything, most, note):
    return rows_of({"all pairs": SIZES["global"]}, everything, most, note)


def semivariogram_rows(everything, most, note):
    yield from rows_of(SIZES, everything, most, note)
    yield from rows_of({"local": SIZES["local"][:2]}, everything, most, note, lags=98)
    count = min(100_000, most)
    for order in ORDERS:
        call = calls.strip_semivariogram(count, "local", order)
        them = {label: run for label, run in semivariogram_peers(call, "local") if label == "nanoflann"}
        yield Row(f"semivariogram, {order}", count, call.run, them, close)


def rows_of(kinds, everything, most, note, lags=20):
    for kind, sizes in kinds.items():
        for count in (size for size in sizes if size <= most):
            call = calls.strip_semivariogram(count, kind, lags=lags)
            them = dict(semivariogram_peers(call, kind))
            for label, limits in LIMITS.items():
                if label in them and count > limits[everything]:
                    del them[label]
                    note("Not run for their time", f"{label}, {kind}, {points(count)}")
            if "gstat" in them:
                them["gstat"] = peers.Gstat(call)
            name = f"semivariogram, {kind}" if lags == 20 else f"semivariogram, {kind}, {lags} lags"
            yield Row(name, count, call.run, them, close)


def semivariogram_peers(call, kind):
    count, gamma = len(call.points), np.zeros(call.lags + 2)
    loop = peers.numba_double_loop()
    if loop:
        yield "numba double loop", lambda: loop(call.x, call.y, call.value, call.lag, call.lags)

    def compiled(function):
        def run():
            function(count, address(call.points), call.lags, real(call.lag), address(gamma))
            return gamma

        real = ctypes.c_float if function.__name__ == "plain_semivariogram" else ctypes.c_double
        return run

    # Where most pairs are in reach a tree has nothing to skip.
    if kind == "local" and "peer_nanoflann" in peers.compiled:
        yield "nanoflann", compiled(peers.compiled["peer_nanoflann"].nanoflann_semivariogram)
    if peers.gstat_is_there():
        yield "gstat", None
    if "plain_loops" in peers.compiled:
        yield "plain loop", compiled(peers.compiled["plain_loops"].plain_semivariogram)


# ---- Beside itself -------------------------------------------------------------------------------


def pairs_in_reach(call):
    """Distinct pairs of points within reach, coincident ones among them."""
    tree = peers.scipy.spatial.cKDTree(np.column_stack((call.x, call.y)))
    return (int(tree.count_neighbors(tree, call.reach)) - len(call.x)) // 2


def directional_calls(count):
    yield "strip, every direction", calls.strip_semivariogram(count, "local")
    for name, value in (("trimmed", 2e21), ("NaN", np.nan)):
        call = calls.strip_semivariogram(count, "local")
        call.points["d_val"][::1000] = value
        yield f"every direction, 0.1 % {name}", call
    for name, azimuth, bandwidth in (("along the strip", 90, 1e9), ("oblique, band of 3 m", 30, 3)):
        yield name, calls.strip_semivariogram(
            count, "local", azimuth=azimuth, tolerance=22.5, bandwidth=bandwidth
        )


def lattice_calls(count):
    yield "strip", calls.strip_semivariogram(count, "local")
    for passes in (1, 4):
        for lag in (0.6, 0.5):
            name = f"cells of 0.3 m, {'four passes, ' if passes > 1 else ''}lag {lag} m"
            yield name, calls.semivariogram(calls.lattice(count, passes, 8), 20.5 * lag)
    for lag in (0.6, 0.5):
        for name, cells in (("row by row", calls.sorted_cells), ("as a roller writes", calls.roller_cells)):
            yield f"cells {name}, lag {lag} m", calls.semivariogram(cells(count, 8), 20.5 * lag)
    for order in ORDERS:
        yield f"strip, {order}", calls.strip_semivariogram(count, "local", order)


def against_itself(library, named_calls, runs, patience, by_pair):
    """Rows of name, points, median, pairs in reach, seconds a pair, and ratio to the first row."""
    named_calls = dict(named_calls)
    contenders = {n: (lambda c=c: c.run(library)) for n, c in named_calls.items()}
    medians = {n: statistics.median(t) for n, t in measure(contenders, runs, patience).items()}
    base = None
    for name, call in named_calls.items():
        pairs = pairs_in_reach(call)
        weight = medians[name] / pairs if by_pair else medians[name]
        base = base or weight
        yield name, len(call.x), medians[name], pairs, medians[name] / pairs, weight / base


# ---- Memory --------------------------------------------------------------------------------------


def memory_rows(build, everything, most):
    """What a call takes beyond its input, measured in a process of its own: name, points, bytes."""
    there = {
        "library": lambda kind, count: True,
        "nanoflann": lambda kind, count: kind != "global" and "peer_nanoflann" in peers.compiled,
        "gstat": lambda kind, count: kind in SIZES
        and count <= min(100_000, LIMITS["gstat"][everything])
        and peers.gstat_is_there(),
    }
    scattered = {"shuffled": (min(100_000, most),)}
    for kind, sizes in (SIZES | scattered).items():
        for count in (size for size in sizes if size <= most):
            for who in (who for who, is_there in there.items() if is_there(kind, count)):
                ask = [sys.executable, os.path.abspath(__file__), build, who, kind, str(count)]
                told = subprocess.run(ask, capture_output=True, text=True, check=True).stdout
                yield f"semivariogram, {kind}", count, who, float(told) / count


def resident(name):
    with open("/proc/self/status") as lines:
        return 1024 * int(next(line for line in lines if line.startswith(name)).split()[1])


def peak_beyond_input(build, who, kind, count):
    peers.load_compiled(build)
    call = (
        calls.strip_semivariogram(count, kind)
        if kind in SIZES
        else calls.strip_semivariogram(count, "local", order=kind)
    )
    if who == "gstat":
        process = peers.Gstat(call)
        print(process.run()[2])
        process.close()
        return
    library = calls.load(build)
    run = {"library": lambda c: c.run(library)}
    if who == "nanoflann":
        run["nanoflann"] = lambda c: dict(semivariogram_peers(c, "local"))["nanoflann"]()
    run[who](calls.strip_semivariogram(500, "local"))  # its code is in memory
    del call.x, call.y, call.value
    gc.collect()
    ctypes.CDLL(None).malloc_trim(0)
    before = resident("VmRSS")
    with open("/proc/self/clear_refs", "w") as file:
        file.write("5")  # the peak starts anew
    run[who](call)
    print(resident("VmHWM") - before)


if __name__ == "__main__":
    peak_beyond_input(*sys.argv[1:4], int(sys.argv[4]))
