#!/usr/bin/env python3
"""Reads every #include line below src/ against the table of who may use whom.

The rooms form layers: the frame's headers are the floor, the exports the roof. A file that reaches
past its layer fails the check.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent / "src"

# What each room may include besides itself: whole rooms, or single headers.
ALLOWED = {
    "frame": {"qmx_ic.h", "files/unit_table.hpp"},
    "files": {"frame"},
    "numeric": {  # knows no events
        "frame/array_view.hpp", "frame/base_types.hpp", "frame/bounded_text.hpp",
        "frame/padded_text.hpp", "frame/work_array.hpp",
    },
    "toolkit": {"frame", "numeric", "files/unit_table.hpp"},
    "icdata": {"qmx_ic.h", "frame", "toolkit", "files"},
    "pointtest": {"qmx_ic.h", "frame", "toolkit", "files", "icdata/statistics.hpp"},
    "semivariogram": {
        "qmx_ic.h", "frame", "toolkit", "files",
        "numeric/bounded/bounded_fit.hpp", "numeric/error_stack.hpp",
    },
    "coverage": {"qmx_ic.h", "frame", "files", "pointtest/plan_geometry.hpp"},
}
# The chambers of the numeric room. What stands in the room itself (errors, messages, machine
# constants, printing) is open to all of them.
CHAMBERS = {
    "arithmetic": set(),
    "sorting": set(),
    "bounded": set(),
    "distributions": {"arithmetic"},
    "statistics": {"arithmetic", "distributions"},
    "regression": {"arithmetic", "distributions", "sorting"},
    "polynomial": {"arithmetic", "regression", "sorting"},
}
# Exports lie above all rooms. The unit table lies on the floor, below the event report that asks it.
ROOF = re.compile(r"frame/export_\w+\.cpp$")
FLOOR = re.compile(r"files/unit_table\.[ch]pp$")
ON_THE_FLOOR = {"frame/base_types.hpp", "frame/padded_text.hpp", "files/unit_table.hpp"}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def is_allowed(name, included):
    if ROOF.search(name):
        return True
    if FLOOR.search(name):
        return included in ON_THE_FLOOR
    room = name.split("/")[0]
    target = included.split("/")[0]
    if room == target == "numeric":
        chamber, other = (path.split("/")[1:-1] for path in (name, included))
        return not other or other == chamber or (chamber and other[0] in CHAMBERS[chamber[0]])
    return target == room or target in ALLOWED[room] or included in ALLOWED[room]


def main():
    files = sorted(p for p in ROOT.rglob("*") if p.suffix in (".hpp", ".cpp", ".h"))
    if not files:
        sys.exit("no sources found")
    breaches = [
        f"src/{name} includes {included}"
        for name, path in ((p.relative_to(ROOT).as_posix(), p) for p in files)
        for included in INCLUDE.findall(path.read_text(encoding="utf-8"))
        if not is_allowed(name, included)
    ]
    print("\n".join(breaches) or f"{len(files)} files keep to their layers")
    sys.exit(bool(breaches))


if __name__ == "__main__":
    main()
