"""A handful of lots in a worker, with marks at the scheduler of what is begun: they survive the worker."""

from __future__ import annotations

import functools
import time
from collections.abc import Callable
from dataclasses import dataclass
from typing import Any

import qmx_ic
from qmx_ic.lots.row import failed_row
from qmx_ic.lots.work import Record, Task, record_of

MOST_TRIES = 3


@dataclass(frozen=True, slots=True)
class Handful:
    """Lots that are handed out together.

    Attributes
    ----------
    tasks : list of Task
    begun : list of int
        For each lot, how often it was begun before without an end.
    place : list
        Where in the scheduler's metadata the counts are kept from then on. A lot is blamed for the death of a worker
        only if it was the one at work: lots that waited there, or had ended there, are not.
    """

    tasks: list[Task]
    begun: list[int]
    place: list[Any]


def do_handful(handful: Handful) -> list[Record]:
    """Does the lots one after the other. Runs in a worker, perhaps again after the end of another one."""
    _wait_for_nanny()
    begun = _read(handful)
    records: list[Record] = []
    for position, task in enumerate(handful.tasks):
        tries = begun[position]
        if tries >= MOST_TRIES:
            records.append(died(task))
            continue
        begun[position] += 1
        _write(handful, begun)
        try:
            record = record_of(task)
        except MemoryError:
            record = {"out_of_memory": True}
        else:
            begun[position] -= 1
        records.append({**record, "tries": tries + 1})
    # The results may be lost with the worker before they are fetched, as the next lot begins at once.
    _write(handful, begun)
    return records


@functools.cache
def _wait_for_nanny() -> None:
    """Before the first lots of a worker: one that dies before its nanny knows that it started is never replaced."""
    time.sleep(0.5)


def _read(handful: Handful) -> list[int]:
    async def read(scheduler: Any) -> Any:
        return await scheduler.get_metadata(keys=handful.place, default=None)

    return list(_at_scheduler(read) or handful.begun)


def _write(handful: Handful, begun: list[int]) -> None:
    async def write(scheduler: Any) -> Any:
        return await scheduler.set_metadata(keys=handful.place, value=begun)

    _at_scheduler(write)


def _at_scheduler(call: Callable[[Any], Any]) -> Any:
    from distributed import get_worker
    from distributed.utils import sync

    worker = get_worker()
    return sync(worker.loop, call, worker.scheduler)


def died(task: Task) -> Record:
    """The record of a lot that took its workers with it."""
    reason = f"the worker died {MOST_TRIES} times in the midst of this lot (killed, or out of memory)"
    return failed(task, "worker_died", reason)


def failed(task: Task, code: str, reason: str) -> Record:
    """The record of a lot that was given up."""
    lot = task.lot
    row = failed_row(code, reason) | {"lot": lot.name, "file": lot.address, "job": lot.resolved().get("job")}
    return {"row": row, "inputs": [], "version": qmx_ic.__version__, "tries": MOST_TRIES}
