#!/usr/bin/env python3
"""Compares what the program says and writes on this system and as a module of WebAssembly.

    compare_documents.py --here PROGRAM --there COMMAND...

The command lines and files of the comparison with Windows: standard output, standard error, exit codes and all
files that a run leaves, pages among them, must be the same bytes.
"""

import argparse
import importlib.util
import pathlib
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools"))
import compare_programs  # noqa: E402

SPEC = importlib.util.spec_from_file_location("windows", ROOT / "tests/windows/compare_documents.py")
WINDOWS = importlib.util.module_from_spec(SPEC)
SPEC.loader.exec_module(WINDOWS)

# A module has no more than one processor.
LEFT_OUT = ("--threads",)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--here", required=True)
    parser.add_argument("--there", nargs=argparse.REMAINDER, required=True)
    asked = parser.parse_args()
    here = [str(pathlib.Path(asked.here).resolve(strict=True))]
    lines = [line for line in WINDOWS.chosen_lines() if not any(word in line for word in LEFT_OUT)]
    faults, pages = [], 0
    with tempfile.TemporaryDirectory() as name:
        folders = [pathlib.Path(name) / each for each in ("here", "there")]
        for folder in folders:
            folder.mkdir()
            WINDOWS.fill(folder, here[0])
        for line in lines:
            old, new = (compare_programs.outcome(command, line, folder)
                        for command, folder in ((here, folders[0]), (asked.there, folders[1])))
            pages += sum(1 for each in old if each.endswith(".html"))
            if old != new:
                shown = list(compare_programs.difference(old, new))[:12]
                faults.append("\n  ".join([f"qmx-ic {line}", *(text[:200] for text in shown)]))
    for fault in faults:
        print(fault)
    if pages < 4:
        faults.append("no pages were compared")
    print(f"{len(lines)} command lines, {pages} pages: {len(faults)} differences")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
