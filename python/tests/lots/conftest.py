"""Small lots with known content, and the command as a process of its own."""

from __future__ import annotations

import json
import os
import signal
import subprocess
import sys
import time
from collections.abc import Callable, Iterator
from pathlib import Path

import pytest

# A shell that starts something in the background has it ignore Ctrl-C, and all that it starts in turn.
signal.signal(signal.SIGINT, signal.default_int_handler)

HERE = Path(__file__).parent
Make = Callable[..., list[Path]]


def write_lot(path: Path, offset: float = 0.0, value: float = 40.0) -> Path:
    """A lattice of 20 x 10 cells, two passes, all at `value` or a little above, and one row that cannot be used."""
    lines = ["Easting_m,Northing_m,PassCount,CMV"]
    for number in range(1, 3):
        lines += [f"{offset + i % 20},{i // 20},{number},{value + (i * 7 % 5) / 10}" for i in range(200)]
    lines.append("0,0,1,overrange")
    path.write_text("\n".join(lines) + "\n")
    return path


@pytest.fixture
def make_lots(tmp_path: Path) -> Make:
    """Writes lots under given names; each stands elsewhere on the map and has a mean of its own."""

    def make(*names: str) -> list[Path]:
        folder = tmp_path / "lots"
        folder.mkdir(exist_ok=True)
        return [write_lot(folder / f"{name}.csv", 100.0 * place, 40.0 + place) for place, name in enumerate(names)]

    return make


def environment() -> dict[str, str]:
    """Of a process whose workers and nannies know the faults."""
    path = os.pathsep.join([str(HERE), *sys.path])
    preload = {f"DASK_DISTRIBUTED__{kind}__PRELOAD": '["faults"]' for kind in ("WORKER", "NANNY")}
    return {**os.environ, "PYTHONPATH": path, **preload}


class Command:
    """``python -m qmx_ic batch`` in a group of processes of its own."""

    def __init__(self, *words: object, **variables: str) -> None:
        self.process = subprocess.Popen(
            [sys.executable, "-m", "qmx_ic", "batch", *map(str, words)],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env=environment() | variables, start_new_session=True,
        )  # fmt: skip

    def ended(self) -> tuple[int, str, str]:
        """Exit code, output, messages."""
        out, err = self.process.communicate(timeout=240)
        return self.process.returncode, out, err

    def wait_for_lots(self, journal: Path, count: int) -> None:
        """Until so many lots are in the journal."""
        deadline = time.monotonic() + 120
        while len(lines_of(journal)) < count:
            assert self.process.poll() is None, self.ended()
            assert time.monotonic() < deadline, f"{len(lines_of(journal))} of {count} lots"
            time.sleep(0.05)

    def stop(self) -> None:
        """Ends what is left of it."""
        if self.process.poll() is None:
            os.killpg(self.process.pid, signal.SIGKILL)
            self.process.communicate()


@pytest.fixture
def command() -> Iterator[Callable[..., Command]]:
    """Starts the command; whatever a test leaves running is ended."""
    started: list[Command] = []

    def start(*words: object, **variables: str) -> Command:
        started.append(Command(*words, **variables))
        return started[-1]

    yield start
    for one in started:
        one.stop()


def lines_of(journal: Path) -> list[dict[str, object]]:
    """The whole records of a journal."""
    if not journal.exists():
        return []
    text = journal.read_text()
    return [json.loads(line) for line in text[: text.rfind("\n") + 1].splitlines()[1:]]
