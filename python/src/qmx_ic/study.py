"""Lots read from files, and all analyses of a lot: what ``qmx-ic report`` does, by the same code.

`read` gives the points of a lot with an account of every row, `study` the document of a report with its
cells, tables and page. The document is the one that the program writes, byte for byte where the time
stamp is the same.
"""

from __future__ import annotations

import difflib
import html
import json as _json
import os
from collections.abc import Iterator, Mapping, Sequence
from dataclasses import dataclass
from datetime import datetime, timezone
from typing import TYPE_CHECKING, Any, TypedDict, Unpack

import numpy as np
import numpy.typing as npt

from qmx_ic import _study

if TYPE_CHECKING:
    import pandas as pd

__all__ = [
    "Lot",
    "ReadingOptions",
    "Study",
    "StudyError",
    "StudyFileNotFoundError",
    "Verdict",
    "file_hash",
    "presets",
    "propose_job",
    "read",
    "read_job",
    "study",
]

Path = str | os.PathLike[str]
#: The outcomes behind the numbers of ``Study.cells["verdict"]``.
CELL_VERDICTS = ("missed", "met", "not_given")

# The record of the library: 32 bytes.
_RECORD = np.dtype(
    {
        "names": ["d_x", "d_y", "d_val", "i_passno", "i_reserved"],
        "formats": ["<f8", "<f8", "<f8", "<i4", "<i4"],
        "offsets": [0, 8, 16, 24, 28],
        "itemsize": 32,
    }
)


class StudyError(ValueError):
    """What a file, an option or the data do not allow.

    Attributes
    ----------
    message : str
        What is wrong, where, and the remedy.
    code : str
        ``"wrong_usage"`` (a file, a column or an option), ``"analysis_failed"`` or ``"failed"``.
    file, line, column, option : str or int or None
        What it concerns, as far as that is known; lines count from 1.
    path : str or None
        The failing routine of the library and its callers, where the library failed.
    event_code : int or None
        The library's own number of the failure.
    """

    def __init__(
        self,
        message: str,
        *,
        code: str = "wrong_usage",
        file: str | None = None,
        line: int | None = None,
        option: str | None = None,
        column: str | None = None,
        path: str | None = None,
        event_code: int | None = None,
    ) -> None:
        super().__init__(message)
        self.message = message
        self.code = code
        self.file = file
        self.line = line
        self.option = _argument_of(option)
        self.column = column
        self.path = path
        self.event_code = event_code

    def __str__(self) -> str:
        return self.message

    def __reduce__(self) -> tuple[Any, ...]:
        return (_error_again, (type(self), dict(self.__dict__)))


class StudyFileNotFoundError(StudyError, FileNotFoundError):
    """A file that was to be read is not there."""


def _error_again(kind: type[StudyError], known: dict[str, Any]) -> StudyError:
    """An error that went from one process to another."""
    return kind(known.pop("message"), **known)


