"""Numerical analyses for intelligent compaction (IC) data."""

from qmx_ic._exports import version as __version__
from qmx_ic.lots import BatchSummary, batch
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
