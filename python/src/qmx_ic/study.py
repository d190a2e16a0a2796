"""All analyses of a lot: what ``qmx-ic report`` does, by the same code.

The document of a study is the one that the program writes, byte for byte where the time stamp is the same.
"""

from __future__ import annotations

import json as _json
import os
from collections.abc import Iterator, Mapping, Sequence
from dataclasses import dataclass
from datetime import datetime, timezone
from typing import TYPE_CHECKING, Any, Unpack

import numpy as np
import numpy.typing as npt

from qmx_ic import _study
from qmx_ic.arguments import STUDY_KEYS, Path, ReadingOptions, given
from qmx_ic.reading import Lot, named_and_given
from qmx_ic.showing import need_pandas, table_html

if TYPE_CHECKING:
    import pandas as pd

__all__ = ["CELL_VERDICTS", "Study", "Verdict", "study"]

#: The outcomes behind the numbers of ``Study.cells["verdict"]``.
CELL_VERDICTS = ("missed", "met", "not_given")


@dataclass(frozen=True)
class Verdict:
    """One threshold and what became of it.

    Attributes
    ----------
    key : str
        ``"coverage"``, ``"target"``, ...
    outcome : str
        ``"met"``, ``"missed"`` or ``"not_given"``.
    measured : float or None
        In ``unit``.
    threshold : float
        What it was measured against.
    at_least : bool
        False where the threshold is the most that is allowed.
    unit : str
        ``"%"``, ``"m"``, ...; ``""`` for a plain number.
    reason : str or None
        Why no verdict is given.
    """

    key: str
    outcome: str
    measured: float | None
    threshold: float
    at_least: bool
    unit: str
    reason: str | None

    def __str__(self) -> str:
        unit = f" {self.unit}" if self.unit else ""
        if self.measured is None:
            return f"{self.key}: {self.outcome.replace('_', ' ')}: {self.reason}"
        sign = ">=" if self.at_least else "<="
        text = f"{self.measured:.6g}{unit}, wanted {sign} {self.threshold:g}{unit}"
        return f"{self.key}: {self.outcome.replace('_', ' ')}: {text}"


