#!/usr/bin/env python3
"""Finds words in the sources of study/ that reach a report and have no template in report/texts.json.

    tests/report/check_said.py

A text is put together of literals with places for values. Each stretch of words between such places has to
stand in some template's English form. Looked at are all statements that leave a note, and whole files where
most of the texts are for reports, but for what is only thrown out of the program.
"""

import json
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]

# All texts of these reach a report; those thrown too where the word beside it says so: a part of a
# report that ends with an error is missing for that reason.
WHOLE = {
    "analyses/report_cautions.cpp": "",
    "analyses/verdicts.cpp": "",
    "analyses/report.cpp": "thrown",
    "analyses/lot_notes.cpp": "",
    "analyses/spot_notes.cpp": "",
    "analyses/semivariogram_notes.cpp": "",
    "analyses/area_selection.cpp": "thrown",
    "analyses/coverage.cpp": "thrown",
    "analyses/curve.cpp": "thrown",
    "analyses/road.cpp": "thrown",
    "analyses/road_frame.cpp": "thrown",
    "analyses/semivariogram.cpp": "thrown",
    "analyses/spots.cpp": "thrown",
    "analyses/stats.cpp": "thrown",
    "shapes/coverage_areas.cpp": "thrown",
    "lot/value_range.cpp": "thrown",
    "lot/row_screen.cpp": "",
}
# Their notes are for commands of their own.
NO_REPORT = {"analyses/grid.cpp", "analyses/fit.cpp", "analyses/select.cpp"}
# Ends of commands' own questions, which no report asks.
NEVER_ASKED = [
    "--levels", "--target-percent", "--target-coverage", "--below", "--tolerance", "--bandwidth",
    "--azimuth", "--value-scale", "needs --target", "--bins", "proposed", "from the diagonal",
    "stray points", "and their spacing", "as named", "US survey ft",
]

TOKEN = re.compile(
    r"//[^\n]*|/\*.*?\*/|#[^\n]*"
    r'|(?P<text>"(?:[^"\\]|\\.)*")'
    r"|'(?:[^'\\]|\\.)*'|(?P<end>[;{}])|(?P<code>[^\"'/;{}#]+|/)",
    re.S,
)


def statements(source):
    """Code and joined literals of each statement."""
    code, literals, joins = "", [], False
    for found in TOKEN.finditer(source):
        if found["text"]:
            text = found["text"][1:-1].replace("\\n", "\n").replace('\\"', '"')
            literals[-1:] = [literals[-1] + text] if joins else literals[-1:] + [text]
            joins = True
        elif found["end"]:
            yield code, literals
            code, literals, joins = "", [], False
        elif found["code"]:
            if found["code"].strip():
                code, joins = code + found["code"], False
    yield code, literals


def stretches(literal):
    """The words between places, where they are at least two; a key is none."""
    if re.fullmatch(r"[a-z0-9_]+", literal):
        return
    for part in re.split(r"\{[^{}]*\}", literal):
        if len(re.findall(r"[A-Za-z]{2,}", part)) >= 2:
            yield part.strip()


def main():
    texts = json.loads((ROOT / "report/texts.json").read_text(encoding="utf-8"))
    families = ("said", "dropped", "example", "filter", "range", "from")
    told = [text["en"] for key, text in texts.items() if key.split(".")[0] in families]
    untold, seen = [], 0
    for path in sorted((ROOT / "study").rglob("*.cpp")):
        name = path.relative_to(ROOT / "study").as_posix()
        if name in NO_REPORT:
            continue
        for code, literals in statements(path.read_text(encoding="utf-8")):
            is_thrown = bool(re.search(r"\bthrow\b", code))
            if name in WHOLE:
                if is_thrown and WHOLE[name] != "thrown":
                    continue
            elif is_thrown or not re.search(r"notes\.push_back|drops?\.add|counter\.add|return drop", code):
                continue
            for literal in literals:
                for words in stretches(literal):
                    seen += 1
                    if any(part in words or part in " ".join(literals) for part in NEVER_ASKED):
                        continue
                    if not any(words in text for text in told):
                        untold.append(f"study/{name}: \"{words}\"")
    for line in untold:
        print(f"no template in report/texts.json: {line}")
    print(f"{seen} stretches of words, {len(untold)} without a template")
    sys.exit(1 if untold or seen < 150 else 0)


if __name__ == "__main__":
    main()
