#!/usr/bin/env python3
"""Drives the page that computes in a browser, and compares what is saved from it with the program's own.

    check_page.py --program PROGRAM --page PAGE.html --packages FOLDER --modules FOLDER [--random-lots PROGRAM]
                  [--shots FOLDER]

Report, document and tables of the same files and job file must be the same bytes, and so the random lots. Ends
with 77 where a browser is not there, but for a run in which QMX_IC_NEEDS_BROWSER is set: there that is a failure.
"""

import argparse
import os
import pathlib
import resource
import shutil
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
OUTPUTS = ["-o", "report.html", "--document", "report.json", "--tables", "tables"]


def run(program, *arguments, cwd):
    return subprocess.run([program, *arguments], cwd=cwd, capture_output=True, text=True, check=False)


def write_files(program, folder):
    """A day's files, bad ones with what the program says of them, and a million rows."""
    made = run(program, "generate", "day", "--lattice", "0.5", "--points", "4000", "--seed", "3", cwd=folder)
    made.check_returncode()
    degrees = "".join(f"-93.{i:05},43.9{i:04},{i % 4 + 1},{i % 7 + 40}\n" for i in range(400))
    (folder / "empty.csv").write_bytes(b"")
    (folder / "picture.csv").write_bytes(bytes(range(256)) * 40)
    (folder / "degrees.csv").write_text("Longitude,Latitude,PassCount,CMV\n" + degrees)
    (folder / "broken.toml").write_text("[input\nfiles = [")
    (folder / "unknown.toml").write_text('[input]\nfiles = ["day.csv"]\n[analysis]\ntargget = 40\n')
    with open(folder / "million.csv", "w") as out:
        out.write("CellE_m,CellN_m,PassCount,LastCMV,Speed\n")
        for cell in range(250000):
            x, y = cell % 5000, cell // 5000
            for number in range(1, 5):
                value = 30 + 2 * number + (x * 7 + y * 13 + x * y) % 97 / 10
                out.write(f"{432000 + x * 0.25:.3f},{4862000 + y * 0.25:.3f},{number},{value:.2f},{3 + y % 10 / 10:.1f}km/h\n")
    for name, more in (("empty.csv", []), ("picture.csv", []), ("degrees.csv", ["--project", "utm"])):
        said = run(program, "report", name, *more, cwd=folder)
        if said.returncode == 0:
            raise SystemExit(f"{name} is not refused by the program")
        (folder / f"{name}.says").write_text(said.stderr.removeprefix("qmx-ic: "))


def slowdown(program, folder):
    """How much longer work takes here than its processor time, for limits of time on a busy machine."""
    before, start = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    run(program, "columns", "--threads", "1", "--json", "million.csv", cwd=folder)
    taken = time.monotonic() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return max(1.0, taken / max(0.01, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime))


def differing(program, folder):
    """The names of what the page saved that the program does not write alike."""
    saved = folder / "saved"
    made = run(program, "report", "--job", "job.toml", *OUTPUTS, cwd=folder)
    if made.returncode != 0:
        return [f"the program makes no report of the saved job file: {made.stderr}"]
    tables = sorted((folder / "tables").glob("*.csv"))
    pairs = [(folder / name, saved / name) for name in ("report.html", "report.json")]
    pairs += [(each, saved / f"table-{each.name}") for each in tables]
    found = [f"{there.name} differs from the program's" for here, there in pairs
             if not there.exists() or here.read_bytes() != there.read_bytes()]
    number = len(list(saved.glob("table-*")))
    if number != len(tables) or number < 10:
        found.append(f"{number} tables were saved, the program writes {len(tables)}")
    print(f"{len(pairs)} files compared, {sum(here.stat().st_size for here, _ in pairs)} bytes")
    return found


def main():
    parser = argparse.ArgumentParser()
    for name in ("program", "page", "packages", "modules"):
        parser.add_argument(f"--{name}", type=lambda text: pathlib.Path(text).resolve(strict=True), required=True)
    parser.add_argument("--random-lots", type=pathlib.Path)
    parser.add_argument("--shots", type=lambda text: pathlib.Path(text).resolve())
    asked = parser.parse_args()
    node = shutil.which("node") or shutil.which("nodejs")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        write_files(asked.program, folder)
        command = [node, str(HERE / "drive_page.mjs"), asked.packages, asked.page, folder, "--modules", asked.modules,
                   "--slowdown", f"{slowdown(asked.program, folder):.2f}"]
        if asked.shots:
            command += ["--shots", asked.shots]
        done = subprocess.run([str(word) for word in command], check=False)
        if done.returncode == 77:
            sys.exit(1 if os.environ.get("QMX_IC_NEEDS_BROWSER") else 77)
        faults = differing(asked.program, folder)
        if asked.random_lots:
            here = run(asked.random_lots.resolve(strict=True), "24000", cwd=folder).stdout
            there = folder / "saved/random_lots.txt"
            if not there.exists() or there.read_text() != here:
                faults.append("the random lots differ in the browser")
    for fault in faults:
        print(fault)
    sys.exit(1 if faults or done.returncode != 0 else 0)


if __name__ == "__main__":
    main()
