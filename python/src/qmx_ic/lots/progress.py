"""What the terminal shows while the lots are done."""

from __future__ import annotations

import time
from typing import TextIO


class Progress:
    """One line that is written over, twice a second at most."""

    def __init__(self, total: int, stream: TextIO, *, is_shown: bool) -> None:
        self._total = total
        self._stream = stream
        self._is_shown = is_shown
        self._begin = time.monotonic()
        self._shown = 0.0
        self._length = 0

    def show(self, done: int, failed: int, skipped: int, *, is_last: bool = False) -> None:
        """Shows how far it is."""
        now = time.monotonic()
        if not self._is_shown or (now - self._shown < 0.5 and not is_last):
            return
        self._shown = now
        worked = done - skipped
        text = f"{done} of {self._total} lots"
        if skipped:
            text += f", {skipped} stood"
        if failed:
            text += f", {failed} failed"
        if worked > 0:
            rate = worked / max(now - self._begin, 1e-9)
            text += f", {rate:.2g} a second"
            if not is_last and worked >= 3:
                text += f", about {_span((self._total - done) / rate)} left"
        self._stream.write("\r" + text.ljust(self._length) + ("\n" if is_last else ""))
        self._stream.flush()
        self._length = len(text)


def _span(seconds: float) -> str:
    if seconds < 90:
        return f"{seconds:.0f} s"
    if seconds < 5400:
        return f"{seconds / 60:.0f} min"
    return f"{seconds / 3600:.1f} h"
