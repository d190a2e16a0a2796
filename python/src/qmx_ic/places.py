"""Analyses of places: points in circles and polygons, spot tests, coverage."""

from __future__ import annotations

from math import inf, isfinite
from typing import Any, Iterable, Sequence

import numpy as np

from qmx_ic import _exports
from qmx_ic.columns import Column, fits, filled, points, required, values
from qmx_ic.errors import QmxIcError, error_of
from qmx_ic.measure import percentage
from qmx_ic.place_results import OPEN_END, Coverage, Selection, SpotTests
from qmx_ic.showing import Array

__all__ = ["coverage", "points_in_circle", "points_in_polygon", "spot_tests"]

ALL_PASSES = -1
HIGHEST_PASS_COUNT = 10_000  # which an open end reaches
MOST_DEFAULT_BINS = 10


def _radius(radius: float) -> float:
    if not (isfinite(radius) and radius >= 0):
        raise ValueError(f"radius={radius}: give a length of 0 or more, in the unit of the positions")
    return radius


def _outline(polygon: Any) -> Array:
    """Vertices of shape (m, 2), of numbers or of an object with one outer ring and no holes."""
    if type(polygon) is not np.ndarray and hasattr(polygon, "__geo_interface__"):
        polygon = polygon.__geo_interface__
    if isinstance(polygon, dict):
        rings = polygon.get("coordinates", ())
        if polygon.get("type") != "Polygon" or len(rings) != 1:
            raise ValueError(
                f"a {polygon.get('type')} with {len(rings)} rings is no single outline; give each ring "
                "as a polygon of its own, holes as areas to exclude"
            )
        polygon = [vertex[:2] for vertex in rings[0]]
    outline: Array = np.ascontiguousarray(polygon, dtype=np.float64)
    if outline.ndim != 2 or outline.shape[1] != 2:
        raise ValueError(f"a polygon has the shape (m, 2), not {outline.shape}")
    if outline.shape[0] < 3:
        raise ValueError(f"a polygon has 3 vertices or more, not {outline.shape[0]}")
    return outline


def _selected(
    found: tuple[Any, int], indices: Array, first: Array, second: Array, outline: Any
) -> Selection:
    failure, count = found
    if failure is not None:
        raise error_of(failure)
    asked = (first.shape[0], first, second, outline)
    return _exports.make(Selection, (None, indices[:count]), asked)


def points_in_circle(
    data: Any = None,
    *,
    center: tuple[float, float],
    radius: float,
    x: Column = None,
    y: Column = None,
) -> Selection:
    """Select the points inside or on a circle.

    Parameters
    ----------
    data : DataFrame, mapping or structured array, optional
        The table that named columns are of.
    center : two floats
        Easting and northing.
    radius : float
        0 or more, in the unit of the positions.
    x, y : str or array_like of shape (n,), optional
        Eastings and northings; "x" and "y" where nothing is named. A point with a NaN is never
        inside.

    Returns
    -------
    Selection
        `indices` of the points, from 0, ascending.

    Raises
    ------
    ValueError
        For a radius below 0 or a center that is not finite.

    Notes
    -----
    dx * dx + dy * dy <= r * r in 64-bit arithmetic, in this order, of the positions as they are.

    Examples
    --------
    >>> import qmx_ic
    >>> qmx_ic.points_in_circle(x=[0, 3, 4], y=[0, 4, 4], center=(0, 0), radius=5).indices
    array([0, 1], dtype=int32)
    """
    first = required(data, x, "position", "x")
    second = required(data, y, "position", "y")
    east, north = center
    if not (isfinite(east) and isfinite(north)):
        raise ValueError(f"center={center} is no position")
    indices = np.empty(first.shape[0], np.int32)
    found = _exports.points_in_circle(first, second, indices, east, north, _radius(radius))
    return _selected(found, indices, first, second, (east, north, radius))


def points_in_polygon(
    data: Any = None, *, polygon: Any, x: Column = None, y: Column = None
) -> Selection:
    """Select the points inside a polygon.

    Parameters
    ----------
    data : DataFrame, mapping or structured array, optional
        The table that named columns are of.
    polygon : array_like of shape (m, 2), or an object with ``__geo_interface__``
        Vertices in either sense of rotation; the closing edge is implied, a repeated first vertex
        does no harm. A self-crossing outline is read by the even-odd rule.
    x, y : str or array_like of shape (n,), optional
        Eastings and northings; "x" and "y" where nothing is named. A point with a NaN is never
        inside.

    Returns
    -------
    Selection
        `indices` of the points, from 0, ascending. A point on the outline belongs to it on the left
        and the top of a rectangle, not on the others.

    Raises
    ------
    ValueError
        For a polygon of fewer than 3 vertices or with holes.

    Notes
    -----
    Crossing parity in 64-bit arithmetic over half-open edges, of the positions as they are.

    Examples
    --------
    >>> import qmx_ic
    >>> square = [(0, 0), (10, 0), (10, 10), (0, 10)]
    >>> qmx_ic.points_in_polygon(x=[5, 15, 1], y=[5, 5, 9], polygon=square)
    Selection: 2 of 3 points
    """
    first = required(data, x, "position", "x")
    second = required(data, y, "position", "y")
    outline = _outline(polygon)
    indices = np.empty(first.shape[0], np.int32)
    found = _exports.points_in_polygon(first, second, indices, outline)
    return _selected(found, indices, first, second, outline)


