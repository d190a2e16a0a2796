"""Numerical analyses for intelligent compaction (IC) data."""

from qmx_ic._native import version as __version__

__all__ = ["__version__"]
