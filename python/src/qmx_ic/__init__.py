"""Numerical analyses for intelligent compaction (IC) data."""

from typing import TYPE_CHECKING, Any

from qmx_ic._exports import version as __version__
from qmx_ic.study import (
    Lot,
    Study,
    StudyError,
    StudyFileNotFoundError,
    file_hash,
    presets,
    propose_job,
    read,
    read_job,
)

# The function, which the module of the same name would hide otherwise.
from qmx_ic.study import study as study

if TYPE_CHECKING:
    from qmx_ic.lots import BatchSummary as BatchSummary
    from qmx_ic.lots import batch as batch


def __getattr__(name: str) -> Any:
    """Batches of lots are loaded where they are asked for."""
    if name in ("BatchSummary", "batch"):
        from qmx_ic import lots

        return getattr(lots, name)
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")


__all__ = [
    "BatchSummary",
    "Lot",
    "Study",
    "StudyError",
    "StudyFileNotFoundError",
    "__version__",
    "batch",
    "file_hash",
    "presets",
    "propose_job",
    "read",
    "read_job",
    "study",
]