def spot_tests(
    data: Any,
    tests: Any,
    *,
    radius: float,
    x: Column = None,
    y: Column = None,
    value: Column = None,
    pass_: Column = None,
    test_x: Column = None,
    test_y: Column = None,
    test_value: Column = None,
    test_pass: Column = None,
    any_pass: bool = False,
    min_ic: int = 2,
) -> SpotTests:
    """Relate spot tests to the IC data round them: statistics of each circle, and the line.

    Parameters
    ----------
    data, tests : DataFrame, mapping or structured array
        The IC data and the spot tests. Rows of IC data without a value are left out and counted in
        `missing`; a spot test without one is matched, but not in the line.
    radius : float
        Of the circle round each test, rim included, in the unit of the positions; 0.3 to 1 m is usual.
    x, y, value, pass_ : str or array_like of shape (n,), optional
        Columns of the IC data; "x", "y", "value" and "pass" where nothing is named.
    test_x, test_y, test_value, test_pass : str or array_like of shape (m,), optional
        The same of the spot tests. A test with a negative pass is matched with all passes.
    any_pass : bool, default False
        Match with the IC data of all passes. So are the tests where either table has no pass
        numbers; `by_pass` says it.
    min_ic : int, default 2
        Fewest IC values with which a test is in the line. With 1 the value stands for the mean.

    Returns
    -------
    SpotTests
        An entry a test; a test with one IC value has that value as its mean, and no spread.

    Raises
    ------
    QmxIcError
        For fewer than 3 tests, or fewer than 3 with enough IC data, and where the tests' values are
        all equal: `results` holds the statistics of each test.
    ValueError
        For a position that is not finite, and a value beyond half the range of 32 bits, with its
        row.

    Notes
    -----
    The positions are taken in 64 bits as they are. Least squares by orthogonal reduction.

    Examples
    --------
    >>> import qmx_ic
    >>> lot = {"x": [0, 0.2, 5, 5.2, 9, 9.2], "y": [0] * 6, "value": [20, 22, 30, 31, 40, 43.0]}
    >>> spots = {"x": [0.1, 5.1, 9.1], "y": [0, 0, 0], "value": [50.0, 75.0, 105.0]}
    >>> found = qmx_ic.spot_tests(lot, spots, radius=0.5)
    >>> found.means.tolist(), found.by_pass
    ([21.0, 30.5, 41.5], False)
    """
    held = points(data, x, y, value, pass_, needs="xyvP")
    made = points(tests, test_x, test_y, test_value, test_pass, needs="xyvP", pass_of_all=ALL_PASSES)
    _radius(radius)
    if min_ic < 1:
        raise ValueError(f"min_ic={min_ic}: a mean takes 1 value or more")
    if isinstance(held, tuple) and held[3] is None:
        any_pass = True
    if isinstance(made, tuple):
        spots = filled((*made[:3], None if any_pass else made[3], ALL_PASSES))
    elif any_pass:
        spots = made.copy()
        spots["i_passno"] = ALL_PASSES
    else:
        spots = made
    found = _exports.spot_tests(held, spots, radius, min_ic)
    result = _exports.make(SpotTests, found, (radius, min_ic, spots))
    if found[0] is not None:
        raise error_of(found[0], result)
    return result


def _default_bins(counts: Array, target_passes: int | None) -> list[tuple[int, int]]:
    """Those below and from the target on; otherwise one for each count, at most ten."""
    if target_passes is not None:
        above = (target_passes, OPEN_END)
        return [above] if target_passes == 1 else [(1, target_passes - 1), above]
    found = np.unique(counts[(counts >= 1) & (counts <= HIGHEST_PASS_COUNT)])
    bins = [(int(count), int(count)) for count in found[:MOST_DEFAULT_BINS]]
    if found.size > MOST_DEFAULT_BINS:
        bins[-1] = (bins[-1][0], OPEN_END)
    return bins or [(1, OPEN_END)]


