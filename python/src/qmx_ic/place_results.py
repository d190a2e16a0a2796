"""What selections, spot tests and coverage hand back."""

from __future__ import annotations

import math
from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any, cast

import numpy as np

from qmx_ic.drawing import BLUE, GREEN, GREY, ORANGE, as_map, axes
from qmx_ic.records import STATISTICS
from qmx_ic.showing import Array, Result, short, table_html

if TYPE_CHECKING:
    from matplotlib.axes import Axes

__all__ = ["Coverage", "Selection", "SpotTests"]

OPEN_END = -1


@dataclass(frozen=True, slots=True, eq=False, repr=False)
class Selection(Result):
    """Points inside a circle or a polygon."""

    indices: Array  # positions of the points inside, from 0, ascending, 32-bit integers
    total: int  # points looked at
    x: Array = field(repr=False)  # of all of them
    y: Array = field(repr=False)
    outline: Any = field(repr=False)  # vertices of shape (m, 2); of a circle easting, northing, radius

    _listed = ("total", "count", "indices")
    _shown = ("count", "total")

    @property
    def count(self) -> int:
        """Points inside."""
        return int(self.indices.size)

    @property
    def mask(self) -> Array:
        """True for the points inside, one entry a point."""
        inside = np.zeros(self.total, np.bool_)
        inside[self.indices] = True
        return inside

    def __len__(self) -> int:
        return self.count

    def _columns(self) -> dict[str, Any]:
        return {"index": self.indices, "x": self.x[self.indices], "y": self.y[self.indices]}

    def __repr__(self) -> str:
        return f"Selection: {self.count} of {self.total} points"

    def plot(self, ax: Axes | None = None) -> Axes:
        """Draw the points inside and outside. Takes the extra "plots"."""
        ax = axes(ax)
        inside = self.mask
        size = float(np.clip(20000 / max(self.total, 1), 0.5, 18))
        for chosen, colour, name in ((~inside, "#c3c7cb", "outside"), (inside, BLUE, "inside")):
            label = f"{name}: {int(np.count_nonzero(chosen))}"
            ax.scatter(
                self.x[chosen], self.y[chosen], s=size, color=colour, linewidths=0, label=label
            )
        if isinstance(self.outline, tuple):
            turn = np.linspace(0, 2 * np.pi, 181)
            east, north, radius = self.outline
            ax.plot(east + radius * np.cos(turn), north + radius * np.sin(turn), color=ORANGE)
        else:
            ax.plot(*np.vstack([self.outline, self.outline[:1]]).T, color=ORANGE)
        as_map(ax)
        ax.legend(frameon=False, markerscale=max(1, 4 / size), loc="upper left", bbox_to_anchor=(1, 1))
        return ax


@dataclass(frozen=True, slots=True, eq=False, repr=False)
class SpotTests(Result):
    """Spot tests beside the IC data round them, and the line through the pairs.

    One entry a spot test in every array. The line is IC mean = intercept + slope * value; its numbers
    are NaN where there is none.
    """

    points: int  # IC points matched with
    missing: int  # rows of IC data left out for want of a value
    intercept: float
    slope: float
    r_squared: float  # percent
    by_pass: bool  # some tests are matched with the IC data of their own pass alone
    record_bytes: bytes = field(repr=False)
    line_bytes: bytes = field(repr=False)
    predicted_bytes: bytes = field(repr=False)
    radius: float
    min_ic: int  # fewest IC values with which a test is in the line
    tests: Array = field(repr=False)  # dtype POINT

    _listed = (
        *"points missing radius min_ic by_pass intercept slope r_squared r pairs values".split(),
        *"counts means coefficients_of_variation in_line predicted".split(),
    )
    _shown = ("points", "radius", "pairs", "intercept", "slope", "r_squared", "r")

    @property
    def statistics(self) -> Array:
        """A record of dtype `STATISTICS` for each test: of the IC values round it."""
        return np.frombuffer(self.record_bytes, STATISTICS)

    @property
    def in_line(self) -> Array:
        """True for the tests that the line is made of."""
        return np.frombuffer(self.line_bytes, np.bool_)

    @property
    def predicted(self) -> Array:
        """The line at each test's value; NaN for the tests that are not in it."""
        return np.frombuffer(self.predicted_bytes, np.float64)

    @property
    def values(self) -> Array:
        """The spot tests' own values."""
        return cast(Array, self.tests["d_val"])

    @property
    def counts(self) -> Array:
        """IC values in each circle."""
        return cast(Array, self.statistics["i_numdata"])

    @property
    def means(self) -> Array:
        """IC mean of each circle; NaN without IC data."""
        return cast(Array, self.statistics["x_stat"][:, 0])

    @property
    def coefficients_of_variation(self) -> Array:
        """Of the IC values of each circle, a ratio; NaN for fewer than two."""
        return cast(Array, self.statistics["x_stat"][:, 8])

    @property
    def pairs(self) -> int:
        """Tests in the line."""
        return int(np.count_nonzero(self.in_line))

    @property
    def r(self) -> float:
        """Correlation, with the sign of the slope."""
        if not self.r_squared >= 0:
            return math.nan
        return math.copysign(math.sqrt(self.r_squared / 100), self.slope)

    def _columns(self) -> dict[str, Any]:
        return {
            "x": self.tests["d_x"],
            "y": self.tests["d_y"],
            "value": self.values,
            "ic_values": self.counts,
            "ic_mean": self.means,
            "ic_coefficient_of_variation": self.coefficients_of_variation,
            "in_line": self.in_line,
            "predicted": self.predicted,
        }

    def __repr__(self) -> str:
        passes = "each with its pass" if self.by_pass else "IC data of all passes"
        empty = int(np.count_nonzero(self.counts == 0))
        line = (
            f"IC mean = {short(self.intercept)} + {short(self.slope)} value, r {short(self.r)}, "
            f"R² {short(self.r_squared)} %, {self.pairs} pairs"
            if self.slope == self.slope
            else f"no line ({self.pairs} pairs)"
        )
        return (
            f"SpotTests: {self.tests.size} tests, radius {short(self.radius)}, {passes}; {line}"
            + (f"; {empty} tests without IC data" if empty else "")
        )

    def plot(self, ax: Axes | None = None) -> Axes:
        """Draw the pairs and the line. Takes the extra "plots"."""
        ax = axes(ax)
        values, means, in_line = self.values, self.means, self.in_line
        others = ~in_line & (self.counts > 0)
        ax.scatter(values[in_line], means[in_line], color=BLUE, s=30, label="in the line", zorder=2)
        if others.any():
            ax.scatter(
                values[others],
                means[others],
                facecolors="none",
                edgecolors=GREY,
                s=30,
                label=f"fewer than {self.min_ic} IC values",
            )
        if self.slope == self.slope:
            ends = np.array([values[in_line].min(), values[in_line].max()])
            name = f"r {self.r:.3f}, R² {self.r_squared:.1f} %, n {self.pairs}"
            ax.plot(ends, self.intercept + self.slope * ends, color=ORANGE, label=name)
        ax.set(xlabel="spot test", ylabel=f"mean IC value within {short(self.radius)}")
        ax.legend(frameon=False)
        return ax


