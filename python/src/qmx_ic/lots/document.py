"""The document and the page of one lot."""

from __future__ import annotations

from collections.abc import Mapping, Sequence
from typing import Any

from qmx_ic.lots.settings import Value, study_keywords
from qmx_ic.study import study


def document_of_lot(files: Sequence[str], settings: Mapping[str, Value], page: str = "") -> dict[str, Any]:
    """Studies a lot.

    Parameters
    ----------
    files : sequence of str
        Paths of the points; none where the job file names them.
    settings : mapping
        Settings by name; paths for files.
    page : str, optional
        Where to write the page.

    Returns
    -------
    dict
        The document ``qmx-ic/report/1``.

    Raises
    ------
    qmx_ic.StudyError
        If the lot cannot be studied.
    """
    made = study(list(files) or None, **study_keywords(settings))
    if page:
        made.report(page)
    return made.document
