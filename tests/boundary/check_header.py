"""Compiles the public header alone, in each language and standard that it promises, with every warning of
both compilers as an error; then checks that tools/contract.py notices each kind of change to it.

    check_header.py build/dev/libQMX_IC.so [compiler...]
"""

import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools"))
import contract  # noqa: E402

HEADER = ROOT / "include/qmx_ic.h"
COMMON = ["-Wall", "-Wextra", "-Wpedantic", "-pedantic-errors", "-Wconversion", "-Wsign-conversion", "-Wshadow",
          "-Wundef", "-Wcast-qual", "-Wcast-align", "-Wpadded", "-Wredundant-decls", "-Wwrite-strings", "-Werror"]
OF_GCC = {"c": ["-Wstrict-prototypes", "-Wmissing-prototypes", "-Wold-style-definition", "-Wc++-compat"],
          "c++": ["-Wold-style-cast", "-Wuseless-cast", "-Wzero-as-null-pointer-constant", "-Wnoexcept",
                  "-Wextra-semi", "-Weffc++"]}
# All there are but those that ask for the language of forty years ago, and for no C of our time.
OF_CLANG = {"c": ["-Weverything", "-Wno-declaration-after-statement"],
            "c++": ["-Weverything", "-Wno-c++98-compat", "-Wno-c++98-compat-pedantic"]}
STANDARDS = {"c": ["c99", "c11", "c17"], "c++": ["c++11", "c++17", "c++20"]}
# The header twice, and a use of each kind of thing in it.
PROGRAM = """#include <qmx_ic.h>
#include <qmx_ic.h>
#if QMX_IC_VERSION_NUMBER < 100 || !defined(QMX_IC_VERSION_MAJOR)
#error "no version"
#endif
int main(void) {
    static const char version[] = "version " QMX_IC_VERSION;
    static t_icdata points[3];
    static t_statsout statistics;
    static t_event event;
    return ICdata_stats(QMX_IC_NO, QMX_IC_NO, 3, points, &statistics, &event) == QMX_IC_SUCCESS &&
           version[0] == 'v' ? 0 : 1;
}
"""
CHANGES = [  # in the header, what is said of it
    ("int32_t i_maxpassno, int32_t i_mindata", "int64_t i_maxpassno, int32_t i_mindata", "breaks hosts"),
    ("const float* x_meshsize", "float* x_meshsize", "breaks hosts"),
    ("QMX_IC_FAILURE = 3", "QMX_IC_FAILURE = 2", "breaks hosts"),
    ("    float x_xlag; ", "    int32_t x_xlag; ", "breaks hosts"),
    ("QMX_IC_API int32_t call_polycurvefit(", "QMX_IC_API int32_t polycurvefit(", "breaks hosts"),
    ("float* s_ycurve) QMX_IC_NOEXCEPT;", "float* s_ycurve);", "breaks hosts"),
    ("#define QMX_IC_VERSION_MAJOR ", "#define QMX_IC_VERSION_MAJOR 1", "no host breaks"),
    ("#define QMX_IC_VERSION_MINOR ", "#define QMX_IC_VERSION_MINOR 1", "If this is meant"),
    ("int32_t i_npoints, int32_t i_degree,", "int32_t i_points, int32_t i_degree,", "If this is meant"),
    ("QMX_IC_NO = 2 }", "QMX_IC_NO = 2, QMX_IC_PERHAPS = 3 }", "If this is meant"),
    ("#define QMX_IC_AT(record", "typedef char no_two[1];\n#define QMX_IC_AT(record", None),  # only a new name
]


def run(*command, **more):
    return subprocess.run(command, capture_output=True, text=True, **more)


def compile_everywhere(compilers):
    failures = []
    for compiler in compilers:
        flags = OF_CLANG if "clang" in compiler else OF_GCC
        for language, standards in STANDARDS.items():
            for standard in standards:
                done = run(compiler, f"-I{HEADER.parent}", "-x", language, f"-std={standard}", *COMMON, *flags[language],
                           "-fsyntax-only", "-", input=PROGRAM)
                if done.returncode:
                    failures.append(f"{compiler} -std={standard}:\n{done.stderr}")
    return failures


def check_changes(library):
    failures = []
    contract.TARGETS = contract.TARGETS[:1]  # layouts of the others are compared where the contract is checked
    text = HEADER.read_text(encoding="utf-8")
    with tempfile.TemporaryDirectory() as name:
        changed = pathlib.Path(name) / "qmx_ic.h"
        for old, new, words in CHANGES:
            if text.count(old) < 1:
                failures.append(f"the header has no {old!r} any more: choose another change")
                continue
            changed.write_text(text.replace(old, new, 1), encoding="utf-8")
            told = None
            try:
                contract.main(["--check", "--include", name, library])
            except SystemExit as end:
                told = str(end)
            if words is None and told:
                failures.append(f"{new!r} changes nothing for hosts, but: {told}")
            elif words is not None and (told is None or words not in told):
                failures.append(f"{old!r} -> {new!r} should be told with {words!r}, but: {told}")
    return failures


def main():
    library, compilers = sys.argv[1], sys.argv[2:] or ["gcc", "clang-14"]
    failures = compile_everywhere(compilers) + check_changes(library)
    if failures:
        sys.exit("\n".join(failures))
    print(f"{len(compilers) * sum(map(len, STANDARDS.values()))} ways to compile it, {len(CHANGES)} changes")


if __name__ == "__main__":
    main()
