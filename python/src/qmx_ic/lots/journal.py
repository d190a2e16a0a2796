"""What is done, written as it comes: one line of JSON for each lot, that survives the end of the program."""

from __future__ import annotations

import contextlib
import json
import os
import time
from array import array
from collections.abc import Iterator
from pathlib import Path
from types import TracebackType
from typing import Any, Self

_HEAD = '{"journal": "qmx-ic/lots/1"}\n'
_NOWHERE = -1


class JournalError(RuntimeError):
    """A journal that cannot be used."""


class Journal:
    """The append-only record of a run, and where in it each lot's line stands.

    Memory per lot is one number here, whatever is in the line.

    Parameters
    ----------
    path : path
        File of the journal.
    resume : bool
        Go on with what is there; otherwise it is kept under another name and a new one begins.
    interval : float
        Seconds between two moments at which the disk has everything.
    """

    def __init__(self, path: Path, *, resume: bool, interval: float = 1.0) -> None:
        self.path = path
        self._interval = interval
        self._lots = array("q")
        self._earlier: dict[bytes, int] = {}
        self._last_sync = time.monotonic()
        self._is_dirty = False
        descriptor = os.open(path, os.O_RDWR | os.O_CREAT, 0o666)
        _lock(descriptor, path)
        if not resume and os.fstat(descriptor).st_size > len(_HEAD):
            os.replace(path, f"{path}.before")
            os.close(descriptor)
            descriptor = os.open(path, os.O_RDWR | os.O_CREAT | os.O_EXCL, 0o666)
            _lock(descriptor, path)
        self._file = os.fdopen(descriptor, "r+b", buffering=0)
        try:
            self._end = self._opened()
        except BaseException:
            self._file.close()
            raise

    def _opened(self) -> int:
        """Reads what is there; a line that was cut off in the writing is taken away."""
        size = os.fstat(self._file.fileno()).st_size
        if size == 0:
            self._file.write(_HEAD.encode())
            return len(_HEAD)
        end = 0
        with open(self.path, "rb") as stream:
            for number, line in enumerate(stream):
                if not line.endswith(b"\n"):
                    break
                if number == 0:
                    if line.decode("utf-8", "replace") != _HEAD:
                        raise JournalError(f"{self.path}: this is no journal of a batch of lots")
                else:
                    with contextlib.suppress(ValueError, KeyError, TypeError):
                        self._earlier[bytes.fromhex(json.loads(line)["key"])] = end
                end += len(line)
        self._file.truncate(end)
        return end

    def __enter__(self) -> Self:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        self.sync()
        self._file.close()

    def earlier(self, key: str) -> dict[str, Any] | None:
        """The last record with a key that was there when the journal was opened."""
        place = self._earlier.get(bytes.fromhex(key))
        return None if place is None else self._read(place)

    def reserve(self, count: int) -> None:
        """Makes room for a number of lots."""
        self._lots = array("q", [_NOWHERE]) * count

    def append(self, number: int, key: str, record: dict[str, Any]) -> None:
        """Writes the record of a lot."""
        line = json.dumps({"key": key, **record}, ensure_ascii=False, allow_nan=False).encode() + b"\n"
        self._file.seek(self._end)
        self._file.write(line)
        self._lots[number] = self._end
        self._end += len(line)
        self._is_dirty = True
        if time.monotonic() - self._last_sync > self._interval:
            self.sync()

    def keep(self, number: int, key: str) -> None:
        """Takes over the record of an earlier run for a lot."""
        self._lots[number] = self._earlier[bytes.fromhex(key)]

    def sync(self) -> None:
        """Makes sure that the disk has everything."""
        if self._is_dirty:
            os.fsync(self._file.fileno())
            self._is_dirty = False
        self._last_sync = time.monotonic()

    def rows(self) -> Iterator[dict[str, Any]]:
        """The rows of all lots, in the order of the lots, however they ended.

        Raises
        ------
        JournalError
            If a lot has no row: there is no result without it.
        """
        for number, place in enumerate(self._lots):
            if place == _NOWHERE:
                raise JournalError(f"{self.path}: lot {number + 1} has no row")
            yield {"number": number + 1, **self._read(place)["row"]}

    def _read(self, place: int) -> dict[str, Any]:
        self._file.seek(place)
        chunks = []
        while True:
            chunk = self._file.read(8192)
            chunks.append(chunk)
            if b"\n" in chunk or not chunk:
                break
        found: dict[str, Any] = json.loads(b"".join(chunks).split(b"\n", 1)[0])
        return found


def _lock(descriptor: int, path: Path) -> None:
    """Keeps other runs off, where the system can."""
    try:
        import fcntl
    except ImportError:
        return
    try:
        fcntl.flock(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        os.close(descriptor)
        raise JournalError(f"{path}: another run is writing this journal") from None
