"""Rows of a comparison, how they are timed, and the tables that are printed."""

import random
import statistics
import sys
from dataclasses import dataclass, field
from typing import Callable

import numpy as np

import peers


@dataclass
class Row:
    name: str
    count: int
    run: Callable  # takes the library
    peers: dict = field(default_factory=dict)  # label: callable, or a Gstat
    agree: Callable = np.array_equal


def measure(contenders, runs, patience, check=None):
    """Times {label: run} in turn, round after round, each round in an order of its own: what ran
    before leaves the caches warm or cold. One that used up the patience (seconds) drops out, the
    library at four times that. Returns {label: list of seconds}. The first round warms up and counts
    only for what is too slow to be run again."""
    times = {label: [] for label in contenders}
    spent = dict.fromkeys(contenders, 0.0)
    first = {}
    for turn in range(runs + 1):
        order = list(contenders)
        if turn > 0:
            random.Random(turn).shuffle(order)
        for label in order:
            if spent[label] > (4 * patience if label == "library" else patience):
                continue
            seconds, result = peers.timed(contenders[label])
            spent[label] += seconds
            if turn == 0:
                first[label] = seconds
                if check:
                    check(label, result)
            else:
                times[label].append(seconds)
    return {label: times[label] or [first[label]] for label in contenders}


def measure_row(row, library, runs, patience):
    """Median seconds and number of runs of the library and of each peer, whose results must agree."""
    expected = None

    def check(label, result):
        nonlocal expected
        if label == "library":
            expected = np.copy(result)
        elif not row.agree(expected, result):
            sys.exit(f"{row.name}, {row.count} points: {label} gives another result")

    contenders = {"library": lambda: row.run(library), **row.peers}
    times = measure(contenders, runs, patience, check)
    for peer in row.peers.values():
        if isinstance(peer, peers.Gstat):
            peer.close()
    return {label: (statistics.median(t), len(t)) for label, t in times.items()}


def duration(seconds):
    """Three significant digits."""
    for unit, scale in (("s", 1), ("ms", 1e3), ("µs", 1e6)):
        if seconds * scale >= 1 or unit == "µs":
            digits = max(0, 2 - len(str(int(seconds * scale))) + 1)
            return f"{seconds * scale:.{digits}f} {unit}"


def points(count):
    for unit, size in (("M", 1_000_000), ("k", 1000)):
        if count >= size and count * 10 % size == 0:
            return f"{count / size:g}{unit}"
    return str(count)


def processor():
    try:
        with open("/proc/cpuinfo") as lines:
            return next(line.split(":")[1].strip() for line in lines if line.startswith("model name"))
    except (OSError, StopIteration):
        return "unknown processor"


class Page:
    """Prints tables as they grow, plain or as Markdown, and can put them into a page: between the
    lines `<!-- NAME: ... -->` and `<!-- end of NAME -->`."""

    def __init__(self, markdown=False, into=None, name=""):
        self.markdown, self.into, self.name = markdown or into, into, name
        self.lines, self.widths = [], []
        if into:
            self.place()  # fails before anything is measured

    def line(self, text=""):
        print(text, flush=True)
        self.lines.append(text)

    def table(self, *columns):
        """Columns as (heading, width); a negative width aligns to the right."""
        self.widths = [width for _, width in columns]
        self.line()
        self.row(*(heading for heading, _ in columns))
        if self.markdown:
            self.row(*("---:" if width < 0 else "---" for width in self.widths))

    def row(self, *cells):
        if self.markdown:
            self.line("| " + " | ".join(cells) + " |")
        else:
            padded = (f"{c:>{-w}}" if w < 0 else f"{c:{w}}" for c, w in zip(cells, self.widths))
            self.line("  ".join(padded).rstrip())

    def finish(self):
        if self.into:
            before, after = self.place()
            with open(self.into, "w") as file:
                file.write(before + "\n".join(self.lines) + "\n" + after)

    def place(self):
        """What stands before and after the tables' place in the page."""
        with open(self.into) as file:
            before, mark, rest = file.read().partition(f"<!-- {self.name}:")
        opening, _, rest = rest.partition("-->\n")
        _, end, after = rest.partition(f"<!-- end of {self.name} -->")
        if not mark or not end:
            sys.exit(f"{self.into} has no place for {self.name}")
        return before + mark + opening + "-->\n", end + after
