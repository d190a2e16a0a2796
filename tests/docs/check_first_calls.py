"""Runs the commands that the page of first calls gives for each language, as they stand there, and compares
what the programs print. A language whose compiler is missing is named, and fails with QMX_IC_NEEDS_HOSTS=1.

    check_first_calls.py path/to/libQMX_IC.so"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "docs" / "pages"))
import library_pages  # noqa: E402

NEEDED = {"C": "cc", "C++": "c++", "C#": "mcs", "Fortran": "gfortran", "Python": "python3", "R": "Rscript"}
MISSING = 77
library = pathlib.Path(sys.argv[1]).resolve()
printed = (ROOT / "tests" / "examples" / "statistics.txt").read_text()
faults, missing = [], []
for title, _, _, _, command in library_pages.LANGUAGES:
    if command is None:
        print(f"{title}: not run")
    elif shutil.which(NEEDED[title]) is None:
        missing.append(title)
    else:
        with tempfile.TemporaryDirectory() as folder:
            shutil.copytree(ROOT / "examples", pathlib.Path(folder, "examples"))
            pathlib.Path(folder, "include").symlink_to(ROOT / "include")
            pathlib.Path(folder, "build").symlink_to(library.parent)
            done = subprocess.run(["bash", "-euc", command], cwd=folder, capture_output=True, text=True)
        if done.returncode != 0 or not done.stdout.endswith(printed):  # R tells how it compiles before
            faults.append(f"{title}: {command}\nended with {done.returncode} and printed\n{done.stdout}{done.stderr}")
        print(f"{title}: {len(command.split(chr(10)))} commands of the page run")
if missing:
    print(f"missing: {', '.join(missing)}")
if faults:
    sys.exit("\n".join(faults))
if missing:
    sys.exit(1 if os.environ.get("QMX_IC_NEEDS_HOSTS") == "1" else MISSING)
