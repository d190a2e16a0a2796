"""The document and the page of one lot."""

from __future__ import annotations

import json
import os
import subprocess
from collections.abc import Mapping, Sequence
from typing import Any

from qmx_ic.lots.settings import SETTINGS, Value


class LotError(Exception):
    """A lot that could not be studied.

    Attributes
    ----------
    code : str
        One word for programs.
    """

    def __init__(self, message: str, code: str) -> None:
        super().__init__(message)
        self.code = code


def document_of_lot(files: Sequence[str], settings: Mapping[str, Value], page: str | None = None) -> dict[str, Any]:
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
    LotError
        If the lot cannot be studied.
    """
    words = [os.environ.get("QMX_IC_PROGRAM", "qmx-ic"), "report", *files, "--json"]
    for name, value in settings.items():
        if SETTINGS[name].group == "thresholds":
            words += ["--threshold", f"{name}={value}"]
        elif isinstance(value, tuple):
            for one in value:
                words += ["--missing", one]
        else:
            flag = {"language": "lang"}.get(name, name.replace("_", "-"))
            words += [f"--{flag}", str(value)]
    if page:
        words += ["-o", page]
    done = subprocess.run(words, capture_output=True, check=False)
    try:
        document: dict[str, Any] = json.loads(done.stdout)
    except ValueError:
        raise LotError(done.stderr.decode(errors="replace").strip() or f"ended with {done.returncode}", "no_document") from None
    if "failure" in document and document["schema"].startswith("qmx-ic/failure"):
        raise LotError(document["failure"]["message"], "bad_input")
    return document
