"""The work of one lot: fetch, hash, study, one record. Runs in a worker."""

from __future__ import annotations

import contextlib
import os
import tempfile
import threading
import time
import tomllib
from collections.abc import Mapping
from dataclasses import dataclass
from pathlib import Path
from typing import Any

import qmx_ic
from qmx_ic.lots import addresses
from qmx_ic.lots.document import document_of_lot
from qmx_ic.lots.lot_list import Lot
from qmx_ic.lots.row import failed_row, row_of_document
from qmx_ic.lots.settings import Value
from qmx_ic.errors import StudyError
from qmx_ic.reading import file_hash

Record = dict[str, Any]
_FILE_SETTINGS = ("job", "tests", "area", "exclude", "logo")
_one_at_a_time = threading.Lock()  # calls do not overlap in a process, and a lot may change the working folder


@dataclass(frozen=True, slots=True)
class Task:
    """A lot with what its work needs to know.

    Attributes
    ----------
    number : int
        The lot's place in the list, from 0.
    page : str
        Where its report goes; empty where none was asked for.
    inputs : tuple
        Role, address and SHA-256 of each input of an earlier run with the same key; empty where there was none.
    """

    number: int
    lot: Lot
    page: str = ""
    inputs: tuple[tuple[str, str, str], ...] = ()


def record_of(task: Task) -> Record:
    """Does a lot. All that goes wrong with it becomes a failed row, but for memory that runs out.

    Returns
    -------
    dict
        ``stands`` where the result of the earlier run holds; otherwise ``row``, ``inputs`` and ``version``.

    Raises
    ------
    MemoryError
        The engine tries the lot elsewhere.
    """
    with _one_at_a_time:
        begin = time.perf_counter()
        if task.inputs and _stands(task):
            return {"stands": True}
        row, inputs = _row_and_inputs(task)
        row["seconds"] = round(time.perf_counter() - begin, 4)
    row.setdefault("lot", task.lot.name)
    row.setdefault("file", task.lot.address)
    row["job"] = task.lot.resolved().get("job")
    row["report"] = task.page if task.page and row["verdict"] != "failed" else None
    return {"row": row, "inputs": inputs, "version": qmx_ic.__version__}


def _row_and_inputs(task: Task) -> tuple[dict[str, Any], list[tuple[str, str, str]]]:
    if task.lot.problem:
        return failed_row("bad_setting", task.lot.problem), []
    try:
        with _fetched(task.lot) as (files, settings, origins):
            document = _studied(files, settings, task.page)
            inputs = [(one["role"], origins.get(one["file"], one["file"]), one["sha256"]) for one in document["inputs"]]
            if "job" in settings:
                inputs.append(("job", str(task.lot.resolved()["job"]), file_hash(str(settings["job"]))))
        row = row_of_document(document)
        row["file"] = "; ".join(address for role, address, _ in inputs if role == "points")
        row["lot"] = document["texts"]["lot"] or task.lot.name
        return row, inputs
    except FileNotFoundError as error:
        return failed_row("file_not_found", str(error)), []
    except StudyError as error:
        return failed_row(error.code, str(error)), []
    except MemoryError:
        raise
    except OSError as error:
        return failed_row("unreadable", str(error)), []
    except ImportError as error:
        return failed_row("not_installed", str(error)), []
    except Exception as error:  # a lot never stops the others
        return failed_row("internal", f"{type(error).__name__}: {error}"), []


def _studied(files: list[str], settings: Mapping[str, Value], page: str) -> dict[str, Any]:
    if not page:
        return document_of_lot(files, settings)
    if not addresses.is_remote(page):
        os.makedirs(os.path.dirname(addresses.local_path(page)), exist_ok=True)
        return document_of_lot(files, settings, addresses.local_path(page))
    with tempfile.TemporaryDirectory(prefix="qmx-ic-", dir=_private_folder()) as folder:
        made = Path(folder) / "page.html"
        document = document_of_lot(files, settings, str(made))
        addresses.deliver(made, page)
    return document


@contextlib.contextmanager
def _fetched(lot: Lot) -> Any:
    """The lot's files and settings as paths, and the address that each path stands for."""
    settings = lot.resolved()
    files = list(lot.files)
    named = [*files, *(str(settings[name]) for name in _FILE_SETTINGS if name in settings)]
    if not any(addresses.is_remote(one) for one in named):
        paths = [os.path.abspath(addresses.local_path(one)) for one in files]
        local = {name: addresses.local_path(str(value)) if name in _FILE_SETTINGS else value for name, value in settings.items()}
        yield paths, local, dict(zip(paths, files, strict=True))
        return
    with tempfile.TemporaryDirectory(prefix="qmx-ic-", dir=_private_folder()) as folder:
        if addresses.is_remote(str(settings.get("job", ""))):
            files = _named_by_remote_job(str(settings["job"]), settings, files)
        origins: dict[str, str] = {}

        def path_of(address: str) -> str:
            if not addresses.is_remote(address):
                path = os.path.abspath(addresses.local_path(address))
            else:
                # Relative to the private folder: the report names the file and not the place of a copy.
                path = os.path.relpath(addresses.copy_into(address, Path(folder)), folder)
            origins[path] = address
            return path

        paths = [path_of(one) for one in files]
        local = {name: path_of(str(value)) if name in _FILE_SETTINGS else value for name, value in settings.items()}
        with contextlib.chdir(folder):
            yield paths, local, origins


def _named_by_remote_job(job: str, settings: dict[str, Value], files: list[str]) -> list[str]:
    """The files that a remote job file names start at its folder, not at that of its copy."""
    content = tomllib.loads(addresses.content_of(job).decode("utf-8-sig"))
    folder = addresses.folder_of(job)
    named = content.get("input", {})
    for key, name in (("tests", "tests"), ("area", "area"), ("excluded_area", "exclude")):
        if key in named and name not in settings:
            settings[name] = addresses.joined(folder, str(named[key]))
    logo = content.get("output", {}).get("logo")
    if logo and "logo" not in settings:
        settings["logo"] = addresses.joined(folder, str(logo))
    return files or [addresses.joined(folder, str(one)) for one in named.get("files", [])]


def _private_folder() -> str | None:
    """The worker's own folder, which is cleared even after a kill; None outside a worker."""
    try:
        from distributed import get_worker

        return str(get_worker().local_directory)
    except (ImportError, ValueError):
        return None


def _stands(task: Task) -> bool:
    """Whether the inputs of the earlier run have the same content, and its report is there."""
    try:
        if task.page and not _is_there(task.page):
            return False
        for _, address, told in task.inputs:
            if not addresses.is_remote(address):
                found = file_hash(addresses.local_path(address))
            else:
                with tempfile.TemporaryDirectory(prefix="qmx-ic-", dir=_private_folder()) as folder:
                    found = file_hash(str(addresses.copy_into(address, Path(folder))))
            if found != told:
                return False
    except OSError:
        return False
    return True


def _is_there(address: str) -> bool:
    if not addresses.is_remote(address):
        return os.path.isfile(addresses.local_path(address))
    system, path = addresses.file_system(address)
    return bool(system.exists(path))
