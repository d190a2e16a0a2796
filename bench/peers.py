"""The peers that are there: nothing is installed, what is missing is left out of the tables.

Python's own come from Debian's python3-numpy, python3-scipy, python3-numba and python3-shapely; the
compiled ones are small libraries that the target `peers` builds; R's is r-cran-gstat.
"""

import ctypes
import os
import shutil
import subprocess
import tempfile
import time

import numpy as np

from calls import address

try:
    import scipy.spatial
    import scipy.stats
except ImportError:
    scipy = None
try:
    import shapely.geometry
    import shapely.vectorized
except ImportError:
    shapely = None
try:
    import numba
except ImportError:
    numba = None

COMPILED = {
    "plain_loops": "plain loops",
    "peer_nanoflann": "nanoflann",
    "peer_geos": "GEOS",
    "peer_gsl": "GSL",
}
compiled = {}


def load_compiled(build):
    for name in COMPILED:
        try:
            compiled[name] = ctypes.CDLL(os.path.join(build, "bench", f"lib{name}.so"))
        except OSError:
            pass


def names():
    found = [f"{m.__name__} {m.__version__}" for m in (np, scipy, shapely, numba) if m]
    found += [COMPILED[name] for name in compiled]
    return found + (["R with gstat"] if gstat_is_there() else [])


# ---- The double loop, compiled by numba ----------------------------------------------------------


def double_loop(x, y, value, lag, lags):
    """All pairs; the class by one product, and nothing but the test for a pair out of reach."""
    pairs, squares = np.zeros(lags + 2), np.zeros(lags + 2)
    reach, per_lag = ((lags + 0.5) * lag) ** 2, 1 / lag
    for i in range(len(x)):
        x_i, y_i, value_i = x[i], y[i], value[i]
        for j in range(i + 1, len(x)):
            dx, dy = x[j] - x_i, y[j] - y_i
            squared = dx * dx + dy * dy
            if squared < reach:
                k = int(np.sqrt(squared) * per_lag + 0.5) + 1
                difference = value_i - value[j]
                pairs[k] += 1
                squares[k] += difference * difference
    return squares / (2 * np.maximum(pairs, 1))


compiled_loop = None


def numba_double_loop():
    """Compiled on first use, before anything is timed; fast arithmetic is its best setting."""
    global compiled_loop
    if numba and compiled_loop is None:
        compiled_loop = numba.njit(fastmath=True)(double_loop)
        few = np.arange(3.0)
        compiled_loop(few, few, few, 1.0, 5)
    return compiled_loop


# ---- gstat ---------------------------------------------------------------------------------------

RSCRIPT = shutil.which("Rscript")
gstat_found = None


def gstat_is_there():
    global gstat_found
    if gstat_found is None:
        ask = [RSCRIPT, "-e", "q(status = !requireNamespace('gstat', quietly = TRUE))"]
        gstat_found = bool(RSCRIPT) and subprocess.run(ask, capture_output=True).returncode == 0
    return gstat_found


class Gstat:
    """R with the points in its memory: each run is one call of variogram(), timed inside R."""

    def __init__(self, call):
        self.lag, self.classes = call.lag, call.lags + 2
        with tempfile.NamedTemporaryFile(suffix=".bin", delete=False) as file:
            np.array([len(call.x), call.lag, call.lags], "<f8").tofile(file)
            for column in (call.x, call.y, call.value):
                column.tofile(file)
        script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "gstat_peer.R")
        self.process = subprocess.Popen(
            [RSCRIPT, "--vanilla", script, file.name],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
        )  # fmt: skip
        self.read("ready")
        os.remove(file.name)

    def read(self, expected):
        word, *numbers = self.process.stdout.readline().split()
        assert word == expected, word
        return np.array(numbers, float)

    def run(self):
        """Seconds of processor time, semivariances by lag class, peak bytes beyond the input."""
        self.process.stdin.write("run\n")
        self.process.stdin.flush()
        seconds, peak = self.read("took")
        at, gamma = self.read("distance"), np.zeros(self.classes)
        gamma[(at / self.lag + 0.5).astype(int) + 1] = self.read("gamma")
        return seconds, gamma, peak

    def close(self):
        self.process.stdin.close()
        self.process.wait()


# ---- Clock ---------------------------------------------------------------------------------------


def timed(run):
    """Seconds of processor time and result of one run."""
    if isinstance(run, Gstat):
        return run.run()[:2]
    start = time.process_time()
    result = run()
    return time.process_time() - start, result


def compiled_selection(function, *arguments, count):
    """A compiled peer that writes the positions of selected points."""
    function.restype = ctypes.c_int32
    indices = np.zeros(count, np.int32)

    def run():
        return indices[: function(*arguments, address(indices))]

    return run
