"""Prints a hash over the results of some thousand random calls of all eight functions of a library.

python hash_of_calls.py path/to/libQMX_IC.so
"""

import ctypes
import hashlib
import sys

import numpy as np

RECORD = np.dtype({"names": ["x", "y", "value", "pass"], "formats": ["<f8", "<f8", "<f8", "<i4"], "itemsize": 32})
AREA = np.dtype([("excluded", "<i4"), ("count", "<i4"), ("x", "<f8", 10000), ("y", "<f8", 10000)])
STATISTICS = np.dtype([("flags", "<i4", 3), ("all", "<f4", 15), ("bins", "<i4"), ("classes", "<f4", 600), ("targets", "<f4", 7)])
assert RECORD.itemsize == 32 and AREA.itemsize == 160008 and STATISTICS.itemsize == 2504


class Calls:
    """Calls with all outputs filled alike beforehand, so that what is left alone counts too."""

    def __init__(self, name: str) -> None:
        self.library = ctypes.CDLL(name)
        self.hash = hashlib.sha256()
        self.event = np.zeros(520, np.uint8)
        self.ends = {1: 0, 3: 0}

    def __call__(self, name: str, *arguments: object, outputs: tuple[np.ndarray, ...], event: bool = True) -> None:
        self.event[:] = 7
        passed = [each.ctypes.data_as(ctypes.c_void_p) if isinstance(each, np.ndarray) else each for each in arguments]
        if event:
            passed.append(self.event.ctypes.data_as(ctypes.c_void_p))
        end = getattr(self.library, name)(*passed)
        self.ends[end] += 1
        self.hash.update(bytes([end]))
        for each in (*outputs, self.event):
            self.hash.update(each.tobytes())


def lot(random: np.random.Generator, count: int) -> np.ndarray:
    made = np.zeros(count, RECORD)
    made["x"] = random.uniform(0, 30, count).round(random.integers(0, 4))
    made["y"] = random.uniform(0, 12, count).round(2)
    made["value"] = random.normal(random.uniform(-5, 90), random.choice([0, 0.01, 7]), count)
    made["pass"] = np.minimum(random.geometric(0.4, count), 9)
    made["value"] += 3 * np.log(made["pass"]) + made["x"] / 4
    if random.random() < 0.1:
        made["value"][random.integers(0, count)] = random.choice([np.nan, np.inf, 1e38])
    return made


def sevens(count: int, kind: type = np.float64) -> np.ndarray:
    return np.full(count, 7, kind)


def main() -> None:
    call = Calls(sys.argv[1])
    random = np.random.default_rng(18)
    number = ctypes.c_double
    for _ in range(500):
        points = lot(random, int(random.integers(2, 900)))
        count = len(points)
        out = np.frombuffer(bytearray(STATISTICS.itemsize), STATISTICS)
        out["flags"][0, 0] = random.integers(0, 3)
        out["targets"] = random.uniform(5, 95, 7)
        call("ICdata_stats", int(random.integers(0, 3)), int(random.integers(0, 3)), count, points, out, outputs=(out,))

        passes, means, curve, fit = sevens(1, np.int32), sevens(12), sevens(200), sevens(12, np.float32)
        many = np.tile(points, 1 + 1500 // count)
        call("IC_compact_curve_b", 12, 50, len(many), many, passes, means, curve[:100], curve[100:], fit,
             outputs=(passes, means, curve, fit))  # fmt: skip

        xs, ys = points["x"].astype(np.float32), points["value"].astype(np.float32)
        line = sevens(200, np.float32)
        call("call_polycurvefit", count, int(random.integers(0, 10)), xs, ys, line[:100], line[100:],
             outputs=(line,), event=False)  # fmt: skip

        center, found, indices = random.uniform(0, 20, 2), sevens(1, np.int32), sevens(count, np.int32)
        x, y = points["x"].copy(), points["y"].copy()
        call("find_points_in_circle", count, number(random.uniform(0, 9)), center, x, y, found, indices,
             outputs=(found, indices))  # fmt: skip

        corners = int(random.integers(0, 9))
        vertices = random.uniform(0, 25, (2, corners)).round(1)
        call("find_points_in_polygon", corners, count, vertices[0].copy(), vertices[1].copy(), x, y, found, indices,
             outputs=(found, indices))  # fmt: skip

        tests = lot(random, int(random.integers(2, 12)))
        tests["pass"][random.random(len(tests)) < 0.5] = -1
        rows = np.frombuffer(bytearray(STATISTICS.itemsize * len(tests)), STATISTICS)
        regression, valid, listed, predicted = sevens(3, np.float32), sevens(1, np.int32), sevens(12, np.int32), sevens(12)
        call("IC_PointsData_stats", count, len(tests), number(random.uniform(0.5, 6)), points, tests, rows, regression,
             valid, listed, predicted, outputs=(rows, regression, valid, listed, predicted))  # fmt: skip

        areas = np.zeros(int(random.integers(0, 3)), AREA)
        for area in areas:
            area["excluded"], area["count"] = random.integers(1, 3), random.integers(3, 8)
            area["x"][:8], area["y"][:8] = random.uniform(0, 30, (2, 8))
        bins = np.sort(random.integers(1, 9, (3, 2)), axis=1).astype(np.int32)
        mesh, results = np.array([0.3, 0.34], np.float32), sevens(9, np.float32)
        call("IC_coverage", mesh, count, 3, len(areas), bins, points, areas, results, outputs=(results,))

        few = points[:300].copy()
        settings = np.zeros(1, np.dtype("<i4, <f4, <f4, <f4, <f4, <i4"))
        settings[0] = (random.integers(1, 40), random.uniform(0.2, 2), random.uniform(0, 180), random.choice([20, 90]),
                       random.choice([2, 60]), random.integers(1, 3))  # fmt: skip
        lags, model, reading = sevens(200), sevens(202), sevens(4, np.float32)
        call("IC_semivariogram", len(few), few, settings, lags[:100], lags[100:], model[:2], model[2:102], model[102:],
             reading, outputs=(lags, model, reading))  # fmt: skip
    print(call.hash.hexdigest(), call.ends[1], call.ends[3])


if __name__ == "__main__":
    main()
