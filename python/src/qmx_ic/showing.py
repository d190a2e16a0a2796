"""What all results have in common: how they list themselves and how they show in a notebook."""

from __future__ import annotations

from collections.abc import Sequence
from typing import TYPE_CHECKING, Any, cast

import numpy as np

if TYPE_CHECKING:
    import pandas

__all__ = ["Array", "Result", "short", "table_html", "two_rows"]

Array = np.ndarray[Any, np.dtype[Any]]


def need_pandas() -> Any:
    """pandas, or an error that says how to get it."""
    try:
        import pandas
    except ImportError as failure:
        raise ImportError("this needs pandas: pip install 'qmx_ic[frames]'") from failure
    return pandas


def short(number: float) -> str:
    """Six digits at most; "-" for a number that there is none of."""
    return "-" if number != number else f"{number:.6g}"


def plain(value: Any) -> Any:
    """As JSON takes it: lists and plain numbers, None for NaN and infinity."""
    if isinstance(value, np.ndarray):
        return plain(value.tolist())
    if isinstance(value, (list, tuple)):
        return [plain(one) for one in value]
    if isinstance(value, float):
        return value if np.isfinite(value) else None
    return value


def two_rows(held: bytes) -> Array:
    """Doubles kept as they came from the library, which an array is made of when it is asked for."""
    return np.frombuffer(held, np.float64).reshape(2, -1)


def table_html(caption: str, rows: Sequence[tuple[str, ...]]) -> str:
    """A small table, the first cell of each row its heading."""
    import html  # here, since few sessions show tables and the import takes time

    lines = [f"<table><caption>{html.escape(caption)}</caption>"]
    for first, *others in rows:
        cells = "".join(f"<td style='text-align:right'>{html.escape(one)}</td>" for one in others)
        lines.append(f"<tr><th style='text-align:left'>{html.escape(first)}</th>{cells}</tr>")
    return "\n".join([*lines, "</table>"])


class Result:
    """What all results can do. `_listed` names what `to_dict` holds, `_shown` what a notebook shows."""

    __slots__ = ()
    _listed: tuple[str, ...] = ()
    _shown: tuple[str, ...] = ()

    def to_dict(self) -> dict[str, Any]:
        """Everything as plain numbers and lists; None where a number is not defined."""
        return {name: plain(getattr(self, name)) for name in self._listed}

    def _columns(self) -> dict[str, Any]:
        raise NotImplementedError

    def to_frame(self) -> pandas.DataFrame:
        """The rows of the result as a pandas DataFrame, which takes the extra "frames"."""
        return cast("pandas.DataFrame", need_pandas().DataFrame(self._columns()))

    def _repr_html_(self) -> str:
        rows: list[tuple[str, ...]] = []
        for name in self._shown:
            value = getattr(self, name)
            text = short(value) if isinstance(value, float) else str(value)
            rows.append((name.replace("_", " "), text))
        return table_html(type(self).__name__, rows)