def _pass_bins(bins: Iterable[int | tuple[int, int | None]]) -> tuple[tuple[int, int], ...]:
    made = []
    for one in bins:
        lower, upper = one if isinstance(one, tuple) else (one, one)
        upper = OPEN_END if upper is None else upper
        if not 0 <= lower <= (HIGHEST_PASS_COUNT if upper == OPEN_END else upper):
            raise ValueError(
                f"bin ({lower}, {upper}): give the lower end and the upper, which None leaves open"
            )
        made.append((int(lower), int(upper)))
    if not made:
        raise ValueError("bins is empty")
    return tuple(made)


def coverage(
    data: Any = None,
    *,
    area: Any,
    mesh: float | tuple[float, float],
    value: Column = None,
    exclude: Any = None,
    bins: Sequence[int | tuple[int, int | None]] | None = None,
    target_passes: int | None = None,
    target_coverage: float = 90,
) -> Coverage:
    """Compacted share of an area, by bins of pass counts.

    Parameters
    ----------
    data : array_like of shape (n,), DataFrame, mapping or structured array, optional
        One record a cell, its value the pass count; rows without one are left out and counted in
        `missing`. Every record is counted wherever it lies: select those inside the area first, with
        `points_in_polygon`.
    area, exclude : polygon, or sequence of polygons
        The alignment, and what is left out of it: arrays of shape (m, 2) of at most 10000 vertices,
        or objects with ``__geo_interface__``. Areas that overlap count twice.
    mesh : float or two floats
        Size of the cell that a record stands for, in the unit of the positions.
    value : str or array_like of shape (n,), optional
        The column of pass counts, "value" where nothing is named.
    bins : sequence of int or (int, int or None), optional
        Pass counts from lower to upper, both included, None for no upper end; a count goes to the
        first bin that holds it. Otherwise those below and from the target on, or one for each count
        there is, at most ten.
    target_passes : int, optional
        Passes that a cell needs.
    target_coverage : float, default 90
        Percent of the area that must have them.

    Returns
    -------
    Coverage
        Percent of the plan area and compacted area of each bin, and of the target.

    Raises
    ------
    QmxIcError
        For a polygon of more than 10000 vertices, a sliver with a negative area, and areas whose
        size is not above 0.
    ValueError
        For a pass count that is not whole, with its row, and an option out of range.

    Notes
    -----
    100 * (points * mesh area / alignment area) in 64-bit arithmetic, narrowed to 32 bits; the area of
    an outline by the shoelace formula.

    Examples
    --------
    >>> import qmx_ic
    >>> square = [(0, 0), (2, 0), (2, 2), (0, 2)]
    >>> qmx_ic.coverage([1, 3, 4], area=square, mesh=1, target_passes=3)
    Coverage: 4 of plan area by 3 points; 1-2: 25 %, 3-: 50 %; 50 % with 3 passes or more (90 % wanted)
    """
    held = values(data, value)
    sides = tuple(mesh) if isinstance(mesh, (tuple, list, np.ndarray)) else (mesh, mesh)
    if len(sides) != 2 or not (0 < sides[0] < inf and 0 < sides[1] < inf):
        raise ValueError(f"mesh={mesh}: give the size of a cell, above 0, or two of them")
    percentage(target_coverage, "target_coverage")
    if target_passes is not None and not 1 <= target_passes <= HIGHEST_PASS_COUNT:
        raise ValueError(f"target_passes={target_passes} is not from 1 to {HIGHEST_PASS_COUNT}")
    areas = [(outline, False) for outline in _outlines(area)]
    if exclude is not None:
        areas += [(outline, True) for outline in _outlines(exclude)]
    if bins is None:
        counts = held[2] if isinstance(held, tuple) else held["d_val"]
        bins = _default_bins(np.asarray(counts), target_passes)
    asked = _pass_bins(bins)
    found = _exports.coverage(
        held,
        asked,
        tuple(areas),
        *sides,
        None if target_passes is None else (target_passes, OPEN_END),
    )
    if found[0] is not None:
        raise error_of(found[0])
    result = _exports.make(Coverage, found, (sides, asked, target_passes, target_coverage))
    if not result.plan_area > 0:
        raise QmxIcError(
            f"the size of the area is {result.plan_area:.6g}: what is excluded is as large as what is "
            "included, or an outline has no area"
        )
    return result


def _outlines(given: Any) -> list[Array]:
    """One polygon or several."""
    if isinstance(given, np.ndarray):
        return [_outline(given)] if given.ndim == 2 else [_outline(one) for one in given]
    if hasattr(given, "__geo_interface__") or isinstance(given, dict):
        return [_outline(given)]
    several = list(given)
    first: Any = several[0] if several else ()
    is_vertex = hasattr(first, "__len__") and len(first) == 2 and not isinstance(first, dict)
    if is_vertex and not hasattr(first[0], "__len__"):
        return [_outline(several)]
    return [_outline(one) for one in several]
