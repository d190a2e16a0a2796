#!/usr/bin/env python3
"""Makes reports of many kinds of lots with the program and opens them in a browser.

    tests/report/check_reports.py PROGRAM PACKAGES [--shots FOLDER]

PACKAGES is the folder whose node_modules hold playwright-core and axe-core. Ends with 77 where Node or a
browser is not there, but for a run in which the environment variable QMX_IC_NEEDS_BROWSER is set: there
that is a failure.
"""

import json
import math
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent


def skip(why):
    print(why)
    sys.exit(1 if os.environ.get("QMX_IC_NEEDS_BROWSER") else 77)


def strip(cells, head="x_m,y_m,Pass,CMV", more=lambda i, j: ""):
    """A strip along the eastings, half a metre a cell; cells: value by column and row."""
    rows = [head]
    for (i, j), value in cells.items():
        rows.append(f"{1000 + 0.5 * i},{2000 + 0.5 * j},{1 + (i + j) % 4},{value}{more(i, j)}")
    return "\n".join(rows) + "\n"


def wave(columns=200, rows=12):
    return {
        (i, j): round(50 + 8 * math.sin(i / 15) + 3 * math.sin(7.3 * i * j + j), 2)
        for i in range(columns)
        for j in range(rows)
    }


def untidy_lot():
    """Two files with comments, units and a decimal comma, bad rows, few tests, and overlapping areas."""
    head = "x_m,y_m,Pass,CMV,Speed,Time"
    points = ["# tracks of a day", "# made for a trial", head, "[m],[m],[-],[-],[km/h],[-]"]
    commas = [head.replace(",", ";")]
    for (i, j), value in wave(120, 8).items():
        for number in (1, 2, 3):
            written = "" if (7 * i + j) % 50 == 0 else round(value * (0.8 + 0.1 * number), 2)
            time = f"2025-10-0{number}T09:{i % 60:02}"
            row = f"{1000 + i / 2},{2000 + j / 2},{number},{written},{3 + j / 10},{time}"
            if i < 60:
                points.append(row)
            else:
                commas.append(row.replace(",", ";").replace(".", ","))
    points += ["0,0,1,40,3,2025-10-01T09:00", "1003,2001,1,40,3,2025-10-01T09:00,7,7"]
    tests = [f"{k},{1000 + 3 * k},2001,{40 + k % 7}" for k in range(1, 9)]
    tests += [f"far {k},5000,{5000 + k},40" for k in range(22)]

    def square(left, right):
        ring = [[left, 1999], [right, 1999], [right, 2005], [left, 2005], [left, 1999]]
        shape = {"type": "Polygon", "coordinates": [ring]}
        return {"type": "Feature", "properties": {}, "geometry": shape}

    areas = {"type": "FeatureCollection", "features": [square(999, 1040), square(1030, 1062)]}
    return {
        "untidy_points.csv": "\n".join(points) + "\n",
        "untidy_commas.csv": "\n".join(commas) + "\n",
        "untidy_tests.csv": "\n".join(["Test,x_m,y_m,E", *tests]) + "\n",
        "untidy_areas.geojson": json.dumps(areas),
        "untidy.toml": '[input]\nfiles = ["untidy_points.csv", "untidy_commas.csv"]\n'
        '[filter]\nvalue = [5, 100]\nspeed = [2, 10]\ntime = ["2025-10-01T00:00", ""]\n'
        "[thresholds]\ncell_size = 0.4\n",
    }


def write_lots(folder):
    files = untidy_lot() | {
        "two_cells.csv": strip({(0, 0): 30, (1, 0): 31}),
        "constant.csv": strip({place: 40 for place in wave()}),
        "without_passes.csv": "x_m,y_m,CMV\n"
        + "".join(f"{i * 0.5},{j * 0.5},{value}\n" for (i, j), value in wave().items()),
        "without_positions.csv": "CMV\n" + "".join(f"{value}\n" for value in wave(40, 3).values()),
        "lifts.csv": strip(
            wave(), "x_m,y_m,Pass,CMV,Lift,Machine", lambda i, j: f",{1 + j % 3},<b>Roller</b> & Sons"
        ),
        "job.toml": '[input]\nfiles = ["lifts.csv"]\n[filter]\nlifts = ["2"]\n'
        '[texts]\ntitle = "<script>alert(1)</script>"\nproject = "Überholspur \\"A 9\\""\n',
    }
    for name, text in files.items():
        (folder / name).write_text(text, encoding="utf-8")


REPORTS = {
    "sample": "sample.csv --tests sample-spots.csv --area sample-alignment.csv --target 50",
    "deutsch": "sample.csv --tests sample-spots.csv --area sample-alignment.csv --target 50 --lang de"
    " --preset austria --minimum 30",
    "two_cells": "two_cells.csv --target 30",
    "constant": "constant.csv --target 35",
    "without_passes": "without_passes.csv --target 45",
    "without_positions": "without_positions.csv",
    "one_lift_of_three": "--job job.toml --target 45",
    "three_lifts": "lifts.csv",
    "untidy": "--job untidy.toml --tests untidy_tests.csv --area untidy_areas.geojson --target 50"
    " --preset general",
    "million_cells": "million.csv --target 45",
}


THOROUGH = "sample.html,deutsch.html,million_cells.html"


def main():
    words = sys.argv[1:]
    shots = []
    if "--shots" in words:
        at = words.index("--shots")
        shots = words[at : at + 2]
        del words[at : at + 2]
    program, packages = (pathlib.Path(word).resolve() for word in words)
    if not shutil.which("node"):
        skip("node is not installed")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        write_lots(folder)

        def run(arguments):
            subprocess.run(
                [program, *arguments.split()], cwd=folder, check=True, stdout=subprocess.DEVNULL
            )

        run("generate sample --points 20000")
        run("generate million --points 1000000 --final-coverage")
        pages = []
        for kind, arguments in REPORTS.items():
            run(f"report {arguments} -o {kind}.html --document {kind}.json --time-stamp 2026-01-01T00:00:00Z")
            pages += [folder / f"{kind}.html", folder / f"{kind}.json"]
            size = pages[-2].stat().st_size
            if size >= 5_000_000:
                sys.exit(f"{kind}.html has {size} bytes")
            json.loads(pages[-1].read_text(encoding="utf-8"))
        done = subprocess.run(
            ["node", HERE / "browser/run.mjs", packages, *pages, *shots, "--thorough", THOROUGH],
            check=False,
        )
        if done.returncode == 77:
            skip("no browser")
        sys.exit(done.returncode)


if __name__ == "__main__":
    main()
