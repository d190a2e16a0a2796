#!/usr/bin/env python3
"""Compares what two builds of qmx-ic say and write: one for this system, one for Windows.

    compare_documents.py --here PROGRAM --there COMMAND...

Lots, dirty files, job files and reports in two languages: standard output, standard error, exit codes and
all files that a run leaves must be the same bytes. Then names of files as Windows has them.
"""

import argparse
import codecs
import gzip
import json
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools"))
import compare_programs  # noqa: E402

STAMP = "--time-stamp 2026-03-04T05:06:07Z"
JOB = """# Auftrag
[input]
files = ["{lot}.csv"]
tests = "{lot}-spots.csv"
area = "{lot}-alignment.csv"
[analysis]
target = 40
[thresholds]
preset = "austria"
[texts]
title = "Straße nach Süd, Los 1"
[output]
language = "{language}"
time_stamp = "2026-03-04T05:06:07Z"
report = "page-{language}.html"
document = "report-{language}.json"
cells = "cells-{language}.csv"
tables = "tables-{language}"
"""
# As machines and spreadsheets write them: marks, line ends, encodings, damaged rows, breaks within quotes.
ROWS = "".join(f"{i % 12};{i // 12};{1 + i % 4};{30 + i * i % 17},{i % 10}\n" for i in range(240))
DIRTY = {
    "crlf.csv": ("x;y;PassCount;CMV\n" + ROWS).replace("\n", "\r\n").encode(),
    "mark.csv": codecs.BOM_UTF8 + ("x;y;PassCount;CMV\n" + ROWS).encode(),
    "wide.csv": codecs.BOM_UTF16_LE + ("x;y;PassCount;Größe_CMV\n" + ROWS).encode("utf-16-le"),
    "latin.csv": ("Höhe;x;y;PassCount;CMV\n" + "".join("1,5;" + row + "\n" for row in ROWS.split())).encode("latin-1"),
    "damaged.csv": ("x;y;PassCount;CMV\n" + ROWS + "1;2\n;;;\n1;2;x;3\n1;2;3;\x1a;\n\"1;2\n3\";4;5;6\n\n").encode(),
    "broken.csv.gz": gzip.compress(("x;y;PassCount;CMV\n" + ROWS).encode(), mtime=0)[:-20],
    "lone.csv": ("x;y;PassCount;CMV\n" + ROWS).replace("\n", "\r").encode(),
    "empty.csv": b"",
}
# Beyond these some lines of the common list: each start under Wine takes its time.
COMMANDS = [
    *(f"stats {name} --json" for name in DIRTY),
    *(f"columns {name}" for name in DIRTY),
    "report --job job-en.toml",
    "report --job job-de.toml --json",
    f"report lanes.csv --tests lanes-spots.csv --area lanes-alignment.csv --lang de {STAMP} -o page.html",
    f"report lot.csv {STAMP} -o page.html --document -",
    f"report damaged.csv {STAMP} -o page.html --cells cells.csv.gz --exit-code",
    "init lot.csv --tests lot-spots.csv --area lot-alignment.csv --output new.toml",
    "grid lanes.csv --cell 0.5 --drum-width 2 --output cells.csv.gz",
    "select grid.csv --circle 5,5,5 --output inside.tsv",
    "stats nowhere/lot.csv",
    "select grid.csv --circle 5,5,5 --output nowhere/inside.csv",
    "stats '*.csv'",
]
EVERY = 4  # of the common list each fourth line, and all of these
WINE = re.compile(rb"^wine: .*\n", re.MULTILINE)  # what Wine says of its own helpers
ALWAYS = ("semivariogram", "curve", "fit", "spots")


def fill(folder, program):
    compare_programs.fill(folder, program)
    for name, data in DIRTY.items():
        (folder / name).write_bytes(data)
    for language in ("en", "de"):
        (folder / f"job-{language}.toml").write_text(JOB.format(lot="lot", language=language), encoding="utf-8")


def chosen_lines():
    for number, line in enumerate(compare_programs.COMMANDS):
        if number % EVERY == 0 or line.endswith("--json") and line.startswith(ALWAYS):
            yield line
    yield from COMMANDS


