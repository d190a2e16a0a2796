"""What all drawings with Matplotlib share; it is imported when the first is made."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

if TYPE_CHECKING:
    from matplotlib.axes import Axes

__all__ = ["BLUE", "GREEN", "GREY", "ORANGE", "as_map", "axes", "count_passes"]

BLUE, ORANGE, GREY, GREEN = "#2f6f9f", "#c8641e", "#8a8f94", "#3d8b5f"


def axes(ax: Axes | None) -> Axes:
    """Axes to draw on, new ones where none are given."""
    try:
        import matplotlib.pyplot as pyplot
    except ImportError as failure:
        raise ImportError("this needs Matplotlib: pip install 'qmx_ic[plots]'") from failure
    if ax is None:
        _, ax = pyplot.subplots(figsize=(6.4, 4.2), layout="constrained")
    for side in ("top", "right"):
        ax.spines[side].set_visible(False)
    return ax


def count_passes(ax: Any) -> None:
    """Whole numbers along the axis of passes."""
    from matplotlib.ticker import MaxNLocator

    ax.xaxis.set_major_locator(MaxNLocator(integer=True))


def as_map(ax: Any) -> None:
    """Eastings and northings at one scale."""
    ax.set_aspect("equal", adjustable="box")
    ax.ticklabel_format(useOffset=False, style="plain")
    ax.tick_params(axis="x", labelrotation=30)
    ax.set(xlabel="easting", ylabel="northing")
