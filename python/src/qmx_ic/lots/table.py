"""The result table as CSV, Parquet or GeoPackage: the same rows, columns and values in each."""

from __future__ import annotations

import csv
import importlib
import itertools
import struct
import sys
import warnings
from collections.abc import Callable, Iterable, Iterator
from pathlib import Path
from typing import Any

from qmx_ic.lots.row import COLUMNS, Row

_CHUNK = 10_000
_NAMES = [name for name, _ in COLUMNS]


def check_output(path: Path) -> None:
    """Finds out before the work whether the table can be written after it.

    Raises
    ------
    ValueError
        If the ending is not known or the folder is not there.
    ImportError
        If what writes the format is not installed; the message names the extra.
    """
    _writer_of(path)
    if path.suffix == ".parquet":
        _pyarrow()
    if path.suffix == ".gpkg":
        _pyarrow()
        _pyogrio()
    if not path.absolute().parent.is_dir():
        raise ValueError(f"{path}: there is no folder {path.absolute().parent}")


Rows = Callable[[], Iterable[Row]]


def write_table(path: Path, rows: Rows) -> None:
    """Writes the table, whole or not at all.

    Parameters
    ----------
    path : path
        Ends with ``.csv``, ``.parquet`` or ``.gpkg``.
    rows : callable
        Gives the rows from the first on, by the names of :data:`qmx_ic.lots.row.COLUMNS`; memory holds some
        thousands of them at a time.
    """
    beside = path.with_name(f".{path.stem}.part{path.suffix}")
    beside.unlink(missing_ok=True)
    try:
        _writer_of(path)(beside, rows)
        beside.replace(path)
    finally:
        beside.unlink(missing_ok=True)


def _writer_of(path: Path) -> Callable[[Path, Rows], None]:
    writers = {".csv": _write_csv, ".parquet": _write_parquet, ".gpkg": _write_geopackage}
    if path.suffix not in writers:
        raise ValueError(f"{path}: the table ends with .csv, .parquet or .gpkg")
    return writers[path.suffix]


def _write_csv(path: Path, rows: Rows) -> None:
    with open(path, "w", encoding="utf-8", newline="") as stream:
        writer = csv.writer(stream, lineterminator="\n")
        writer.writerow(_NAMES)
        for row in rows():
            writer.writerow([row.get(name) for name in _NAMES])


def _write_parquet(path: Path, rows: Rows) -> None:
    parquet: Any = importlib.import_module("pyarrow.parquet")

    with parquet.ParquetWriter(path, _schema()) as writer:
        for chunk in _chunks(rows()):
            writer.write_table(_arrow_table(chunk))


def _write_geopackage(path: Path, rows: Rows) -> None:
    """A layer of points in the middle of the lots. Lots in different coordinate systems share a layer without one."""
    pyarrow, pyogrio = _pyarrow(), _pyogrio()
    systems = {row.get("coordinate_system") for row in rows() if row.get("x") is not None}
    if len(systems) > 1:
        print("the lots do not share one coordinate system: the layer names none, the column coordinate_system tells each", file=sys.stderr)
    for number, chunk in enumerate(_chunks(rows())):
        points = pyarrow.array([_point(row) for row in chunk], pyarrow.binary())
        table = _arrow_table(chunk).append_column("geometry", points)
        with warnings.catch_warnings():
            warnings.filterwarnings("ignore", ".*crs.*was not provided.*")
            pyogrio.write_arrow(
                table, path, layer="lots", driver="GPKG", geometry_name="geometry", geometry_type="Point",
                crs=next(iter(systems)) if len(systems) == 1 else None, append=number > 0,
            )  # fmt: skip


def _point(row: Row) -> bytes | None:
    if row.get("x") is None or row.get("y") is None:
        return None
    return struct.pack("<BIdd", 1, 1, row["x"], row["y"])




def _chunks(rows: Iterable[Row]) -> Iterator[list[Row]]:
    left = iter(rows)
    while chunk := list(itertools.islice(left, _CHUNK)):
        yield chunk


def _schema() -> Any:
    pyarrow = _pyarrow()
    kinds = {"text": pyarrow.string(), "count": pyarrow.int64(), "number": pyarrow.float64()}
    return pyarrow.schema([(name, kinds[kind]) for name, kind in COLUMNS])


def _arrow_table(rows: list[Row]) -> Any:
    return _pyarrow().Table.from_pydict({name: [row.get(name) for row in rows] for name in _NAMES}, schema=_schema())


def _pyarrow() -> Any:
    try:
        return importlib.import_module("pyarrow")
    except ImportError as error:
        raise ImportError("a table as .parquet or .gpkg needs pyarrow: pip install 'qmx_ic[lots]'") from error


def _pyogrio() -> Any:
    try:
        return importlib.import_module("pyogrio")
    except ImportError as error:
        raise ImportError("a table as .gpkg needs pyogrio: pip install 'qmx_ic[geo]'") from error
