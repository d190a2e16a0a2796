#!/usr/bin/env python3
"""Compares what hosts rely on with its stored description, tests/boundary/contract.txt.

    tools/contract.py --check build/dev/libQMX_IC.so
    tools/contract.py --write build/dev/libQMX_IC.so

The description is the compiler's own view of the public header (clang's syntax tree and record layouts)
and the names that the library shows. A host that was compiled before goes on working as long as nothing
disappears from it or changes; such a break raises QMX_IC_VERSION_MAJOR, which is also the number that
loaders look for. --write refuses a break without it, unless the stored description was never released
(--unreleased).
"""

import argparse
import ast
import difflib
import functools
import json
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
STORED = ROOT / "tests/boundary/contract.txt"
SYSTEM_HEADERS = "#include <stddef.h>\n#include <stdint.h>\n"
# Records have one layout on all of these, whatever the host is compiled for.
TARGETS = ["x86_64-linux-gnu", "aarch64-linux-gnu", "x86_64-w64-windows-gnu", "i686-w64-windows-gnu",
           "x86_64-pc-windows-msvc", "i686-pc-windows-msvc"]
MAJOR = "version QMX_IC_VERSION_MAJOR = "


class Compiler:
    def __init__(self, clang, folder):
        self.command = [clang, "-I", str(folder), "-ffreestanding", "-x"]

    def run(self, language, *options, source='#include "qmx_ic.h"\n'):
        done = subprocess.run(self.command + [language, "-std=c++11" if language == "c++" else "-std=c99",
                                              *options, "-"], input=source, capture_output=True, text=True)
        if done.returncode:
            sys.exit(f"the header does not compile:\n{done.stderr}")
        return done.stdout

    def tree(self, language, **source):
        return json.loads(self.run(language, "-fsyntax-only", "-Xclang", "-ast-dump=json", **source))["inner"]

    def declarations(self, language):
        """What the header declares beyond the two headers of the system that it includes."""
        known = system_names(self.command[0], language)
        return [n for n in flattened(self.tree(language)) if (n["kind"], n.get("name")) not in known]


@functools.cache
def system_names(clang, language):
    return {(n["kind"], n.get("name")) for n in Compiler(clang, ROOT).tree(language, source=SYSTEM_HEADERS)}


def flattened(nodes):
    for node in nodes:
        if node["kind"] == "LinkageSpecDecl":
            yield from flattened(node.get("inner", []))
        else:
            yield node


def of_kind(node, kind):
    return [inner for inner in node.get("inner", []) if inner["kind"] == kind]


def versions(compiler):
    names = sorted(re.findall(r"^#define (QMX_IC_VERSION(?:_[A-Z]+)?) ", compiler.run("c", "-E", "-dM"), re.M))
    source = '#include "qmx_ic.h"\n' + "".join(f'"{name}" {name}\n' for name in names)
    for name, value in re.findall(r'^"(\w+)" (.*)$', compiler.run("c", "-E", source=source), re.M):
        if '"' in value:
            value = f'"{"".join(ast.literal_eval(part) for part in value.split())}"'
        elif name.endswith("NUMBER"):
            value = str(eval(value, {"__builtins__": {}}))  # sums and products of numbers
        yield f"version {name} = {value}"


def constants(nodes):
    for node in nodes:
        if node["kind"] == "EnumDecl":
            for entry in of_kind(node, "EnumConstantDecl"):
                yield f"constant {entry['name']} = {of_kind(entry, 'ConstantExpr')[0]['value']}"


