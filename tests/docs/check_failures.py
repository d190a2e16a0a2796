"""Provokes every failure that the public header lists, by its cause, and compares text and code. Then calls
with odd arguments of all kinds: none may fail with a text that the header does not list.

    check_failures.py path/to/libQMX_IC.so"""

import math
import pathlib
import random
import re
import sys
from ctypes import c_double, c_float, c_int32

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "examples"))
import qmx_ctypes as ic  # noqa: E402

library = ic.load(sys.argv[1])
event = ic.t_event()
UNTOUCHED = -7.0


def listed():
    """Text and code of each failure, by function; for call_polycurvefit the cause stands for the text."""
    header = (ROOT / "include" / "qmx_ic.h").read_text()
    found = {}
    for comment, name in re.findall(r"/\*\*((?:(?!\*/).)*)\*/\nQMX_IC_API int32_t (\w+)\(", header, re.S):
        failures = re.sub(r"\n \* *", " ", comment).split("\\par Failures")[1].split("\\par ")[0]
        found[name] = {(text, int(code or 0)) for text, code in re.findall(r"- `\"?(.*?)\"?`(?: \((\d+)\))?:", failures)}
    return found


def points(values, passes=1):
    rows = [(0.5 * (i % 10), 0.5 * (i // 10), value, passes if isinstance(passes, int) else passes[i])
            for i, value in enumerate(values)]  # fmt: skip
    return (ic.t_icdata * len(rows))(*rows)


def statistics(flag, values):
    return library.ICdata_stats(flag, ic.NO, len(values), points(values), ic.t_statsout(), event)


def curve(most, least, values, passes):
    arrays = [(c_double * 100)() for _ in range(3)]
    lot = points(values, passes)
    return library.IC_compact_curve_b(most, least, len(lot), lot, c_int32(), *arrays, ic.t_fitout(), event)


def semivariogram(values, lags=5, lag=0.5, bandwidth=100.0, standard=2):
    settings = ic.t_gamvset_user(lags, lag, 0.0, 90.0, bandwidth, standard)
    arrays = [(c_double * 102)() for _ in range(5)]
    return library.IC_semivariogram(len(values), points(values), settings, *arrays, (c_float * 4)(), event)


def spots(values, tests):
    stats, lot = (ic.t_statsout * len(tests))(), points(values)
    spot = (ic.t_icdata * len(tests))(*((x, y, value, -1) for x, y, value in tests))
    outputs = (c_float * 3)(), c_int32(), (c_int32 * len(tests))(), (c_double * len(tests))()
    return library.IC_PointsData_stats(len(lot), len(tests), 1.0, lot, spot, stats, *outputs, event)


def coverage(flag, vertices, x=(), y=()):
    area = ic.t_areaflt(flag, vertices)
    area.d_vert_x[: len(x)], area.d_vert_y[: len(y)] = x, y
    mesh, bins, results = (c_float * 2)(0.5, 0.5), ic.t_passbin(1, -1), (ic.t_binresult * 1)()
    lot = points([1, 2, 3])
    return library.IC_coverage(mesh, 3, 1, 1, bins, lot, area, results, event)


def polynomial(degree, x, y):
    curve_x, curve_y = ((c_float * 100)(*[UNTOUCHED] * 100) for _ in range(2))
    outcome = library.call_polycurvefit(len(x), degree, (c_float * len(x))(*x), (c_float * len(y))(*y), curve_x, curve_y)
    assert {*curve_x, *curve_y} == {UNTOUCHED}, "the outputs of a failed call are touched"
    return outcome


lot = [30 + i * 7 % 11 for i in range(100)]
three = [*lot, *(5 + one for one in lot), *(6 + one for one in lot)]
of_three = [1] * 100 + [2] * 100 + [3] * 100
near, far = [(1, 1, 10), (2, 2, 12), (3, 3, 9)], [(900, 900, 10), (910, 900, 12), (920, 900, 9)]
# An outline of no width far from the origin, whose area rounding leaves negative in either order.
SLIVER = (4162874.0, 4162918.057, 4162925.454, 4162846.251), (
    1809475.14191, 1809491.443, 1809494.17989, 1809464.87478,
)  # fmt: skip
CAUSES = {
    "ICdata_stats": {
        "Data points are less than 3. aborted.": lambda: statistics(ic.NO, [1, 2]),
        "High pass counts causing histogram intervals exceeding the maximum 200": lambda: statistics(ic.YES, [1, 2, 200]),
        "x_y size is not correct": lambda: statistics(ic.YES, [0, 0, 0.5]),
    },
    "IC_compact_curve_b": {
        "i_maxpassno should be more than 2 for compaction curve analysis": lambda: curve(1, 1, lot, 1),
        "not sufficient data": lambda: curve(3, 301, three, of_three),
        "IC data should always contain pass no. 1": lambda: curve(3, 1, lot, 2),
        "IC data consist of pass no. > max passes": lambda: curve(2, 1, three, of_three),
        "No sufficient data existed for any pass no.": lambda: curve(3, 1, lot[:99], 1),
        "x or y data contains NaN": lambda: curve(3, 1, [math.inf, -math.inf, *three[2:]], of_three),
        "error calling imsl drcurv": lambda: curve(3, 1, three[:200], of_three[:200]),
    },
    "call_polycurvefit": {
        "degree above 9": lambda: polynomial(10, range(20), lot[:20]),
        "NaN in the data": lambda: polynomial(2, range(20), [math.nan, *lot[:19]]),
        "constant data": lambda: polynomial(2, range(20), [5] * 20),
        "too few abscissas": lambda: polynomial(2, [1, 2], [3, 5]),
        "perfect fit below the degree": lambda: polynomial(2, range(20), range(20)),
    },
    "IC_semivariogram": {
        "t_gamvset_user%i_standsills has to be either 1 or 2": lambda: semivariogram(lot, standard=0),
        "i_nlag + 2 exceeds the maximum 100 lag classes": lambda: semivariogram(lot, lags=99),
        "nlag is too small: check parameters": lambda: semivariogram(lot, lags=0),
        "xlag is too small: check parameter file": lambda: semivariogram(lot, lag=-0.5),
        "horizontal bandwidth is too small": lambda: semivariogram(lot, bandwidth=-1),
        "Only the curvefit fails": lambda: semivariogram([5] * 100),
    },
    "find_points_in_circle": {},
    "find_points_in_polygon": {},
    "IC_PointsData_stats": {
        "point tests data is < 3, not sufficient for regression": lambda: spots(lot, near[:2]),
        "valid point tests data is < 3, not sufficient for regression": lambda: spots(lot, near[:2] + far[:2]),
        "error calling imsl drcurv": lambda: spots(lot, [(x, y, math.nan) for x, y, _ in near]),
    },
    "IC_coverage": {
        "t_areaflt(i)%i_flag_exclusion needs to be either 1 (yes) or 2 (no)": lambda: coverage(3, 0),
        "t_areaflt(i)%i_numvertices is greater than allowed maximum 10000": lambda: coverage(2, 10001),
        "current area is negative": lambda: coverage(2, len(SLIVER[0]), *SLIVER),
    },
}


def odd_calls(number):
    """Name of each function called, and its outcome."""
    chance = random.Random(7)
    odd = [math.nan, math.inf, -math.inf, 0.0, -1.0, 0.5, 1.0, 199.0, 200.0, 3e9, -3e9, 1e38, 1e300, 1e-300]

    def values(most, oddness):
        length = chance.randrange(most)
        return [chance.choice(odd) if chance.random() < oddness else chance.uniform(1, 60) for _ in range(length)]

    for _ in range(number):
        oddness = chance.choice([0, 0, 0.02, 0.5])
        yield "ICdata_stats", statistics(chance.choice([1, 2]), values(30, oddness))
        lot = values(700, oddness)
        last = chance.randrange(1, 7)
        numbers = [chance.choice([-1, 0, 9]) if chance.random() < oddness / 50 else 1 + i % last for i in range(len(lot))]
        yield "IC_compact_curve_b", curve(chance.randrange(9), chance.randrange(99), lot, numbers)
        lag, width = chance.choice([*odd[:7], 0.5, 0.5]), chance.choice([*odd[:7], 100, 100])
        yield "IC_semivariogram", semivariogram(values(60, oddness), chance.randrange(-1, 100), lag, width, chance.choice([1, 2, 2, 3]))
        tests = [(chance.uniform(0, 5), chance.uniform(0, 5), value) for value in values(9, oddness)]
        if tests:
            yield "IC_PointsData_stats", spots(values(120, oddness), tests)
        vertices = chance.randrange(9)
        yield "IC_coverage", coverage(chance.choice([1, 2, 2, 2, 3]), vertices, *(chance.choices(odd, k=vertices) for _ in range(2)))


def main():
    faults = []
    texts = {name: {text for text, _ in failures} for name, failures in listed().items()}
    number = failed = 0
    for name, outcome in odd_calls(400):
        number += 1
        failed += outcome == ic.FAILURE
        if outcome == ic.FAILURE and event.description not in texts[name]:
            faults.append(f"{name} failed with {event.description}, which the header does not list")
    print(f"{number} odd calls, {failed} of which failed")
    for name, in_header in listed().items():
        provoked = set()
        for text, provoke in CAUSES.pop(name).items():
            event.c_description, event.i_errcode = b"", 0
            if provoke() != ic.FAILURE:
                faults.append(f"{name} does not fail with {text}")
            provoked.add((event.description or text, event.i_errcode))
        if provoked != in_header:
            faults.append(f"{name}: the header lists {in_header - provoked}, provoked was {provoked - in_header}")
        print(f"{name}: {len(provoked)} failures provoked")
    faults += [f"{name} is not in the header" for name in CAUSES]
    if faults:
        sys.exit("\n".join(faults))


main()
