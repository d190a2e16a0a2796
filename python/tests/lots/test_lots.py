"""What lots there are, what is in their rows, and the tables and records that hold them."""

from __future__ import annotations

import csv
import json
import os
import shutil
import subprocess
from pathlib import Path
from typing import Any

import fsspec
import pytest
from conftest import HERE, Make, write_lot

import qmx_ic
from qmx_ic.lots import NoLots, lots_of
from qmx_ic.lots.index_page import write_page
from qmx_ic.lots.journal import Journal, JournalError
from qmx_ic.lots.row import COLUMNS, VERDICTS, row_of_document
from qmx_ic.lots.table import write_table
from qmx_ic.lots.work import Task, record_of

SPOTS = "Easting_m,Northing_m,Value_MPa\n" + "".join(f"{2 * i},{i % 9},{30 + i}\n" for i in range(9))


def row_of(job: str, **settings: Any) -> dict[str, Any]:
    (lot,) = lots_of([job], settings)
    row: dict[str, Any] = record_of(Task(0, lot))["row"]
    return row


def test_a_folder_a_pattern_a_table_and_files_are_lots_in_order(make_lots: Make, tmp_path: Path) -> None:
    folder = make_lots("b10", "b9", "a")[0].parent
    for name in ("a", "b9", "b10"):
        (folder / f"{name}-spots.csv").write_text(SPOTS)
    companions = {"tests": "{stem}-spots.csv"}
    assert [lot.name for lot in lots_of([str(folder)], companions)] == ["a", "b10", "b9"]
    assert [lot.name for lot in lots_of([f"{folder}/b*.csv", f"{folder}/a.csv"], companions)] == ["b10", "b9", "a"]
    assert lots_of([f"{folder}/a.csv"], companions)[0].resolved()["tests"] == str(folder / "a-spots.csv")

    (tmp_path / "table.csv").write_text(
        "file;tests;target;coverage_percent;lot\n"
        "lots/b9.csv;lots/b9-spots.csv;41.5;off;North\n"
        "lots/a.csv;;;;\n"
        "lots/a.csv;;fifty;;\n"
        ";;;;Nothing\n"
    )
    north, plain, wrong, nothing = lots_of([str(tmp_path / "table.csv")], {"target": 40})
    assert north.resolved() == {"target": 41.5, "tests": str(folder / "b9-spots.csv"), "coverage_percent": "off", "lot": "North"}
    assert (plain.files, plain.settings) == ((str(folder / "a.csv"),), {"target": 40.0})
    assert "table.csv, line 4: target is 'fifty'" in wrong.problem
    assert "line 5: neither a file nor a job file" in nothing.problem
    assert record_of(Task(0, wrong))["row"]["error_code"] == "bad_setting"

    (folder / "one.toml").write_text('[input]\nfiles = ["a.csv"]\n[texts]\nlot = "East"\n')
    assert [lot.address for lot in lots_of([str(folder)])] == [str(folder / "one.toml")]
    row = row_of(str(folder / "one.toml"))
    assert (row["lot"], row["file"], row["job"]) == ("East", str(folder / "a.csv"), str(folder / "one.toml"))


@pytest.mark.parametrize(
    ("table", "settings", "message"),
    [
        ("file,tagret\na.csv,4\n", {}, "line 1: there is no setting 'tagret'; did you mean 'target'"),
        ("file\na.csv\n", {"target": "much"}, "target is 'much', which is no number"),
        ("file\na.csv\n", {"colour": "red"}, "there is no setting 'colour'"),
        ("file\n", {}, "no lots are here"),
    ],
)
def test_what_is_not_understood_is_refused(tmp_path: Path, table: str, settings: dict[str, str], message: str) -> None:
    (tmp_path / "table.csv").write_text(table)
    with pytest.raises(NoLots, match=message):
        lots_of([str(tmp_path / "table.csv")], settings)


def test_a_key_tells_files_and_settings(make_lots: Make) -> None:
    one, other = map(str, make_lots("one", "other"))
    keys = {lots_of([name], settings)[0].key() for name in (one, other) for settings in ({}, {"target": 40}, {"target": 41})}
    assert len(keys) == 6
    assert lots_of([one], {"target": "40"})[0].key() == lots_of([one], {"target": 40.0})[0].key()