def records(compiler, names):
    """Offset, name and type of each field, as the compiler lays them out for each target."""
    found = {}
    for target in TARGETS:
        text = compiler.run("c", f"--target={target}", "-fsyntax-only", "-Xclang", "-fdump-record-layouts-complete")
        lines = []
        for block in text.split("*** Dumping AST Record Layout")[1:]:
            name = re.search(r"\| struct (\w+)", block).group(1)
            if name not in names:
                continue
            size, alignment = re.search(r"\[sizeof=(\d+), align=(\d+)", block).groups()
            lines.append(f"record {name}: {size} bytes, aligned to {alignment}")
            for offset, words in re.findall(r"^\s*(\d+) \|   (.+)$", block, re.M):
                kind, field = words.rsplit(" ", 1)
                lines.append(f"record {name} at {offset}: {field}, {kind}")
        found[target] = lines
    for target in TARGETS[1:]:
        if found[target] != found[TARGETS[0]]:
            sys.exit(f"records are laid out differently for {TARGETS[0]} and {target}:\n"
                     + "\n".join(difflib.unified_diff(found[TARGETS[0]], found[target], lineterm="", n=0)))
    return found[TARGETS[0]]


def functions(nodes, never_throws):
    for node in nodes:
        if node["kind"] == "FunctionDecl":
            name, names = node["name"], [p["name"] for p in of_kind(node, "ParmVarDecl")]
            yield f"function {name}: {node['type']['qualType']}" + (", no exceptions" if never_throws[name] else "")
            yield f"arguments of {name}: {', '.join(names)}"


def library_names(library, nm, objdump):
    headers = subprocess.run([objdump, "-p", library], capture_output=True, text=True, check=True).stdout
    yield f"loaded as {re.search(r'SONAME +(.+)', headers).group(1).strip()}"
    shown = subprocess.run([nm, "-D", "--defined-only", "--format=posix", library], capture_output=True,
                           text=True, check=True).stdout
    for line in sorted(shown.splitlines()):
        name, kind = line.split()[:2]
        yield f"symbol {name} {kind}"


def description(options):
    compiler = Compiler(options.clang, options.include)
    nodes = compiler.declarations("c")
    never_throws = {n["name"]: n["type"]["qualType"].endswith("noexcept")
                    for n in compiler.declarations("c++") if n["kind"] == "FunctionDecl"}
    names = {n["name"] for n in nodes if n["kind"] == "RecordDecl" and n.get("name")}
    parts = [versions(compiler), constants(nodes), records(compiler, names), functions(nodes, never_throws),
             library_names(options.library, options.nm, options.objdump)]
    return [line for part in parts for line in part]


def breaks(stored, present, raised):
    """What a host that was compiled before may rely on and no longer finds."""
    follows = ("version ", "arguments ") + (("loaded as ",) if raised else ())
    return [line for line in stored if line not in set(present) and not line.startswith(follows)]


def major(lines):
    return next((line for line in lines if line.startswith(MAJOR)), "")


def main(arguments=None):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    what = parser.add_mutually_exclusive_group(required=True)
    what.add_argument("--check", action="store_true")
    what.add_argument("--write", action="store_true")
    parser.add_argument("--unreleased", action="store_true")
    parser.add_argument("--clang", default="clang-14")
    parser.add_argument("--nm", default="nm")
    parser.add_argument("--objdump", default="objdump")
    parser.add_argument("--include", default=ROOT / "include", type=pathlib.Path)
    parser.add_argument("--stored", default=STORED, type=pathlib.Path)
    parser.add_argument("library")
    options = parser.parse_args(arguments)

    present = description(options)
    stored = options.stored.read_text(encoding="utf-8").splitlines() if options.stored.exists() else []
    raised = bool(stored) and major(stored) != major(present)
    broken = breaks(stored, present, raised)
    told = []
    if broken and not raised:
        told.append("This breaks hosts that were compiled before:\n  " + "\n  ".join(broken)
                    + "\nTake it back, or raise QMX_IC_VERSION_MAJOR.")
    elif raised and not broken:
        told.append("QMX_IC_VERSION_MAJOR is raised, but no host breaks: leave it.")
    if options.write:
        if told and not options.unreleased:
            sys.exit("\n".join(told))
        options.stored.write_text("\n".join(present) + "\n", encoding="utf-8")
        return
    if present != stored:
        told += list(difflib.unified_diff(stored, present, "stored", "present", lineterm="", n=1))
        told.append(f"If this is meant: tools/contract.py --write {options.library}")
        sys.exit("\n".join(told))
    print(f"{len(present)} lines of the contract hold")


if __name__ == "__main__":
    main()
