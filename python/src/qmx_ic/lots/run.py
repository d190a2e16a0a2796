"""A batch: many lots, one table."""

from __future__ import annotations

import os
import signal
import sys
import tempfile
import threading
import time
from collections import Counter
from collections.abc import Iterable, Iterator, Mapping
from contextlib import ExitStack, contextmanager
from dataclasses import dataclass
from pathlib import Path
from types import FrameType
from typing import TYPE_CHECKING, Any

import qmx_ic
from qmx_ic import _study
from qmx_ic.lots import addresses, index_page
from qmx_ic.lots.cluster import connected
from qmx_ic.lots.engine import Hands
from qmx_ic.lots.journal import Journal
from qmx_ic.lots.lot_list import Lot, lots_of
from qmx_ic.lots.progress import Progress
from qmx_ic.lots.row import Row
from qmx_ic.lots.table import check_output, write_table
from qmx_ic.lots.work import Record, Task

if TYPE_CHECKING:
    import pandas
    from distributed import Client


class Interrupted(KeyboardInterrupt):
    """The batch was interrupted; what is done is in the journal.

    Attributes
    ----------
    done, lots : int
        How far it was.
    journal : path
        The journal, or None where no output was named.
    """

    def __init__(self, done: int, lots: int, journal: Path | None) -> None:
        super().__init__(f"{done} of {lots} lots are done")
        self.done, self.lots, self.journal = done, lots, journal


@dataclass(frozen=True, slots=True)
class BatchSummary:
    """What came of a batch.

    Attributes
    ----------
    lots, met, missed, not_given, failed : int
        Lots in all, and by overall verdict.
    stood : int
        Lots whose result of an earlier run was taken over.
    seconds : float
        Time of the work, without the start of the cluster.
    output, index, journal : path
        The files; None where none was made.
    rows : tuple of dict
        The rows, where no output was named; otherwise empty, since they are in the output.
    """

    lots: int
    met: int
    missed: int
    not_given: int
    failed: int
    stood: int
    seconds: float
    output: Path | None
    index: Path | None
    journal: Path | None
    rows: tuple[Row, ...] = ()

    def __str__(self) -> str:
        text = f"{self.lots} lots: {self.met} met, {self.missed} missed, {self.not_given} without a verdict, {self.failed} failed"
        return text + (f" ({self.stood} stood from the earlier run)" if self.stood else "")

    def to_frame(self) -> pandas.DataFrame:
        """The rows as a DataFrame (pandas must be installed)."""
        import pandas

        from qmx_ic.lots.row import COLUMNS

        if self.output is None:
            return pandas.DataFrame(list(self.rows), columns=[name for name, _ in COLUMNS])
        if self.output.suffix == ".csv":
            return pandas.read_csv(self.output, keep_default_na=False, na_values=[""])
        if self.output.suffix == ".parquet":
            return pandas.read_parquet(self.output)
        import pyogrio  # type: ignore[import-untyped]

        frame: pandas.DataFrame = pyogrio.read_dataframe(self.output, read_geometry=False)
        return frame