def bin_name(lower: int, upper: int) -> str:
    """ "3", "1-2" or "5-"."""
    if upper == OPEN_END:
        return f"{lower}-"
    return str(lower) if lower == upper else f"{lower}-{upper}"


@dataclass(frozen=True, slots=True, eq=False, repr=False)
class Coverage(Result):
    """Compacted share of an area, by bins of pass counts."""

    n: int  # points counted
    missing: int  # rows left out for want of a pass count
    plan_area: float  # included less excluded areas, in the square of the unit of the vertices
    shares: tuple[float, ...]  # percent of the plan area in each bin
    areas: tuple[float, ...]  # points of each bin times the area of the mesh
    achieved: float  # percent that has the target passes; NaN without a target
    mesh: tuple[float, float]
    bins: tuple[tuple[int, int], ...]  # lower and upper end, both included; -1: open
    target_passes: int | None
    target_coverage: float  # percent of the area that must have them

    _listed = (
        *"n missing mesh plan_area bin_names coverage compacted_area target_passes".split(),
        *"target_coverage achieved target_met".split(),
    )

    @property
    def coverage(self) -> Array:
        """Percent of the plan area in each bin."""
        return np.array(self.shares, np.float32)

    @property
    def compacted_area(self) -> Array:
        """Points of each bin times the area of the mesh, in the square of its unit."""
        return np.array(self.areas, np.float32)

    @property
    def bin_names(self) -> tuple[str, ...]:
        """As in "3", "1-2", "5-"."""
        return tuple(bin_name(lower, upper) for lower, upper in self.bins)

    @property
    def target_met(self) -> bool | None:
        """Whether enough of the area has the target passes; None without a target."""
        return None if self.target_passes is None else self.achieved >= self.target_coverage

    def _columns(self) -> dict[str, Any]:
        return {
            "passes": self.bin_names,
            "coverage_percent": self.coverage,
            "compacted_area": self.compacted_area,
        }

    def __repr__(self) -> str:
        shares = ", ".join(
            f"{name}: {short(float(share))} %" for name, share in zip(self.bin_names, self.coverage)
        )
        verdict = (
            f"; {short(self.achieved)} % with {self.target_passes} passes or more "
            f"({short(self.target_coverage)} % wanted)"
            if self.target_passes is not None
            else ""
        )
        return f"Coverage: {short(self.plan_area)} of plan area by {self.n} points; {shares}{verdict}"

    def _repr_html_(self) -> str:
        rows: list[tuple[str, ...]] = [("passes", "% of the area", "area")]
        for name, share, area in zip(self.bin_names, self.coverage, self.compacted_area):
            rows.append((name, short(float(share)), short(float(area))))
        if self.target_passes is not None:
            rows.append((f"{self.target_passes} or more", short(self.achieved), ""))
        return table_html("Coverage", rows)

    def plot(self, ax: Axes | None = None) -> Axes:
        """Draw the share of each bin. Takes the extra "plots"."""
        ax = axes(ax)
        shares = self.coverage
        target = self.target_passes
        colours = [GREEN if target is not None and low >= target else BLUE for low, _ in self.bins]
        bars = ax.bar(self.bin_names, shares, color=colours, width=0.7)
        ax.bar_label(bars, [f"{share:.1f} %" for share in shares], padding=2, fontsize=9)
        if target is not None:
            ax.set_title(
                f"{self.achieved:.1f} % with {target} passes or more, {short(self.target_coverage)} % "
                "wanted",
                fontsize=10,
            )
        ax.set_ylim(0, max(100.0, 1.12 * float(shares.max())))
        ax.set(xlabel="passes", ylabel="share of the area (%)")
        return ax
