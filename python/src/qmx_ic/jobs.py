"""Job files and the rules that thresholds come from."""

from __future__ import annotations

import os
from collections.abc import Sequence
from typing import Any, Unpack

from qmx_ic import _study
from qmx_ic.arguments import STUDY_KEYS, Path, ReadingOptions, given
from qmx_ic.reading import named_and_given

__all__ = ["presets", "propose_job", "read_job"]


def read_job(file: Path) -> dict[str, dict[str, Any]]:
    """The settings of a job file: table -> key -> value, of what is set.

    Names of files are as the job's folder makes them.

    Raises
    ------
    StudyError
        With the line of a key, a type or a value that is not right.
    """
    return _study.read_job(os.fspath(file))


def propose_job(
    file: Path | Sequence[Path],
    *,
    tests: Path | None = None,
    area: Path | None = None,
    job_file: Path = "",
    **reading: Unpack[ReadingOptions],
) -> str:
    """A commented job file from what is recognised in the points, as ``qmx-ic init`` writes it.

    Parameters
    ----------
    file : path or sequence of paths
        The points.
    tests, area : path, optional
        Written down unread.
    job_file : path, optional
        Where the text will stand; relative names of files are written from there.
    **reading
        See `ReadingOptions`.
    """
    _, known = named_and_given(file, None, reading)
    known.update(given(STUDY_KEYS, {"tests": tests, "area": area}))
    return _study.propose_job(known, os.fspath(job_file))


def presets() -> dict[str, dict[str, Any]]:
    """The rules that thresholds may come from: name -> where they are common, and their thresholds.

    Examples
    --------
    >>> import qmx_ic
    >>> qmx_ic.presets()["austria"]["thresholds"]["variation_percent"]
    20.0
    """
    return _study.presets()
