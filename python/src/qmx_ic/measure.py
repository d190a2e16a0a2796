"""Analyses of a measured value: statistics, compaction curve, polynomial."""

from __future__ import annotations

from typing import Any, Sequence

from qmx_ic import _exports
from qmx_ic.columns import Column, points, required, values
from qmx_ic.errors import QmxIcError, error_of
from qmx_ic.measure_results import CompactionCurve, PolynomialCurve, Statistics

__all__ = ["compaction_curve", "polynomial_curve", "statistics"]

HIGHEST_DEGREE = 9
MOST_PASSES = 100_000
POINTS_OF_A_PASS = 100


def percentage(number: float, name: str) -> float:
    """A number from 0 to 100."""
    if not 0 <= number <= 100:
        raise ValueError(f"{name}={number} is no percentage from 0 to 100")
    return number


def statistics(
    data: Any = None,
    *,
    value: Column = None,
    pass_counts: bool = False,
    target: float | None = None,
    target_percent: float = 90,
    below: bool = False,
    levels: Sequence[float] = (10, 90),
) -> Statistics:
    """Statistics of one measure: fifteen numbers, a histogram, two percent levels, a target test.

    Parameters
    ----------
    data : array_like of shape (n,), DataFrame, mapping or structured array, optional
        The values, or a table with a column of them; at least 3 values. Rows without a value (NaN,
        masked, NA) are left out and counted in `missing`.
    value : str or array_like of shape (n,), optional
        The column of the values, "value" where nothing is named, or the values themselves.
    pass_counts : bool, default False
        The values are pass counts: class k holds the points with k passes. Otherwise the range is
        divided into 20 equal steps.
    target : float, optional
        Target value, in the unit of the measure, or the passes that a point needs.
    target_percent : float, default 90
        Percent of the values that must satisfy the target.
    below : bool, default False
        Values at or below the target satisfy it, otherwise those at or above it.
    levels : two floats, default (10, 90)
        Percentages whose values are read off the histogram.

    Returns
    -------
    Statistics
        In the unit of the measure, the variance in its square; the coefficient of variation is a
        ratio. `counted_percent` counts the values one by one; `achieved_percent` and `target_met` are
        interpolated in the histogram.

    Raises
    ------
    QmxIcError
        For fewer than 3 values, and for pass counts that are all below 1 or reach 200; after the
        latter two the statistics stand in `results`, without a histogram.
    ValueError
        For a value beyond the range of 32 bits or, with `pass_counts`, one that is not whole, with
        its row.

    Notes
    -----
    All results in 32-bit arithmetic; the 95 % limits by the Student t and chi-squared distributions,
    which take the values as independent. Neighbouring cells are alike: the limits are too narrow.

    Examples
    --------
    >>> import qmx_ic
    >>> found = qmx_ic.statistics([28.0, 30.0, 31.0, 35.0], target=30)
    >>> found
    Statistics: n 4, mean 31, standard deviation 2.94392 (CV 9.49652 %), 28 to 35; 75 % at or above 30 \
(90 % wanted)
    >>> found.classes, found.shares.sum().item()
    (21, 100.0)
    """
    held = values(data, value)
    low, high = levels
    if not (0 <= low <= 100 and 0 <= high <= 100):
        raise ValueError(f"levels={levels} are no percentages from 0 to 100")
    percentage(target_percent, "target_percent")
    if target is None:
        if below:
            raise ValueError("below=True needs a target")
    elif not abs(target) <= 3.4028234663852886e38:
        raise ValueError(f"target={target} is no number to compare with")
    found = _exports.statistics(
        held,
        pass_counts,
        below,
        target is not None,
        0.0 if target is None else target,
        target_percent,
        low,
        high,
    )
    asked = (pass_counts, below, target, target_percent, (low, high))
    result = _exports.make(Statistics, found, asked)
    if found[0] is not None:
        raise error_of(found[0], result if result.n >= 3 else None)
    return result


