"""What lots there are: job files, data files, folders, patterns and tables become one list of lots, in order."""

from __future__ import annotations

import csv
import hashlib
import io
import json
import os
from collections.abc import Iterable, Iterator, Mapping, Sequence
from dataclasses import dataclass

from qmx_ic.lots import addresses
from qmx_ic.lots.settings import SETTINGS, Value, value_of

DATA_ENDINGS = (".csv", ".csv.gz", ".tsv", ".tsv.gz", ".txt", ".txt.gz", ".gpkg", ".shp", ".geojson", ".fgb")
_TABLE_COLUMNS = ("file", "files", "job")
_FILE_SETTINGS = tuple(name for name, setting in SETTINGS.items() if setting.kind == "file")
_COMPANIONS = ("tests", "area", "exclude")
_NOTHING: Mapping[str, Value] = {}


class NoLots(ValueError):
    """What was named holds no lots, or cannot be understood."""


@dataclass(frozen=True, slots=True)
class Lot:
    """One lot: the unit of work.

    Attributes
    ----------
    files : tuple of str
        Addresses of the points; empty where the job file names them.
    settings : mapping
        Values by the names of :data:`qmx_ic.lots.settings.SETTINGS`; shared by lots where they are the same.
    folder : str
        Folder that relative names in `settings` start at; empty for the working folder.
    problem : str
        Why the lot cannot be studied; empty otherwise. It becomes a failed row.
    """

    files: tuple[str, ...]
    settings: Mapping[str, Value]
    folder: str = ""
    problem: str = ""

    @property
    def address(self) -> str:
        """What stands in the table for the lot's file: its points, or its job file."""
        return "; ".join(self.files) or str(self.resolved().get("job", ""))

    @property
    def name(self) -> str:
        """The name of the lot: the one that was given, otherwise that of its file."""
        given = self.settings.get("lot")
        return str(given) if given else addresses.stem_of((self.files or (self.address,))[0])

    def resolved(self) -> dict[str, Value]:
        """The settings with the names of files as addresses; ``{stem}`` and ``{folder}`` stand for the lot's."""
        settings = dict(self.settings)
        for name in _FILE_SETTINGS:
            if name in settings:
                settings[name] = self._address_of(str(settings[name]))
        return settings

    def _address_of(self, text: str) -> str:
        if self.files and ("{stem}" in text or "{folder}" in text):
            first = self.files[0]
            folder = addresses.folder_of(first)
            if "{folder}" not in text:
                text = addresses.joined(folder, text)
            text = text.replace("{stem}", addresses.stem_of(first)).replace("{folder}", folder)
        return addresses.absolute(addresses.joined(self.folder, text) if self.folder else text)

    def key(self) -> str:
        """Tells a lot of an earlier run: the same files with the same settings have the same key."""
        settings = {name: value for name, value in sorted(self.resolved().items())}
        told = json.dumps([[addresses.absolute(one) for one in self.files], settings])
        return hashlib.blake2b(told.encode(), digest_size=16).hexdigest()


def lots_of(jobs: Iterable[str], settings: Mapping[str, object] = _NOTHING) -> list[Lot]:
    """The lots that the named things hold, in their order.

    Parameters
    ----------
    jobs : iterable of str
        Job files (``.toml``), data files, folders, patterns, or tables of lots: text files with a column
        ``file``, ``files`` or ``job`` and further columns named as settings. Paths or fsspec addresses.
    settings : mapping
        Settings for all lots; a column of a table wins over them.

    Raises
    ------
    NoLots
        If something named holds no lots, or a setting or a column is not known.
    """
    try:
        common = {name: value_of(name, value) for name, value in settings.items() if value is not None}
    except ValueError as error:
        raise NoLots(str(error)) from error
    lots: list[Lot] = []
    for job in jobs:
        try:
            found = list(_named(job, common))
        except (NoLots, ImportError):
            raise
        except Exception as error:  # each kind of address fails in its own way
            raise NoLots(f"{job}: {error}") from error
        if not found:
            raise NoLots(f"{job}: no lots are here. Name data files, job files, a folder, a pattern or a table of lots")
        lots += found
    if not lots:
        raise NoLots("no lots are named")
    return lots


