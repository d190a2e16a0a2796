"""Installs a build with `cmake --install` and as the archive that cpack makes, uses both, and removes them.

    check_install.py BUILD WORK ARCHIVE...
"""

import hashlib
import pathlib
import shutil
import sys

from installed import check_documents, check_uses, end_with_failures_of, expect, run, tree, version


def check_files(present):
    number = version()
    major = number.split(".")[0]
    config = "lib/cmake/QMX_IC/"
    docs = "share/doc/qmx-ic/"
    files = {f"lib/libQMX_IC.so.{number}", f"lib/libQMX_IC.so.{major}", "lib/libQMX_IC.so", "include/qmx_ic.h",
             "lib/pkgconfig/QMX_IC.pc", config + "QMX_ICConfig.cmake", config + "QMX_ICConfigVersion.cmake",
             config + "QMX_ICTargets.cmake", "bin/qmx-ic", "lib/qmx-ic/qmx-ic-gdal.so", "share/man/man1/qmx-ic.1",
             "share/bash-completion/completions/qmx-ic", "share/zsh/site-functions/_qmx-ic",
             "share/fish/vendor_completions.d/qmx-ic.fish", docs + "LICENSE", docs + "CHANGELOG.md",
             docs + "NOTICES-library.txt", docs + "NOTICES-program.txt", docs + "accuracy.md", docs + "job-file.md",
             docs + "documents.schema.json"}
    # One more of CMake's for the kind of build, and whatever examples there are.
    varying = {f for f in present if f.startswith((config + "QMX_ICTargets-", docs + "examples/"))}
    expect(len(varying) > 1, "the examples are missing")
    expect(set(present) == files | varying,
           f"missing: {sorted(files - set(present))}\nunexpected: {sorted(set(present) - files - varying)}")


def check_tree(prefix, work, pages):
    check_files(tree(prefix))
    check_documents(lambda _: prefix / "share/doc/qmx-ic", pages)
    check_uses(prefix, prefix / "lib", work)


def check_cmake_install(build, work, pages):
    prefix = work / "installed"
    run("cmake", "--install", build, "--prefix", prefix, "--strip")
    manifest = (build / "install_manifest.txt").read_text().split("\n")
    moved = work / "elsewhere/installed"  # what is installed may be put anywhere
    moved.parent.mkdir()
    prefix.rename(moved)
    check_tree(moved, work / "use-installed", pages)
    moved.rename(prefix)
    for name in filter(None, manifest):
        pathlib.Path(name).unlink()
    expect(not tree(prefix), f"left after the files of the manifest are removed: {tree(prefix)}")
    return manifest


def check_archive(archive, work, pages):
    told = archive.with_name(archive.name + ".sha256").read_text().split()[0]
    expect(told == hashlib.sha256(archive.read_bytes()).hexdigest(), "the archive's checksum")
    folder = work / "unpacked"
    folder.mkdir()
    run("tar", "-xf", archive, "-C", folder)
    (top,) = folder.iterdir()
    expect(f"qmx-ic-{version()}-linux" in top.name, top.name)
    check_tree(top, work / "use-unpacked", pages)


def main():
    build, work = (pathlib.Path(name).resolve() for name in sys.argv[1:3])
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    pages = (build / "report/page_notices.txt").exists()
    check_cmake_install(build, work, pages)
    for name in sys.argv[3:]:
        check_archive(pathlib.Path(name).resolve(), work, pages)
    print(f"installed, moved, used and removed; {len(sys.argv) - 3} archive unpacked and used")


if __name__ == "__main__":
    end_with_failures_of(main)
