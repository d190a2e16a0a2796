"""Writes the pages of the library: one a function, the records with their layouts, the rules of all, and
the first call in each language.

    library_pages.py ROOT XML OUT     the repository, Doxygen's XML, and the folder of the pages
"""

import pathlib
import re
import sys

import header

LIBRARY = "-Iinclude -Lbuild -lQMX_IC -Wl,-rpath,build -o statistics\n./statistics"
LANGUAGES = [  # title, file of the first call, language of its colours, wrapper to copy, how to build and run
    ("C", "statistics.c", "c", None, f"cc examples/statistics.c {LIBRARY}"),
    ("C++", "statistics.cpp", "cpp", None, f"c++ -std=c++17 examples/statistics.cpp {LIBRARY}"),
    ("C#", "statistics.cs", "csharp", "QmxIc.cs",
     "mcs -unsafe examples/statistics.cs examples/QmxIc.cs -out:statistics.exe\nLD_LIBRARY_PATH=build mono statistics.exe"),
    ("Fortran", "statistics.f90", "fortran", "qmx_ic.f90", f"gfortran examples/qmx_ic.f90 examples/statistics.f90 {LIBRARY}"),
    ("Python", "statistics.py", "python", "qmx_ctypes.py", "python3 examples/statistics.py build/libQMX_IC.so"),
    ("R", "statistics.R", "r", "qmx_ic.R",
     "cd examples\nPKG_CPPFLAGS=-I../include PKG_LIBS='-L../build -lQMX_IC' R CMD SHLIB qmx_ic_shim.c\n"
     "LD_LIBRARY_PATH=../build Rscript statistics.R ./qmx_ic_shim.so"),
    ("VBA", "QmxIc.bas", "vbnet", "QmxIc.bas", None),
]
MOST_LINES = 20


def region(path: pathlib.Path, name: str) -> str:
    """What stands between two lines that hold [name], moved to the left margin."""
    lines = path.read_text().split("\n")
    marks = [i for i, line in enumerate(lines) if f"[{name}]" in line]
    if len(marks) != 2:
        sys.exit(f"{path}: [{name}] has to stand twice")
    inside = lines[marks[0] + 1 : marks[1]]
    margin = min(len(line) - len(line.lstrip()) for line in inside if line.strip())
    return "\n".join(line[margin:] for line in inside)


def fenced(language: str, text: str) -> str:
    return f"```{language}\n{text}\n```\n"


def cell(text: str) -> str:
    return text.replace("|", "\\|")


def table(titles, rows) -> str:
    lines = ["| " + " | ".join(titles) + " |", "|" + "---|" * len(titles)]
    return "\n".join(lines + ["| " + " | ".join(cell(one) for one in row) + " |" for row in rows]) + "\n"


def blocks(parts) -> str:
    return "\n".join("".join(f"- {one}\n" for one in part) if isinstance(part, list) else part + "\n" for part in parts)


def rows(text: str, kind: str = "") -> str:
    """A table whose rows are set below each other where the page is narrow."""
    return f"```{{container}} rows {kind}\n\n" + text + "\n```\n"


def failures_of(one: header.function) -> str:
    if not one.failures:
        return blocks(["None of its own; see [rules of every function](rules.md) for memory that runs out."])
    has_texts = any(row.code for row in one.failures)
    lines = []
    for row in one.failures:
        start = [f"`{row.text}`", row.code] if has_texts else [row.text]
        lines.append([*start, row.cause, row.remedy[0].upper() + row.remedy[1:]])
    titles = ["Message", "Code", "Cause and what is left", "Remedy"] if has_texts else ["Failure", "Cause", "Remedy"]
    before = blocks([one.before_failures]) + "\n" if one.before_failures else ""
    return before + rows(table(titles, lines), "failures")


