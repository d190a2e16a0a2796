#!/usr/bin/env python3
"""Validates the documents that qmx-ic prints against docs/documents.schema.json.

    tools/check_documents.py PROGRAM

Runs the command lines of compare_programs.py with --json: each must print one document, whatever its
end, and the document must be what the schema says.
"""

import json
import pathlib
import shlex
import subprocess
import sys
import tempfile

import compare_programs

try:
    import jsonschema
except ImportError:
    print("the Python package jsonschema is not installed")
    sys.exit(77)  # skipped, as ctest sees it

SCHEMA = pathlib.Path(__file__).resolve().parent.parent / "docs/documents.schema.json"
# Besides the lines of compare_programs.py.
COMMANDS = """
grid lanes.csv --cell 0.25 --drum-width 2
grid lanes.csv --cell 0.5 --passes mean --gap 3 --track Machine --output cells.csv
grid lanes.csv --cell 0
grid lonlat.csv --cell 1 --project utm
coverage jitter.csv --area square.csv --target-passes 2
coverage grid.csv --area two.csv --target-passes 2
stats lot.csv --output table.csv
stats lot.csv --target 40 --levels 5,95
stats lot.csv --output -
stats lot.csv --output table.foo
spots passes.csv tests.csv --radius 2 --output tests.gpkg
coverage grid.csv --area hole.csv --output /dev/full
fit pairs.csv --x Depth_m --y Density --degree 0
fit pairs.csv --x Depth_m --y Density --degree x
select lot.csv --polygon lot-alignment.csv --output rows.geojson
generate lot --length 5
""".strip("\n").split("\n")


# Reports: the document is written beside the page.
REPORTS = """
report lot.csv --tests lot-spots.csv --area lot-alignment.csv --target 40
report lanes.csv --tests lanes-spots.csv --area lanes-alignment.csv
report last.csv --area last-alignment.csv --target 45
report short.csv
report equal.csv --target 5
report grid.csv --area square.csv
report lonlat.csv
report texts.csv
""".strip("\n").split("\n")


def validators(schema):
    """By the name that a document gives itself."""
    found = {}
    for kind in schema["oneOf"]:
        title = schema["$defs"][kind["$ref"].rpartition("/")[2]]["title"]
        found[title] = jsonschema.Draft202012Validator({"$defs": schema["$defs"], **kind})
    return found


def spoilt(document):
    """Documents that the schema must refuse: each with a key too many, one lacking, or a wrong type."""
    yield {**document, "another": 1}
    for key in document:
        yield {other: value for other, value in document.items() if other != key}
        yield {**document, key: {"another": 1}}


def document_of(program, line, folder):
    """What a command line prints or, of a report, writes; with the end of the run."""
    is_report = line in REPORTS
    further = ["--document", "report.json"] if is_report else [] if "--json" in line else ["--json"]
    written = folder / "report.json"
    written.unlink(missing_ok=True)
    done = subprocess.run([program, *shlex.split(line), *further], cwd=folder, capture_output=True,
                          stdin=subprocess.DEVNULL, check=False)
    return written.read_text(encoding="utf-8") if written.exists() else done.stdout, done


def faults(program, schema, folder):
    by_name = validators(schema)
    seen = set()
    for line in compare_programs.COMMANDS + COMMANDS + REPORTS:
        if not line or "--help" in line or "--version" in line:
            continue
        text, done = document_of(program, line, folder)
        try:
            document = json.loads(text)
        except ValueError as problem:
            yield f"{line}: no single document ({problem}), exit code {done.returncode}"
            continue
        name = document.get("schema")
        if name not in by_name:
            yield f"{line}: a document of an unknown kind, {name}"
            continue
        for error in by_name[name].iter_errors(document):
            yield f"{line}: {error.json_path}: {error.message[:200]}"
        if (name == "qmx-ic/failure/1") != (done.returncode != 0 and not document.get("input")):
            yield f"{line}: a document {name} with exit code {done.returncode}"
        if name not in seen:
            seen.add(name)
            for number, wrong in enumerate(spoilt(document)):
                if by_name[name].is_valid(wrong):
                    yield f"{name}: the schema takes a spoilt document, number {number}"
    for name in sorted(by_name.keys() - seen):
        yield f"{name} stands in the schema, but no command line printed it"


def main():
    program = str(pathlib.Path(sys.argv[1]).resolve(strict=True))
    schema = json.loads(SCHEMA.read_text(encoding="utf-8"))
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        compare_programs.fill(folder, program)
        found = list(faults(program, schema, folder))
    print("\n".join(found) or "all documents are what the schema says")
    sys.exit(bool(found))


if __name__ == "__main__":
    main()
