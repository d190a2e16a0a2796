#!/usr/bin/env python3
"""Compares two builds of qmx-ic byte for byte: text, JSON, files, standard error and exit codes.

    tools/compare_programs.py OLD NEW [DATA]

Runs each command line below with both programs, each in a folder of its own that holds the same
generated lots and small files, and shows what differs. DATA is a folder of real files, read where
it is given. A line that is meant to differ is looked at by eye; the exit code is 1 if any does.
"""

import argparse
import difflib
import gzip
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

LOTS = {
    "lot": "--seed 5 --points 6000 --lattice 0.5",
    "lanes": "--seed 6 --points 4000",
    "last": "--seed 7 --length 40 --width 6 --lattice 0.4 --final-coverage --passes 4",
    "thin": "--seed 8 --length 6 --width 3 --passes 3 --bad-rows 0 --spots 4 --overlap 0",
}
GRID = [(x, y) for y in range(11) for x in range(11)]
FILES = {
    "grid.csv": "x,y,PassCount,note\n" + "".join(f"{x},{y},{(x + y) % 4},\"a, \"\"b\"\"\"\n" for x, y in GRID),
    "square.csv": "x,y\n2,2\n8,2\n8,8\n2,8\n",
    "bow.csv": "x,y\n0,0\n8,8\n8,0\n0,8\n",
    "hole.csv": 'WKT\n"POLYGON((2 2,8 2,8 8,2 8,2 2),(4 4,6 4,6 6,4 6,4 4))"\n',
    "two.csv": 'WKT\n"MULTIPOLYGON(((0 0,2 0,2 2,0 2,0 0)),((1 1,3 1,3 3,1 3,1 1)))"\n',
    "away.csv": "x,y\n900,900\n910,900\n910,910\n",
    "sliver.csv": "x,y\n0,0\n10,10\n5,5\n",
    "degrees.geojson": '{"type":"Polygon","coordinates":[[[2,2],[8,2],[8,8],[2,2]]]}',
    "lonlat.csv": "Longitude,Latitude,CMV\n-93,43.90000,1\n-93,43.90001,2\n-93,43.90005,4\n",
    "equal.csv": "x,y,CMV\n1,1,5\n2,2,5\n3,3,5\n",
    "huge.csv": "x,y,CMV\n1,1,5\n2,2,1e39\n3,3,5\n",
    "short.csv": "x,y,CMV\n1,1,5\n2,2,6\n",
    "capped.csv": "x;y;CMV_MPa\n" + "".join(f"{i},5;{i % 7};{min(i, 30)},25\n" for i in range(60)),
    "high.csv": "x,y,PassCount\n" + "".join(f"{i},0,{1 + i % 4}\n" for i in range(20)) + "20,0,200\n",
    "full.csv": "x,y,PassCount\n" + "".join(f"{i},0,{1 + i % 4}\n" for i in range(20)) + "20,0,199\n",
    "pairs.csv": "Depth_m,Density,Note\n" + "".join(f"{1000 + i},{3 + 2 * i - 0.1 * i * i},n{i}\n" for i in range(12)),
    "texts.csv": "a,b\nq,w\ne,r\n",
    "passes.csv": "x,y,PassCount,CMV\n" + "".join(
        f"{i % 40},{i // 40 % 5},{1 + i // 200},{10 + 8 * (i // 200) - (i // 200) ** 2 + (i % 13)}\n" for i in range(800)),
    "late.csv": "x,y,PassCount,CMV\n" + "".join(f"{i},0,{3 + i % 2},{i}\n" for i in range(300)),
    "ferry.csv": "x,y,PassCount,CMV\n1,1,1,3\n1,1,200000,3\n2,1,1,4\n",
    "tests.csv": "Spot,x,y,PassCount,Value\nA,5,2,4,30\nB,15,2,4,35\nC,25,2,4,44\nD,35,2,4,41\nE,20,1,2,29\nF,500,2,,1\n",
    "badtests.csv": "Spot,x,y,PassCount,Value\nA,5,2,4,30\nB,15,2,no,35\n",
    "notests.csv": "Spot,where,Value\nA,5,30\n",
    "feet.csv": "E_ft,N_m,PassCount,CMV\n1,1,1,3\n2,1,1,4\n3,1,2,4\n",
    "jitter.csv": "x,y,PassCount,CMV\n" + "".join(
        f"{x + (x * 7 + y * 3) % 5 / 100},{y + (x * 3 + y * 11) % 5 / 100},2,{x * y % 17}\n" for x, y in GRID),
}

