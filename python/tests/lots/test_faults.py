"""What becomes of a batch whose workers, scheduler or user end it."""

from __future__ import annotations

import contextlib
import csv
import os
import signal
import socket
import subprocess
import sys
import time
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any

import dask
import faults
import psutil
import pytest
from conftest import Command, Make, environment, lines_of

from distributed import Client

from qmx_ic.lots import SchedulerLost, WorkersLackPackage, batch, lots_of
from qmx_ic.lots.table import write_table
from qmx_ic.lots.work import Task, record_of

Start = Callable[..., Command]


def rows_of(table: Path) -> list[dict[str, str]]:
    with open(table, newline="", encoding="utf-8") as stream:
        return list(csv.DictReader(stream))


def figures(rows: list[dict[str, str]]) -> list[dict[str, str]]:
    """The rows without what differs from run to run."""
    return [{name: text for name, text in row.items() if name not in ("seconds", "tries")} for row in rows]


def plainly(files: list[Path], table: Path) -> list[dict[str, str]]:
    """The rows of the same lots, one after the other without an engine."""
    lots = lots_of(map(str, files), {"target": 40})
    records = [record_of(Task(number, lot)) for number, lot in enumerate(lots)]
    write_table(table, lambda: ({"number": number, **record["row"]} for number, record in enumerate(records, 1)))
    return rows_of(table)


def workers_of(process: subprocess.Popen[str]) -> list[psutil.Process]:
    found = []
    for child in psutil.Process(process.pid).children(recursive=True):
        with contextlib.suppress(psutil.Error):  # it has ended meanwhile
            if "spawn_main" in " ".join(child.cmdline()):
                found.append(child)
    return found


def test_lots_that_take_their_workers_with_them_are_rows(make_lots: Make, tmp_path: Path, command: Start) -> None:
    names = [f"plain{number:02}" for number in range(16)]
    names[2:2] = ["killer"]
    names[5:5] = ["once"]
    names[7:7] = ["hog"]
    names[9:9] = ["limited"]
    files = make_lots(*names)
    (tmp_path / "lots" / "empty.csv").write_text("")
    table = tmp_path / "table.csv"
    code, out, err = command(
        *files, tmp_path / "lots" / "absent.csv", tmp_path / "lots" / "empty.csv",
        "--workers", 2, "--memory-limit", "500MiB", "--target", 40, "-o", table,
    ).ended()  # fmt: skip
    assert code == 1, err
    assert not err
    rows = rows_of(table)
    assert [row["lot"] for row in rows] == [*names, "absent", "empty"]
    assert [int(row["number"]) for row in rows] == list(range(1, 23))
    by_name = {row["lot"]: row for row in rows}
    assert {name: row["error_code"] for name, row in by_name.items() if row["error_code"]} == {
        "killer": "worker_died", "hog": "worker_died", "limited": "out_of_memory",
        "absent": "file_not_found", "empty": "wrong_usage",
    }  # fmt: skip
    assert all(row["verdict"] == "failed" for row in rows if row["error_code"])
    assert "died 3 times" in by_name["killer"]["error"]
    assert "absent.csv" in by_name["absent"]["error"]
    assert by_name["once"]["tries"] == "2"
    assert by_name["once"]["verdict"] == "missed"
    assert {by_name[name]["tries"] for name in names if name.startswith("plain")} == {"1"}  # nobody else is blamed
    for place, name in enumerate(names):
        if name.startswith("plain"):
            assert float(by_name[name]["mean"]) == pytest.approx(40.2 + place, abs=1e-6)
            assert (by_name[name]["rows_read"], by_name[name]["rows_dropped"]) == ("401", "1")
    assert "17 missed, 0 without a verdict, 5 failed" in out


def test_workers_killed_from_outside_cost_no_lot(make_lots: Make, tmp_path: Path, command: Start) -> None:
    files = make_lots(*[f"slow{number:02}" for number in range(20)])
    table = tmp_path / "table.csv"
    # Dask gives up each lot that was in a worker with its first death: all of them come again.
    at_once = {"DASK_DISTRIBUTED__SCHEDULER__ALLOWED_FAILURES": "0"}
    run = command(*files, "--workers", 2, "--target", 40, "-o", table, "--exit-code", "--progress", **at_once)
    run.wait_for_lots(Path(f"{table}.journal"), 1)
    code, _, err = command(*files, "--workers", 1, "-o", table).ended()
    assert (code, "another run is writing" in err) == (2, True)
    killed = 0
    for done in (2, 6, 12):
        run.wait_for_lots(Path(f"{table}.journal"), done)
        workers = workers_of(run.process)
        if workers:
            workers[0].send_signal(signal.SIGKILL)
            killed += 1
    code, _, err = run.ended()
    assert killed == 3
    assert code == 3, err  # all were studied; they miss a threshold
    assert "20 of 20 lots" in err
    assert " left" in err
    rows = rows_of(table)
    assert [row["lot"] for row in rows] == [path.stem for path in files]
    assert all(row["verdict"] == "missed" and row["rows_used"] == "200" for row in rows)


