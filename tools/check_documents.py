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


def faults(program, schema, folder):
    by_name = {kind["title"]: jsonschema.Draft202012Validator(kind) for kind in schema["oneOf"]}
    seen = set()
    for line in compare_programs.COMMANDS:
        if not line or "--help" in line or "--version" in line:
            continue
        arguments = shlex.split(line) + ([] if "--json" in line else ["--json"])
        done = subprocess.run([program, *arguments], cwd=folder, capture_output=True,
                              stdin=subprocess.DEVNULL, check=False)
        try:
            document = json.loads(done.stdout)
        except ValueError as problem:
            yield f"{line}: no single document ({problem}), exit code {done.returncode}"
            continue
        name = document.get("schema")
        seen.add(name)
        if name not in by_name:
            yield f"{line}: a document of an unknown kind, {name}"
            continue
        for error in by_name[name].iter_errors(document):
            yield f"{line}: {error.json_path}: {error.message[:200]}"
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