def batch(
    jobs: str | os.PathLike[str] | Iterable[str | os.PathLike[str]],
    *,
    output: str | os.PathLike[str] | None = None,
    workers: int | None = None,
    scheduler: str | None = None,
    client: Client | None = None,
    reports: str | os.PathLike[str] | None = None,
    index: str | os.PathLike[str] | bool = True,
    resume: bool = False,
    progress: bool | None = None,
    memory_limit: str | int | None = "auto",
    in_flight: int = 4,
    settings: Mapping[str, object] | None = None,
    **more_settings: Any,
) -> BatchSummary:
    """Studies many lots, each in a process of its own, and makes one table with a row for each.

    Parameters
    ----------
    jobs : path, or iterable of them
        Job files, data files, folders, patterns, tables of lots: see :func:`qmx_ic.lots.lots_of`.
    output : path, optional
        Table to write: ``.csv``, ``.parquet`` or ``.gpkg``. The journal stands beside it, with ``.journal`` added.
    workers : int, optional
        Number of local processes; otherwise one for each core.
    scheduler : str, optional
        Address of a running Dask scheduler, such as ``"tcp://10.0.0.1:8786"``.
    client : distributed.Client, optional
        A client of a running cluster; it stays open.
    reports : path, optional
        Folder for a report of each lot.
    index : path or bool, optional
        The page over all lots; True puts it into the folder of the reports, otherwise beside the output.
    resume : bool, optional
        Take over the results of an earlier run whose inputs and settings are the same.
    progress : bool, optional
        Show progress on standard error; by default where that is a terminal.
    memory_limit : str or int, optional
        Of each local worker, such as ``"4GiB"``; a worker beyond it is ended and its lot tried elsewhere.
    in_flight : int, optional
        Lots handed out at a time for each worker.
    settings, **more_settings
        Settings for all lots, by the names of the options of ``qmx-ic report`` with ``_`` for ``-``.

    Returns
    -------
    BatchSummary

    Raises
    ------
    qmx_ic.lots.NoLots
        If no lots are named, or a setting is not known.
    qmx_ic.lots.SchedulerLost
        If the scheduler is gone; what is done is in the journal.
    qmx_ic.lots.Interrupted
        On Ctrl-C; what is done is in the journal.
    """
    named = [jobs] if isinstance(jobs, (str, os.PathLike)) else list(jobs)
    lots = lots_of([os.fspath(one) for one in named], {**(settings or {}), **more_settings})
    target = Path(output) if output is not None else None
    if target is not None:
        check_output(target)
    elif resume:
        raise ValueError("resume needs the output of the earlier run")
    if reports is not None and not _study.makes_pages:
        raise ValueError("this build of the package makes no reports: it was built without Node")
    page = _index_of(target, reports, index)
    with ExitStack() as stack:
        folder = target.parent if target else Path(stack.enter_context(tempfile.TemporaryDirectory(prefix="qmx-ic-")))
        name = target.name if target else "lots"
        journal = stack.enter_context(Journal(folder / f"{name}.journal", resume=resume))
        journal.reserve(len(lots))
        run = _Run(lots, journal, os.fspath(reports) if reports is not None else None)
        shown = Progress(len(lots), sys.stderr, is_shown=sys.stderr.isatty() if progress is None else progress)
        begin = time.monotonic()
        try:
            with _interruptible():
                dask = stack.enter_context(connected(workers, scheduler, client, memory_limit))
                begin = time.monotonic()
                hands = Hands(dask, run.tasks(), len(lots), run.deliver, in_flight)
                hands.run(lambda: shown.show(run.done, run.outcomes["failed"], run.stood))
        except KeyboardInterrupt:
            journal.sync()
            raise Interrupted(run.done, len(lots), journal.path if target else None) from None
        seconds = time.monotonic() - begin
        shown.show(run.done, run.outcomes["failed"], run.stood, is_last=True)
        journal.sync()
        if target is not None:
            write_table(target, journal.rows)
        if page is not None:
            index_page.write_page(page, journal.rows(), len(lots))
        return BatchSummary(
            lots=len(lots), met=run.outcomes["met"], missed=run.outcomes["missed"],
            not_given=run.outcomes["not_given"], failed=run.outcomes["failed"], stood=run.stood, seconds=seconds,
            output=target, index=page, journal=journal.path if target else None,
            rows=() if target else tuple(journal.rows()),
        )  # fmt: skip


def _index_of(target: Path | None, reports: str | os.PathLike[str] | None, index: str | os.PathLike[str] | bool) -> Path | None:
    if index is False:
        return None
    if index is not True:
        return Path(index)
    if reports is not None and not addresses.is_remote(os.fspath(reports)):
        return Path(addresses.local_path(os.fspath(reports))) / "index.html"
    return target.with_suffix(".html") if target else None


class _Run:
    """Lots become tasks on one side, records become lines of the journal on the other."""

    def __init__(self, lots: list[Lot], journal: Journal, reports: str | None) -> None:
        self._lots, self._journal = lots, journal
        self._reports = addresses.absolute(reports) if reports is not None else None
        self._keys: dict[int, str] = {}
        self.outcomes: Counter[str] = Counter()
        self.done = self.stood = 0

    def tasks(self) -> Iterator[Task]:
        for number, lot in enumerate(self._lots):
            key = lot.key()
            page = f"{self._reports}/{_file_name(lot.name)}-{key[:8]}.html" if self._reports else ""
            earlier = self._journal.earlier(key)
            inputs: tuple[tuple[str, str, str], ...] = ()
            if earlier and earlier["version"] == qmx_ic.__version__ and earlier["row"]["verdict"] != "failed":
                inputs = tuple((role, address, told) for role, address, told in earlier["inputs"])
            self._keys[number] = key
            yield Task(number, lot, page, inputs)

    def deliver(self, task: Task, record: Record) -> None:
        key = self._keys.pop(task.number)
        if record.get("stands"):
            self._journal.keep(task.number, key)
            earlier = self._journal.earlier(key)
            record = earlier if earlier is not None else record
            self.stood += 1
        else:
            self._journal.append(task.number, key, record)
        self.outcomes[record["row"]["verdict"]] += 1
        self.done += 1


def _file_name(text: str) -> str:
    return "".join(sign if sign.isalnum() or sign in "-_." else "_" for sign in text)[:80] or "lot"


@contextmanager
def _interruptible() -> Iterator[None]:
    """A request to end by SIGTERM is one like Ctrl-C, in the main thread."""
    if threading.current_thread() is not threading.main_thread():
        yield
        return

    def interrupt(number: int, frame: FrameType | None) -> None:
        raise KeyboardInterrupt

    before = signal.signal(signal.SIGTERM, interrupt)
    try:
        yield
    finally:
        signal.signal(signal.SIGTERM, before)
