"""Lots of known rows, and the program that the package is compared with."""

import math
import os
import pathlib
import subprocess

import pytest

TIME = "2025-10-01T18:00:00Z"


def lot_text(rows: int = 1200) -> str:
    """A strip of 0.3 m cells, three passes each, in the words of a roller's file."""
    lines = ["Time,CellN_m,CellE_m,PassCount,Machine,Lift,Speed,LastCMV,VibeState"]
    for i in range(rows):
        cell, number = divmod(i, 3)
        east, north = 432000 + 0.3 * (cell % 80), 4862000 + 0.3 * (cell // 80)
        value = 30 + 8 * (1 - math.exp(-number)) + 3 * math.sin(cell / 5)
        lines.append(
            f"2025/Oct/01 07:{i // 60 % 60:02}:{i % 60:02}.250,{north:.3f},{east:.3f},{number + 1},"
            f"Roller-{1 + cell % 2},7,{2 + cell % 3 / 10:.1f}km/h,{value:.2f},On"
        )
    return "\n".join(lines) + "\n"


@pytest.fixture
def lot_file(tmp_path: pathlib.Path) -> pathlib.Path:
    file = tmp_path / "lot.csv"
    file.write_text(lot_text())
    return file


@pytest.fixture
def area_file(tmp_path: pathlib.Path) -> pathlib.Path:
    file = tmp_path / "area.csv"
    corners = [(431999.85, 4861999.85), (432023.85, 4861999.85), (432023.85, 4862001.35), (431999.85, 4862001.35)]
    file.write_text("Easting,Northing\n" + "".join(f"{x},{y}\n" for x, y in corners))
    return file


@pytest.fixture
def tests_file(tmp_path: pathlib.Path) -> pathlib.Path:
    file = tmp_path / "spots.csv"
    rows = [f"{432000 + 2 * i},{4862000.6},3,{20 + 2 * math.sin(20 * i / 15) + i / 10}" for i in range(12)]
    file.write_text("Easting_m,Northing_m,PassCount,Value_MPa\n" + "\n".join(rows) + "\n")
    return file


@pytest.fixture
def program(tmp_path: pathlib.Path):
    """A function that gives what ``qmx-ic report`` writes: document, page, cells, tables."""
    name = os.environ.get("QMX_IC_PROGRAM")
    if not name:
        pytest.skip("QMX_IC_PROGRAM names no program to compare with")

    def report(*options: object) -> dict[str, object]:
        out = tmp_path / "by-program"
        out.mkdir(exist_ok=True)
        wanted = ["-o", out / "page.html", "--document", out / "document.json", "--tables", out / "tables"]
        command = [name, "report", *options, *wanted, "--cells", out / "cells.csv", "--time-stamp", TIME]
        done = subprocess.run([str(each) for each in command], capture_output=True, check=False)
        if done.returncode != 0:
            return {"failure": done.stderr.decode().removeprefix("qmx-ic: ").rstrip("\n")}
        return {
            "document": (out / "document.json").read_text(encoding="utf-8"),
            "page": (out / "page.html").read_bytes(),
            "cells": (out / "cells.csv").read_bytes(),
            "tables": {file.name: file.read_bytes() for file in (out / "tables").iterdir()},
        }

    return report