def page_of(one: header.function, root: pathlib.Path) -> str:
    directions = {"in": "in", "out": "out", "inout": "in, out"}
    arguments = [[f"`{name}`", directions[way], text] for name, _, way, text in one.arguments]
    parts = [f"# {one.name}\n", one.brief + "\n", fenced("c", one.signature), blocks(one.details)]
    parts += ["## Arguments\n", rows(table(["Name", "", "What it is"], arguments))]
    parts += ["## Return value\n", one.returns + "\n", "## Failures\n", failures_of(one)]
    for title, paragraphs in one.sections.items():
        parts += [f"## {title}\n", blocks(paragraphs)]
    parts += ["## Example\n", fenced("c", region(root / "examples" / "eight_calls.c", one.name))]
    parts.append("The whole program: [eight_calls.c](../examples/eight_calls.c); the same calls in "
                 "[C#](../examples/eight_calls.cs), [Fortran](../examples/eight_calls.f90), "
                 "[Python](../examples/eight_calls.py) and [R](../examples/eight_calls.R).\n")
    parts.append(f"Since version {one.since}. Calls must not overlap; memory, events and threads: "
                 "[rules of every function](rules.md). Records: [layouts](records.md).\n")
    return "\n".join(parts)


def records_page(records) -> str:
    parts = ["# Records\n", "All are little-endian, with natural alignment. Offsets and sizes are in bytes, as the "
             "compiler that made these pages has laid them out; the header refuses to compile where they differ.\n"]
    for one in records:
        parts += [f"## {one.name}\n", f"{one.size} bytes. {one.text}\n"]
        fields = [[f"`{part.name}`", str(part.offset), str(part.size), f"`{part.kind}`", part.text] for part in one.fields]
        parts.append(rows(table(["Field", "Offset", "Size", "Type", "What it is"], fields)))
    return "\n".join(parts)


def first_calls(root: pathlib.Path) -> str:
    printed = (root / "tests" / "examples" / "statistics.txt").read_text()
    parts = ["# First call\n", "The mean of ten points, and the share of them above a target. Each program asserts the sizes of "
             "the records in its own language, and all print the same bytes; a test compiles and runs them. A language that "
             "needs declarations has them in one file to copy, with all eight functions. The commands are given in the folder of "
             "the sources, with the library in `build`.\n"]
    for title, name, colours, wrapper, run in LANGUAGES:
        text = region(root / "examples" / name, "first call")
        lines = len([line for line in text.split("\n") if line.strip()])
        if title != "VBA" and lines > MOST_LINES:
            sys.exit(f"examples/{name}: the first call has {lines} lines, more than {MOST_LINES}")
        parts += [f"## {title}\n", fenced(colours, text)]
        files = f"[{name}](../examples/{name})"
        if wrapper and wrapper != name:
            files += f" with [{wrapper}](../examples/{wrapper})"
        if title == "R":
            files += " and [qmx_ic_shim.c](../examples/qmx_ic_shim.c)"
        parts.append(f"The whole program: {files}.\n")
        if run:
            parts.append(fenced("sh", run))
        else:
            parts.append("Import the module and run `StatisticsOfTenPoints`. It was **not run** here, since no Office was "
                         "there; a test compares its records and declarations with the header.\n")
    parts += ["## What they print\n", fenced("text", printed.rstrip("\n"))]
    return "\n".join(parts)


def functions_page(functions) -> str:
    links = [[f"[{one.name}]({one.name}.md)", one.brief] for one in functions]
    names = "\n".join(one.name for one in functions)
    return "\n".join(["# Functions\n", rows(table(["Function", "What it computes"], links)),
                      "```{toctree}\n:hidden:\n" + names + "\n```\n"])


def main():
    root, xml, out = (pathlib.Path(one) for one in sys.argv[1:])
    names = re.findall(r"^typedef struct (\w+)", (root / "include" / "qmx_ic.h").read_text(), re.M)
    (xml / "order.txt").write_text(" ".join(names))
    rules, functions, records = header.read(xml)
    header.lay_out(records, root / "include", xml)
    out.mkdir(parents=True, exist_ok=True)
    for one in functions:
        (out / f"{one.name}.md").write_text(page_of(one, root))
    (out / "functions.md").write_text(functions_page(functions))
    (out / "rules.md").write_text("# Rules of every function\n\n" + blocks(rules))
    (out / "records.md").write_text(records_page(records))
    (out / "first-call.md").write_text(first_calls(root))


if __name__ == "__main__":
    main()
