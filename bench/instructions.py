"""Instructions that a call takes, counted by valgrind's callgrind: the same in each run of one build,
whatever else the machine does.

    python3 instructions.py BUILD    calls each task once, for the counter to look at
"""

import ctypes
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

import calls

# name, the call, what its count is divided by, and the most there may be of each: a third more than when it
# was last counted. Callgrind knows registers of 256 bits at most, so each machine runs the same loops in it.
COUNTED = (
    ("statistics, per point", lambda: calls.statistics(100_000), 100_000, 46),
    ("compaction, per point", lambda: calls.compaction(100_000), 100_000, 55),
    ("spots, 1000 tests, per point", lambda: calls.spots(100_000, 1000), 100_000, 310),
    ("circle, per point", lambda: calls.circle(100_000), 100_000, 13),
    ("polygon of 200, per point", lambda: calls.polygon(100_000, 200), 100_000, 41),
    ("coverage by 3 bins, per point", lambda: calls.coverage(100_000, 3), 100_000, 36),
    ("polynomial 5, per point", lambda: calls.polynomial(100_000, 5, "ascending"), 100_000, 56),
    ("semivariogram, strip, per point", lambda: strip("lanes"), 20_000, 19900),
    ("semivariogram, two rollers, per point", lambda: strip("two rollers in turn"), 20_000, 26500),
    ("semivariogram, by columns, per point", lambda: strip("by columns"), 20_000, 34700),
    ("semivariogram, shuffled, per point", lambda: strip("shuffled"), 20_000, 56200),
    ("semivariogram, roller in time, per point", lambda: cells(calls.roller_cells), 20_000, 44100),
    ("semivariogram, roller sorted, per point", lambda: cells(calls.sorted_cells), 20_000, 32800),
    ("semivariogram, global, per pair", lambda: calls.strip_semivariogram(3000, "global"), 4_498_500, 23),
)  # fmt: skip


def strip(order):
    return calls.strip_semivariogram(20_000, "local", order)


def cells(kind):
    return calls.semivariogram(kind(20_000, 8), 10.25)


def counted(build):
    """{name: count per point or pair}, or why there is none."""
    if not shutil.which("valgrind") or not switches(build).exists():
        return "valgrind or its headers are missing"
    with tempfile.TemporaryDirectory() as folder:
        watched = subprocess.run(
            ["valgrind", "-q", "--tool=callgrind", f"--callgrind-out-file={folder}/out",
             "--combine-dumps=no", sys.executable, __file__, build],
            capture_output=True, text=True,
        )  # fmt: skip
        if watched.returncode != 0:
            raise RuntimeError(watched.stdout + watched.stderr)
        totals = {}
        for part in Path(folder).glob("out.*"):
            text = part.read_text(errors="replace")
            name = re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.M)
            if name:
                totals[name[1]] = int(re.search(r"^(?:totals|summary): (\d+)", text, re.M)[1])
    return {name: totals[name] / of for name, _, of, _ in COUNTED}


def switches(build):
    return Path(build) / "bench" / "libcounting.so"


def main():
    library, switch = calls.load(sys.argv[1]), ctypes.CDLL(str(switches(sys.argv[1])))
    for name, make, _, _ in COUNTED:
        run = make().run
        switch.counting_begins()
        run(library)
        switch.counting_ends(name.encode())


if __name__ == "__main__":
    main()