def _named(job: str, common: Mapping[str, Value]) -> Iterator[Lot]:
    if not addresses.is_remote(job) and os.path.isfile(addresses.local_path(job)):
        names = [job]  # a name may hold the signs of a pattern
    elif addresses.exists_as_folder(job):
        inside = addresses.names_in(job)
        names = [one for one in inside if one.endswith(".toml")] or [one for one in inside if one.lower().endswith(DATA_ENDINGS)]
        yield from _without_companions(names, common)
        return
    elif any(sign in job for sign in "*?["):
        yield from _without_companions(addresses.matches(job), common)
        return
    else:
        names = [job]
    rows = _rows_of_table(job)
    if rows is not None:
        yield from _lots_of_table(job, rows, common)
    else:
        yield from (_lot_of_file(one, common) for one in names)


def _lot_of_file(name: str, common: Mapping[str, Value]) -> Lot:
    if name.lower().endswith(".toml"):
        return Lot((), {**common, "job": addresses.absolute(name)})
    return Lot((name,), common)


def _without_companions(names: Sequence[str], common: Mapping[str, Value]) -> list[Lot]:
    """The lots of a folder or a pattern: files that serve them as tests or areas are no lots."""
    lots = [_lot_of_file(name, common) for name in names]
    if not any(name in common for name in _COMPANIONS):
        return lots
    companions = {value for lot in lots for name, value in lot.resolved().items() if name in _COMPANIONS}
    return [lot for lot in lots if not lot.files or addresses.absolute(lot.files[0]) not in companions]


def _rows_of_table(job: str) -> csv.DictReader[str] | None:
    """The rows, if the file is a table of lots."""
    if not job.lower().endswith((".csv", ".tsv", ".txt")):
        return None
    if not addresses.is_remote(job):
        path = addresses.local_path(job)
        if not os.path.isfile(path):
            return None
        with open(path, "rb") as stream:
            head = stream.readline(65536)
    else:
        system, path = addresses.file_system(job)
        try:
            head = system.cat_file(path, 0, 65536).split(b"\n", 1)[0]
        except OSError:
            return None
    first = head.decode("utf-8-sig", "replace").strip()
    mark = max(",;\t", key=first.count)
    if not any(column.strip().strip('"') in _TABLE_COLUMNS for column in first.split(mark)):
        return None
    text = addresses.content_of(job).decode("utf-8-sig")
    return csv.DictReader(io.StringIO(text, newline=""), delimiter=mark, strict=True)


def _lots_of_table(job: str, rows: csv.DictReader[str], common: Mapping[str, Value]) -> Iterator[Lot]:
    columns = [column.strip() for column in rows.fieldnames or []]
    rows.fieldnames = columns
    for column in columns:
        if column not in SETTINGS and column not in _TABLE_COLUMNS:
            try:
                value_of(column, "")
            except ValueError as error:
                raise NoLots(f"{job}, line 1: {error} (the columns of a table of lots are file, files, job and settings)") from None
    folder = addresses.folder_of(job)
    try:
        for row in rows:
            yield _lot_of_row(row, folder, common, f"{job}, line {rows.line_num}")
    except csv.Error as error:
        raise NoLots(f"{job}, line {rows.line_num}: {error}") from error


def _lot_of_row(row: dict[str, str], folder: str, common: Mapping[str, Value], place: str) -> Lot:
    settings = dict(common)
    for name in _FILE_SETTINGS:  # what was named outside the table does not start at its folder
        if name in settings and "{" not in str(settings[name]):
            settings[name] = addresses.absolute(str(settings[name]))
    problem = "" if None not in row and None not in row.values() else "the fields do not stand under their columns"
    files: list[str] = []
    for column, text in row.items():
        if column is None or text is None or not text.strip():
            continue
        if column in ("file", "files"):
            names = [text.strip()] if column == "file" else [one.strip() for one in text.split(";") if one.strip()]
            files += [addresses.joined(folder, one) for one in names]
            continue
        try:
            settings[column] = value_of(column, text.strip())
        except ValueError as error:
            problem = problem or str(error)
    if not files and "job" not in settings:
        problem = problem or "neither a file nor a job file is named"
    return Lot(tuple(files), settings, folder, f"{place}: {problem}" if problem else "")
