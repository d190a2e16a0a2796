"""Numerical analyses for intelligent compaction (IC) data."""

from typing import TYPE_CHECKING, Any

from qmx_ic._exports import version as __version__
from qmx_ic.columns import to_records
from qmx_ic.distance import semivariogram
from qmx_ic.distance_results import Semivariogram
from qmx_ic.errors import QmxIcError, StudyError, StudyFileNotFoundError
from qmx_ic.jobs import presets, propose_job, read_job
from qmx_ic.measure import compaction_curve, polynomial_curve, statistics
from qmx_ic.measure_results import CompactionCurve, PolynomialCurve, Statistics
from qmx_ic.place_results import Coverage, Selection, SpotTests
from qmx_ic.places import coverage, points_in_circle, points_in_polygon, spot_tests
from qmx_ic.reading import Lot, file_hash, read
from qmx_ic.records import BIN_RESULT, PASS_BIN, POINT, STATISTICS
from qmx_ic.study import Study

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
    "BIN_RESULT",
    "BatchSummary",
    "CompactionCurve",
    "Coverage",
    "Lot",
    "PASS_BIN",
    "POINT",
    "PolynomialCurve",
    "QmxIcError",
    "STATISTICS",
    "Selection",
    "Semivariogram",
    "SpotTests",
    "Statistics",
    "Study",
    "StudyError",
    "StudyFileNotFoundError",
    "__version__",
    "batch",
    "compaction_curve",
    "coverage",
    "file_hash",
    "points_in_circle",
    "points_in_polygon",
    "polynomial_curve",
    "presets",
    "propose_job",
    "read",
    "read_job",
    "semivariogram",
    "spot_tests",
    "statistics",
    "study",
    "to_records",
]