COMMANDS = """
--help
--version

nonsense
stats
stats --help
coverage --help
semivariogram --help
curve --help
spots --help
fit --help
select --help
columns --help
generate --help
stats missing.csv
stats grid.csv --levels 10,101
stats lot.csv
stats lot.csv --json
stats lot.csv --last-pass --target 40 --target-percent 20
stats lot.csv --last-pass --target 40 --below --json
stats lot.csv --all-records --value PassCount --pass-counts --target 3
stats lot.csv --pass-counts --json --levels 25,75
stats last.csv --target 45 --json
stats last.csv --where "PassCount >= 2 AND VibeState = 'On'"
stats last.csv --target-percent 90
stats last.csv --below
stats last.csv --target 1e60
stats last.csv --target 40 --target-percent 101
stats equal.csv --json --target 4
stats equal.csv
stats huge.csv
stats short.csv --json
stats capped.csv --json
stats capped.csv
stats high.csv --pass-counts
stats full.csv --pass-counts --target 3
stats texts.csv
stats lanes.csv --last-pass
stats lonlat.csv --project utm --json
stats packed.csv.gz --json
columns lot.csv
columns lot.csv --json
columns texts.csv --json
columns lonlat.csv
select grid.csv --circle 5,5,5
select grid.csv --circle 5,5,5 --json --output inside.csv
select grid.csv --polygon hole.csv --output hole-rows.csv
select grid.csv --polygon two.csv --json
select grid.csv --circle 1,2
select grid.csv
select grid.csv --circle 50,50,5 --json
select grid.csv --circle 3,4,0 --output grid.csv
select grid.csv --polygon degrees.geojson
select lonlat.csv --circle 1,2,3
select lonlat.csv --circle 500000,4860000,5000 --project utm --json
select lot.csv --polygon lot-alignment.csv --value LastCMV
coverage lot.csv --area lot-alignment.csv
coverage lot.csv --area lot-alignment.csv --json --target-passes 4
coverage lot.csv --area lot-alignment.csv --target-passes 6 --target-coverage 99 --exit-code
coverage lot.csv --area lot-alignment.csv --all-records --bins 1-2,2-4,5-
coverage lanes.csv --area lanes-alignment.csv
coverage lanes.csv --area lanes-alignment.csv --mesh 0.3,0.5 --json
coverage grid.csv --area square.csv --exclude two.csv
coverage grid.csv --area square.csv --exclude two.csv --json --mesh 2,2
coverage grid.csv --area hole.csv
coverage grid.csv --area two.csv --bins 0-1
coverage grid.csv --area bow.csv
coverage grid.csv --area away.csv
coverage grid.csv --area sliver.csv
coverage grid.csv --area square.csv --exclude square.csv
coverage grid.csv --area square.csv --bins 3-1
coverage grid.csv --area square.csv --mesh 0,1
coverage grid.csv --area square.csv --target-passes 0
coverage grid.csv --area square.csv --exit-code
coverage feet.csv --area square.csv
coverage grid.csv --area texts.csv
coverage jitter.csv --area square.csv
semivariogram last.csv
semivariogram last.csv --json --count-pairs
semivariogram last.csv --lag 1 --nlag 20 --azimuth 90 --tolerance 20 --bandwidth 3 --output lags.csv
semivariogram last.csv --standardise
semivariogram last.csv --value-scale 4 --output lags.csv --json
semivariogram lot.csv --last-pass --nlag 12
semivariogram lot.csv --nlag 99
semivariogram lot.csv --lag -1
semivariogram lot.csv --tolerance 20
semivariogram lot.csv --bandwidth 2
semivariogram lot.csv --standardise --value-scale 3
semivariogram equal.csv
semivariogram equal.csv --json
semivariogram huge.csv
semivariogram last.csv --output last.csv
semivariogram feet.csv
semivariogram lonlat.csv
semivariogram passes.csv --nlag 6
curve passes.csv
curve passes.csv --json --output curve.csv
curve lot.csv --growth 2
curve lot.csv --json --max-pass 3
curve late.csv
curve late.csv --json
curve thin.csv
curve ferry.csv
curve last.csv --min-points 1000000
curve last.csv
curve passes.csv --growth nan
curve passes.csv --max-pass 1
curve grid.csv
curve passes.csv --output passes.csv
spots passes.csv tests.csv --radius 2
spots passes.csv tests.csv --radius 2 --json
spots passes.csv tests.csv --radius 2 --any-pass --min-ic 1
spots passes.csv tests.csv --radius 0.1 --json
spots passes.csv badtests.csv --radius 2
spots passes.csv notests.csv --radius 2
spots passes.csv tests.csv --radius -1
spots passes.csv tests.csv --radius 2 --test-value Nothing
spots passes.csv tests.csv --radius 2 --value Nothing
spots passes.csv tests.csv --radius 2 --test-x x --test-y y --test-pass PassCount --min-r 0.99 --min-n 3
spots lot.csv lot-spots.csv --radius 1
spots lot.csv lot-spots.csv --radius 1 --json
spots thin.csv thin-spots.csv --radius 0.2
fit pairs.csv --x Depth_m --y Density
fit pairs.csv --x Depth_m --y Density --json --degree 3 --centre --output fit.csv
fit pairs.csv --x Depth_m --y Density --degree 10
fit pairs.csv --x Depth_m --y Density --degree -1
fit pairs.csv --x Depth_m
fit equal.csv --x x --y CMV --degree 1
fit short.csv --x x --y CMV --json
fit texts.csv
fit huge.csv --x x --y CMV
fit lonlat.csv --x Longitude --y Latitude
fit passes.csv --x PassCount --y CMV --degree 2
generate small --length 5 --width 2 --passes 2 --spots 2
generate made/small --length 5 --width 2 --passes 2 --spots 2 --json
generate small --width -1
generate small --points 0
generate folder/
generate small --length 5 --lattice 0.5 --lane-spacing 1
""".strip("\n").split("\n")
DATA_COMMANDS = """
columns "{data}/roller_all_passes_sample.csv"
stats "{data}/roller_all_passes_sample.csv" --json
stats "{data}/roller_all_passes_sample.csv" --value LastMDP
stats "{data}/harvester_track_corn_utm15n.csv" --target 130
select "{data}/harvester_track_corn.csv" --project EPSG:26915 --json --circle 421500,4864000,100
semivariogram "{data}/harvester_track_corn_utm15n.csv" --json
semivariogram "{data}/harvester_track_corn_utm15n.csv"
coverage "{data}/roller_all_passes_sample.csv" --area square.csv
""".strip("\n").split("\n")
TIME = re.compile(rb"about [0-9.]+ (s|min|h)")


