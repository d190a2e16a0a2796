#!/usr/bin/env python3
"""The archive for Windows as somebody takes it: unpacked elsewhere, a C program built with it by hand and by
CMake, that program and qmx-ic.exe run under Wine.

    check_zip.py --build FOLDER --work FOLDER --compiler PROGRAM --toolchain FILE --wine COMMAND...
"""

import argparse
import hashlib
import pathlib
import shutil
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "packages"))
from installed import EXAMPLE, ROOT, check_documents, check_no_way_back, end_with_failures_of, expect, run, tree, version

FILES = {"bin/QMX_IC.dll", "bin/qmx-ic.exe", "include/qmx_ic.h", "lib/libQMX_IC.dll.a", "lib/QMX_IC.def",
         "lib/cmake/QMX_IC/QMX_ICConfig.cmake"}


def pack(build, work):
    run("cpack", "--config", build / "CPackConfig.cmake", "-B", work, cwd=work)
    (archive,) = work.glob("*.zip")
    told = archive.with_name(archive.name + ".sha256").read_text().split()[0]
    expect(told == hashlib.sha256(archive.read_bytes()).hexdigest(), "the archive's checksum")
    expect(f"qmx-ic-{version()}-windows" in archive.name, archive.name)
    shutil.unpack_archive(archive, work / "unpacked")
    (top,) = (work / "unpacked").iterdir()
    return archive, top


def examples(asked, top, work):
    """The example's output, for each way to build it."""
    by_hand = work / "by_hand.exe"
    run(asked.compiler, "-std=c99", EXAMPLE, f"-I{top}/include", f"-L{top}/lib", "-lQMX_IC", "-o", by_hand)
    run("cmake", "-G", "Ninja", "-S", ROOT / "tests/packages/consumer", "-B", work / "cmake", f"-DSOURCE={EXAMPLE}",
        f"-DCMAKE_TOOLCHAIN_FILE={pathlib.Path(asked.toolchain).resolve()}",
        f"-DQMX_IC_DIR={top}/lib/cmake/QMX_IC", f"-DWANTED={version()}")
    run("cmake", "--build", work / "cmake")
    for program in (by_hand, work / "cmake/consumer.exe"):
        shutil.copy(top / "bin/QMX_IC.dll", program.parent)
        yield run(*asked.wine, program)


def main():
    parser = argparse.ArgumentParser()
    for name in ("--compiler", "--toolchain"):
        parser.add_argument(name, required=True)
    for name in ("--build", "--work"):
        parser.add_argument(name, required=True, type=pathlib.Path)
    parser.add_argument("--wine", required=True, nargs=argparse.REMAINDER)
    asked = parser.parse_args()
    work = asked.work.resolve()
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    archive, top = pack(asked.build.resolve(), work)
    missing = FILES - set(tree(top))
    expect(not missing, f"missing: {sorted(missing)}\npresent: {tree(top)}")
    check_documents(lambda _: next(top.rglob("NOTICES-program.txt")).parent, pages=True)
    check_no_way_back(top)
    printed = set(examples(asked, top, work))
    expect(len(printed) == 1 and "mean" in next(iter(printed)), f"the examples print {printed}")
    expect(run(*asked.wine, top / "bin/qmx-ic.exe", "--version") == f"qmx-ic {version()}\n", "the program's version")
    print(f"{archive.name}: {archive.stat().st_size} bytes, {len(tree(top))} files, used under Wine")


if __name__ == "__main__":
    end_with_failures_of(main)