@pytest.mark.parametrize("whole_group", [True, False], ids=["terminal", "process"])
def test_interrupt_keeps_what_is_done(make_lots: Make, tmp_path: Path, command: Start, whole_group: bool) -> None:
    files = make_lots(*[f"slow{number:02}" for number in range(24)])
    table = tmp_path / "table.csv"
    journal = Path(f"{table}.journal")
    words = [*files, "--workers", 2, "--target", 40, "-o", table]
    run = command(*words)
    run.wait_for_lots(journal, 4)
    workers = workers_of(run.process)
    (os.killpg if whole_group else os.kill)(run.process.pid, signal.SIGINT)
    code, _, err = run.ended()
    assert code == 130
    assert "--resume goes on" in err
    assert "Traceback" not in err
    assert not table.exists()  # part of a table could be taken for the whole
    kept = len(lines_of(journal))
    assert 4 <= kept < 24
    _, alive = psutil.wait_procs(workers, timeout=10)
    assert not alive
    with open(journal, "a", encoding="utf-8") as stream:
        stream.write('{"key": "00')  # as a loss of power leaves it
    code, out, err = command(*words, "--resume").ended()
    assert code == 0, err
    assert f"({kept} stood" in out
    assert [row["lot"] for row in rows_of(table)] == [path.stem for path in files]
    assert len(lines_of(journal)) == 24


def test_worker_that_dask_gives_up_has_a_successor(make_lots: Make, tmp_path: Path) -> None:
    files = make_lots("once", *[f"plain{number:02}" for number in range(6)])
    settings = {"distributed.worker.preload": ["faults"], "distributed.deploy.lost-worker-timeout": "10ms"}
    with dask.config.set(settings):  # a worker never comes again as fast
        summary = batch(files, workers=1, output=tmp_path / "table.csv", target=40)
    assert (summary.lots, summary.missed) == (7, 7)


@pytest.fixture
def cluster(tmp_path: Path) -> Iterator[tuple[str, subprocess.Popen[Any]]]:
    """A scheduler and two workers as processes of their own; the address and the scheduler."""
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        address = f"tcp://127.0.0.1:{probe.getsockname()[1]}"

    log = tmp_path / "cluster.log"

    def start(*words: str) -> subprocess.Popen[Any]:
        with open(log, "a") as stream:
            return subprocess.Popen([sys.executable, "-m", "distributed.cli." + words[0], *words[1:]],
                                    env=environment(), stdout=stream, stderr=stream)  # fmt: skip

    scheduler = start("dask_scheduler", "--host", "127.0.0.1", "--port", address.rsplit(":", 1)[1], "--no-dashboard")
    Client(address, timeout="60s", set_as_default=False).close()  # it is there
    workers = [start("dask_worker", address, "--nthreads", "1", "--no-dashboard", "--death-timeout", "60") for _ in range(2)]
    yield address, scheduler
    for process in (*workers, scheduler):
        process.terminate()
        process.wait()
    print(log.read_text()[-8000:])  # shown where the test failed


def test_lost_scheduler_is_a_clear_end(
    make_lots: Make, tmp_path: Path, command: Start, cluster: tuple[str, subprocess.Popen[Any]]
) -> None:
    address, scheduler = cluster
    files = make_lots("killer", *[f"slow{number:02}" for number in range(24)])
    table, whole = tmp_path / "table.csv", tmp_path / "whole.csv"
    run = command(*files, "--scheduler", address, "--target", 40, "-o", table)
    run.wait_for_lots(Path(f"{table}.journal"), 4)
    begin = time.monotonic()
    scheduler.kill()
    code, out, err = run.ended()
    assert code == 4, (out, err)
    assert "scheduler" in err
    assert "--resume goes on" in err
    assert time.monotonic() - begin < 20
    code, out, _ = command(*files, "--workers", 2, "--target", 40, "-o", table, "--resume").ended()
    assert code == 1
    assert "stood from the earlier run" in out
    first, *others = rows_of(table)
    assert first["error_code"] == "worker_died"
    assert figures(others) == figures(plainly(files, tmp_path / "plain.csv"))[1:]


def test_workers_of_another_version_are_refused(
    make_lots: Make, tmp_path: Path, cluster: tuple[str, subprocess.Popen[Any]]
) -> None:
    with Client(cluster[0], set_as_default=False) as client:
        client.wait_for_workers(2, timeout=60)
        client.run(faults.pretend_version, "0.0.9")
        with pytest.raises(WorkersLackPackage, match="the worker has qmx_ic 0.0.9, and here is"):
            batch(make_lots("plain"), client=client, output=tmp_path / "table.csv")
    assert not (tmp_path / "table.csv").exists()


def test_an_address_without_a_scheduler(make_lots: Make, tmp_path: Path) -> None:
    with pytest.raises(SchedulerLost, match="there is no scheduler"):
        batch(make_lots("plain"), scheduler="tcp://127.0.0.1:9", output=tmp_path / "table.csv")
