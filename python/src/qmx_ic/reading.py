"""Lots read from files: the points, with an account of every row."""

from __future__ import annotations

import json
import os
from collections.abc import Mapping, Sequence
from typing import TYPE_CHECKING, Any, Unpack

import numpy as np
import numpy.typing as npt

from qmx_ic import _study
from qmx_ic.arguments import READING_KEYS, Path, ReadingOptions, files_of, given
from qmx_ic.records import POINT
from qmx_ic.showing import need_pandas, table_html

if TYPE_CHECKING:
    import pandas as pd

__all__ = ["Lot", "file_hash", "named_and_given", "read"]


class Lot:
    """The points of a lot as they were read, with an account of every row.

    Made by `read`. Positions are those of the file: no origin is subtracted.

    Attributes
    ----------
    records : numpy.ndarray
        Shape (n,), 32 bytes each, read-only: ``d_x`` and ``d_y`` in the unit of the file (NaN where a
        row has no position), ``d_val``, ``i_passno`` (0 where a row has no pass).
    rows : numpy.ndarray
        Shape (n,), int64: the number of each point's row in the file, from 1.
    account : dict
        ``"input"`` and ``"columns"`` as in the document of a study: files, rows read, used and dropped
        with reason and first line, coordinate system, columns with unit and how each was found, notes.
    """

    def __init__(self, data: _study.LotData, job: str, reading: dict[str, Any]) -> None:
        self._data = data
        self._job = job
        self._reading = reading
        self.records: npt.NDArray[Any] = data.records().view(POINT).reshape(-1)
        self.rows: npt.NDArray[np.int64] = data.rows()
        self.account: dict[str, Any] = json.loads(data.account())

    def __len__(self) -> int:
        return len(self.records)

    @property
    def x(self) -> npt.NDArray[np.float64]:
        """Eastings, a view."""
        return self.records["d_x"]

    @property
    def y(self) -> npt.NDArray[np.float64]:
        """Northings, a view."""
        return self.records["d_y"]

    @property
    def value(self) -> npt.NDArray[np.float64]:
        """Measured values, a view."""
        return self.records["d_val"]

    @property
    def pass_(self) -> npt.NDArray[np.int32]:
        """Numbers of the passes, a view; 0 where a row has none."""
        return self.records["i_passno"]

    @property
    def files(self) -> list[str]:
        """The files that were read."""
        return [each["file"] for each in self.account["input"]["files"]]

    @property
    def columns(self) -> dict[str, Any]:
        """The columns taken: name, unit and how each was found; None where there is none."""
        return dict(self.account["columns"])

    @property
    def dropped(self) -> list[dict[str, Any]]:
        """Rows that could not be used: one entry a reason, with count and first line."""
        return list(self.account["input"]["dropped"])

    @property
    def system(self) -> str | None:
        """The coordinate system of the positions, None where it is not known."""
        return _text_or_none(self.account["input"]["coordinate_system"])

    @property
    def notes(self) -> list[str]:
        """What one should know of the choices made."""
        return list(self.account["input"]["notes"])

    def to_frame(self) -> pd.DataFrame:
        """The points as a DataFrame with the columns row, x, y, value and pass."""
        frame: pd.DataFrame = need_pandas().DataFrame(
            {
                "row": self.rows,
                "x": self.x.copy(),
                "y": self.y.copy(),
                "value": self.value.copy(),
                "pass": self.pass_.copy(),
            }
        )
        return frame

    def _figures(self) -> list[tuple[str, str]]:
        about = self.account["input"]
        columns = self.account["columns"]
        named = [
            f"{key} {columns[key]['name']}"
            + (f" [{columns[key]['unit']}]" if columns[key]["unit"] else "")
            for key in ("x", "y", "value", "pass")
            if columns.get(key)
        ]
        figures = [
            ("file", ", ".join(self.files)),
            (
                "rows",
                f"{about['rows_read']} read, {about['rows_used']} used, "
                f"{about['rows_dropped']} dropped, {about['rows_left_out_by_filter']} filtered",
            ),
            ("columns", ", ".join(named)),
        ]
        for each in self.dropped:
            where = f", first at line {each['first_line']}" if each["first_line"] else ""
            figures.append(("dropped", f"{each['count']}: {each['text']}{where}"))
        if self.system:
            figures.append(("system", self.system))
        return figures

    def __repr__(self) -> str:
        lines = [f"Lot of {len(self)} points"]
        lines += [f"  {name:8} {text}" for name, text in self._figures()]
        return "\n".join(lines)

    def _repr_html_(self) -> str:
        return table_html(f"Lot of {len(self)} points", self._figures())


def _text_or_none(value: Any) -> str | None:
    return None if value is None else str(value)


def read(
    file: Path | Sequence[Path] | None = None,
    *,
    job: Path | None = None,
    **reading: Unpack[ReadingOptions],
) -> Lot:
    """Reads the points of a lot.

    Parameters
    ----------
    file : path or sequence of paths
        Delimited text (comma, semicolon or tab; packed by gzip too) or GeoJSON; GeoPackage, Shapefile
        and other vector formats where pyogrio is installed. Several files make one lot. May be left
        out where a job file names it.
    job : path, optional
        A job file; what is given here wins.
    **reading
        See `ReadingOptions`.

    Returns
    -------
    Lot

    Raises
    ------
    StudyFileNotFoundError
        Where the file is not there; it is a FileNotFoundError too.
    StudyError
        Where no column of values is found, no row is left, a filter or an option is wrong.

    Examples
    --------
    >>> import pathlib, tempfile, qmx_ic
    >>> file = pathlib.Path(tempfile.mkdtemp(), "lot.csv")
    >>> _ = file.write_text("Easting_m,Northing_m,Value\\n0,0,40\\n1,0,?\\n2,0,42\\n")
    >>> lot = qmx_ic.read(file)
    >>> lot.value
    array([40., 42.])
    >>> lot.dropped[0]["count"], lot.dropped[0]["first_line"]
    (1, 3)
    """
    named, known = named_and_given(file, job, reading)
    return Lot(_study.read(named, known), named, known)


def named_and_given(
    file: Path | Sequence[Path] | Lot | None, job: Path | None, reading: Mapping[str, Any]
) -> tuple[str, dict[str, Any]]:
    named = "" if job is None else os.fspath(job)
    known: dict[str, Any] = {}
    if isinstance(file, Lot):
        named = named or file._job
        known.update(file._reading)
    elif file is not None:
        known["input.files"] = files_of(file)
    known.update(given(READING_KEYS, reading))
    return named, known


def file_hash(file: Path) -> str:
    """The SHA-256 of a file as the document of a study tells it: 64 hexadecimal digits.

    Raises
    ------
    StudyFileNotFoundError
        Where the file is not there.
    """
    return _study.file_hash(os.fspath(file))[0]
