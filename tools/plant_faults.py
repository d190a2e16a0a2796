#!/usr/bin/env python3
"""Plants faults in a copy of the sources, one by one, and says which the tests catch.

    tools/plant_faults.py [--only WORD] [--build FOLDER]

The list is tools/planted_faults.toml: each fault is one text replaced by another in one file, with the
room whose tests must fail. The copy is built once without a fault, and those tests must pass there.
A fault is caught when it builds and a test fails, crashes or runs past the time limit. The folder with
real data is hidden from the tests: what only it would catch counts as missed. Ends with 1 if a fault
survives, 2 if a fault cannot be planted or the clean copy fails.
"""

import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import tomllib

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIST = ROOT / "tools" / "planted_faults.toml"
TIME_LIMIT = 300  # seconds for the tests of a room


def copy_sources(target):
    names = subprocess.run(
        ["git", "ls-files", "-z"], cwd=ROOT, check=True, capture_output=True, text=True
    ).stdout.split("\0")
    for name in filter(None, names):
        source = ROOT / name
        copied = target / name
        if source.is_file() and not (
            copied.is_file() and copied.read_bytes() == source.read_bytes()
        ):  # a file that is right keeps its time: what was built from it stands
            copied.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copied)


def run(command, folder, **more):
    return subprocess.run(
        command, cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **more
    )


def configure(copy):
    """The development preset, whose objects a compiler cache may already hold."""
    command = ["cmake", "--preset", "dev", "-G", "Ninja"]
    if shutil.which("ccache"):
        command += [f"-DCMAKE_{language}_COMPILER_LAUNCHER=ccache" for language in ("C", "CXX")]
    done = run(command, copy)
    if done.returncode != 0:
        sys.exit(done.stdout)
    return copy / "build" / "dev"


def build_tests(build, room):
    return run(["cmake", "--build", ".", "--target", f"test_{room}"], build)


def run_tests(build, room):
    """The name of the first test that fails, or None."""
    environment = {k: v for k, v in os.environ.items() if k != "QMX_IC_DATA"}
    program = build / "tests" / f"test_{room}"
    try:
        done = run([program, "--gtest_brief=1"], build, env=environment, timeout=TIME_LIMIT)
    except subprocess.TimeoutExpired:
        return "the time limit"
    if done.returncode == 0:
        return None
    failed = [line for line in done.stdout.splitlines() if line.startswith("[  FAILED  ]")]
    return failed[0].split("]", 1)[1].split(" (")[0].strip() if failed else "a crash"


def plant(copy, fault):
    path = copy / fault["file"]
    text = path.read_text(encoding="utf-8")
    if text.count(fault["old"]) != 1:
        return None, text
    path.write_text(text.replace(fault["old"], fault["new"]), encoding="utf-8")
    return path, text


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("--only", default="", help="faults whose name holds this word")
    parser.add_argument("--build", help="keep the copy and its build in this folder")
    options = parser.parse_args()
    faults = [f for f in tomllib.loads(LIST.read_text(encoding="utf-8"))["fault"]
              if options.only in f["name"]]
    if not faults:
        sys.exit("no such fault")

    with tempfile.TemporaryDirectory() as temporary:
        place = pathlib.Path(options.build or temporary).resolve()
        copy = place / "sources"
        copy_sources(copy)
        build = configure(copy)
        for room in sorted({fault["room"] for fault in faults}):
            built = build_tests(build, room)
            failed = "the build" if built.returncode != 0 else run_tests(build, room)
            if failed:
                print(f"without a fault, {room}: {failed} fails", file=sys.stderr)
                sys.exit(2)
        survived, unplanted = 0, 0
        for fault in faults:
            path, text = plant(copy, fault)
            if path is None:
                unplanted += 1
                print(f"NOT PLANTED  {fault['name']}: the old text stands {text.count(fault['old'])} "
                      f"times in {fault['file']}", flush=True)
                continue
            try:
                built = build_tests(build, fault["room"])
                if built.returncode != 0:
                    unplanted += 1
                    print(f"NOT PLANTED  {fault['name']}: does not build", flush=True)
                    continue
                caught = run_tests(build, fault["room"])
            finally:
                path.write_text(text, encoding="utf-8")
            survived += caught is None
            print(f"SURVIVES     {fault['name']}" if caught is None
                  else f"caught       {fault['name']}: {caught}", flush=True)
    print(f"{len(faults)} faults, {len(faults) - survived - unplanted} caught, {survived} survive, "
          f"{unplanted} not planted")
    sys.exit(2 if unplanted else 1 if survived else 0)


if __name__ == "__main__":
    main()
