"""The cluster that does the work: a given one, a running one, or a local one of processes."""

from __future__ import annotations

import contextlib
import importlib
import logging
from collections.abc import Callable, Iterator
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any

if TYPE_CHECKING:
    from distributed import Client

# Of a local cluster. What Dask samples for its dashboard takes one part in twenty of each process, otherwise.
_QUIET = {
    "distributed.admin.system-monitor.interval": "5s",
    "distributed.admin.system-monitor.disk": False,
    "distributed.admin.tick.interval": "500ms",
    "distributed.scheduler.active-memory-manager.start": False,
    "distributed.worker.profile.enabled": False,
    "distributed.worker.memory.monitor-interval": "200ms",
    # A long lot must not be taken for a dead worker.
    "distributed.scheduler.worker-ttl": None,
    # Rows are small: nothing is ever spilled, and a worker beyond its limit is ended by its nanny.
    "distributed.worker.memory.spill": False,
    "distributed.worker.memory.target": False,
    "distributed.worker.memory.pause": False,
}

# Of its workers. Each lot takes and gives back some tens of megabytes: kept, they cost no page faults the next time
# (Dask's own threshold of 64 kB costs one part in twenty).
WORKER_ENVIRONMENT = {
    "OMP_NUM_THREADS": "1",
    "OPENBLAS_NUM_THREADS": "1",
    "MALLOC_ARENA_MAX": "1",
    "MALLOC_MMAP_THRESHOLD_": str(1 << 26),
    "MALLOC_TRIM_THRESHOLD_": str(1 << 26),
}


class SchedulerLost(RuntimeError):
    """The scheduler, or all of its workers, are gone for good."""


class WorkersLackPackage(RuntimeError):
    """The workers of a running cluster have no such package, or another version of it."""


@dataclass(frozen=True, slots=True)
class Cluster:
    """A cluster at work.

    Attributes
    ----------
    client : distributed.Client
    refill : callable
        Puts new workers in the places of those that are lost for good, where the cluster is our own.
    """

    client: Client
    refill: Callable[[], None] = lambda: None


def version_here() -> str:
    """The version of the package; asked of each worker."""
    import qmx_ic

    return qmx_ic.__version__


@contextlib.contextmanager
def connected(
    workers: int | None = None,
    scheduler: str | None = None,
    client: Client | None = None,
    memory_limit: str | int | None = "auto",
) -> Iterator[Cluster]:
    """The cluster, for as long as it is wanted.

    Parameters
    ----------
    workers : int, optional
        Processes of a local cluster; otherwise one for each core.
    scheduler : str, optional
        Address of a running scheduler.
    client : distributed.Client, optional
        It stays open.
    memory_limit : str or int, optional
        Of each worker of a local cluster.

    Raises
    ------
    ImportError
        If Dask is not installed; the message names the extra.
    SchedulerLost
        If there is no scheduler at the address.
    WorkersLackPackage
        If workers that are there cannot do the work.
    """
    if client is not None:
        _check_workers(client)
        yield Cluster(client)
        return
    try:
        dask: Any = importlib.import_module("dask")
        distributed: Any = importlib.import_module("distributed")
    except ImportError as error:
        raise ImportError("a batch needs Dask: pip install 'qmx_ic[lots]'") from error
    logging.getLogger("distributed").setLevel(logging.CRITICAL)
    if scheduler is not None:
        try:
            found = distributed.Client(scheduler, timeout="5s", set_as_default=False)
        except (OSError, TimeoutError, ValueError) as error:
            raise SchedulerLost(f"{scheduler}: there is no scheduler ({error})") from error
        with found:
            _check_workers(found)
            yield Cluster(found)
        return
    settings: dict[str, Any] = {**_QUIET, "distributed.nanny.pre-spawn-environ": WORKER_ENVIRONMENT}
    settings["distributed.worker.preload"] = [*dask.config.get("distributed.worker.preload"), "qmx_ic.lots.local_worker"]
    with (
        dask.config.set(settings),
        distributed.LocalCluster(
            n_workers=workers, threads_per_worker=1, processes=True, memory_limit=memory_limit,
            dashboard_address="127.0.0.1:0", silence_logs=logging.CRITICAL,
        ) as cluster,
        distributed.Client(cluster, set_as_default=False) as own,
    ):  # fmt: skip
        # Dask gives up a worker that takes long to come again, but its place stays in the plan.
        yield Cluster(own, lambda: cluster.scale(len(cluster.worker_spec)))


def _check_workers(client: Any) -> None:
    """Those that join later are not asked: their version stands in the journal."""
    try:
        versions = client.run(version_here, on_error="return")
    except Exception as error:
        raise SchedulerLost(f"the workers do not answer ({error})") from error
    for worker, found in versions.items():
        if isinstance(found, BaseException):
            raise WorkersLackPackage(f"{worker}: the worker cannot load qmx_ic ({found}); install the same version there")
        if found != version_here():
            raise WorkersLackPackage(f"{worker}: the worker has qmx_ic {found}, and here is {version_here()}")
