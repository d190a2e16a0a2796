"""Command lines that write, on small files that the program makes itself, and what they may leave behind."""

import gzip
import os
import pathlib
import shutil
import subprocess
import tempfile

from stand import Ending

PROGRAM = os.environ["QMX_IC_PROGRAM"]
LONG = bool(os.environ.get("QMX_IC_LONG"))  # every place of a fault, not a sample of them
OLD = b"as it stood before\n"

# name: (arguments, files that it writes)
SCENES = {
    "stats": ("stats lot.csv --target 45 --json --output made.csv", ["made.csv"]),
    "select": ("select lot.csv.gz --polygon lot-alignment.csv --output made.tsv.gz", ["made.tsv.gz"]),
    "coverage": ("coverage lot.csv --area lot-alignment.csv --target-passes 3 --output made.csv", ["made.csv"]),
    "semivariogram": ("semivariogram lot.csv --output made.csv", ["made.csv"]),
    "curve": ("curve lot.csv --output made.csv", ["made.csv"]),
    "spots": ("spots lot.csv lot-spots.csv --radius 1 --output made.csv", ["made.csv"]),
    "fit": ("fit lot.csv --x PassCount --y LastCMV --degree 2 --output made.csv", ["made.csv"]),
    "grid": ("grid lot.csv --cell 0.5 --drum-width 2 --output made.csv", ["made.csv"]),
    "columns": ("columns lot.csv --json", []),
    "init": ("init lot.csv --force --output made.toml", ["made.toml"]),
    "generate": ("generate made --points 200 --force",
                 ["made.csv", "made-spots.csv", "made-alignment.csv", "made-truth.json"]),
    "report": ("report --job job.toml --output made.html --document made.json --cells made.csv",
               ["made.html", "made.json", "made.csv"]),
    "tables": ("report --job job.toml --tables made --json", ["made/curve.csv", "made/rows.csv", "made/verdicts.csv"]),
}
# These go through libraries of others.
SPATIAL = {
    "vector": ("select lot.gpkg --circle 432000,4862000,20 --output made.geojson", ["made.geojson"]),
    "cells": ("report --job job.toml --cells made.gpkg --json", ["made.gpkg"]),
}
JOB = """[input]
files = ["lot.csv"]
tests = "lot-spots.csv"
area = "lot-alignment.csv"
[output]
time_stamp = "2026-01-02T03:04:05Z"
"""


def has_spatial_formats():
    """Whether this build knows the libraries of spatial formats."""
    said = subprocess.run([PROGRAM, "stats", "missing.csv", "--output", "x.gpkg"], capture_output=True).stderr
    return b"no GDAL" not in said


def listing(folder):
    """All files below a folder, and what is in them."""
    return {str(file.relative_to(folder)): file.read_bytes()
            for file in sorted(pathlib.Path(folder).rglob("*")) if file.is_file()}


class Scene:
    """A folder with inputs, a command line, and what it makes without a fault."""

    def __init__(self, name):
        arguments, self.outputs = {**SCENES, **SPATIAL}[name]
        self.name, self.arguments = name, arguments.split()
        self.kept = tempfile.mkdtemp(prefix="qmx-ic-faults-")
        self.folder = pathlib.Path(self.kept, "work")
        self.folder.mkdir()
        self.call("generate", "lot", "--lattice", "1", "--length", "28", "--width", "4", "--passes", "3",
                  "--spots", "12")
        (self.folder / "lot.csv.gz").write_bytes(gzip.compress((self.folder / "lot.csv").read_bytes(), mtime=0))
        (self.folder / "job.toml").write_text(JOB, encoding="utf-8")
        if name == "vector":
            self.call("select", "lot.csv", "--polygon", "lot-alignment.csv", "--crs", "EPSG:32615", "--output",
                      "lot.gpkg")
        self.inputs = listing(self.folder)
        done = self.call(*self.arguments)
        self.out, self.made = done.stdout, self.changes()
        assert set(self.outputs) <= set(self.made), (name, self.made.keys())

    def call(self, *arguments, **settings):
        return subprocess.run([PROGRAM, *arguments], cwd=self.folder, check=True, capture_output=True,
                              stdin=subprocess.DEVNULL, **settings)

    def end(self, arguments=None, **settings):
        """A run without the stand, however it ends."""
        done = subprocess.run([PROGRAM, *(arguments or self.arguments)], cwd=self.folder, capture_output=True,
                              **{"stdin": subprocess.DEVNULL, "timeout": 120, **settings})
        return Ending(done.returncode, done.stdout, done.stderr, 0)

    def changes(self):
        now = listing(self.folder)
        return {name: bytes for name, bytes in now.items() if self.inputs.get(name) != bytes}

    def reset(self):
        """An earlier output stands under each name."""
        now = listing(self.folder)
        for name in now.keys() - self.inputs.keys() - set(self.outputs):
            os.remove(self.folder / name)
        for name in self.outputs:
            (self.folder / name).parent.mkdir(exist_ok=True)
            (self.folder / name).write_bytes(OLD)

    def faults_of(self, ending, words=(), codes=(1, 2), may_die_of=()):
        """What is wrong with how a run ended: a list of sentences, empty where nothing is."""
        wrong = []
        left = self.changes()
        missing = self.inputs.keys() - listing(self.folder).keys()
        if missing:
            wrong.append(f"inputs are lost: {missing}")
        for name, content in left.items():
            if name in self.outputs and content == OLD:
                continue
            if name not in self.made:
                wrong.append(f"{name} is left behind ({len(content)} bytes)")
            elif content != self.made[name]:
                wrong.append(f"{name} is neither the old file nor the new one")
        for name in self.outputs:
            if name not in left and name not in self.inputs:
                wrong.append(f"{name} is lost")
        said = ending.err.decode(errors="replace")
        if ending.code == 0:
            if ending.out != self.out:
                wrong.append("exit code 0 with another answer")
            unwritten = [name for name in self.made if left.get(name) != self.made[name]]
            if unwritten:
                wrong.append(f"exit code 0, but not written: {unwritten}")
        elif ending.code < 0:
            if -ending.code not in may_die_of:
                wrong.append(f"killed by signal {-ending.code}")
        elif may_die_of and ending.code == 127 and "thread-local data" in said:
            pass  # the loader ends a program whose late libraries want memory for a thread, in its own words
        else:
            if ending.code not in codes:
                wrong.append(f"exit code {ending.code}")
            if "qmx-ic: " not in said or not any(word in said.lower() for word in words or [""]):
                wrong.append("no clear message")
        return [f"{each}; it said: {said[:300]!r}" for each in wrong]

    def close(self):
        shutil.rmtree(self.kept)
