"""Faults that a worker meets: preloaded by the workers of the tests, told by the name of the lot's file."""

from __future__ import annotations

import os
import resource
import signal
import time
from pathlib import Path
from typing import Any

from distributed import nanny

import qmx_ic
from qmx_ic.lots import work

_study = work.document_of_lot


def _faulty(files: Any, settings: Any, page: str = "") -> dict[str, Any]:
    name = Path(files[0]).stem if files else ""
    if name.startswith("slow"):
        time.sleep(0.2)
    if name.startswith("killer"):
        os.kill(os.getpid(), signal.SIGKILL)
    if name.startswith("once"):
        marker = Path(files[0]).with_suffix(".killed")
        if not marker.exists():
            marker.touch()
            os.kill(os.getpid(), signal.SIGKILL)
    if name.startswith("hog"):
        kept = [bytearray(os.urandom(1) * 50_000_000) for _ in range(20)]  # written to, so that it is really there
        time.sleep(20)
        return {"kept": kept}
    if name.startswith("limited"):
        least = resource.getrlimit(resource.RLIMIT_AS)
        resource.setrlimit(resource.RLIMIT_AS, (1 << 30, least[1]))
        try:
            bytearray(1 << 31)
        finally:
            resource.setrlimit(resource.RLIMIT_AS, least)
    return _study(files, settings, page)


def dask_setup(server: Any) -> None:
    """Dask calls this where a worker or its nanny starts. The nanny is slow to see that its worker runs."""
    if isinstance(server, nanny.Nanny):
        nanny.WorkerProcess._init_msg_interval = 0.3
    else:
        work.document_of_lot = _faulty


def pretend_version(version: str) -> None:
    """In a worker: the package there is of this version."""
    qmx_ic.__version__ = version
