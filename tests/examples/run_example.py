"""Compiles and runs the examples of one language against the shared library and compares their output,
byte for byte, with the stored one. Returns 77 where the language is missing, unless
QMX_IC_NEEDS_HOSTS is 1."""

import argparse
import os
import pathlib
import shutil
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
EXAMPLES = HERE.parents[1] / "examples"
INCLUDE = HERE.parents[1] / "include"

# What has to be there for a language, and its package on Debian.
TOOLS = {
    "program": [],
    "python": [],
    "csharp": [("mcs", "mono-mcs"), ("mono", "mono-runtime")],
    "fortran": [("gfortran", "gfortran")],
    "r": [("Rscript", "r-base-core"), ("cc", "gcc"), ("make", "make")],
}


def run(command, folder=None, **extra):
    environment = {**os.environ, **extra}
    done = subprocess.run([str(part) for part in command], cwd=folder, env=environment, capture_output=True)
    if done.returncode != 0:
        sys.exit(
            f"{' '.join(map(str, command))} ended with {done.returncode}\n"
            + done.stdout.decode(errors="replace")
            + done.stderr.decode(errors="replace")
        )
    return done.stdout


def beside(library):
    """Where the loader finds the library, before what it searched already."""
    return ":".join(filter(None, [str(library.parent), os.environ.get("LD_LIBRARY_PATH")]))


def output_of(language, name, options):
    library, work = options.library, options.work
    if language == "program":
        return run([options.program])
    work.mkdir(parents=True, exist_ok=True)
    if language == "python":
        return run([sys.executable, "-B", EXAMPLES / f"{name}.py", library])
    if language == "csharp":
        made = work / f"{name}.exe"
        run(["mcs", "-unsafe", "-warnaserror", f"-out:{made}", EXAMPLES / f"{name}.cs", EXAMPLES / "QmxIc.cs"])
        return run(["mono", made], LD_LIBRARY_PATH=beside(library))
    if language == "fortran":
        made = work / name
        # An array that is built for a call is copied; that is what an example may do.
        run(
            ["gfortran", "-std=f2018", "-Wall", "-Wextra", "-Werror", "-fcheck=all", f"-J{work}", "-o", made]
            + [EXAMPLES / "qmx_ic.f90", EXAMPLES / f"{name}.f90", f"-L{library.parent}", "-lQMX_IC"]
        )
        return run([made], LD_LIBRARY_PATH=beside(library))
    shutil.copy(EXAMPLES / "qmx_ic_shim.c", work)
    flags = f"-L{library.parent} -lQMX_IC -Wl,-rpath,{library.parent}"
    run(["R", "CMD", "SHLIB", "qmx_ic_shim.c"], work, PKG_CPPFLAGS=f"-I{INCLUDE}", PKG_LIBS=flags)
    return run(["Rscript", "--vanilla", f"{name}.R", work / "qmx_ic_shim.so"], EXAMPLES)


def main():
    options = argparse.ArgumentParser(description=__doc__)
    options.add_argument("language", choices=TOOLS)
    options.add_argument("names", nargs="+")
    options.add_argument("--program", type=pathlib.Path)
    options.add_argument("--library", type=pathlib.Path)
    options.add_argument("--work", type=pathlib.Path)
    options = options.parse_args()

    missing = [package for tool, package in TOOLS[options.language] if shutil.which(tool) is None]
    if missing:
        print(f"skipped: {options.language} is not here; on Debian install {' '.join(missing)}")
        sys.exit(1 if os.environ.get("QMX_IC_NEEDS_HOSTS") == "1" else 77)

    for name in options.names:
        printed = output_of(options.language, name, options)
        stored = (HERE / f"{name}.txt").read_bytes()
        if printed != stored:
            sys.exit(f"{name} in {options.language} printed\n{printed.decode(errors='replace')}instead of\n{stored.decode()}")
        print(f"{options.language}: {name} prints the stored {len(stored)} bytes")


main()