def test_a_row_tells_verdicts_figures_and_every_row(tmp_path: Path) -> None:
    path = write_lot(tmp_path / "lot.csv")
    (tmp_path / "spots.csv").write_text(SPOTS)
    row = row_of(str(path), target=40, tests=str(tmp_path / "spots.csv"), cell_size="off", correlation_r="off")
    document = qmx_ic.study(path, target=40, tests=tmp_path / "spots.csv").document
    assert (row["verdict_target"], row["verdict_growth"], row["verdict_coverage"]) == ("met", "met", "not_given")
    assert row["verdict"] == "not_given"  # not met by absence
    assert row["not_given"] == "coverage: no area was given"
    assert (row["rows_read"], row["rows_used"], row["rows_dropped"], row["rows_left_out"]) == (401, 200, 1, 200)
    assert row["dropped_for"].startswith("1: CMV is not a number")
    assert row["mean"] == document["stats"]["statistics"]["mean"]
    assert row["spot_tests"] == document["spots"]["regression"]["n"]
    assert (row["x"], row["y"], row["cells"], row["target_share_percent"]) == (9.5, 4.5, 200, 100.0)
    assert row["sha256"] == qmx_ic.file_hash(path)
    row = row_of(str(path), target=40, coverage_percent="off", cell_size="off", correlation_r="off")
    assert (row["verdict"], row["not_given"]) == ("met", None)
    assert row_of(str(path), preset="none")["verdict"] == "not_given"
    row = row_of(str(path), target=70)
    assert (row["verdict"], row["verdict_target"]) == ("missed", "missed")


def test_each_verdict_of_a_document_has_its_column() -> None:
    schema = json.loads((HERE.parents[2] / "docs" / "documents.schema.json").read_text())
    assert set(schema["$defs"]["verdict"]["properties"]["key"]["enum"]) == set(VERDICTS)
    with pytest.raises(ValueError, match="no column for the verdict 'colour'"):
        row_of_document({"verdicts": [{"key": "colour", "outcome": "met"}]})


def test_a_remote_lot_is_copied_and_shows_its_address(tmp_path: Path) -> None:
    memory = fsspec.filesystem("memory")
    path = write_lot(tmp_path / "lot.csv")
    memory.pipe("/season/lot.csv", path.read_bytes())
    memory.pipe("/season/tests/spots.csv", SPOTS.encode())
    memory.pipe("/season/job.toml", b'[input]\nfiles = ["lot.csv"]\ntests = "tests/spots.csv"\n[analysis]\ntarget = 40\n')
    (lot,) = lots_of(["memory://season/*.csv"], {"target": 40, "tests": "memory://season/tests/spots.csv"})
    record = record_of(Task(0, lot, page=str(tmp_path / "pages" / "lot.html")))

    assert record["row"]["file"] == "memory:///season/lot.csv"
    page = (tmp_path / "pages" / "lot.html").read_text()
    assert "/tmp/" not in page  # of the place of a copy nothing is told
    by_job = record_of(Task(0, lots_of(["memory://season/job.toml"])[0]))["row"]
    local = row_of(f"file://{path}", target=40)
    assert local["file"] == f"file://{path}"
    for name in ("mean", "sha256", "verdict_target", "rows_dropped"):
        assert record["row"][name] == by_job[name] == local[name]
    assert record["row"]["spot_tests"] == by_job["spot_tests"]

    stands = Task(0, lot, inputs=tuple(tuple(one) for one in record["inputs"]))
    assert record_of(stands) == {"stands": True}
    memory.pipe("/season/tests/spots.csv", SPOTS.replace("38", "39").encode())
    assert "row" in record_of(stands)
    absent = row_of("memory://season/absent.csv")
    assert (absent["verdict"], absent["error_code"]) == ("failed", "file_not_found")


def test_a_lot_of_a_job_stands_until_the_job_changes(make_lots: Make, tmp_path: Path) -> None:
    (path,) = make_lots("a")
    job = path.with_name("job.toml")
    job.write_text('[input]\nfiles = ["a.csv"]\n')
    (lot,) = lots_of([str(job)])
    page = str(tmp_path / "pages" / "a.html")
    inputs = tuple(tuple(one) for one in record_of(Task(0, lot, page))["inputs"])
    assert record_of(Task(0, lot, page, inputs)) == {"stands": True}
    Path(page).unlink()
    assert record_of(Task(0, lot, page, inputs))["row"]["report"] == page
    job.write_text('[input]\nfiles = ["a.csv"]\n[analysis]\ntarget = 40\n')
    assert record_of(Task(0, lot, page, inputs))["row"]["verdict_target"] == "met"


def some_rows() -> list[dict[str, Any]]:
    """One of each kind, with what is awkward in tables."""
    full = {name: {"text": f'{name}; "ü", or\tso', "count": 2**53 + 1, "number": 0.1 + 0.2}[kind] for name, kind in COLUMNS}
    place = {"x": 432000.5, "y": 4862000.25, "coordinate_system": "EPSG:26915"}
    return [full | place | {"number": 1}, {"number": 2, "lot": "b", "verdict": "failed", "error": "lost"}, {"number": 3, **place}]