def compaction_curve(
    data: Any = None,
    *,
    value: Column = None,
    pass_: Column = None,
    growth: float = 5,
    min_points: int = POINTS_OF_A_PASS,
    max_pass: int | None = None,
) -> CompactionCurve:
    """Mean measure against pass number, with a fitted quadratic: how a layer gains with each pass.

    Parameters
    ----------
    data : DataFrame, mapping or structured array, optional
        Data of all passes: a row for each pass over each cell. Rows without a value are left out and
        counted in `missing`.
    value, pass_ : str or array_like of shape (n,), optional
        The columns of the values and of the pass numbers, counted from 1; "value" and "pass" where
        nothing is named.
    growth : float, default 5
        The target pass is the first after which the mean grows by less than this, percent.
    min_points : int, default 100
        Fewest values that there must be.
    max_pass : int, optional
        Highest pass number that the data may hold; otherwise that of the data.

    Returns
    -------
    CompactionCurve
        The passes before the first with fewer than 100 values, and the curve through their means.

    Raises
    ------
    QmxIcError
        For too few values, data without pass 1, a pass number above `max_pass`, a pass 1 with fewer
        than 100 values; for one or two passes, or means on a line, that no quadratic is fitted to.
        In the last cases `results` holds the pass means.
    ValueError
        For a pass number that is missing, not whole or above 100000, for a value beyond the range of
        32 bits, with its row.

    Notes
    -----
    Means in 32-bit precision, rounded correctly; the fit by orthogonal polynomials (Forsythe 1957).

    Examples
    --------
    >>> import numpy as np, qmx_ic
    >>> passes = np.repeat([1, 2, 3, 4], 100)
    >>> curve = qmx_ic.compaction_curve(value=np.array([0, 20.0, 26, 29, 30])[passes], pass_=passes)
    >>> curve.pass_means, curve.target_pass
    ((20.0, 26.0, 29.0, 30.0), 3)
    """
    held = points(data, value=value, pass_=pass_, needs="vp")
    if max_pass is not None and not 2 <= max_pass <= MOST_PASSES:
        raise ValueError(f"max_pass={max_pass} is not from 2 to {MOST_PASSES}")
    found = _exports.compaction_curve(held, max_pass or 0, min_points, MOST_PASSES)
    result = _exports.make(CompactionCurve, found, (growth,))
    if found[0] is not None:
        raise error_of(found[0], result if result.passes else None)
    if not result.coefficients:
        raise QmxIcError(
            "only pass 1 has 100 values: there is no curve through a single mean", results=result
        )
    return result


def _why_no_polynomial(degree: int, n: int, abscissas: int) -> str:
    if abscissas < 2:
        return f"{n} pairs with {abscissas} different abscissas have no range for a curve"
    if abscissas <= degree:
        return f"a polynomial of degree {degree} needs {degree + 1} different abscissas; there are {abscissas}"
    return (
        f"no polynomial of degree {degree} fits: the ordinates are all equal, or a lower degree fits "
        "them perfectly"
    )


def polynomial_curve(
    data: Any = None,
    *,
    x: Column = None,
    y: Column = None,
    degree: int = 2,
    centre: bool = False,
) -> PolynomialCurve:
    """A polynomial through pairs, evaluated at 100 abscissas.

    Parameters
    ----------
    data : DataFrame, mapping or structured array, optional
        The table that named columns are of.
    x, y : str or array_like of shape (n,), optional
        Abscissas in any order, and ordinates; columns "x" and "y" where nothing is named. Pairs with
        a NaN are left out and counted in `missing`.
    degree : int, default 2
        Degree of the polynomial, 0 to 9.
    centre : bool, default False
        Subtract the middle of the abscissas before they are narrowed to 32 bits. It keeps digits
        where they lie far from 0 against their range.

    Returns
    -------
    PolynomialCurve
        An ordinate below 0 is given as 0: curves of measured values do not fall below it.

    Raises
    ------
    QmxIcError
        Where there is no such polynomial: too few different abscissas, equal ordinates, data that a
        lower degree fits perfectly.
    ValueError
        For a degree that is not 0 to 9, and a number beyond the range of 32 bits, with its row.

    Notes
    -----
    Orthogonal polynomials (Forsythe 1957) in 64-bit arithmetic of numbers narrowed to 32 bits.

    Examples
    --------
    >>> import qmx_ic
    >>> curve = qmx_ic.polynomial_curve(x=[1, 2, 3, 4, 5], y=[10, 14, 17, 19, 20.5])
    >>> curve
    PolynomialCurve: degree 2 through 5 pairs, x 1 to 5, y 10.0429 to 20.4429
    >>> curve.x.shape
    (100,)
    """
    abscissas = required(data, x, "value", "x")
    ordinates = required(data, y, "value", "y")
    if not 0 <= degree <= HIGHEST_DEGREE:
        raise ValueError(f"degree={degree} is not from 0 to {HIGHEST_DEGREE}")
    found = _exports.polynomial_curve(abscissas, ordinates, degree, centre)
    if found[0] is not None:
        raise QmxIcError(_why_no_polynomial(degree, found[1], found[0]), "call_polycurvefit", 101)
    return _exports.make(PolynomialCurve, found, (degree, (abscissas, ordinates)))
