"""The settings that a lot may have: one table for the options, the columns of a table of lots and the study."""

from __future__ import annotations

import difflib
from collections.abc import Mapping
from dataclasses import dataclass
from typing import Any, Literal

Kind = Literal["text", "number", "count", "file", "texts", "yes_no"]
Value = str | float | int | bool | tuple[str, ...]

THRESHOLDS = (
    "coverage_percent", "target_share_percent", "target_fraction_percent", "growth_percent", "correlation_r",
    "correlation_tests", "variation_percent", "minimum_share_percent", "floor_share_percent",
    "floor_fraction_percent", "cell_size",
)  # fmt: skip


_WORDS = {"yes": True, "true": True, "on": True, "1": True, "no": False, "false": False, "off": False, "0": False}


@dataclass(frozen=True, slots=True)
class Setting:
    """One setting.

    Attributes
    ----------
    name : str
        Column of a table of lots and, with hyphens, option of ``batch``.
    kind : str
        What its text means.
    keyword : str
        Keyword of :func:`qmx_ic.study`, or the key within its group.
    group : str
        ``"thresholds"``, ``"texts"`` or empty.
    """

    name: str
    kind: Kind
    keyword: str
    group: str = ""


def _table() -> dict[str, Setting]:
    plain: list[tuple[str, Kind]] = [
        ("job", "file"), ("tests", "file"), ("area", "file"), ("exclude", "file"), ("logo", "file"),
        ("x", "text"), ("y", "text"), ("value", "text"), ("missing", "texts"), ("where", "text"),
        ("decimal", "text"), ("header_line", "count"), ("comment", "text"), ("layer", "text"), ("crs", "text"),
        ("project", "text"), ("target", "number"), ("minimum", "number"), ("target_passes", "count"),
        ("radius", "number"), ("lag", "number"), ("nlag", "count"), ("window", "number"), ("preset", "text"),
        ("language", "text"), ("time_stamp", "text"), ("value_unit", "text"), ("tests_value", "text"),
        ("tests_any_pass", "yes_no"), ("below", "yes_no"), ("all_records", "yes_no"),
    ]  # fmt: skip
    settings = [Setting(name, kind, name) for name, kind in plain]
    settings.append(Setting("pass", "text", "pass_"))
    settings += [Setting(name, "text", name, "thresholds") for name in THRESHOLDS]
    settings += [Setting(name, "text", name, "texts")
                 for name in ("title", "lot", "contractor", "inspector", "remarks")]  # fmt: skip
    settings.append(Setting("project_name", "text", "project", "texts"))
    return {setting.name: setting for setting in settings}


SETTINGS = _table()


def value_of(name: str, given: object) -> Value:
    """The value of a setting as given on a command line, in a table or by a caller.

    Raises
    ------
    ValueError
        If there is no such setting, or the value is not of its kind. The message names both.
    """
    setting = SETTINGS.get(name)
    if setting is None:
        near = difflib.get_close_matches(name, SETTINGS, 1)
        raise ValueError(f"there is no setting {name!r}" + (f"; did you mean {near[0]!r}?" if near else ""))
    if setting.kind == "texts":
        return (given,) if isinstance(given, str) else tuple(str(one) for one in given)  # type: ignore[attr-defined]
    if setting.group == "thresholds":
        if str(given).strip().lower() == "off":
            return "off"
        return _number(name, given)
    if setting.kind == "number":
        return _number(name, given)
    if setting.kind == "count":
        number = _number(name, given)
        if number != int(number) or number < 0:
            raise ValueError(f"{name} is {given!r}, which is no whole number")
        return int(number)
    if setting.kind == "yes_no":
        word = str(given).strip().lower()
        if word not in _WORDS:
            raise ValueError(f"{name} is {given!r}, which is neither yes nor no")
        return _WORDS[word]
    return str(given)


def _number(name: str, given: object) -> float:
    try:
        number = float(str(given))
    except ValueError:
        raise ValueError(f"{name} is {given!r}, which is no number") from None
    if number - number != 0:
        raise ValueError(f"{name} is {given!r}, which is no finite number")
    return number


def study_keywords(settings: Mapping[str, Value]) -> dict[str, Any]:
    """The keywords of :func:`qmx_ic.study` for these settings."""
    keywords: dict[str, Any] = {}
    for name, value in settings.items():
        setting = SETTINGS[name]
        if setting.group:
            keywords.setdefault(setting.group, {})[setting.keyword] = value
        else:
            keywords[setting.keyword] = value
    return keywords
