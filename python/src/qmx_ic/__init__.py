"""Numerical analyses for intelligent compaction (IC) data."""

from qmx_ic._exports import version as __version__
from qmx_ic.columns import to_records
from qmx_ic.distance import semivariogram
from qmx_ic.errors import QmxIcError
from qmx_ic.measure import compaction_curve, polynomial_curve, statistics
from qmx_ic.place_results import Coverage, Selection, SpotTests
from qmx_ic.places import coverage, points_in_circle, points_in_polygon, spot_tests
from qmx_ic.records import BIN_RESULT, PASS_BIN, POINT, STATISTICS
from qmx_ic.results import CompactionCurve, PolynomialCurve, Semivariogram, Statistics

__all__ = [
    "BIN_RESULT",
    "CompactionCurve",
    "Coverage",
    "PASS_BIN",
    "POINT",
    "PolynomialCurve",
    "QmxIcError",
    "STATISTICS",
    "Selection",
    "Semivariogram",
    "SpotTests",
    "Statistics",
    "__version__",
    "compaction_curve",
    "coverage",
    "points_in_circle",
    "points_in_polygon",
    "polynomial_curve",
    "semivariogram",
    "spot_tests",
    "statistics",
    "to_records",
]
