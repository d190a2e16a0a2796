"""One row for one lot: verdicts, key figures, and what became of its rows."""

from __future__ import annotations

from collections.abc import Mapping
from typing import Any, Literal

Row = dict[str, Any]
ColumnKind = Literal["text", "count", "number"]

VERDICTS = ("coverage", "target", "growth", "correlation", "variation", "minimum", "floor", "cell_size")

COLUMNS: tuple[tuple[str, ColumnKind], ...] = (
    ("number", "count"),
    ("lot", "text"),
    ("file", "text"),
    ("sha256", "text"),
    ("verdict", "text"),
    *((f"verdict_{key}", "text") for key in VERDICTS),
    ("not_given", "text"),
    ("cells", "count"),
    ("mean", "number"),
    ("standard_deviation", "number"),
    ("coefficient_of_variation", "number"),
    ("coverage_percent", "number"),
    ("target_share_percent", "number"),
    ("growth_percent", "number"),
    ("growth_ends_after_pass", "count"),
    ("correlation_r", "number"),
    ("r_squared_percent", "number"),
    ("spot_tests", "count"),
    ("sill", "number"),
    ("range", "number"),
    ("rows_read", "count"),
    ("rows_used", "count"),
    ("rows_dropped", "count"),
    ("rows_left_out", "count"),
    ("dropped_for", "text"),
    ("cautions", "count"),
    ("x", "number"),
    ("y", "number"),
    ("coordinate_system", "text"),
    ("job", "text"),
    ("report", "text"),
    ("seconds", "number"),
    ("tries", "count"),
    ("error_code", "text"),
    ("error", "text"),
)
"""Columns of the result, in order. `verdict` is met, missed, not_given or failed."""


def row_of_document(document: Mapping[str, Any]) -> Row:
    """The row of a lot that was studied.

    The overall verdict is ``missed`` where one verdict is, ``met`` only where all that are asked for are given and
    met, and otherwise ``not_given``: nothing is met by absence.
    """
    verdicts = {one["key"]: one for one in document["verdicts"]}
    unknown = sorted(set(verdicts) - set(VERDICTS))
    if unknown:
        raise ValueError(f"the table has no column for the verdict {unknown[0]!r}")
    outcomes = [one["outcome"] for one in verdicts.values()]
    row: Row = {"verdict": overall(outcomes)}
    row |= {f"verdict_{key}": one["outcome"] for key, one in verdicts.items()}
    reasons = [f"{key}: {one['reason']}" for key, one in verdicts.items() if one["outcome"] == "not_given"]
    row["not_given"] = ("; ".join(reasons) or None) if outcomes else "no threshold is in force"
    inputs = [one for one in document["inputs"] if one["role"] == "points"]
    row["sha256"] = "; ".join(one["sha256"] for one in inputs)
    row |= _figures(document, verdicts) | _rows(document["input"]) | _position(document["data"])
    row["cautions"] = len(document["cautions"])
    return row


def overall(outcomes: list[str]) -> str:
    """One verdict for several."""
    if "missed" in outcomes:
        return "missed"
    return "met" if outcomes and all(one == "met" for one in outcomes) else "not_given"


def at(document: Any, *path: str) -> Any:
    """What stands at a place of a document, or None where a part is not there."""
    for name in path:
        if not isinstance(document, Mapping):
            return None
        document = document.get(name)
    return document


def _figures(document: Mapping[str, Any], verdicts: Mapping[str, Any]) -> Row:
    statistics = ("stats", "statistics")
    regression = ("spots", "regression")
    return {
        "cells": at(document, *statistics, "count"),
        "mean": at(document, *statistics, "mean"),
        "standard_deviation": at(document, *statistics, "standard_deviation"),
        "coefficient_of_variation": at(document, *statistics, "coefficient_of_variation"),
        "coverage_percent": at(document, "coverage", "target", "achieved_percent"),
        "target_share_percent": at(document, "stats", "target", "counted_percent"),
        "growth_percent": at(verdicts, "growth", "measured"),
        "growth_ends_after_pass": at(document, "curve", "growth", "pass"),
        "correlation_r": at(document, *regression, "r"),
        "r_squared_percent": at(document, *regression, "r_squared_percent"),
        "spot_tests": at(document, *regression, "n"),
        "sill": at(document, "uniformity", "sill"),
        "range": at(document, "uniformity", "range"),
    }


def _rows(reading: Mapping[str, Any]) -> Row:
    read, used, dropped = (int(reading[key]) for key in ("rows_read", "rows_used", "rows_dropped"))
    reasons = [f"{one['count']}: {one['text']}" for one in reading["dropped"]]
    return {
        "rows_read": read,
        "rows_used": used,
        "rows_dropped": dropped,
        "rows_left_out": read - used - dropped,
        "dropped_for": "; ".join(reasons) or None,
    }


def _position(data: Mapping[str, Any]) -> Row:
    extent = data["extent"]
    middle: Row = {"coordinate_system": data["coordinate_system"]}
    for axis in "xy":
        ends = extent[f"{axis}_least"], extent[f"{axis}_most"]
        middle[axis] = None if None in ends else (ends[0] + ends[1]) / 2
    return middle


def failed_row(code: str, reason: str) -> Row:
    """The row of a lot that could not be studied."""
    return {"verdict": "failed", "error_code": code, "error": " ".join(reason.split())}
