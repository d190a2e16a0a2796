"""What reading and studying give, how they fail, and that they leave Python running."""

import gc
import hashlib
import os
import pickle
import signal
import threading
import time

import numpy as np
import pytest
import qmx_ic
from qmx_ic.study import CELL_VERDICTS


def test_account_of_every_row(tmp_path):
    file = tmp_path / "lot.csv"
    rows = [f"{i},{2 * i},{1 + i % 3},{40 + i}" for i in range(30)]
    rows += ["30,60,1,?", "31,62,1,many", "32,64,2", "33,66,,70"]
    file.write_text("\n".join(["Easting_ft,Northing_ft,Pass,CMV", *rows]))
    lot = qmx_ic.read(file, where="Easting_ft >= 10")
    about = lot.account["input"]
    dropped = {each["reason"]: (each["count"], each["first_line"]) for each in lot.dropped}
    assert dropped == {"value_missing": (1, 32), "value_not_a_number": (1, 33), "too_few_fields": (1, 34)}
    assert (about["rows_read"], about["rows_left_out_by_filter"], len(lot)) == (34, 10, 21)
    assert about["rows_read"] == len(lot) + about["rows_dropped"] + about["rows_left_out_by_filter"]
    assert lot.rows.tolist() == [*range(11, 31), 34]
    assert lot.x.tolist() == [*range(10, 30), 33.0] and lot.y.tolist() == [2 * x for x in lot.x]
    assert lot.value[:20].tolist() == [50.0 + i for i in range(20)] and lot.value[-1] == 70
    assert lot.pass_[-1] == 0 and lot.columns["x"]["unit"] == "ft"
    assert "first at line 32" in repr(lot)
    assert "<table>" in lot._repr_html_() and lot.to_frame()["row"].tolist() == lot.rows.tolist()


def test_filters_of_a_lot(tmp_path, lot_file):
    whole = qmx_ic.read(lot_file)
    polygon = tmp_path / "lane.csv"
    polygon.write_text("Easting,Northing\n431999,4861999\n432003.1,4861999\n432003.1,4862009\n431999,4862009\n")
    filters = {"polygon": polygon, "value": (31, None), "machines": ["roller-1"], "time": ("", "2025-10-01T07:15")}
    lot = qmx_ic.read(lot_file, filters=filters, value_unit="CMV")
    cell = (whole.rows - 1) // 3
    kept = (whole.x < 432003.1) & (whole.value >= 31) & (cell % 2 == 0) & (whole.rows <= 900)
    assert lot.rows.tolist() == whole.rows[kept].tolist() and 0 < len(lot) < len(whole)
    assert lot.account["input"]["rows_left_out_by_filter"] == len(whole) - len(lot)
    assert lot.columns["value"]["unit"] == "CMV"


def test_records_are_views_that_outlive_their_lot(lot_file):
    lot = qmx_ic.read(lot_file)
    records, rows, x = lot.records, lot.rows, lot.x
    assert records.dtype.itemsize == 32 and not records.flags.writeable and not records.flags.owndata
    assert np.shares_memory(records, x)
    wanted = records.tobytes(), rows.tobytes()
    del lot
    gc.collect()
    assert (records.tobytes(), rows.tobytes()) == wanted
    study = qmx_ic.study(lot_file, target=33)
    cells = study.cells
    assert np.shares_memory(cells["value"], study.cells["value"]) and not cells["x"].flags.writeable
    wanted = cells["value"].tobytes()
    del study
    gc.collect()
    assert cells["value"].tobytes() == wanted


def test_figures_of_a_study(lot_file, area_file, tests_file):
    study = qmx_ic.study(lot_file, area=area_file, tests=tests_file, target=33)
    cells = study.cells
    assert set(cells["pass"].tolist()) == {3} and len(cells["x"]) == 400
    fraction = next(t["value"] for t in study["settings"]["thresholds"] if t["key"] == "target_fraction_percent")
    met = cells["value"] >= 33 * fraction / 100
    assert (cells["verdict"] == 1).tolist() == met.tolist()
    assert study["stats"]["statistics"]["mean"] == pytest.approx(cells["value"].mean(), rel=1e-6)
    frame = study.to_frame()
    assert frame["verdict"].tolist() == [CELL_VERDICTS[code] for code in cells["verdict"]]
    lines = lot_file.read_text().splitlines()
    assert [lines[row].split(",")[7] for row in cells["record"][:5]] == [f"{v:.2f}" for v in cells["value"][:5]]
    table = study.table("pass_counts")
    assert table.to_dict("records") == [{"passes": 3, "cells": 400, "percent": 100.0}]
    with pytest.raises(KeyError, match="there is no table 'pass'; there are: "):
        study.table("pass")
    verdicts = {each.key: each for each in study.verdicts}
    assert verdicts["target"].outcome == "met" and "target" in repr(study)
    assert repr(study) in str(study) and "<th" in study._repr_html_()
    again = qmx_ic.study(qmx_ic.read(lot_file, where="PassCount < 3"), target=33)
    assert set(again.cells["pass"].tolist()) == {2}


