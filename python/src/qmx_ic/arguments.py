"""Arguments of `read`, `study` and their like, as the keys of a job file that they stand for."""

from __future__ import annotations

import difflib
import os
from collections.abc import Mapping, Sequence
from typing import Any, TypedDict

__all__ = ["Path", "READING_KEYS", "STUDY_KEYS", "ReadingOptions", "files_of", "given"]

Path = str | os.PathLike[str]


class ReadingOptions(TypedDict, total=False):
    """How a file is read; each may be left out.

    Attributes
    ----------
    x, y, value, pass_ : str
        Columns by name (or number, from 1); otherwise they are found by their names.
    where : str
        Only rows that satisfy a filter, say ``"PassCount >= 2 AND VibeState = 'On'"``.
    missing : sequence of str
        Further texts that stand for a missing value.
    decimal : str
        Decimal mark of a text: ``"auto"``, ``"point"`` or ``"comma"``.
    comment : str
        Start of the lines of a text that are comments.
    header_line : int
        Line of a text that holds the names of the columns, from 1.
    layer : str
        Of a file with several layers.
    crs : str
        Coordinate system of the positions, where the file does not name it.
    project : str
        Plane for longitudes and latitudes. The package cannot project and says so.
    columns : mapping
        Further columns by what they hold: time, machine, lift, speed, direction, vibration, frequency,
        amplitude, temperature.
    filters : mapping
        What rows must be, by the keys of a job file's table ``filter``: ``value`` and ``speed`` are
        pairs (None is open), ``time`` a pair of texts, ``machines`` and ``lifts`` lists, ``vibration``,
        ``direction`` and ``polygon`` texts.
    value_unit : str
        Unit of the value, where the file does not tell it.
    """

    x: str | int | None
    y: str | int | None
    value: str | int | None
    pass_: str | int | None
    where: str | None
    missing: Sequence[str]
    decimal: str | None
    comment: str | None
    header_line: int | None
    layer: str | None
    crs: str | None
    project: str | None
    columns: Mapping[str, str]
    filters: Mapping[str, Any]
    value_unit: str | None


# Arguments and the keys of a job file that they stand for.
READING_KEYS = {
    "x": "columns.x",
    "y": "columns.y",
    "value": "columns.value",
    "pass_": "columns.pass",
    "where": "input.where",
    "missing": "input.missing",
    "decimal": "input.decimal",
    "comment": "input.comment",
    "header_line": "input.header_line",
    "layer": "input.layer",
    "crs": "input.crs",
    "project": "input.project",
    "value_unit": "units.value",
}
STUDY_KEYS = {
    "tests": "input.tests",
    "tests_value": "columns.tests_value",
    "tests_any_pass": "analysis.tests_any_pass",
    "area": "input.area",
    "exclude": "input.excluded_area",
    "target": "analysis.target",
    "below": "analysis.below",
    "minimum": "analysis.minimum",
    "target_passes": "analysis.target_passes",
    "radius": "analysis.radius",
    "lag": "analysis.lag",
    "nlag": "analysis.lags",
    "window": "analysis.window",
    "all_records": "analysis.all_records",
    "preset": "thresholds.preset",
    "time_stamp": "output.time_stamp",
    "language": "output.language",
    "logo": "output.logo",
}
_TABLES = {"columns": "columns", "filters": "filter", "thresholds": "thresholds", "texts": "texts"}


def _plain(value: Any) -> Any:
    """Names of files as text; a column's number as the text that stands for it stays with its caller."""
    if isinstance(value, os.PathLike):
        return os.fspath(value)
    if isinstance(value, Sequence) and not isinstance(value, (str, bytes)):
        return [_plain(each) for each in value]
    return value


def given(keys: Mapping[str, str], arguments: Mapping[str, Any]) -> dict[str, Any]:
    """Arguments by the keys of a job file; what is None is not given."""
    found: dict[str, Any] = {}
    for name, value in arguments.items():
        if value is None:
            continue
        if name in _TABLES:
            for key, each in value.items():
                found[f"{_TABLES[name]}.{key}"] = _plain(each)
        elif name not in keys:
            near = difflib.get_close_matches(name, [*keys, *_TABLES], 1)
            hint = f"; did you mean {near[0]}?" if near else ""
            raise TypeError(f"there is no argument {name!r}{hint}")
        elif name in ("x", "y", "value", "pass_") and isinstance(value, int):
            found[keys[name]] = str(value)
        else:
            found[keys[name]] = _plain(value)
    return found


def files_of(file: Path | Sequence[Path]) -> list[str]:
    if isinstance(file, (str, os.PathLike)):
        return [os.fspath(file)]
    return [os.fspath(each) for each in file]
