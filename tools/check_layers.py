#!/usr/bin/env python3
"""Reads every #include line of src/, study/, report/ and apps/ against the table of who may use whom.

Rooms form layers: src/base is the floor, src/exports the roof; study/ sees the public header alone,
report/ sees study/, apps/ sees both. A file that reaches past its layer fails the check, and so does a folder that the
table does not know, or two folders that use each other.
"""

import collections
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)

HEADER = "qmx_ic.h"
ANALYSIS = {HEADER, "base", "events", "toolkit", "geometry", "selection", "logs"}
NUMERIC = {"base", "numeric/errors"}  # knows no events

# What each folder may include besides itself: folders with what lies below them, or single headers.
SRC = {
    "base": set(),
    "blas": {"base"},
    "events": {HEADER, "base"},
    "numeric/errors": {"base"},
    "numeric/arithmetic": NUMERIC | {"blas/blas.hpp"},
    "numeric/sorting": NUMERIC,
    "numeric/plot": NUMERIC,
    "numeric/distributions": NUMERIC | {"numeric/arithmetic"},
    "numeric/statistics": NUMERIC | {"numeric/arithmetic", "numeric/distributions"},
    "numeric/regression": NUMERIC | {"blas/blas.hpp", "numeric/arithmetic", "numeric/distributions", "numeric/sorting"},
    "numeric/polynomial": NUMERIC | {"numeric/arithmetic", "numeric/regression", "numeric/sorting"},
    "numeric/bounded": NUMERIC | {"numeric/arithmetic"},
    "logs": {"base", "events", "numeric"},
    "toolkit": {"base", "events", "numeric"},
    "geometry": {"base", "events"},
    "selection": {HEADER, "base", "events", "geometry"},
    "measure_statistics": ANALYSIS,
    "compaction": ANALYSIS | {"measure_statistics/statistics.hpp"},
    "spot_tests": ANALYSIS | {"measure_statistics/statistics.hpp"},
    "coverage": ANALYSIS,
    # The semivariogram alone calls a numerical routine: no wrapper covers the bounded fit.
    "semivariogram": ANALYSIS
    | {"semivariogram/search", "semivariogram/kernel", "numeric/bounded/bounded_fit.hpp"},
    "semivariogram/search": {"base", "semivariogram/kernel"},
    "semivariogram/kernel": {"base"},
    "exports": None,  # the roof: may include all, and nothing includes it
}
STUDY_LOT = {HEADER, "study/base", "study/table", "study/lot"}
STUDY = {
    "study/base": set(),
    "study/table": {"study/base"},
    "study/lot": {HEADER, "study/base", "study/table"},
    "study/shapes": STUDY_LOT,
    "study/generate": {"study/base"},
    "study/variogram": {"study/base"},
    "study/job": STUDY_LOT,
    "study/analyses": STUDY_LOT | {"study/job", "study/shapes", "study/variogram"},
    "study/document": STUDY_LOT
    | {"study/job", "study/shapes", "study/variogram", "study/analyses", "study/generate"},
    "study/output": STUDY_LOT
    | {"study/job", "study/shapes", "study/variogram", "study/analyses", "study/document"},
}
# The terminal takes options and prints; it opens no room of the library.
FRONTS = {HEADER, "study"}
REPORT = {"report": FRONTS}
APPS = {
    "text": FRONTS,
    "options": FRONTS | {"text", "report"},
    "": FRONTS | {"options", "text"},
}


def folder_of(name):
    return name.rpartition("/")[0]


def is_below(folder, place):
    return folder == place or folder.startswith(place + "/")


def breaches_of(files, rooms, prefix):
    """files: name -> included names. Yields one line a breach."""
    arrows = collections.defaultdict(set)
    for name, includes in files.items():
        room = folder_of(name)
        if room not in rooms:
            yield f"{prefix}{name}: the folder stands in no table"
            continue
        allowed = rooms[room]
        for included in includes:
            target = folder_of(included)
            if target == room:
                continue
            arrows[room].add(target)
            open_to_room = allowed is None or any(
                included == place or is_below(target, place) for place in allowed
            )
            if target == "exports" or not open_to_room:
                yield f"{prefix}{name} includes {included}"
    for room, targets in arrows.items():
        for target in targets:
            if room < target and room in arrows.get(target, ()):
                yield f"{prefix}{room} and {prefix}{target} use each other"


def read(base, files):
    return {
        path.relative_to(base).as_posix(): INCLUDE.findall(path.read_text(encoding="utf-8"))
        for path in files
    }


def sources(folder):
    return [p for p in sorted((ROOT / folder).rglob("*")) if p.suffix in (".hpp", ".cpp", ".h")]


def main():
    trees = [
        (read(ROOT / "src", sources("src")), SRC, "src/"),
        (read(ROOT, sources("study")), STUDY, ""),
        (read(ROOT, sources("report")), REPORT, ""),
        (read(ROOT / "apps/qmx-ic", sources("apps/qmx-ic")), APPS, "apps/qmx-ic/"),
    ]
    if not all(files for files, _, _ in trees):
        sys.exit("no sources found")
    breaches = [line for tree in trees for line in breaches_of(*tree)]
    print("\n".join(breaches) or f"{sum(len(t[0]) for t in trees)} files keep to their layers")
    sys.exit(bool(breaches))


if __name__ == "__main__":
    main()