class Study:
    """All analyses of a lot. Made by `study`."""

    def __init__(self, data: _study.StudyData) -> None:
        self._data = data
        self._document: dict[str, Any] | None = None

    @property
    def document(self) -> dict[str, Any]:
        """The document ``qmx-ic/report/1``: every result, with what was assumed beside it."""
        if self._document is None:
            self._document = _json.loads(self.json())
        return self._document

    def json(self) -> str:
        """The text that the program writes as ``--document``."""
        return self._data.document()

    def __getitem__(self, part: str) -> Any:
        """A part of the document, say ``study["stats"]``."""
        return self.document[part]

    @property
    def verdicts(self) -> list[Verdict]:
        """What became of each threshold."""
        return [
            Verdict(
                key=each["key"],
                outcome=each["outcome"],
                measured=each["measured"],
                threshold=each["threshold"]["value"],
                at_least=each["at_least"],
                unit=each["unit"] or "",
                reason=each.get("reason"),
            )
            for each in self.document["verdicts"]
        ]

    @property
    def missing(self) -> list[dict[str, Any]]:
        """Parts that are not there, each with a key and the reason."""
        return list(self.document["missing"])

    @property
    def cautions(self) -> list[dict[str, Any]]:
        """What the data do not support."""
        return list(self.document["cautions"])

    @property
    def notes(self) -> list[str]:
        """What one should know of the data and of the choices made."""
        return list(self.document["notes"])

    @property
    def cells(self) -> dict[str, npt.NDArray[Any]]:
        """The cells of the finished layer as columns, without a copy.

        Returns
        -------
        dict
            ``x``, ``y``, ``value`` (float64), ``pass`` (int32, 0 where it is not known; empty where
            the file has none), ``verdict`` (uint8, an index into ``CELL_VERDICTS``), ``record`` (int64,
            the row in the file, from 1). Read-only.
        """
        return self._data.cells()

    def to_frame(self) -> pd.DataFrame:
        """The cells as a DataFrame; verdicts are the words of ``CELL_VERDICTS``."""
        pandas = need_pandas()
        columns = dict(self.cells)
        columns["verdict"] = pandas.Categorical.from_codes(
            columns["verdict"].astype(np.int8), categories=list(CELL_VERDICTS)
        )
        if len(columns["pass"]) != len(columns["x"]):
            del columns["pass"]
        frame: pd.DataFrame = pandas.DataFrame(columns)
        return frame

    def report(self, path: Path, *, language: str | None = None, logo: Path | None = None) -> None:
        """Writes the page: one HTML file that needs no network.

        Parameters
        ----------
        path : path
            Of the file; it comes to its name when it is complete.
        language : {"en", "de"}, optional
            Otherwise that of the study.
        logo : path, optional
            A PNG, JPEG or SVG for the head of the page.

        Raises
        ------
        StudyError
            Where the package was built without Node, and so makes no pages; for a language that is not
            known, a picture that cannot be read, a file that cannot be written.
        """
        self._data.write_page(os.fspath(path), *self._page(language, logo))

    def page(self, *, language: str | None = None, logo: Path | None = None) -> bytes:
        """The bytes of the page that `report` writes."""
        return self._data.page(*self._page(language, logo))

    def _page(self, language: str | None, logo: Path | None) -> tuple[str, str]:
        return (
            self._data.language() if language is None else language,
            self._data.logo() if logo is None else os.fspath(logo),
        )

    def save(self, path: Path) -> None:
        """Writes the document as JSON."""
        self._data.write_document(os.fspath(path))

    def tables(self, folder: Path) -> None:
        """Writes all tables as CSV files into a folder, which is made where it is missing."""
        self._data.write_tables(os.fspath(folder))

    @property
    def table_names(self) -> list[str]:
        """The names that `table` takes."""
        return list(self._data.tables())

    def table(self, name: str) -> pd.DataFrame:
        """One of the tables as a DataFrame.

        Raises
        ------
        KeyError
            For a name that is not one of `table_names`.
        """
        tables = self._data.tables()
        if name not in tables:
            raise KeyError(f"there is no table {name!r}; there are: {', '.join(tables)}")
        columns, rows = (_json.loads(text) for text in tables[name])
        frame: pd.DataFrame = need_pandas().DataFrame(rows, columns=columns)
        return frame

    def write_cells(self, path: Path) -> None:
        """Writes the cells as .csv or .geojson with all columns of the file, or as .gpkg.

        A GeoPackage is written by pyogrio, with x, y, pass, value and verdict alone.

        Raises
        ------
        StudyError
            For an ending that cannot be written, or an output that is one of the inputs.
        """
        name = os.fspath(path)
        if not name.lower().endswith(".gpkg"):
            self._data.write_cells(name)
            return
        self._data.refuse_inputs(name)
        from qmx_ic import _vector

        _vector.write_points(name, self.cells, CELL_VERDICTS, self.document["input"])

    def _figures(self) -> Iterator[tuple[str, str]]:
        about = self.document["input"]
        value = self.document["columns"]["value"]
        yield "file", ", ".join(each["file"] for each in about["files"])
        yield "value", value["name"] if value else "none"
        yield (
            "rows",
            f"{about['rows_read']} read, {about['rows_used']} used, {about['rows_dropped']} dropped",
        )
        for each in self.verdicts:
            key, _, text = str(each).partition(": ")
            yield key, text
        for part in self.missing:
            yield f"no {part['part']}", part["text"]

    def __repr__(self) -> str:
        figures = list(self._figures())
        width = max(len(name) for name, _ in figures)
        return "\n".join(["Study of a lot", *(f"  {n:{width}}  {t}" for n, t in figures)])

    def _repr_html_(self) -> str:
        return table_html("Study of a lot", list(self._figures()))