@pytest.mark.parametrize(
    ("arguments", "words", "known"),
    [
        ({"value": "Foo"}, 'names the column "Foo"', {"option": "value", "column": "Foo"}),
        ({"where": "Lift >"}, "filter is not understood", {"option": "where"}),
        ({"radius": -1}, "radius = -1 is out of its range; it must be above 0", {"option": "radius"}),
        ({"target": "forty"}, "target is of the type str, not a number", {"option": "target"}),
        ({"target": True}, "target is of the type bool, not a number", {}),
        ({"target": float("nan")}, "must be a finite number", {}),
        ({"target_passes": 2.5}, "not a whole number", {"option": "target_passes"}),
        ({"target_passes": 2**40}, "out of its range", {}),
        ({"preset": "us-soils"}, "did you mean us-soil", {"option": "preset"}),
        ({"thresholds": {"cell": 3}}, "did you mean thresholds.cell_size", {}),
        ({"thresholds": {"cell_size": -3}}, "out of its range", {"option": "cell_size"}),
        ({"filters": {"value": (3, 1)}}, "give the smaller one first", {}),
        ({"filters": {"time": ("now", "")}}, '"now" is not understood as a time', {}),
        ({"filters": {"machines": 7}}, "is of the type int, not a list of texts", {}),
        ({"language": "fr"}, "it may be: en, de", {"option": "language"}),
        ({"project": "utm"}, "planar already", {"option": "project"}),
    ],
)
def test_refusals(lot_file, arguments, words, known):
    with pytest.raises(qmx_ic.StudyError) as caught:
        qmx_ic.study(lot_file, **arguments)
    error = caught.value
    assert words in error.message == str(error) and error.code == "wrong_usage"
    assert {key: getattr(error, key) for key in known} == known
    again = pickle.loads(pickle.dumps(error))
    assert type(again) is type(error) and vars(again) == vars(error)


def test_files_that_are_not_there_and_outputs(tmp_path, lot_file):
    for call in (qmx_ic.read, qmx_ic.study, qmx_ic.file_hash, qmx_ic.read_job):
        with pytest.raises(FileNotFoundError) as caught:
            call(tmp_path / "nothing.csv")
        assert isinstance(caught.value, qmx_ic.StudyError) and caught.value.file == str(tmp_path / "nothing.csv")
    with pytest.raises(qmx_ic.StudyError, match="line 2: there is no key") as caught:
        (tmp_path / "job.toml").write_text("[analysis]\ntarge = 3\n")
        qmx_ic.study(lot_file, job=tmp_path / "job.toml")
    assert caught.value.line == 2
    with pytest.raises(TypeError, match="no argument 'valu'; did you mean value"):
        qmx_ic.read(lot_file, valu="CMV")
    with pytest.raises(qmx_ic.StudyError, match="a file is required"):
        qmx_ic.study()
    study = qmx_ic.study(lot_file)
    before = lot_file.read_bytes()
    for write in (study.report, study.save, study.write_cells):
        with pytest.raises(qmx_ic.StudyError, match="this is the file that is read"):
            write(lot_file)
        with pytest.raises(qmx_ic.StudyError) as caught:
            write(tmp_path / "no" / "folder.csv")
        assert not isinstance(caught.value, FileNotFoundError)
    assert lot_file.read_bytes() == before
    with pytest.raises(qmx_ic.StudyError):
        study.write_cells(tmp_path / "cells.parquet")
    study.save(tmp_path / "document.json")
    assert (tmp_path / "document.json").read_text() == study.json()
    assert qmx_ic.file_hash(lot_file) == hashlib.sha256(before).hexdigest() == study["inputs"][0]["sha256"]


def long_lot(tmp_path, rows=400_000):
    file = tmp_path / "long.csv"
    i = np.arange(rows)
    columns = [i % 1000 * 0.3, i // 1000 * 0.3, 40 + np.sin(i / 7) * 5]
    np.savetxt(file, np.column_stack(columns), fmt="%.3f", delimiter=",", header="Easting,Northing,CMV", comments="")
    return file


def test_other_threads_run_meanwhile_and_studies_agree(tmp_path):
    file = long_lot(tmp_path, 150_000)
    texts, ticks = [], 0
    work = [
        threading.Thread(target=lambda: texts.append(qmx_ic.study(file, time_stamp="t").json())) for _ in range(3)
    ]
    for each in work:
        each.start()
    while any(each.is_alive() for each in work):
        ticks += 1
        time.sleep(0.001)
    assert len(texts) == 3 and len(set(texts)) == 1
    assert ticks > 50


def test_interrupt_ends_the_work(tmp_path):
    file = long_lot(tmp_path)
    begun = time.monotonic()
    qmx_ic.study(file)
    whole = time.monotonic() - begun
    # A shell that starts something in the background has it ignore Ctrl-C.
    signal.signal(signal.SIGINT, signal.default_int_handler)
    threading.Timer(whole / 5, lambda: os.kill(os.getpid(), signal.SIGINT)).start()
    finished = False
    with pytest.raises(KeyboardInterrupt):
        qmx_ic.study(file)
        finished = True
        time.sleep(5)  # for a signal that comes late
    assert not finished
    assert len(qmx_ic.read(file, where="Easting < 3")) == 4000
