"""One call of each function, with results in which anything left over from another call would show.

`python calls.py NAME` prints the digest of one of them, made in a process of its own.
"""

import hashlib
import sys
import warnings

import numpy as np

import library
import qmx_ic

warnings.simplefilter("ignore")
SQUARE = [(421_502.0, 4_864_202.0), (421_515.0, 4_864_203.0), (421_512.0, 4_864_216.0)]


def spots(min_ic):
    rng = np.random.default_rng(11)
    lot = library.records(150, rng)
    tests = lot[:12].copy()
    tests["d_val"] *= 2
    tests["d_x"][:3] += [5000, 6000, 7000]  # one value, constant values, none
    lone = tests[:3].copy()
    lone["d_val"] = 31.0
    lone["d_x"][2] = lone["d_x"][1]
    lone["d_y"][2] = lone["d_y"][1]
    return qmx_ic.spot_tests(np.concatenate([lone, lot]), tests, radius=3.0, min_ic=min_ic)


def failing(call):
    try:
        call()
    except qmx_ic.QmxIcError as error:
        return error
    raise AssertionError("the call should have failed")


def lot(seed, rows=300, passes=1):
    return library.records(rows, np.random.default_rng(seed), passes)


PASSES = lot(2, 600, 4)
PASSES["d_val"] *= 1 - np.exp(-PASSES["i_passno"])
NEARLY_EMPTY = np.array([np.nan, 4.0, np.nan, np.nan])

CALLS = {
    "statistics": lambda: qmx_ic.statistics(lot(1), target=30),
    "constant": lambda: qmx_ic.statistics([5.0] * 9, target=4),
    "pass_counts": lambda: qmx_ic.statistics([1, 2, 2, 3], pass_counts=True, target=2),
    "one_value": lambda: failing(lambda: qmx_ic.statistics(NEARLY_EMPTY)),
    "too_many_passes": lambda: failing(lambda: qmx_ic.statistics([1, 2, 300], pass_counts=True)),
    "compaction_curve": lambda: qmx_ic.compaction_curve(PASSES),
    "two_passes": lambda: failing(lambda: qmx_ic.compaction_curve(lot(3, 400, 2))),
    "one_pass": lambda: failing(lambda: qmx_ic.compaction_curve(lot(3, 400, 1))),
    "no_pass_one": lambda: failing(lambda: qmx_ic.compaction_curve(value=[1.0] * 200, pass_=[2] * 200)),
    "polynomial_curve": lambda: qmx_ic.polynomial_curve(x=[1, 2, 4, 5, 7], y=[3, 4, 4.5, 4, 9], degree=3),
    "no_polynomial": lambda: failing(lambda: qmx_ic.polynomial_curve(x=[1, 2, 3], y=[4, 4, 4])),
    "semivariogram": lambda: qmx_ic.semivariogram(lot(4), lag=1.5, nlag=6),
    "no_fit": lambda: failing(lambda: qmx_ic.semivariogram(x=[0, 1, 2], y=[0, 0, 0], value=[1, 1, 1], lag=1, nlag=3)),
    "points_in_circle": lambda: qmx_ic.points_in_circle(lot(5), center=SQUARE[0], radius=9),
    "points_in_polygon": lambda: qmx_ic.points_in_polygon(lot(5), polygon=SQUARE),
    "spot_tests": lambda: spots(2),
    "spot_tests_of_one_value": lambda: spots(1),
    "too_few_tests": lambda: failing(lambda: qmx_ic.spot_tests(lot(6), lot(6)[:2], radius=2.0)),
    "coverage": lambda: qmx_ic.coverage([1, 2, 2, 3], area=SQUARE, mesh=0.3, target_passes=2),
    "sliver": lambda: failing(
        lambda: qmx_ic.coverage([1], area=[(0, 0), (1, 0), (2, 0)], mesh=0.3)
    ),
}


def everything_in(result):
    if isinstance(result, qmx_ic.QmxIcError):
        return [str(result), everything_in(result.results)]
    if result is None:
        return []
    held = [getattr(result, name) for name in type(result).__slots__]
    return [bytes(one) if isinstance(one, bytearray) else one.tobytes() if isinstance(one, np.ndarray) else one for one in held]


def digest(name):
    return hashlib.sha256(repr(everything_in(CALLS[name]())).encode()).hexdigest()


if __name__ == "__main__":
    print(digest(sys.argv[1]))
