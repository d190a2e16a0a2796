"""The package writes what the program writes, byte for byte."""

import gzip
import os
import pathlib

import pytest
import qmx_ic

TIME = "2025-10-01T18:00:00Z"


def check(program, tmp_path, options, **arguments):
    """options: of the program, for the same as the arguments of the package."""
    wanted = program(*options)
    if "failure" in wanted:
        with pytest.raises(qmx_ic.StudyError) as caught:
            qmx_ic.study(time_stamp=TIME, **arguments)
        assert str(caught.value) == wanted["failure"]
        return
    made = qmx_ic.study(time_stamp=TIME, **arguments)
    assert made.json() == wanted["document"]
    assert made.page() == wanted["page"]
    made.report(tmp_path / "page.html")
    assert (tmp_path / "page.html").read_bytes() == wanted["page"]
    made.write_cells(tmp_path / "cells.csv")
    assert (tmp_path / "cells.csv").read_bytes() == wanted["cells"]
    made.tables(tmp_path / "tables")
    tables = {file.name: file.read_bytes() for file in (tmp_path / "tables").iterdir()}
    assert tables == wanted["tables"]
    assert sorted(tables) == sorted(f"{name}.csv" for name in made.table_names)


def test_whole_report_in_both_languages(program, tmp_path, lot_file, area_file, tests_file):
    options = [lot_file, "--area", area_file, "--tests", tests_file, "--target", 36, "--minimum", 20.5]
    arguments = {"lot": lot_file, "area": area_file, "tests": tests_file, "target": 36, "minimum": 20.5}
    check(program, tmp_path, options, **arguments)
    further = ["--lang", "de", "--radius", 0.9, "--nlag", 8, "--lag", 0.6, "--window", 6, "--target-passes", 2]
    further += ["--preset", "austria", "--title", "Straße <1>", "--where", "LastCMV > 31 AND PassCount <= 3"]
    check(
        program,
        tmp_path,
        options + further,
        **arguments,
        language="de",
        radius=0.9,
        nlag=8,
        lag=0.6,
        window=6,
        target_passes=2,
        preset="austria",
        texts={"title": "Straße <1>"},
        where="LastCMV > 31 AND PassCount <= 3",
    )


def test_sample_of_a_roller(program, tmp_path):
    sample = pathlib.Path(os.environ.get("QMX_IC_DATA", ""), "roller_all_passes_sample.csv")
    if not sample.is_file():
        pytest.skip("QMX_IC_DATA names no folder with the sample")
    check(program, tmp_path, [sample, "--value", "LastMDP", "--missing", "150.0"], lot=sample, value="LastMDP", missing=["150.0"])


HEAD = "Easting,Northing,Pass,CMV\n"
ROWS = [f"{i % 9}.5,{i // 9}.25,{1 + i % 2},{40 + i % 7}" for i in range(180)]
DIRTY = {
    "comma.csv": ("Easting;Northing;Pass;CMV\n" + "\n".join(r.replace(",", ";").replace(".", ",") for r in ROWS)).encode(),
    "latin.csv": ("Rechts [m];Hoch;Überfahrt;CMV\n" + "\n".join(ROWS).replace(",", ";")).encode("latin-1"),
    "wide.csv": (HEAD + "\n".join(ROWS)).encode("utf-16"),
    "mark.tsv": b"\xef\xbb\xbf" + (HEAD + "\r\n".join(ROWS)).replace(",", "\t").encode(),
    "packed.csv.gz": gzip.compress((HEAD + "\n".join(ROWS)).encode(), mtime=0),
    "broken.csv": (HEAD + "\n".join(ROWS) + "\n1,2,3\n4,5,6,7,8\n9,9,1,4O.2\n8,8,1,?\n,,1,44\n7,7,x,42 km/h\n").encode(),
    "cut.csv.gz": gzip.compress((HEAD + "\n".join(ROWS)).encode() * 40, mtime=0)[:-40],
    "empty.csv": HEAD.encode(),
    "open_mark.csv": (HEAD + "\n".join(ROWS) + '\n1,1,1,"4\n').encode(),
    "no_values.csv": (HEAD.replace("CMV", "Colour") + "\n".join(ROWS)).encode(),
    "degrees.csv": ("Longitude,Latitude,CMV\n" + "\n".join(f"-93.{i:04},44.{i:04},{i}" for i in range(60))).encode(),
    "name\udcff.csv": (HEAD + "\n".join(ROWS)).encode(),
}


@pytest.mark.parametrize("name", DIRTY)
def test_dirty_files(program, tmp_path, name):
    file = tmp_path / name
    file.write_bytes(DIRTY[name])
    check(program, tmp_path, [file], lot=file)


def test_job_file_and_several_files(program, tmp_path, lot_file, area_file, tests_file):
    lines = lot_file.read_text().splitlines(keepends=True)
    (tmp_path / "second.csv").write_text(lines[0] + "".join(lines[601:]))
    lot_file.write_text("".join(lines[:601]))
    job = tmp_path / "job.toml"
    job.write_text(
        f"""
        [input]
        files = ["lot.csv", "second.csv"]
        tests = "spots.csv"
        area = '{area_file}'
        [filter]
        value = [20, inf]
        machines = ["Roller-1", "Roller-2"]
        time = ["2025-10-01T07:00", ""]
        [analysis]
        target = 35
        tests_any_pass = true
        [thresholds]
        preset = "europe"
        cell_size = 0.4
        growth_percent = "off"
        [texts]
        remarks = "7 & 8"
        [output]
        language = "de"
        """
    )
    check(program, tmp_path, ["--job", job], job=job)
    # What the call says wins.
    check(program, tmp_path, ["--job", job, lot_file, "--target", 30], job=job, lot=lot_file, target=30)
    settings = qmx_ic.read_job(job)
    assert settings["filter"]["value"] == (20.0, None)
    assert settings["input"]["files"] == [str(lot_file), str(tmp_path / "second.csv")]
    assert settings["thresholds"] == {"preset": "europe", "growth_percent": "off", "cell_size": 0.4}


def test_proposed_job(program, tmp_path, lot_file):
    import subprocess

    by_program = subprocess.run(
        [os.environ["QMX_IC_PROGRAM"], "init", str(lot_file), "-o", "-"], capture_output=True, text=True, check=True
    ).stdout
    assert qmx_ic.propose_job(lot_file) == by_program
    job = tmp_path / "job.toml"
    job.write_text(by_program)
    assert qmx_ic.read_job(job)["columns"]["value"] == "LastCMV"
