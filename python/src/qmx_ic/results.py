"""What the analyses of a measure hand back: frozen objects that show, list and draw themselves."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any, cast

import numpy as np

from qmx_ic.records import STATISTICS
from qmx_ic.showing import Array, Result, short, two_rows

if TYPE_CHECKING:
    from matplotlib.axes import Axes

__all__ = ["CompactionCurve", "PolynomialCurve", "Semivariogram", "Statistics"]

_STATISTICS = (
    "n missing mean standard_deviation coefficient_of_variation variance skewness excess_kurtosis "
    "minimum maximum range mean_lower_95 mean_upper_95 variance_lower_95 variance_upper_95"
)


@dataclass(frozen=True, slots=True, eq=False, repr=False)
class Statistics(Result):
    """Statistics, histogram, percent levels and target test of one measure.

    Numbers are those of 32-bit arithmetic; NaN marks one that the values do not define.
    """

    n: int  # values analysed
    missing: int  # rows left out for want of a value
    mean: float  # unit of the measure
    variance: float  # divisor n - 1
    standard_deviation: float
    skewness: float
    excess_kurtosis: float
    minimum: float
    maximum: float
    range: float
    coefficient_of_variation: float  # a ratio
    mean_lower_95: float  # values taken as independent, which neighbouring cells are not
    mean_upper_95: float
    variance_lower_95: float
    variance_upper_95: float
    classes: int  # of the histogram
    low_value: float  # the measure at the lower of `levels`, read off the histogram
    high_value: float
    achieved_percent: float  # that satisfy the target, read off the histogram; NaN without a target
    target_met: bool | None  # by `achieved_percent`; None without a test
    counted_percent: float  # that satisfy the target, counted value by value
    pass_counts: bool
    below: bool  # values at or below the target satisfy it
    target: float | None
    target_percent: float  # that must satisfy the target
    levels: tuple[float, float]  # percent
    record_bytes: bytes = field(repr=False)

    _listed = (
        *_STATISTICS.split(),
        *"classes class_limits shares cumulative levels low_value high_value pass_counts".split(),
        *"target target_percent below achieved_percent target_met counted_percent".split(),
    )
    _shown = (*_STATISTICS.split(), "low_value", "high_value", "counted_percent")

    @property
    def record(self) -> Array:
        """One record of dtype `STATISTICS`, as the library wrote it."""
        return np.frombuffer(self.record_bytes, STATISTICS)

    @property
    def class_limits(self) -> Array:
        """Upper limits of the classes; of pass counts the counts themselves."""
        return cast(Array, self.record["x_bin"][0, : self.classes])

    @property
    def shares(self) -> Array:
        """Percent of the values in each class."""
        return cast(Array, self.record["x_freq"][0, : self.classes])

    @property
    def cumulative(self) -> Array:
        """Percent of the values up to and including each class."""
        return cast(Array, self.record["x_cumfreq"][0, : self.classes])

    def _columns(self) -> dict[str, Any]:
        return {
            "class_limit": self.class_limits,
            "percent": self.shares,
            "cumulative_percent": self.cumulative,
        }

    def __repr__(self) -> str:
        text = (
            f"Statistics: n {self.n}, mean {short(self.mean)}, standard deviation "
            f"{short(self.standard_deviation)} (CV {short(100 * self.coefficient_of_variation)} %), "
            f"{short(self.minimum)} to {short(self.maximum)}"
        )
        if self.target is not None:
            side = "at or below" if self.below else "at or above"
            text += (
                f"; {short(self.counted_percent)} % {side} {short(self.target)}"
                f" ({short(self.target_percent)} % wanted)"
            )
        return text + (f"; {self.missing} rows without a value" if self.missing else "")

    def plot(self, ax: Axes | None = None) -> Axes:
        """Draw the histogram with its cumulative share. Takes the extra "plots"."""
        from qmx_ic import plots

        return plots.histogram(self, ax)


@dataclass(frozen=True, slots=True, eq=False, repr=False)
class CompactionCurve(Result):
    """The mean of each pass, and a quadratic through the means."""

    n: int
    missing: int  # rows left out for want of a value
    max_pass: int  # highest pass number that the data may hold
    pass_means: tuple[float, ...]  # of pass 1, 2, ... up to the first with fewer than 100 values
    coefficients: tuple[float, ...]  # of the quadratic, constant term first; empty without a fit
    r_squared: float  # percent
    growth_limit: float  # percent
    curve_bytes: bytes = field(repr=False)

    _listed = (
        *"n missing max_pass passes pass_means coefficients r_squared growth_limit".split(),
        *"target_pass x y".split(),
    )
    _shown = ("n", "passes", "r_squared", "target_pass")

    @property
    def passes(self) -> int:
        """How many passes are in the curve."""
        return len(self.pass_means)

    @property
    def curve(self) -> Array:
        """Shape (2, 100): passes, and the means by the quadratic."""
        return two_rows(self.curve_bytes)

    @property
    def x(self) -> Array:
        """100 pass numbers from 1 to one step short of the last pass."""
        return cast(Array, self.curve[0])

    @property
    def y(self) -> Array:
        """The quadratic there, held between the smallest and the largest mean."""
        return cast(Array, self.curve[1])

    @property
    def growth(self) -> tuple[float, ...]:
        """Percent by which each mean exceeds that of the pass before; NaN for the first."""
        means = self.pass_means
        return tuple(
            100 * (after - before) / before if before > 0 else np.nan
            for before, after in zip((np.nan, *means), means)
        )

    @property
    def target_pass(self) -> int | None:
        """First pass after which the mean grows by less than `growth_limit`; None: it still grows."""
        for position, growth in enumerate(self.growth):
            if growth < self.growth_limit:
                return position
        return None

    def _columns(self) -> dict[str, Any]:
        return {
            "pass": np.arange(1, self.passes + 1),
            "mean": self.pass_means,
            "growth_percent": self.growth,
        }

    def __repr__(self) -> str:
        means = ", ".join(short(mean) for mean in self.pass_means[:12])
        end = (
            f"grows by less than {short(self.growth_limit)} % after pass {self.target_pass}"
            if self.target_pass is not None
            else f"still grows by {short(self.growth_limit)} % or more"
        )
        return (
            f"CompactionCurve: {self.passes} passes of {self.n} points, means {means}"
            f"{', ...' if self.passes > 12 else ''}; {end}; R² {short(self.r_squared)} %"
        )

    def plot(self, ax: Axes | None = None) -> Axes:
        """Draw the means and the curve. Takes the extra "plots"."""
        from qmx_ic import plots

        return plots.compaction_curve(self, ax)


@dataclass(frozen=True, slots=True, eq=False, repr=False)
class PolynomialCurve(Result):
    """A polynomial through pairs, at 100 abscissas."""

    n: int
    missing: int  # pairs left out for want of a number
    degree: int
    centre: float  # subtracted from the abscissas before the fit, and added again
    curve_bytes: bytes = field(repr=False)
    data: tuple[Array, Array] = field(repr=False)  # the pairs, as they were given

    _listed = ("n", "missing", "degree", "centre", "x", "y")
    _shown = ("n", "missing", "degree", "centre")

    @property
    def curve(self) -> Array:
        """Shape (2, 100): abscissas and ordinates."""
        return two_rows(self.curve_bytes)

    @property
    def x(self) -> Array:
        """Evenly spaced abscissas from the smallest of the data to the largest."""
        return cast(Array, self.curve[0])

    @property
    def y(self) -> Array:
        """Ordinates; one below 0 is given as 0."""
        return cast(Array, self.curve[1])

    def _columns(self) -> dict[str, Any]:
        return {"x": self.x, "y": self.y}

    def __repr__(self) -> str:
        return (
            f"PolynomialCurve: degree {self.degree} through {self.n} pairs, x {short(self.x[0])} to "
            f"{short(self.x[-1])}, y {short(self.y.min())} to {short(self.y.max())}"
        )

    def plot(self, ax: Axes | None = None) -> Axes:
        """Draw the pairs and the curve. Takes the extra "plots"."""
        from qmx_ic import plots

        return plots.polynomial_curve(self, ax)


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
    lag: float
    nlag: int
    azimuth: float | None  # None: all directions
    tolerance: float
    standardised: bool
    lags_bytes: bytes = field(repr=False)
    curve_bytes: bytes = field(repr=False)

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
        from qmx_ic import plots

        return plots.semivariogram(self, ax)
