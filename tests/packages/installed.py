"""What holds of an installed QMX_IC, whichever way it came: everything is there, a C program is built with
it by pkg-config and by CMake and runs, the program runs, and nothing points back to where it was built."""

import gzip
import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
EXAMPLE = next(ROOT.glob("examples/**/statistics.c"))
PHRASES = {  # of notices, for what is linked in or compiled in
    "library": ["libstdc++ and libgcc", "GCC RUNTIME LIBRARY EXCEPTION", "GNU GENERAL PUBLIC LICENSE"],
    "program": ["libstdc++ and libgcc", "fmt", "JSON for Modern C++", "toml++", "Eigen", "CLI11",
                "Mozilla Public License Version 2.0", "GCC RUNTIME LIBRARY EXCEPTION"],
}


class Failure(Exception):
    pass


def end_with_failures_of(main):
    try:
        main()
    except Failure as failure:
        sys.exit(f"packages: {failure}")


def expect(condition, words):
    if not condition:
        raise Failure(words)


def run(*command, **more):
    more["env"] = {**os.environ, **more.get("env", {})}
    done = subprocess.run([str(part) for part in command], capture_output=True, text=True, errors="replace", **more)
    expect(done.returncode == 0, f"{' '.join(map(str, command))}\n{done.stdout}{done.stderr}")
    return done.stdout


def version():
    header = (ROOT / "include/qmx_ic.h").read_text(encoding="utf-8")
    return ".".join(re.findall(r"^#define QMX_IC_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)$", header, re.M))


def tree(folder):
    """Files and links below a folder."""
    return sorted(p.relative_to(folder).as_posix() for p in folder.rglob("*") if p.is_symlink() or not p.is_dir())


def with_pkg_config(prefix, libraries, work, **sysroot):
    env = {"PKG_CONFIG_LIBDIR": str(libraries / "pkgconfig"), **sysroot}
    expect(run("pkg-config", "--modversion", "QMX_IC", env=env).strip() == version(), "version of QMX_IC.pc")
    flags = run("pkg-config", "--cflags", "--libs", "QMX_IC", env=env).split()
    run("gcc", "-std=c99", EXAMPLE, *flags, "-o", work / "example")
    needed = run("objdump", "-p", work / "example")
    expect(f"libQMX_IC.so.{version().split('.')[0]}\n" in needed, "the name that the example loads:\n" + needed)
    expect("/usr/include" in str(prefix) or str(prefix) in run("gcc", "-M", EXAMPLE, *flags),
           "another header was found")
    return run(work / "example", env={"LD_LIBRARY_PATH": str(libraries)})


def with_cmake(prefix, work):
    def configure(wanted):
        shutil.rmtree(work / "cmake", ignore_errors=True)
        return ["cmake", "-G", "Ninja", "-S", ROOT / "tests/packages/consumer", "-B", work / "cmake",
                f"-DCMAKE_PREFIX_PATH={prefix}", f"-DWANTED={wanted}", f"-DSOURCE={EXAMPLE}"]

    major, minor, _ = map(int, version().split("."))
    for other in (f"{major + 1}.0", f"{major}.{minor + 1}"):
        done = subprocess.run(configure(other), capture_output=True, text=True)
        expect(done.returncode and "version" in done.stderr, f"version {other} should be refused:\n{done.stderr}")
    run(*configure(f"{major}.{minor}"))
    found = re.search(r"^QMX_IC_DIR:PATH=(.*)$", (work / "cmake/CMakeCache.txt").read_text(), re.M).group(1)
    expect(found.startswith(str(prefix)), f"CMake found {found}")
    run("cmake", "--build", work / "cmake")
    return run(work / "cmake/consumer")  # finds the library by the path that CMake links in


def check_program(prefix, libraries, work, needs_path):
    env = {"LD_LIBRARY_PATH": str(libraries)} if needs_path else {}
    program = prefix / "bin/qmx-ic"
    loaded = run("ldd", program, env=env)
    expect(f"=> {libraries}/" in os.path.normpath(loaded).replace(f"{prefix}/bin/../", f"{prefix}/"),
           f"the program loads another library:\n{loaded}")
    expect(run(program, "--version", env=env) == f"qmx-ic {version()}\n", "the program's version")
    lot = work / "lot.csv"
    lot.write_text("Easting,Northing,CMV\n" + "".join(f"{i},0,{10 + i * i % 7}\n" for i in range(40)))
    answer = run(program, "stats", lot, "--value", "CMV", env=env)
    expect("40" in answer and "11.975" in answer, f"the mean of 40 records is 11.975:\n{answer}")
    expect("libgdal" not in loaded, f"the program loads GDAL before it is needed:\n{loaded}")
    points = work / "lot.gpkg"
    run(program, "select", lot, "--value", "CMV", "--crs", "EPSG:26915", "--circle", "0,0,100",
        "--output", points, env=env)
    answer = run(program, "stats", points, "--value", "CMV", env=env)
    expect("40" in answer and "11.975" in answer, f"by the module, the mean of 40 records is 11.975:\n{answer}")


def check_documents(folder, pages):
    """folder(component) -> where its notices are."""
    for component, phrases in PHRASES.items():
        (file,) = folder(component).glob(f"NOTICES-{component}.txt*")
        text = (gzip.decompress if file.suffix == ".gz" else bytes)(file.read_bytes()).decode()
        for phrase in phrases + (["vega", "d3-array", "robust-predicates"] if pages and component == "program" else []):
            expect(phrase in text, f"the notices of the {component} do not speak of {phrase}")


def check_no_way_back(prefix):
    """Nothing names the folder that this was built in."""
    for name in tree(prefix):
        expect(str(ROOT).encode() not in (prefix / name).read_bytes(), f"{name} speaks of {ROOT}")


def check_uses(prefix, libraries, work, needs_path=False, **sysroot):
    """Builds and runs with what is installed."""
    work.mkdir(parents=True, exist_ok=True)
    printed = {with_pkg_config(prefix, libraries, work, **sysroot), with_cmake(prefix, work)}
    expect(len(printed) == 1 and "mean" in next(iter(printed)), f"the examples print {printed}")
    check_program(prefix, libraries, work, needs_path)
    check_no_way_back(prefix)
