"""Runs every code block of README.md, docs/*.md and docs/guide/*.md, each page in a folder of its own, and
compares what the blocks show with what comes out. Lists what it did with each.

    check_blocks.py --program build/dev/qmx-ic [--python PYTHON] [--update] [PAGE...]

A block says by its language what becomes of it:
    console   lines "$ command" with the output below; a line "…" stands for any lines left out
    sh        is run
    python    the blocks of a page are one program for the Python that has the package
A comment <!-- ... --> right before a block may add or say instead:
    before: SHELL        runs first
    run: SHELL           runs instead; $BLOCK is a file with the block
    output of: SHELL     the block is part of its output
    form: SHELL          looks at a block that would take too long, which the list says
    test: FILE "TEXT"    another test runs this, the named one, in which TEXT stands
--update writes the present output of console blocks into the pages."""

import argparse
import dataclasses
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
OMITTED = "…"
MISSING = 77


@dataclasses.dataclass
class block:
    line: int  # of the fence, from 1
    language: str
    text: str
    orders: list  # (word, what), of the comment before it


def comment_before(lines, start):
    """The comment that ends right above a line, blank lines left out of account."""
    end = start
    while end > 0 and not lines[end - 1].strip():
        end -= 1
    if end == 0 or not lines[end - 1].rstrip().endswith("-->"):
        return ""
    first = end - 1
    while first > 0 and "<!--" not in lines[first]:
        first -= 1
    return "\n".join(lines[first:end]).split("<!--")[1].rsplit("-->")[0].strip()


def orders_of(comment):
    """before:, run: and the others: they reach to the next of them."""
    parts = re.split(r"^(before|run|form|output of|test):\s*", comment, flags=re.M)
    return list(zip(parts[1::2], (part.strip() for part in parts[2::2])))


def blocks_of(text):
    lines = text.split("\n")
    found = []
    i = 0
    in_list = False
    while i < len(lines):
        fence = re.match(r"(```+)(\S*)\s*$", lines[i])
        if fence:
            end = next(k for k in range(i + 1, len(lines)) if lines[k].rstrip() == fence[1])
            found.append(block(i + 1, fence[2], "\n".join(lines[i + 1 : end]), orders_of(comment_before(lines, i))))
            i = end
        elif re.match(r"\s*([-*]|\d+\.) ", lines[i]):
            in_list = True
        elif lines[i].startswith("    ") and not in_list and not lines[i - 1].strip():
            end = next((k for k in range(i, len(lines)) if lines[k].strip() and not lines[k].startswith("    ")), len(lines))
            inside = "\n".join(line[4:] for line in lines[i:end]).rstrip()
            found.append(block(i + 1, "indented", inside, orders_of(comment_before(lines, i))))
            i = end - 1
        elif lines[i].strip() and not lines[i].startswith(" "):
            in_list = False
        i += 1
    return found


def has_shape(shown, printed, open_ends=False):
    """Whether printed lines are those shown, with lines left out where OMITTED stands."""
    parts, part = [], []
    for line in shown:
        if line.strip() == OMITTED:
            parts.append(part)
            part = []
        else:
            part.append(line.rstrip())
    parts.append(part)
    if open_ends:
        parts = [[], *parts, []]
    printed = [line.rstrip() for line in printed]
    if len(parts) == 1:
        return parts[0] == printed
    first, last = parts[0], parts[-1]
    if printed[: len(first)] != first or (last and printed[-len(last) :] != last):
        return False
    at, end = len(first), len(printed) - len(last)
    for part in parts[1:-1]:
        places = [k for k in range(at, end - len(part) + 1) if printed[k : k + len(part)] == part]
        if not places:
            return False
        at = places[0] + len(part)
    return at <= end


