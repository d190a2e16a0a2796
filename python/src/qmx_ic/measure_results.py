"""What the analyses of a measure hand back: frozen objects that show, list and draw themselves."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any, cast

import numpy as np

from qmx_ic.drawing import BLUE, GREY, ORANGE, axes, count_passes
from qmx_ic.records import STATISTICS
from qmx_ic.showing import Array, Result, short, two_rows

if TYPE_CHECKING:
    from matplotlib.axes import Axes

__all__ = ["CompactionCurve", "PolynomialCurve", "Statistics"]

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
    record_bytes: bytes = field(repr=False)
    pass_counts: bool
    below: bool  # values at or below the target satisfy it
    target: float | None
    target_percent: float  # that must satisfy the target
    levels: tuple[float, float]  # percent

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
        ax = axes(ax)
        limits, shares = self.class_limits, self.shares
        if limits.size == 0:
            ax.text(0.5, 0.5, "no histogram", ha="center", color=GREY, transform=ax.transAxes)
        if self.pass_counts:
            ax.bar(limits, shares, width=0.8, color=BLUE)
            count_passes(ax)
        elif limits.size > 1:
            width = float(limits[1] - limits[0])
            ax.bar(limits, shares, width=-0.92 * width, align="edge", color=BLUE)
        else:
            ax.bar(limits, shares, width=0.1, color=BLUE)
        second = ax.twinx()
        second.plot(limits, self.cumulative, color=GREY, linewidth=1.4)
        second.set(ylim=(0, 102), ylabel="cumulative share (%)")
        second.spines["top"].set_visible(False)
        if self.target is not None:
            edge = self.target
            if self.pass_counts:  # between the bars
                edge += 0.5 if self.below else -0.5
            ax.axvline(edge, color=ORANGE, linestyle="--", linewidth=1.4)
            side = "at or below" if self.below else "at or above"
            ax.set_title(
                f"{short(round(self.counted_percent, 1))} % {side} {short(self.target)}", fontsize=10
            )
        else:
            ax.set_title(f"n {self.n}, mean {short(self.mean)}", fontsize=10)
        ax.set(xlabel="passes" if self.pass_counts else "value", ylabel="share of the values (%)")
        return ax


@dataclass(frozen=True, slots=True, eq=False, repr=False)
class CompactionCurve(Result):
    """The mean of each pass, and a quadratic through the means."""

    n: int
    missing: int  # rows left out for want of a value
    max_pass: int  # highest pass number that the data may hold
    pass_means: tuple[float, ...]  # of pass 1, 2, ... up to the first with fewer than 100 values
    coefficients: tuple[float, ...]  # of the quadratic, constant term first; empty without a fit
    r_squared: float  # percent
    curve_bytes: bytes = field(repr=False)
    growth_limit: float  # percent

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
        ax = axes(ax)
        passes = np.arange(1, self.passes + 1)
        if self.coefficients:
            ax.plot(self.x, self.y, color=BLUE, linewidth=1.6, label="quadratic", zorder=1)
        ax.scatter(passes, self.pass_means, color=BLUE, s=34, label="mean of the pass", zorder=2)
        if self.target_pass is not None:
            ax.axvline(
                self.target_pass,
                color=ORANGE,
                linestyle="--",
                linewidth=1.4,
                label=f"then less than {short(self.growth_limit)} % growth",
            )
        count_passes(ax)
        ax.set(xlabel="pass", ylabel="mean value")
        ax.legend(frameon=False)
        return ax


@dataclass(frozen=True, slots=True, eq=False, repr=False)
class PolynomialCurve(Result):
    """A polynomial through pairs, at 100 abscissas."""

    n: int
    missing: int  # pairs left out for want of a number
    centre: float  # subtracted from the abscissas before the fit, and added again
    curve_bytes: bytes = field(repr=False)
    degree: int
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
        ax = axes(ax)
        ax.scatter(*self.data, color=GREY, s=14, linewidths=0, label="pairs")
        ax.plot(self.x, self.y, color=BLUE, linewidth=1.8, label=f"degree {self.degree}")
        ax.set(xlabel="x", ylabel="y")
        ax.legend(frameon=False)
        return ax
