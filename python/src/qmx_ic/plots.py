"""Drawings of results with Matplotlib, which is imported when the first is made."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np

from qmx_ic.results import CompactionCurve, PolynomialCurve, Semivariogram, Statistics
from qmx_ic.showing import short

if TYPE_CHECKING:
    from matplotlib.axes import Axes

    from qmx_ic.place_results import Coverage, Selection, SpotTests

BLUE, ORANGE, GREY, GREEN = "#2f6f9f", "#c8641e", "#8a8f94", "#3d8b5f"


def _axes(ax: Axes | None) -> Any:
    try:
        import matplotlib.pyplot as pyplot
    except ImportError as failure:
        raise ImportError("this needs Matplotlib: pip install 'qmx_ic[plots]'") from failure
    if ax is None:
        _, ax = pyplot.subplots(figsize=(6.4, 4.2), layout="constrained")
    for side in ("top", "right"):
        ax.spines[side].set_visible(False)
    return ax


def _count_passes(ax: Any) -> None:
    from matplotlib.ticker import MaxNLocator

    ax.xaxis.set_major_locator(MaxNLocator(integer=True))


def histogram(found: Statistics, ax: Axes | None = None) -> Axes:
    """Bars of the classes, the cumulative share as a line, the target where there is one."""
    ax = _axes(ax)
    limits, shares = found.class_limits, found.shares
    if limits.size == 0:
        ax.text(0.5, 0.5, "no histogram", ha="center", color=GREY, transform=ax.transAxes)
    if found.pass_counts:
        ax.bar(limits, shares, width=0.8, color=BLUE)
        _count_passes(ax)
    elif limits.size > 1:
        width = float(limits[1] - limits[0])
        ax.bar(limits, shares, width=-0.92 * width, align="edge", color=BLUE)
    else:
        ax.bar(limits, shares, width=0.1, color=BLUE)
    second = ax.twinx()
    second.plot(limits, found.cumulative, color=GREY, linewidth=1.4)
    second.set(ylim=(0, 102), ylabel="cumulative share (%)")
    second.spines["top"].set_visible(False)
    if found.target is not None:
        edge = found.target
        if found.pass_counts:  # between the bars
            edge += 0.5 if found.below else -0.5
        ax.axvline(edge, color=ORANGE, linestyle="--", linewidth=1.4)
        side = "at or below" if found.below else "at or above"
        ax.set_title(
            f"{short(round(found.counted_percent, 1))} % {side} {short(found.target)}", fontsize=10
        )
    else:
        ax.set_title(f"n {found.n}, mean {short(found.mean)}", fontsize=10)
    ax.set(xlabel="passes" if found.pass_counts else "value", ylabel="share of the values (%)")
    return ax


def compaction_curve(found: CompactionCurve, ax: Axes | None = None) -> Axes:
    """Means, curve, and the target pass."""
    ax = _axes(ax)
    passes = np.arange(1, found.passes + 1)
    if found.coefficients:
        ax.plot(found.x, found.y, color=BLUE, linewidth=1.6, label="quadratic", zorder=1)
    ax.scatter(passes, found.pass_means, color=BLUE, s=34, label="mean of the pass", zorder=2)
    if found.target_pass is not None:
        ax.axvline(
            found.target_pass,
            color=ORANGE,
            linestyle="--",
            linewidth=1.4,
            label=f"then less than {short(found.growth_limit)} % growth",
        )
    _count_passes(ax)
    ax.set(xlabel="pass", ylabel="mean value")
    ax.legend(frameon=False)
    return ax


def polynomial_curve(found: PolynomialCurve, ax: Axes | None = None) -> Axes:
    """Pairs and curve."""
    ax = _axes(ax)
    ax.scatter(*found.data, color=GREY, s=14, linewidths=0, label="pairs")
    ax.plot(found.x, found.y, color=BLUE, linewidth=1.8, label=f"degree {found.degree}")
    ax.set(xlabel="x", ylabel="y")
    ax.legend(frameon=False)
    return ax


def semivariogram(found: Semivariogram, ax: Axes | None = None) -> Axes:
    """Lags with pairs, and the model."""
    ax = _axes(ax)
    with_pairs = found.distances > 0
    distances, heights = found.distances[with_pairs], found.semivariances[with_pairs]
    ax.scatter(distances, heights, color=BLUE, s=26, label="lags", zorder=2)
    if found.has_model:
        name = f"model, range {short(round(found.practical_range, 3))}"
        ax.plot(found.curve_x, found.curve_y, color=ORANGE, linewidth=1.6, label=name)
    ax.set_xlim(left=0)
    ax.set_ylim(bottom=0)
    unit = " / variance" if found.standardised else ""
    ax.set(xlabel="distance", ylabel=f"semivariance{unit}")
    ax.legend(frameon=False, loc="lower right")
    return ax


def selection(found: Selection, ax: Axes | None = None) -> Axes:
    """Points inside and outside, and the outline."""
    ax = _axes(ax)
    inside = found.mask
    size = float(np.clip(20000 / max(found.total, 1), 0.5, 18))
    for chosen, colour, name in ((~inside, "#c3c7cb", "outside"), (inside, BLUE, "inside")):
        label = f"{name}: {int(np.count_nonzero(chosen))}"
        ax.scatter(
            found.x[chosen], found.y[chosen], s=size, color=colour, linewidths=0, label=label
        )
    if isinstance(found.outline, tuple):
        turn = np.linspace(0, 2 * np.pi, 181)
        east, north, radius = found.outline
        ax.plot(east + radius * np.cos(turn), north + radius * np.sin(turn), color=ORANGE)
    else:
        ax.plot(*np.vstack([found.outline, found.outline[:1]]).T, color=ORANGE)
    _as_map(ax)
    ax.legend(frameon=False, markerscale=max(1, 4 / size), loc="upper left", bbox_to_anchor=(1, 1))
    return ax


def _as_map(ax: Any) -> None:
    ax.set_aspect("equal", adjustable="box")
    ax.ticklabel_format(useOffset=False, style="plain")
    ax.tick_params(axis="x", labelrotation=30)
    ax.set(xlabel="easting", ylabel="northing")


def spot_tests(found: SpotTests, ax: Axes | None = None) -> Axes:
    """Pairs and line; hollow circles for tests that are not in it."""
    ax = _axes(ax)
    values, means, in_line = found.values, found.means, found.in_line
    others = ~in_line & (found.counts > 0)
    ax.scatter(values[in_line], means[in_line], color=BLUE, s=30, label="in the line", zorder=2)
    if others.any():
        ax.scatter(
            values[others],
            means[others],
            facecolors="none",
            edgecolors=GREY,
            s=30,
            label=f"fewer than {found.min_ic} IC values",
        )
    if found.slope == found.slope:
        ends = np.array([values[in_line].min(), values[in_line].max()])
        name = f"r {found.r:.3f}, R² {found.r_squared:.1f} %, n {found.pairs}"
        ax.plot(ends, found.intercept + found.slope * ends, color=ORANGE, label=name)
    ax.set(xlabel="spot test", ylabel=f"mean IC value within {short(found.radius)}")
    ax.legend(frameon=False)
    return ax


def coverage(found: Coverage, ax: Axes | None = None) -> Axes:
    """A bar for each bin, green where it has the target passes."""
    ax = _axes(ax)
    shares = found.coverage
    target = found.target_passes
    colours = [GREEN if target is not None and low >= target else BLUE for low, _ in found.bins]
    bars = ax.bar(found.bin_names, shares, color=colours, width=0.7)
    ax.bar_label(bars, [f"{share:.1f} %" for share in shares], padding=2, fontsize=9)
    if target is not None:
        ax.set_title(
            f"{found.achieved:.1f} % with {target} passes or more, {short(found.target_coverage)} % "
            "wanted",
            fontsize=10,
        )
    ax.set_ylim(0, max(100.0, 1.12 * float(shares.max())))
    ax.set(xlabel="passes", ylabel="share of the area (%)")
    return ax
