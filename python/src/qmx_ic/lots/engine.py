"""Lots on Dask: how they are handed out, and what happens when a worker or the scheduler is lost."""

from __future__ import annotations

import contextlib
import queue
import time
import uuid
from collections import defaultdict, deque
from collections.abc import Callable, Iterator
from typing import TYPE_CHECKING, Any

from qmx_ic.lots.cluster import SchedulerLost
from qmx_ic.lots.row import failed_row
from qmx_ic.lots.work import Record, Task, record_of

if TYPE_CHECKING:
    from distributed import Client

Future = Any  # of distributed, which is imported only where a cluster is wanted
MOST_TRIES = 3
_BLOCK = 1000  # lots whose marks are taken away together
_WITHOUT_WORKERS = 120.0
_TASK_SECONDS = 0.25
_MOST_IN_TASK = 16
Deliver = Callable[[Task, Record], None]


class Marks:
    """Who has begun which lot, kept at the scheduler: it survives the worker.

    A lot is blamed for a worker's death only if it was the one at work: lots that waited in the same worker, or
    had ended there, are not. The mark of a lot counts its beginnings that had no end.
    """

    def __init__(self, run: str) -> None:
        self.run = run

    def place(self, number: int) -> list[Any]:
        return [self.run, number // _BLOCK, number]

    def began(self, number: int) -> int:
        """Marks a beginning; returns how many beginnings of this lot had no end."""

        async def mark(scheduler: Any) -> int:
            before = int(await scheduler.get_metadata(keys=self.place(number), default=0) or 0)
            if before < MOST_TRIES:
                await scheduler.set_metadata(keys=self.place(number), value=before + 1)
            return before

        return int(self._at_scheduler(mark))

    def ended(self, number: int, before: int) -> None:
        """Takes the mark of a beginning away again."""

        async def mark(scheduler: Any) -> None:
            await scheduler.set_metadata(keys=self.place(number), value=before)

        self._at_scheduler(mark)

    @staticmethod
    def _at_scheduler(mark: Callable[[Any], Any]) -> Any:
        from distributed import get_worker
        from distributed.utils import sync

        worker = get_worker()
        return sync(worker.loop, mark, worker.scheduler)


def do_tasks(run: str, tasks: list[Task]) -> list[Record]:
    """Does some lots, one after the other. Runs in a worker."""
    marks = Marks(run)
    records = []
    for task in tasks:
        before = marks.began(task.number)
        if before >= MOST_TRIES:
            records.append(died(task))
            continue
        try:
            record = record_of(task)
        except MemoryError:
            record = {"out_of_memory": True}
        else:
            # The result may be lost with the worker before it is fetched, as the next lot begins at once.
            marks.ended(task.number, before)
        records.append({**record, "tries": before + 1})
    return records


def died(task: Task) -> Record:
    """The record of a lot that took its workers with it."""
    reason = f"the worker died {MOST_TRIES} times in the midst of this lot (killed, or out of memory)"
    return _failed(task, "worker_died", reason)


def _failed(task: Task, code: str, reason: str) -> Record:
    import qmx_ic

    row = failed_row(code, reason) | {"lot": task.lot.name, "file": task.lot.address, "job": task.lot.resolved().get("job")}
    return {"row": row, "inputs": [], "version": qmx_ic.__version__, "tries": MOST_TRIES}


class Hands:
    """Hands out the lots, a bounded number at a time, and takes what comes back in whatever order."""

    def __init__(self, client: Client, tasks: Iterator[Task], deliver: Deliver, in_flight: int = 4) -> None:
        self._client: Any = client
        self._tasks = tasks
        self._deliver = deliver
        self._per_worker = in_flight
        self._marks = Marks(f"qmx-ic-lots-{uuid.uuid4().hex[:12]}")
        self._again: deque[Task] = deque()
        self._flying: dict[Future, list[Task]] = {}
        self._inbox: queue.SimpleQueue[Future] = queue.SimpleQueue()
        self._left_in_block: dict[int, int] = defaultdict(int)
        self._tasks_made = 0
        self._seconds_a_lot = 0.0
        self._workers = 0
        self._asked_workers = 0.0
        self._without_workers: float | None = None

    def run(self, tick: Callable[[], None]) -> None:
        """Does all lots. `tick` is called several times a second.

        Raises
        ------
        SchedulerLost
            If the scheduler is gone, or no worker has been there for two minutes.
        """
        try:
            while True:
                self._look_at_workers()
                self._fill()
                if not self._flying:
                    break
                for future in self._arrived():
                    self._settle(future)
                tick()
            self._client.set_metadata([self._marks.run], {})
        finally:
            for future in self._flying:
                with contextlib.suppress(Exception):
                    future.release()

    def _look_at_workers(self) -> None:
        now = time.monotonic()
        if now - self._asked_workers < 1.0:
            return
        self._asked_workers = now
        self._check_connection()
        try:
            self._workers = len(self._client.nthreads())
        except Exception as error:
            self._check_connection()
            raise SchedulerLost(f"the scheduler does not answer ({error})") from error
        if self._workers:
            self._without_workers = None
        elif self._without_workers is None:
            self._without_workers = now
        elif now - self._without_workers > _WITHOUT_WORKERS:
            raise SchedulerLost(f"the scheduler has had no workers for {_WITHOUT_WORKERS:.0f} s")

    def _check_connection(self) -> None:
        if self._client.status != "running":
            raise SchedulerLost("the connection to the scheduler is lost")

    def _fill(self) -> None:
        most = max(1, self._workers) * self._per_worker
        while len(self._flying) < most:
            tasks = self._next()
            if not tasks:
                return
            self._tasks_made += 1
            future = self._client.submit(
                do_tasks, self._marks.run, tasks,
                key=(self._marks.run, self._tasks_made), pure=False, priority=-tasks[0].number,
            )  # fmt: skip
            self._flying[future] = tasks
            future.add_done_callback(self._inbox.put)

    def _next(self) -> list[Task]:
        """Small lots go together; one that comes again goes alone."""
        if self._again:
            return [self._again.popleft()]
        size = 1
        if self._seconds_a_lot > 0:
            size = max(1, min(_MOST_IN_TASK, int(_TASK_SECONDS / self._seconds_a_lot)))
        tasks: list[Task] = []
        while len(tasks) < size and (task := next(self._tasks, None)) is not None:
            self._left_in_block[task.number // _BLOCK] += 1
            tasks.append(task)
        return tasks

    def _arrived(self) -> list[Future]:
        try:
            arrived = [self._inbox.get(timeout=0.2)]
        except queue.Empty:
            return []
        with contextlib.suppress(queue.Empty):
            while True:
                arrived.append(self._inbox.get_nowait())
        return arrived

    def _settle(self, future: Future) -> None:
        from distributed import KilledWorker

        tasks = self._flying.pop(future)
        try:
            records: list[Record] = future.result()
        except KilledWorker:
            self._after_death(tasks)
        except Exception as error:
            if future.cancelled() or self._client.status != "running":
                raise SchedulerLost("the connection to the scheduler is lost") from error
            for task in tasks:
                self._finish(task, _failed(task, "internal", f"{type(error).__name__}: {error}"))
        else:
            for task, record in zip(tasks, records, strict=True):
                self._take(task, record)
        future.release()

    def _take(self, task: Task, record: Record) -> None:
        tries = int(record.pop("tries"))
        if "out_of_memory" in record:
            if tries < MOST_TRIES:
                self._again.append(task)
                return
            record = _failed(task, "out_of_memory", f"memory ran out {MOST_TRIES} times in the midst of this lot")
        if "row" in record:
            record["row"]["tries"] = tries
            seconds = 0.001 + float(record["row"].get("seconds") or 0.0)
            self._seconds_a_lot += 0.1 * (seconds - self._seconds_a_lot) if self._seconds_a_lot else seconds
        self._finish(task, record)

    def _after_death(self, tasks: list[Task]) -> None:
        """Dask has given these lots up together: those that were not at work themselves come again."""
        for task in tasks:
            begun = self._client.get_metadata(self._marks.place(task.number), default=0)
            if (begun or 0) >= MOST_TRIES:
                record = died(task)
                self._take(task, record)
            else:
                self._again.append(task)

    def _finish(self, task: Task, record: Record) -> None:
        self._deliver(task, record)
        block = task.number // _BLOCK
        self._left_in_block[block] -= 1
        if not self._left_in_block[block]:
            del self._left_in_block[block]
            self._client.set_metadata([self._marks.run, block], {})
