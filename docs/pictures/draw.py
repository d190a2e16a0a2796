#!/usr/bin/python3
"""Draws docs/pictures/lot.png: a sample lot and its statistics, as in the README.

    tools/demo.sh
    docs/pictures/draw.py build/release/qmx-ic build/sample-lot

Needs Debian's python3-matplotlib. Every number comes from the program's own output.
"""

import csv
import json
import pathlib
import subprocess
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

program, lot = sys.argv[1], sys.argv[2]
options = ["--last-pass", "--target", "40", "--target-percent", "90", "--json"]
report = json.loads(
    subprocess.run(
        [program, "stats", f"{lot}.csv", *options], check=True, capture_output=True
    ).stdout
)

cells = {}
with open(f"{lot}.csv", newline="", encoding="utf-8") as rows:
    for row in csv.DictReader(rows):
        try:
            place = float(row["CellE_m"].rstrip("m")), float(row["CellN_m"])
            cells[place] = float(row["LastCMV"])
        except (TypeError, ValueError):
            continue  # a damaged row; the program reports it
with open(f"{lot}-alignment.csv", newline="", encoding="utf-8") as rows:
    ring = [(float(row["Easting_m"]), float(row["Northing_m"])) for row in csv.DictReader(rows)]

origin = min(p[0] for p in ring), min(p[1] for p in ring)
inside = [
    (e - origin[0], n - origin[1], v)
    for (e, n), v in cells.items()
    if -5 < e - origin[0] < 500 and -5 < n - origin[1] < 500
]

figure, (plan, histogram) = plt.subplots(
    1, 2, figsize=(11, 4.2), width_ratios=(1.15, 1), layout="constrained"
)
points = plan.scatter(*zip(*[(x, y) for x, y, _ in inside]), c=[v for *_, v in inside], s=2.2, cmap="viridis")
outline = [(e - origin[0], n - origin[1]) for e, n in ring]
plan.plot(*zip(*outline, outline[0]), color="black", linewidth=1)
plan.set_aspect("equal")
plan.set_xlabel("easting, m")
plan.set_ylabel("northing, m")
plan.set_title("last pass in each cell", fontsize=11)
figure.colorbar(points, ax=plan, label="LastCMV", shrink=0.85)

classes = report["histogram"]
upper = [c["upper_limit"] for c in classes]
share = [c["percent"] for c in classes]
running = [c["cumulative_percent"] for c in classes]
width = upper[1] - upper[0]
histogram.bar([u - width / 2 for u in upper[1:]], share[1:], width=0.92 * width, color="#4c78a8")
histogram.set_xlabel("LastCMV")
histogram.set_ylabel("share of the cells, %")
histogram.axvline(40, color="#e45756", linewidth=1.5)
cumulative = histogram.twinx()
cumulative.plot(upper, running, color="#54585d", linewidth=1.5)
cumulative.set_ylim(0, 105)
cumulative.set_ylabel("cumulative, %")
target = report["target"]
histogram.set_title(
    f"{target['counted_percent']:.1f} % at or above the target of 40, 90 % asked for", fontsize=11
)
figure.savefig(pathlib.Path(__file__).with_name("lot.png"), dpi=110)
