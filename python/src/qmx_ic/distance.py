"""How a measured value varies with distance."""

from __future__ import annotations

import warnings
from math import isfinite
from typing import Any

from qmx_ic import _exports
from qmx_ic.columns import Column, points
from qmx_ic.errors import error_of
from qmx_ic.distance_results import Semivariogram

__all__ = ["semivariogram"]

MOST_LAGS = 98


def _length(number: float, name: str) -> float:
    if not (isfinite(number) and 1e-15 <= number <= 1e15):
        raise ValueError(f"{name}={number}: give a length above 0, in the unit of the positions")
    return number


def _check_direction(
    azimuth: float | None, tolerance: float | None, bandwidth: float | None
) -> None:
    if azimuth is None:
        if tolerance not in (None, 90):
            raise ValueError("tolerance needs an azimuth, the direction that it is about")
        if bandwidth is not None:
            raise ValueError("bandwidth needs an azimuth, the direction of its axis")
    elif not abs(azimuth) <= 360:
        raise ValueError(f"azimuth={azimuth} is no direction; give degrees clockwise from north")
    if tolerance is not None and not 0 < tolerance <= 90:
        raise ValueError(f"tolerance={tolerance} is no half-angle above 0 and up to 90 degrees")
    if bandwidth is not None:
        _length(bandwidth, "bandwidth")


def semivariogram(
    data: Any = None,
    *,
    lag: float,
    nlag: int,
    x: Column = None,
    y: Column = None,
    value: Column = None,
    azimuth: float | None = None,
    tolerance: float | None = None,
    bandwidth: float | None = None,
    standardise: bool = False,
    origin: tuple[float, float] | None = None,
) -> Semivariogram:
    """How a value varies with distance: the experimental semivariogram and an exponential model.

    Parameters
    ----------
    data : DataFrame, mapping or structured array, optional
        One record a place, such as the last pass of each cell. Rows without a value are left out and
        counted in `missing`.
    lag : float
        Distance from lag to lag, in the unit of the positions; a lag reaches half of it to either
        side.
    nlag : int
        Number of lags, 1 to 98.
    x, y, value : str or array_like of shape (n,), optional
        Eastings, northings and values; "x", "y" and "value" where nothing is named.
    azimuth : float, optional
        Only pairs in this direction or its opposite, degrees clockwise from north; otherwise all.
    tolerance : float, optional
        Angle that a pair may be off the azimuth, degrees; 22.5 where none is given, 90 takes all.
    bandwidth : float, optional
        Distance that a pair's end may be off the axis of the azimuth; otherwise any.
    standardise : bool, default False
        Divide the semivariances by the variance of the values.
    origin : two floats, optional
        Subtracted from the positions, which are then narrowed to 32 bits; otherwise a whole number
        of units amid the points, said in `result.origin`. (0, 0) takes the positions as they are.

    Returns
    -------
    Semivariogram
        Distances in the unit of the positions, semivariances in the square of the value's.

    Raises
    ------
    QmxIcError
        "Only the curvefit fails": `results` holds the experimental semivariogram.
    ValueError
        For an option out of range, a position that is not finite and a value too large to be
        squared in 32 bits, with its row.

    Warns
    -----
    UserWarning
        Where places repeat: after a pair of points in one place some pairs are not counted, and the
        result depends on the order of the rows. Merge or choose the records of each cell first. And
        where 32-bit positions are coarser than a tenth of the lag.

    Notes
    -----
    The model is c * (1 - exp(-3 h / a)), fitted by bounded least squares in 32 bits. Its bounds are
    mere numbers, see `Semivariogram.at_bound`.

    Examples
    --------
    >>> import numpy as np, qmx_ic
    >>> east, north = np.meshgrid(421500 + 0.3 * np.arange(12), 4864200 + 0.3 * np.arange(12))
    >>> wave = 30 + 3 * np.sin(2 * east.ravel()) + np.cos(3 * north.ravel())
    >>> found = qmx_ic.semivariogram(x=east.ravel(), y=north.ravel(), value=wave, lag=0.3, nlag=5)
    >>> found.origin, found.distances.shape
    ((421502.0, 4864202.0), (7,))
    """
    held = points(data, x, y, value, needs="xyv")
    _length(lag, "lag")
    if not 1 <= nlag <= MOST_LAGS:
        raise ValueError(f"nlag={nlag} is not from 1 to {MOST_LAGS}")
    _check_direction(azimuth, tolerance, bandwidth)
    half_angle = 90.0 if azimuth is None else 22.5 if tolerance is None else tolerance
    if origin is not None and not (isfinite(origin[0]) and isfinite(origin[1])):
        raise ValueError(f"origin={origin} is no position")
    found = _exports.semivariogram(
        held, origin, nlag, lag, azimuth or 0.0, half_angle, bandwidth or 0.0, standardise
    )
    result = _exports.make(Semivariogram, found, (lag, nlag, azimuth, half_angle, standardise))
    if found[0] is not None:
        only_fit = found[0][0] == "Only the curvefit fails"
        raise error_of(found[0], result if only_fit else None)
    if result.repeated:
        warnings.warn(
            f"{result.repeated} records lie on a place that another record has: some pairs are not "
            "counted, and the result depends on the order of the rows; take one record a place",
            stacklevel=2,
        )
    if result.position_step > lag / 10:
        warnings.warn(
            f"positions as 32-bit numbers step by {result.position_step:.3g}, the lag is {lag:.3g}: "
            "give an origin near the points, or leave out points far astray",
            stacklevel=2,
        )
    return result