def _argument_of(option: str | None) -> str | None:
    """The argument that stands for an option of the program: ``--target-passes``, ``--pass``."""
    if option is None:
        return None
    name = option.lstrip("-").replace("-", "_")
    return "pass_" if name == "pass" else name


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
_READING_KEYS = {
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
_STUDY_KEYS = {
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


def _given(keys: Mapping[str, str], arguments: Mapping[str, Any]) -> dict[str, Any]:
    """Arguments by the keys of a job file; what is None is not given."""
    given: dict[str, Any] = {}
    for name, value in arguments.items():
        if value is None:
            continue
        if name in _TABLES:
            for key, each in value.items():
                given[f"{_TABLES[name]}.{key}"] = _plain(each)
        elif name not in keys:
            near = difflib.get_close_matches(name, [*keys, *_TABLES], 1)
            hint = f"; did you mean {near[0]}?" if near else ""
            raise TypeError(f"there is no argument {name!r}{hint}")
        elif name in ("x", "y", "value", "pass_") and isinstance(value, int):
            given[keys[name]] = str(value)
        else:
            given[keys[name]] = _plain(value)
    return given


def _files(file: Path | Sequence[Path]) -> list[str]:
    if isinstance(file, (str, os.PathLike)):
        return [os.fspath(file)]
    return [os.fspath(each) for each in file]


def _pandas() -> Any:
    try:
        import pandas
    except ImportError as error:
        raise ImportError("needs pandas: pip install qmx_ic[frames]") from error
    return pandas


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

    def __init__(self, data: _study.LotData, job: str, given: dict[str, Any]) -> None:
        self._data = data
        self._job = job
        self._reading = given
        self.records: npt.NDArray[Any] = data.records().view(_RECORD).reshape(-1)
        self.rows: npt.NDArray[np.int64] = data.rows()
        self.account: dict[str, Any] = _json.loads(data.account())

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
        frame: pd.DataFrame = _pandas().DataFrame(
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
        return _html_table(f"Lot of {len(self)} points", self._figures())


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
        pandas = _pandas()
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
        frame: pd.DataFrame = _pandas().DataFrame(rows, columns=columns)
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
        return _html_table("Study of a lot", list(self._figures()))


def _text_or_none(value: Any) -> str | None:
    return None if value is None else str(value)


def _html_table(title: str, rows: Sequence[tuple[str, str]]) -> str:
    body = "".join(
        f"<tr><th style='text-align:left'>{html.escape(name)}</th>"
        f"<td style='text-align:left'>{html.escape(text)}</td></tr>"
        for name, text in rows
    )
    return f"<table><caption>{html.escape(title)}</caption>{body}</table>"


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
    named, given = _reading(file, job, reading)
    return Lot(_study.read(named, given), named, given)


def _reading(
    file: Path | Sequence[Path] | Lot | None, job: Path | None, reading: Mapping[str, Any]
) -> tuple[str, dict[str, Any]]:
    named = "" if job is None else os.fspath(job)
    given: dict[str, Any] = {}
    if isinstance(file, Lot):
        named = named or file._job
        given.update(file._reading)
    elif file is not None:
        given["input.files"] = _files(file)
    given.update(_given(_READING_KEYS, reading))
    return named, given


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
    named, given = _reading(lot, job, reading)
    given.update(_given(_STUDY_KEYS, own))
    now = datetime.now(timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
    return Study(_study.study(named, given, now))


def read_job(file: Path) -> dict[str, dict[str, Any]]:
    """The settings of a job file: table -> key -> value, of what is set.

    Names of files are as the job's folder makes them.

    Raises
    ------
    StudyError
        With the line of a key, a type or a value that is not right.
    """
    return _study.read_job(os.fspath(file))


def propose_job(
    file: Path | Sequence[Path],
    *,
    tests: Path | None = None,
    area: Path | None = None,
    job_file: Path = "",
    **reading: Unpack[ReadingOptions],
) -> str:
    """A commented job file from what is recognised in the points, as ``qmx-ic init`` writes it.

    Parameters
    ----------
    file : path or sequence of paths
        The points.
    tests, area : path, optional
        Written down unread.
    job_file : path, optional
        Where the text will stand; relative names of files are written from there.
    **reading
        See `ReadingOptions`.
    """
    _, given = _reading(file, None, reading)
    given.update(_given(_STUDY_KEYS, {"tests": tests, "area": area}))
    return _study.propose_job(given, os.fspath(job_file))


def presets() -> dict[str, dict[str, Any]]:
    """The rules that thresholds may come from: name -> where they are common, and their thresholds.

    Examples
    --------
    >>> import qmx_ic
    >>> qmx_ic.presets()["austria"]["thresholds"]["variation_percent"]
    20.0
    """
    return _study.presets()


def file_hash(file: Path) -> str:
    """The SHA-256 of a file as the document of a study tells it: 64 hexadecimal digits.

    Raises
    ------
    StudyFileNotFoundError
        Where the file is not there.
    """
    return _study.file_hash(os.fspath(file))[0]