def test_tables_hold_the_same_in_each_format(tmp_path: Path) -> None:
    from pyarrow import parquet
    from pyogrio import read_dataframe, read_info

    rows = some_rows()
    for ending in ("csv", "parquet", "gpkg"):
        write_table(tmp_path / f"table.{ending}", lambda: rows)
    names = [name for name, _ in COLUMNS]
    told = [[row.get(name) for name in names] for row in rows]
    arrow = parquet.read_table(tmp_path / "table.parquet")
    assert arrow.column_names == names
    assert [[row[name] for name in names] for row in arrow.to_pylist()] == told
    layer = tmp_path / "table.gpkg"
    frame = read_dataframe(layer, use_arrow=True)
    kinds = dict(COLUMNS)
    for name in names:
        found = [None if value is None or value != value else value for value in frame[name]]
        if kinds[name] != "count" or None not in found:
            assert found == [row.get(name) for row in rows], name
    assert list(frame.geometry.is_empty | frame.geometry.isna()) == [False, True, False]
    assert (frame.geometry[0].x, frame.geometry[0].y) == (432000.5, 4862000.25)
    assert read_info(layer)["crs"] == "EPSG:26915"
    with open(tmp_path / "table.csv", newline="", encoding="utf-8") as stream:
        lines = list(csv.reader(stream))
    assert lines[0] == names
    read = {"text": str, "count": int, "number": float}
    assert [[read[kind](text) if text else None for text, (_, kind) in zip(line, COLUMNS, strict=True)] for line in lines[1:]] == told
    with pytest.raises(ValueError, match=r"\.csv, \.parquet or \.gpkg"):
        write_table(tmp_path / "table.xlsx", lambda: rows)


def test_a_journal_survives_what_cuts_it_off(tmp_path: Path) -> None:
    path = tmp_path / "journal"
    with Journal(path, resume=False) as journal:
        journal.reserve(3)
        for number in (2, 0):
            journal.append(number, f"{number:02x}", {"row": {"lot": "ä" * 5000 + str(number)}})
        with pytest.raises(JournalError, match="another run"):
            Journal(path, resume=True)
        with pytest.raises(JournalError, match="lot 2 has no row"):
            list(journal.rows())
    with open(path, "ab") as stream:
        stream.write(b'{"key": "01", "row"')
    with Journal(path, resume=True) as journal:
        journal.reserve(3)
        journal.keep(0, "00")
        journal.append(1, "01", {"row": {"lot": "1"}})
        journal.keep(2, "02")
        assert [row["number"] for row in journal.rows()] == [1, 2, 3]
        assert [row["lot"][-1] for row in journal.rows()] == ["0", "1", "2"]
        assert journal.earlier("01") is None
    with Journal(path, resume=False):
        assert Path(f"{path}.before").stat().st_size > 20_000
    shutil.copy(HERE / "conftest.py", path)
    with pytest.raises(JournalError, match="no journal"):
        Journal(path, resume=True)


def test_a_batch_in_the_memory_of_one_process(make_lots: Make, tmp_path: Path) -> None:
    from distributed import Client, LocalCluster

    files = make_lots("one", "two", "three")
    with LocalCluster(n_workers=2, threads_per_worker=2, processes=False, dashboard_address="127.0.0.1:0") as cluster, Client(cluster) as client:
        made = qmx_ic.batch(files, client=client, reports=tmp_path / "pages", target=40, progress=False)
        assert client.status == "running"
    assert (made.lots, made.missed, made.output) == (3, 3, None)
    assert [row["lot"] for row in made.rows] == ["one", "two", "three"]
    assert list(made.to_frame()["mean"]) == pytest.approx([40.2, 41.2, 42.2])
    index = (tmp_path / "pages" / "index.html").read_text()
    for row in made.rows:
        assert Path(row["report"]).is_file()
        assert Path(row["report"]).name in index


def test_the_page_tells_what_it_leaves_out(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr("qmx_ic.lots.index_page.MOST_LOTS", 4)
    outcomes = ["met", "met", "met", "missed", "met", "failed"]
    rows = [{"number": number, "lot": "</script>", "verdict": one} for number, one in enumerate(outcomes, 1)]
    write_page(tmp_path / "index.html", rows, 6)
    text = (tmp_path / "index.html").read_text()
    assert "</script>\"" not in text
    data = json.loads(text.split("const data = ", 1)[1].split(";\n", 1)[0])
    assert [line[0] for line in data["lots"]] == [1, 2, 4, 6]
    assert data["totals"] == {"met": 4, "missed": 1, "not_given": 0, "failed": 1}


@pytest.mark.skipif("QMX_IC_BROWSER_PACKAGES" not in os.environ, reason="QMX_IC_BROWSER_PACKAGES names no folder with playwright-core")
def test_the_page_works_in_a_browser(tmp_path: Path) -> None:
    for count in (3, 10_000):
        rows = []
        for number in range(1, count + 1):
            row: dict[str, Any] = {"number": number, "lot": f"lot {number:05}", "verdict": ("met", "missed", "failed")[number % 3]}
            if number % 3 != 2:
                row |= {"mean": 40 + number % 977 / 7, "x": 500.0 * (number % 100), "y": 3.0 * number, "report": str(tmp_path / f"{number} ä.html")}
            rows.append(row)
        write_page(tmp_path / f"index{count}.html", rows, count)
    script = [HERE / "index_page.mjs", os.environ["QMX_IC_BROWSER_PACKAGES"]]
    done = subprocess.run(["node", *script, *tmp_path.glob("index*.html")], capture_output=True, text=True, check=False)
    if done.returncode == 77:
        pytest.skip(done.stdout)
    assert done.returncode == 0, done.stdout + done.stderr