def compare_outcomes(here, there, folder):
    """The number of lines, and the faults."""
    faults = []
    folders = [folder / "here", folder / "there"]
    for each in folders:
        each.mkdir()
        fill(each, here[0])
    lines = list(chosen_lines())
    for line in lines:
        old, new = (compare_programs.outcome(*both) for both in ((here, line, folders[0]), (there, line, folders[1])))
        new["standard error"] = WINE.sub(b"", new["standard error"])
        shown = list(compare_programs.difference(old, new))
        if shown or old != new:
            faults.append("\n  ".join([f"qmx-ic {line}", *(text[:200] for text in shown[:12])]))
    return len(lines), faults


def run(command, *arguments, cwd):
    return subprocess.run([*command, *arguments], cwd=cwd, capture_output=True, stdin=subprocess.DEVNULL, check=False)


def compare_names(here, there, folder):
    """Names with drive letter, backslashes, blanks and letters beyond ASCII; each yields its faults."""
    site = folder / "Bauabschnitt Süd" / "Los Ⅲ ЖД"
    site.mkdir(parents=True)
    options = ["--length", "20", "--width", "4", "--seed", "11"]
    for command, name in ((here, site / "Walze Größe"), (there, windows_name(site / "Walze 2 Größe"))):
        made = run(command, "generate", str(name), *options, cwd=folder)
        if made.returncode != 0:
            yield f"generate {name}: {made.stderr.decode()}"
    lot, again = site / "Walze Größe.csv", site / "Walze 2 Größe.csv"
    if not again.exists() or lot.read_bytes() != again.read_bytes():
        yield f"generate: {again} is missing or differs; there are {[each.name for each in site.iterdir()]}"
        return

    plain = json.loads(run(here, "stats", str(lot), "--json", cwd=folder).stdout)
    relative = str(lot.relative_to(folder)).replace("/", "\\")
    for name in (windows_name(lot), windows_name(lot).replace("\\", "/"), relative, ".\\" + relative):
        done = run(there, "stats", name, "--json", cwd=folder)
        found = json.loads(done.stdout) if done.returncode == 0 else done.stderr.decode()
        if not same_but_for_name(plain, found, str(lot), name):
            yield f"stats {name}: {str(found)[:300]}"

    job = site / "Auftrag Ä.toml"
    job.write_text(JOB.format(lot="Walze Größe", language="de"), encoding="utf-8")
    results = []
    for command, name in ((here, str(job)), (there, windows_name(job))):
        made = run(command, "init", relative if command is there else str(lot.relative_to(folder)), "--force",
                   "-o", name.replace("Auftrag", "neu"), cwd=folder)
        if made.returncode != 0 or 'files = ["Walze Größe.csv"]' not in (site / "neu Ä.toml").read_text(encoding="utf-8"):
            yield f"init -o {name}: {made.stderr.decode()}"
        done = run(command, "report", "--job", name, cwd=folder)
        if done.returncode != 0:
            yield f"report --job {name}: {done.stderr.decode()}"
        names = [site / "page-de.html", site / "report-de.json", site / "cells-de.csv", site / "tables-de" / "verdicts.csv"]
        results.append([each.read_bytes() if each.exists() else None for each in names])
        for each in names:
            each.unlink(missing_ok=True)
    for name, left, right in zip(("page", "document", "cells", "verdicts"), *results):
        if left is None or right is None:
            yield f"report: no {name} {'here' if left is None else 'there'}"
        elif name in ("cells", "verdicts") and left != right:
            yield f"report: the {name} differ"


def windows_name(path):
    return "Z:" + str(path).replace("/", "\\")


def same_but_for_name(left, right, left_name, right_name):
    """Equal documents, but for the name of the file that was read."""
    if isinstance(left, dict) and isinstance(right, dict):
        return left.keys() == right.keys() and all(
            same_but_for_name(left[key], right[key], left_name, right_name) for key in left)
    if isinstance(left, list) and isinstance(right, list):
        return len(left) == len(right) and all(
            same_but_for_name(*pair, left_name, right_name) for pair in zip(left, right))
    if isinstance(left, str) and isinstance(right, str):
        return left.replace(left_name, "FILE") == right.replace(right_name, "FILE")
    return left == right


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--here", required=True)
    parser.add_argument("--there", nargs=argparse.REMAINDER, required=True)
    asked = parser.parse_args()
    here = [str(pathlib.Path(asked.here).resolve(strict=True))]
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        number, faults = compare_outcomes(here, asked.there, folder)
        faults += compare_names(here, asked.there, folder)
    for fault in faults:
        print(fault)
    print(f"{number} command lines and the names of files: {len(faults)} differences")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
