"""Lots on Dask: how they are handed out, and what happens when a worker or the scheduler is lost."""

from __future__ import annotations

import contextlib
import queue
import time
import uuid
from collections import defaultdict, deque
from collections.abc import Callable, Iterator
from typing import Any

from qmx_ic.lots.cluster import Cluster, SchedulerLost
from qmx_ic.lots.handful import MOST_TRIES, Handful, died, do_handful, failed
from qmx_ic.lots.work import Record, Task

Future = Any  # of distributed, which is imported only where a cluster is wanted
_BLOCK = 1000  # handfuls whose marks are taken away together
_WITHOUT_WORKERS = 120.0
_UNTIL_REFILL = 5.0  # a worker that died has mostly come again by then
_SECONDS = 1.0  # of work in a handful: what is lost with a worker at most, but for a longer lot
_MOST_LOTS = 32
Deliver = Callable[[Task, Record], None]


class Hands:
    """Hands out the lots, a bounded number at a time, and takes what comes back in whatever order.

    Parameters
    ----------
    cluster : Cluster
    tasks : iterator of Task
        Asked for the next lot only when it can be handed out.
    count : int
        How many they are.
    deliver : callable
        Takes each task with its record.
    in_flight : int
        Handfuls that are out at a time, for each worker.
    """

    def __init__(self, cluster: Cluster, tasks: Iterator[Task], count: int, deliver: Deliver, in_flight: int) -> None:
        self._client: Any = cluster.client
        self._refill = cluster.refill
        self._tasks = tasks
        self._left = count
        self._deliver = deliver
        self._per_worker = in_flight
        self._run = f"qmx-ic-lots-{uuid.uuid4().hex[:12]}"
        self._again: deque[tuple[Task, int]] = deque()
        self._flying: dict[Future, Handful] = {}
        self._inbox: queue.SimpleQueue[Future] = queue.SimpleQueue()
        self._left_in_block: dict[int, int] = defaultdict(int)
        self._handfuls = 0
        self._seconds_a_lot = 0.0
        self._workers = self._most_workers = 0
        self._complete = time.monotonic()
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
            self._client.set_metadata([self._run], {})
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
        self._most_workers = max(self._most_workers, self._workers)
        if self._workers == self._most_workers:
            self._complete = now
        elif now - self._complete > _UNTIL_REFILL:
            self._refill()
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
            handful = self._next()
            if handful is None:
                return
            number = self._handfuls
            self._handfuls += 1
            self._left_in_block[number // _BLOCK] += 1
            future = self._client.submit(do_handful, handful, key=(self._run, number), pure=False, priority=-number)
            self._flying[future] = handful
            future.add_done_callback(self._inbox.put)

    def _next(self) -> Handful | None:
        """Small lots go together; one that comes again goes alone."""
        place = [self._run, self._handfuls // _BLOCK, self._handfuls]
        if self._again:
            task, begun = self._again.popleft()
            return Handful([task], [begun], place)
        size = 1
        if self._seconds_a_lot:
            for_each_worker = self._left // (2 * max(1, self._workers))  # none goes without at the end
            size = max(1, min(_MOST_LOTS, int(_SECONDS / self._seconds_a_lot), for_each_worker))
        tasks: list[Task] = []
        while len(tasks) < size and (task_or_none := next(self._tasks, None)) is not None:
            tasks.append(task_or_none)
        self._left -= len(tasks)
        return Handful(tasks, [0] * len(tasks), place) if tasks else None

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

        handful = self._flying.pop(future)
        try:
            records: list[Record] = future.result()
        except KilledWorker:
            self._after_death(handful)
        except Exception as error:
            if future.cancelled() or self._client.status != "running":
                raise SchedulerLost("the connection to the scheduler is lost") from error
            for task in handful.tasks:
                self._deliver(task, _plain(failed(task, "internal", f"{type(error).__name__}: {error}")))
        else:
            for task, record in zip(handful.tasks, records, strict=True):
                self._take(task, record)
        future.release()
        block = handful.place[1]
        self._left_in_block[block] -= 1
        if not self._left_in_block[block]:
            del self._left_in_block[block]
            self._client.set_metadata(handful.place[:2], {})

    def _take(self, task: Task, record: Record) -> None:
        tries = int(record.pop("tries"))
        if "out_of_memory" in record:
            if tries < MOST_TRIES:
                self._again.append((task, tries))
                return
            record = _plain(failed(task, "out_of_memory", f"memory ran out {MOST_TRIES} times in the midst of this lot"))
        if "row" in record:
            record["row"]["tries"] = tries
            seconds = 0.001 + float(record["row"].get("seconds") or 0.0)
            self._seconds_a_lot += 0.1 * (seconds - self._seconds_a_lot) if self._seconds_a_lot else seconds
        self._deliver(task, record)

    def _after_death(self, handful: Handful) -> None:
        """Dask has given these lots up together: those that were not at work come again without blame."""
        begun = self._client.get_metadata(handful.place, default=None) or handful.begun
        for task, tries in zip(handful.tasks, begun, strict=True):
            if tries >= MOST_TRIES:
                self._take(task, died(task))
            else:
                self._again.append((task, int(tries)))


def _plain(record: Record) -> Record:
    """A record that does not come from a worker, as one that does is left in the journal."""
    record["row"]["tries"] = record.pop("tries")
    return record