def fill(folder, program):
    for name, text in FILES.items():
        (folder / name).write_text(text, encoding="utf-8", newline="")
    for name, options in LOTS.items():
        subprocess.run([program, "generate", name, *options.split()], cwd=folder, check=True,
                       stdout=subprocess.DEVNULL)
    (folder / "packed.csv.gz").write_bytes(gzip.compress((folder / "last.csv").read_bytes(), mtime=0))


def contents(folder):
    return {path.relative_to(folder).as_posix(): path.read_bytes()
            for path in folder.rglob("*") if path.is_file()}


def outcome(command, line, folder):
    """Everything that a run leaves behind; the folder is as before when it returns. The command that
    starts the program may have several words."""
    before = contents(folder)
    done = subprocess.run([*command, *shlex.split(line)], cwd=folder, capture_output=True,
                          stdin=subprocess.DEVNULL, check=False)
    after = contents(folder)
    left = {"exit code": b"%d" % done.returncode, "standard output": done.stdout,
            "standard error": TIME.sub(b"about ? s", done.stderr)}
    for name in sorted(before.keys() | after.keys()):
        if before.get(name) == after.get(name):
            continue
        left["file " + name] = after.get(name, b"(removed)")
        if name in before:
            (folder / name).write_bytes(before[name])
        else:
            (folder / name).unlink()
    return left


def difference(old, new):
    for name in sorted(old.keys() | new.keys()):
        a, b = old.get(name, b""), new.get(name, b"")
        if a != b:
            lines = [text.decode(errors="replace").splitlines() for text in (a, b)]
            yield from difflib.unified_diff(*lines, name + ", old", name + ", new", lineterm="", n=0)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("old", type=lambda name: pathlib.Path(name).resolve(strict=True))
    parser.add_argument("new", type=lambda name: pathlib.Path(name).resolve(strict=True))
    parser.add_argument("data", nargs="?", type=pathlib.Path)
    options = parser.parse_args()
    lines = list(COMMANDS)
    if options.data:
        lines += [line.format(data=options.data.resolve()) for line in DATA_COMMANDS]
    differing = 0
    with tempfile.TemporaryDirectory() as name:
        folders = [pathlib.Path(name, which) for which in ("old", "new")]
        for folder in folders:
            folder.mkdir()
            fill(folder, options.old)
        for line in lines:
            old, new = (outcome([program], line, folder)
                        for program, folder in zip((options.old, options.new), folders))
            shown = list(difference(old, new))
            if shown:
                differing += 1
                print(f"qmx-ic {line}", *shown[:30], sep="\n  ", flush=True)
    print(f"{len(lines)} command lines, {differing} differ")
    sys.exit(differing > 0)


if __name__ == "__main__":
    main()