class page:
    def __init__(self, path, options, folder):
        self.path, self.options, self.folder = path, options, folder
        self.text = path.read_text()
        self.done, self.faults = [], []
        self.python = []
        self.is_lacking = False
        program = options.program.resolve()
        self.environment = {
            **os.environ,
            # The system's own Python comes first: it is the one that has NumPy.
            "PATH": f"{program.parent}:/usr/bin:{os.environ['PATH']}",
            "LC_ALL": "C.UTF-8",
            "MPLBACKEND": "Agg",
            "QMX_IC_PROGRAM": str(program),
            "QMX_IC_LIBRARY_FOLDER": str(program.parent),
            "ROOT": str(ROOT),
        }
        self.environment.pop("COLUMNS", None)

    def shell(self, command, **extra):
        done = subprocess.run(
            ["bash", "-euo", "pipefail", "-c", command], cwd=self.folder, text=True, stdin=subprocess.DEVNULL,
            env={**self.environment, **extra}, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
        )  # fmt: skip
        return done.returncode, done.stdout

    def fault(self, one, message):
        self.faults.append(f"{self.path.relative_to(ROOT)}, line {one.line}: {message}")

    def succeed(self, one, command, **extra):
        code, printed = self.shell(command, **extra)
        if code != 0:
            self.fault(one, f"ended with {code}:\n{printed}")
        return printed

    def console(self, one):
        """Runs each command; returns the block with the present output where it differs."""
        made = []
        lines = one.text.split("\n")
        at = 0
        while at < len(lines):
            command = [lines[at]]
            if not lines[at].startswith("$ "):
                self.fault(one, f'a console block starts with "$ ", not with "{lines[at]}"')
                return one.text
            while command[-1].endswith("\\"):
                at += 1
                command.append(lines[at])
            end = next((k for k in range(at + 1, len(lines)) if lines[k].startswith("$ ")), len(lines))
            shown = lines[at + 1 : end]
            printed = self.succeed(one, "\n".join(command)[2:]).rstrip("\n").split("\n")
            printed = [] if printed == [""] else printed
            if not has_shape(shown, printed):
                if not self.options.update:
                    self.fault(one, f"{' '.join(command)} printed\n" + "\n".join(printed))
                shown = printed
            made += [*command, *(line.rstrip() for line in shown)]
            at = end
        return "\n".join(made)

    def do(self, one):
        did = []
        for word, what in one.orders:
            if word == "before":
                self.succeed(one, what)
            elif word in ("run", "form"):
                file = self.folder / f"block{one.line}"
                file.write_text(one.text + "\n")
                self.succeed(one, what, BLOCK=str(file))
                did.append("run" if word == "run" else "NOT RUN, looked at for its form")
            elif word == "output of":
                if not has_shape(one.text.split("\n"), self.succeed(one, what).split("\n"), open_ends=True):
                    self.fault(one, f"{what} does not print this")
                did.append("compared")
            else:
                name, text = re.fullmatch(r'(\S+) "(.*)"', what).groups()
                if not (ROOT / name).is_file() or text not in (ROOT / name).read_text():
                    self.fault(one, f'"{text}" does not stand in {name}')
                did.append(f"left to {name}")
        if did:
            return " and ".join(did)
        if one.language == "console":
            made = self.console(one)
            if made != one.text:
                self.text = self.text.replace(f"```console\n{one.text}\n```", f"```console\n{made}\n```")
            return f"{sum(line.startswith('$ ') for line in one.text.split(chr(10)))} commands run and compared"
        if one.language == "sh":
            (self.folder / "printed").write_text(self.succeed(one, one.text))
            return "run"
        if one.language == "python":
            self.python.append(one)
            return "run with the others of the page"
        self.fault(one, f"nothing is said of what runs this block ({one.language or 'without language'})")
        return "NOT RUN"

    def run_python(self):
        if not self.python:
            return
        interpreter = self.options.python
        code, _ = self.shell(f"'{interpreter}' -c 'import qmx_ic'")
        if code != 0:
            self.is_lacking = True
            self.done.append(f"NOT RUN: the Python blocks, since {interpreter} has no package qmx_ic")
            return
        text = "\n".join(one.text for one in self.python)
        self.succeed(self.python[0], f"'{interpreter}' -W error::SyntaxWarning -c \"$PROGRAM\"", PROGRAM=text)

    def check(self):
        for one in blocks_of(self.text):
            self.done.append(f"{self.path.relative_to(ROOT)}, line {one.line}: {self.do(one)}")
        self.run_python()
        if self.options.update:
            self.path.write_text(self.text)


def commands_without_example(program):
    """The commands that --help lists and no guide shows."""
    told = subprocess.run([program, "--help"], check=True, capture_output=True, text=True).stdout
    commands = re.findall(r"^  ([a-z]+)  +[A-Z]", told.split("Subcommands:")[1], re.M)
    guides = "".join(path.read_text() for path in ROOT.glob("docs/guide/*.md"))
    return [one for one in commands if not re.search(rf"^\$ qmx-ic {one} ", guides, re.M)] if commands else ["--help"]


def main():
    options = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    options.add_argument("pages", nargs="*", type=pathlib.Path)
    options.add_argument("--program", type=pathlib.Path, required=True)
    options.add_argument("--python", default=str(ROOT / "build/python/test/bin/python"))
    options.add_argument("--update", action="store_true")
    options = options.parse_args()
    pages = options.pages or [ROOT / "README.md", *sorted(ROOT.glob("docs/*.md")), *sorted(ROOT.glob("docs/guide/*.md"))]

    faults = [f"no guide has an example of qmx-ic {one}" for one in commands_without_example(options.program)]
    is_lacking = False
    number = 0
    for path in pages:
        with tempfile.TemporaryDirectory() as folder:
            one = page(path.resolve(), options, pathlib.Path(folder))
            one.check()
        print("\n".join(one.done)) if one.done else None
        number += len(one.done)
        faults += one.faults
        is_lacking = is_lacking or one.is_lacking
    print(f"{number} blocks in {len(pages)} pages")
    if faults:
        sys.exit("\n".join(faults))
    if is_lacking:
        sys.exit(1 if os.environ.get("QMX_IC_NEEDS_HOSTS") == "1" else MISSING)


main()
