"""The library's records as NumPy types, checked against the library when this is imported."""

from __future__ import annotations

from typing import Any

import numpy as np

from qmx_ic import _exports

__all__ = ["BIN_RESULT", "PASS_BIN", "POINT", "STATISTICS"]

POINT: np.dtype[np.void] = np.dtype(
    [
        ("d_x", "<f8"),
        ("d_y", "<f8"),
        ("d_val", "<f8"),
        ("i_passno", "<i4"),
        ("i_reserved", "<i4"),
    ]
)
"""A point of IC data, or a spot test: easting, northing, value, number of the pass."""

STATISTICS: np.dtype[np.void] = np.dtype(
    [
        ("i_flag_target", "<i4"),
        ("i_target_met", "<i4"),
        ("i_numdata", "<i4"),
        ("x_stat", "<f4", 15),
        ("i_numbins", "<i4"),
        ("x_bin", "<f4", 200),
        ("x_freq", "<f4", 200),
        ("x_cumfreq", "<f4", 200),
        ("x_target", "<f4"),
        ("x_target_pct", "<f4"),
        ("x_achieved_pct", "<f4"),
        ("x_pctlevel", "<f4", 2),
        ("x_pctvalue", "<f4", 2),
    ]
)
"""Statistics, histogram and target test of one measure."""

PASS_BIN: np.dtype[np.void] = np.dtype([("i_pass_lower", "<i4"), ("i_pass_upper", "<i4")])
"""A bin of pass counts, both ends included; an upper end of -1 is open."""

BIN_RESULT: np.dtype[np.void] = np.dtype(
    [("x_coverage", "<f4"), ("x_compacted_area", "<f4"), ("x_plan_area", "<f4")]
)
"""The coverage of one bin."""


def _check(name: str, ours: np.dtype[Any]) -> None:
    size, fields = _exports.layouts[name]
    theirs = {field: (offset, length) for field, offset, length in fields}
    mine = {
        field: (int(place[1]), int(place[0].itemsize)) for field, place in (ours.fields or {}).items()
    }
    if size != ours.itemsize or theirs != mine:
        raise ImportError(
            f"the compiled part of qmx_ic has another layout of {name} ({size} bytes, {theirs}) than "
            f"the package ({ours.itemsize} bytes, {mine}): they are of different versions; install "
            "qmx_ic anew"
        )


for _name, _dtype in {
    "t_icdata": POINT,
    "t_statsout": STATISTICS,
    "t_passbin": PASS_BIN,
    "t_binresult": BIN_RESULT,
}.items():
    _check(_name, _dtype)