def study(
    lot: Lot | Path | Sequence[Path] | None = None,
    *,
    job: Path | None = None,
    tests: Path | None = None,
    tests_value: str | None = None,
    tests_any_pass: bool | None = None,
    area: Path | None = None,
    exclude: Path | None = None,
    target: float | None = None,
    below: bool | None = None,
    minimum: float | None = None,
    target_passes: int | None = None,
    radius: float | None = None,
    lag: float | None = None,
    nlag: int | None = None,
    window: float | None = None,
    all_records: bool | None = None,
    preset: str | None = None,
    thresholds: Mapping[str, float | str] | None = None,
    texts: Mapping[str, str] | None = None,
    time_stamp: str | None = None,
    language: str | None = None,
    logo: Path | None = None,
    **reading: Unpack[ReadingOptions],
) -> Study:
    """Analyses a lot in all ways that its data allow.

    Parameters
    ----------
    lot : Lot, path or sequence of paths
        A lot that `read` gave is read again with the options it was read with. May be left out where
        a job file names the points.
    job : path, optional
        A job file; what is given here wins. Names of files in it start at its folder.
    tests : path, optional
        Table of the spot tests; `tests_value` names its column, `tests_any_pass` matches a test with
        the data of all passes.
    area, exclude : path, optional
        Polygons of the alignment, and polygons that are no part of it.
    target, minimum : float, optional
        Target of the measured value, and the minimum of the rule on evenness, in the value's unit.
        `below`: values at or below the target satisfy it.
    target_passes : int, optional
        Passes that each place needs; otherwise read off the compaction curve.
    radius, lag, window : float, optional
        Of the circle round a spot test, of the semivariogram, of the running mean along the road, in
        the unit of the positions.
    nlag : int, optional
        Number of lags.
    all_records : bool, optional
        All records of a cell are taken, not its last pass alone.
    preset : str, optional
        The rules that the thresholds come from; see `presets`.
    thresholds : mapping, optional
        Thresholds of one's own; ``"off"`` asks for no verdict.
    texts : mapping, optional
        title, project, lot, contractor, inspector, remarks.
    time_stamp : str, optional
        Written into the document instead of the time of the call.
    language, logo : optional
        Of the page; see `Study.report`.
    **reading
        See `ReadingOptions`.

    Returns
    -------
    Study

    Raises
    ------
    StudyFileNotFoundError
        Where a file is not there; it is a FileNotFoundError too.
    StudyError
        Where an input cannot be read or an option is wrong. A part that fails is missing from the
        document and says why there.

    Notes
    -----
    Other threads of Python run on meanwhile; calls of the library wait for each other. Ctrl-C ends the
    work.

    Examples
    --------
    >>> import pathlib, tempfile, qmx_ic
    >>> file = pathlib.Path(tempfile.mkdtemp(), "lot.csv")
    >>> rows = (f"{i % 10},{i // 10},{40 + i % 7}" for i in range(100))
    >>> _ = file.write_text("\\n".join(["Easting_m,Northing_m,Value", *rows]))
    >>> made = qmx_ic.study(file, target=41)
    >>> made["stats"]["statistics"]["count"]
    100
    >>> [each.outcome for each in made.verdicts if each.key == "target"]
    ['met']
    """
    own = {
        "tests": tests,
        "tests_value": tests_value,
        "tests_any_pass": tests_any_pass,
        "area": area,
        "exclude": exclude,
        "target": target,
        "below": below,
        "minimum": minimum,
        "target_passes": target_passes,
        "radius": radius,
        "lag": lag,
        "nlag": nlag,
        "window": window,
        "all_records": all_records,
        "preset": preset,
        "thresholds": thresholds,
        "texts": texts,
        "time_stamp": time_stamp,
        "language": language,
        "logo": logo,
    }
    named, known = named_and_given(lot, job, reading)
    known.update(given(STUDY_KEYS, own))
    now = datetime.now(timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
    return Study(_study.study(named, known, now))
