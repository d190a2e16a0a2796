"""Numerical analyses for intelligent compaction (IC) data."""

from qmx_ic._exports import version as __version__

__all__ = ["__version__"]
