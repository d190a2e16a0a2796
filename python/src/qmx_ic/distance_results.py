"""What the analysis of distances hands back."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any, cast

import numpy as np

from qmx_ic.drawing import BLUE, ORANGE, axes
from qmx_ic.showing import Array, Result, short, two_rows

if TYPE_CHECKING:
    from matplotlib.axes import Axes

__all__ = ["Semivariogram"]


@dataclass(frozen=True, slots=True, eq=False, repr=False)
class Semivariogram(Result):
    """The experimental semivariogram and an exponential model fitted to it.

    The model is sill * (1 - exp(-3 h / practical_range)); its numbers are NaN where the fit failed.
    """

    n: int
    missing: int  # rows left out for want of a value
    origin: tuple[float, float]  # subtracted from the positions before they were narrowed to 32 bits
    position_step: float  # of positions in 32 bits, at the end of the extent
    repeated: int  # records beyond the first of their place: see `semivariogram`
    bandwidth: float
    practical_range: float
    sill: float
    read_range: float  # the next four are read off the curve, where it flattens
    read_sill: float
    read_partial_sill: float
    read_nugget: float
    lags_bytes: bytes = field(repr=False)
    curve_bytes: bytes = field(repr=False)
    lag: float
    nlag: int
    azimuth: float | None  # None: all directions
    tolerance: float
    standardised: bool

    _listed = (
        *"n missing origin position_step repeated lag nlag azimuth tolerance bandwidth".split(),
        *"standardised distances semivariances practical_range sill read_range read_sill".split(),
        *"read_partial_sill read_nugget at_bound curve_x curve_y".split(),
    )
    _shown = (
        *"n origin lag nlag practical_range sill at_bound read_range read_sill".split(),
        *"read_nugget repeated".split(),
    )

    @property
    def lags(self) -> Array:
        """Shape (2, nlag + 2): mean distances and semivariances of the lag classes."""
        return two_rows(self.lags_bytes)

    @property
    def curve(self) -> Array:
        """Shape (2, 100): distances, and the model there; 0 where the fit failed."""
        return two_rows(self.curve_bytes)

    @property
    def distances(self) -> Array:
        """Mean distance of the pairs of each lag class, 0 without pairs.

        Entry 0 is of coincident points, each with itself among them; entry k of the class about
        (k - 1) lags.
        """
        return cast(Array, self.lags[0])

    @property
    def semivariances(self) -> Array:
        """Semivariance of each lag class, 0 without pairs."""
        return cast(Array, self.lags[1])

    @property
    def curve_x(self) -> Array:
        """100 distances."""
        return cast(Array, self.curve[0])

    @property
    def curve_y(self) -> Array:
        """The model there; 0 where the fit failed."""
        return cast(Array, self.curve[1])

    @property
    def has_model(self) -> bool:
        """Whether the fit succeeded."""
        return self.sill == self.sill

    @property
    def at_bound(self) -> tuple[str, ...]:
        """Which of "range" and "sill" the fit holds on a bound: that number is the bound, no finding.

        Both are at most the greatest semivariance, as mere numbers, the range at least 1 and the sill
        at least 0.05.
        """
        greatest = float(self.semivariances.max())
        found = []
        for name, number, least in (("range", self.practical_range, 1), ("sill", self.sill, 0.05)):
            if number >= greatest * (1 - 1e-6) or number <= least * (1 + 1e-6):
                found.append(name)
        return tuple(found)

    def _columns(self) -> dict[str, Any]:
        with_pairs = self.distances > 0
        return {
            "lag_class": np.flatnonzero(with_pairs),
            "distance": self.distances[with_pairs],
            "semivariance": self.semivariances[with_pairs],
        }

    def __repr__(self) -> str:
        where = "all directions" if self.azimuth is None else f"azimuth {short(self.azimuth)}°"
        model = (
            f"practical range {short(self.practical_range)}, sill {short(self.sill)}"
            + (f" ({' and '.join(self.at_bound)} on a bound of the fit)" if self.at_bound else "")
            if self.has_model
            else "no model"
        )
        return (
            f"Semivariogram: {self.n} points about ({self.origin[0]:.12g}, {self.origin[1]:.12g}), "
            f"{self.nlag} lags of {short(self.lag)}, {where}; {model}"
            + (f"; {self.repeated} records on repeated places" if self.repeated else "")
        )

    def plot(self, ax: Axes | None = None) -> Axes:
        """Draw the lags and the model. Takes the extra "plots"."""
        ax = axes(ax)
        with_pairs = self.distances > 0
        distances, heights = self.distances[with_pairs], self.semivariances[with_pairs]
        ax.scatter(distances, heights, color=BLUE, s=26, label="lags", zorder=2)
        if self.has_model:
            name = f"model, range {short(round(self.practical_range, 3))}"
            ax.plot(self.curve_x, self.curve_y, color=ORANGE, linewidth=1.6, label=name)
        ax.set_xlim(left=0)
        ax.set_ylim(bottom=0)
        unit = " / variance" if self.standardised else ""
        ax.set(xlabel="distance", ylabel=f"semivariance{unit}")
        ax.legend(frameon=False, loc="lower right")
        return ax
