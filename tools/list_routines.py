#!/usr/bin/env python3
"""Lists the routines whose names are fixed, with their files and members, in docs/routines.md.

Names and files are read from the declarations and definitions in include/ and src/. With --write the
table is written, with --check the program fails when the table in docs/ is not the one it would
write, without either it prints the table.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TABLE = ROOT / "docs" / "routines.md"

SECTIONS = [
    ("include", "Exports", "What a host calls."),
    ("events", "Events", "The state of failures and its report."),
    ("measure_statistics", "Statistics of a measure", "Fifteen statistics, histogram, target test."),
    ("compaction", "Compaction curve", "The mean of each pass and the curve through the means."),
    ("semivariogram", "Semivariogram", "Experimental semivariogram and fitted model."),
    ("geometry", "Plan geometry", "Predicates and signed areas in the plan."),
    ("selection", "Selection", "The points in a circle or polygon."),
    ("spot_tests", "Spot tests", "IC data round each spot test, and their regression."),
    ("coverage", "Coverage", "Areas by pass bin."),
    ("toolkit", "Toolkit", "Turns errors of the numerical routines into events."),
    ("numeric", "Numerical routines", "Members of one routine differ in their width."),
    ("logs", "Log files", "Debug files on free units."),
]

# A name is fixed if it is exported, all in capitals, a driver, a wrapper of a numerical routine, or
# one that its routine gives in the path of an event. These few carry no such mark.
UNMARKED = {
    "clear_event", "has_failed", "store_event", "store_event_if", "set_event", "print_event",
    "set_fp_mask", "reverse_arr_d", "reverse_arr_s", "camfunc", "camjacob", "gamv",
    "compute_alignment_areas", "compute_areas_for_bins", "bcnls", "b2nls", "file_open",
    "get_iounit_geo", "io_tmp_binfile", "print_datetime", "QMPrintHeader",
}
MARK = re.compile(r"^(?:[A-Z][A-Z0-9_]{2,}|imsl_\w+|\w+_drv)$")
PATH_NAME = re.compile(r'routine_text\s+\w+\("(\w+)"\)')

NOISE = re.compile(
    r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|(?<![0-9a-fA-F])\'(?:\\.|[^\'\\\n])+\'', re.DOTALL)
DIRECTIVE = re.compile(r"^[ \t]*#(?:[^\n\\]|\\\n|\\.)*", re.MULTILINE)
OPENS_SCOPE = re.compile(r'(?:\bnamespace\b[^()=;]*|\bextern\s*(?:"")?\s*)$')
FUNCTION = re.compile(r"^(?P<result>[\w:<>*&,\s]*[\w>*&]\s)\s*[*&]*(?P<name>[A-Za-z_]\w*)\s*\(")


def statements(text):
    """The statements of namespace scope, each with the character that ends it: ; or {."""
    text = NOISE.sub(lambda m: '""' if m.group()[0] == '"' else " ", text)
    text = DIRECTIVE.sub(" ", text)
    start, depth = 0, 0
    for end, character in enumerate(text):
        if depth > 0:
            depth += {"{": 1, "}": -1}.get(character, 0)
            start = end + 1
        elif character in ";{}":
            statement = text[start:end].strip()
            start = end + 1
            if character == "{" and not OPENS_SCOPE.search(statement):
                depth = 1
            if character != "}":
                yield statement, character


def functions(text):
    """(name, signature, whether it is defined here)"""
    for statement, end in statements(text):
        signature = re.sub(r'^(?:extern\s*""|template\s*<[^{}()]*?>)\s*(?=\w)', "", statement)
        found = FUNCTION.match(signature)
        if found and "using" not in found["result"].split():
            yield found["name"], signature, end == "{"


class Routine:
    def __init__(self):
        self.signature = ""
        self.room = None
        self.declared = []
        self.defined = []

    def width(self):
        """What it computes in: its first real argument or result."""
        found = re.search(r"\b(?:f32|f64|Real)\b", self.signature)
        return {"Real": "f32, f64"}.get(found.group(), found.group()) if found else "i32"

    def declared_in(self):
        """Headers; explicit instantiations in a source file are no declarations of interest."""
        return [name for name in self.declared if name.endswith(("hpp", ".h"))]


def read_sources():
    files = sorted(ROOT.glob("include/*.h")) + sorted((ROOT / "src").rglob("*.[hc]pp"))
    routines, marked = {}, set(UNMARKED)
    for path in files:
        name = path.relative_to(ROOT).as_posix()
        text = path.read_text(encoding="utf-8")
        marked.update(PATH_NAME.findall(text))
        for routine_name, signature, is_defined in functions(text):
            if name.startswith("include/"):
                marked.add(routine_name)
            routine = routines.setdefault(routine_name, Routine())
            places = routine.defined if is_defined else routine.declared
            if name not in places:
                places.append(name)
            if routine.room is None:
                routine.room = name.split("/")[0 if name.startswith("include/") else 1]
            routine.signature = routine.signature or signature
    return {name: routine for name, routine in routines.items()
            if name in marked or MARK.match(name)}


def families(names):
    """Names that differ in the letter of their width only, the 64-bit one last."""
    rest = set(names)
    for name in sorted(names):
        twin = next((twin for twin in ("D" + name, "D" + name[1:])
                     if name.isupper() and twin in rest and twin != name
                     and (twin == "D" + name or name[0] == "A")), None)
        if twin:
            rest.discard(twin)
            yield [name, twin]
        elif name in rest and not (name[0] == "D" and any(
                first in names for first in (name[1:], "A" + name[1:]))):
            yield [name]


def places_of(lists):
    places = sorted({place for places in lists for place in places})
    return ", ".join(f"`{place}`" for place in places) or "its file alone"


def make_table(routines):
    lines = ["# Routines with fixed names", "",
             "Made by `tools/list_routines.py --write` from the declarations and definitions in the",
             "sources; a test fails when it no longer agrees with them.", ""]
    for room, title, purpose in SECTIONS:
        names = {name for name, routine in routines.items() if routine.room == room}
        if not names:
            continue
        is_numeric = room == "numeric"
        lines += [f"## {title}", "", purpose, "",
                  "| Routine | " + ("Members | " if is_numeric else "") + "Declared in | Defined in |",
                  "|---|" + ("---|" if is_numeric else "") + "---|---|"]
        for family in families(names):
            members = [routines[name] for name in family]
            row = [f"`{family[0]}`"]
            if is_numeric:
                row.append(", ".join(f"`{name}` {member.width()}"
                                     for name, member in zip(family, members)))
            row += [places_of(member.declared_in() for member in members),
                    places_of(member.defined for member in members)]
            lines.append("| " + " | ".join(row) + " |")
        lines.append("")
    return "\n".join(lines)


def main():
    routines = read_sources()
    missing = sorted(UNMARKED - routines.keys())
    if missing:
        sys.exit("no routine of this name in the sources: " + ", ".join(missing))
    undefined = sorted(name for name, routine in routines.items() if not routine.defined)
    if undefined:
        sys.exit("declared but not defined: " + ", ".join(undefined))
    table = make_table(routines)
    if "--write" in sys.argv:
        TABLE.write_text(table, encoding="utf-8")
    elif "--check" in sys.argv:
        if not TABLE.exists() or TABLE.read_text(encoding="utf-8") != table:
            sys.exit("docs/routines.md is out of date: run tools/list_routines.py --write")
        print(f"{len(routines)} routines are listed as they stand in the sources")
    else:
        print(table)


if __name__ == "__main__":
    main()
