"""The page over all lots: one HTML file that needs no network."""

from __future__ import annotations

import json
import os
from collections.abc import Iterable
from importlib import resources
from pathlib import Path
from typing import Any

from qmx_ic.lots import addresses
from qmx_ic.lots.row import VERDICTS, Row

MOST_LOTS = 20_000
_PLAIN = (
    "number", "lot", "verdict", "cells", "mean", "coefficient_of_variation", "coverage_percent",
    "target_share_percent", "growth_percent", "correlation_r", "spot_tests", "sill", "range", "rows_read",
    "rows_dropped", "seconds", "not_given", "error", "file", "report", "x", "y", "coordinate_system",
)  # fmt: skip


def write_page(path: Path, rows: Iterable[Row], count: int) -> None:
    """Writes the page.

    Of more than 20,000 lots the page lists those first that are not met, as far as there is room, and says so.

    Parameters
    ----------
    path : path
        File to write, whole or not at all.
    rows : iterable of dict
        The rows in order.
    count : int
        How many they are.
    """
    names = [*_PLAIN, *(f"verdict_{key}" for key in VERDICTS)]
    folder = path.absolute().parent
    listed: list[list[Any]] = []
    spare: list[list[Any]] = []
    totals = dict.fromkeys(("met", "missed", "not_given", "failed"), 0)
    for row in rows:
        totals[row["verdict"]] += 1
        if count > MOST_LOTS and row["verdict"] == "met":
            if len(spare) < MOST_LOTS:
                spare.append(_line(row, names, folder))
        elif len(listed) < MOST_LOTS:
            listed.append(_line(row, names, folder))
    listed = sorted(listed + spare[: MOST_LOTS - len(listed)], key=lambda line: int(line[0]))
    content = {"count": count, "totals": totals, "columns": names, "lots": listed}
    text = json.dumps(content, ensure_ascii=False, separators=(",", ":")).replace("<", "\\u003c")
    template = resources.files("qmx_ic.lots").joinpath("index_page.html").read_text(encoding="utf-8")
    folder.mkdir(parents=True, exist_ok=True)
    beside = path.with_name(f".{path.name}.part")
    beside.write_text(template.replace("/*LOTS*/null", text), encoding="utf-8")
    beside.replace(path)


def _line(row: Row, names: list[str], folder: Path) -> list[Any]:
    line = [_short(row.get(name)) for name in names]
    report = row.get("report")
    if report and not addresses.is_remote(report):
        line[names.index("report")] = os.path.relpath(addresses.local_path(report), folder)
    return line


def _short(value: Any) -> Any:
    return float(f"{value:.10g}") if isinstance(value, float) else value
