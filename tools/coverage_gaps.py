#!/usr/bin/env python3
"""Lists lines and branches that no test reached, from gcovr's raw counts, and fails below what is promised.

A line or branch of a template counts as reached if any instance reached it. gcov knows the branches that
only a throw takes in code that ran, not in an instance that never did: what one instance knows holds for all.
"""
import argparse
import json
import sys
from pathlib import Path


def merged(file):
    """{line: [times it ran, {branch: times taken}]} over all instances, without throws and exclusions."""
    lines, thrown = {}, set()
    for line in file["lines"]:
        if line.get("gcovr/excluded"):
            continue
        ran, taken = lines.setdefault(line["line_number"], [0, {}])
        lines[line["line_number"]][0] = ran + line["count"]
        for branch in line["branches"]:
            if branch.get("gcovr/excluded"):
                continue
            place = tuple(-1 if branch.get(key) is None else branch[key]
                          for key in ("source_block_id", "branchno"))
            taken[place] = taken.get(place, 0) + branch["count"]
            if branch["throw"]:
                thrown.add((line["line_number"], place))
    for number, place in thrown:
        lines[number][1].pop(place, None)
    return lines


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("counts", type=Path, help="JSON of gcovr, with branches of throws")
    parser.add_argument("list", type=Path, help="where to write the list of gaps")
    parser.add_argument("--least-lines", type=float, default=0)
    parser.add_argument("--least-branches", type=float, default=0)
    a = parser.parse_args()
    lines = branches = missed_lines = missed_branches = 0
    gaps = []
    for file in sorted(json.loads(a.counts.read_text())["files"], key=lambda file: file["file"]):
        text = Path(file["file"]).read_text().splitlines()
        for number, (ran, taken) in sorted(merged(file).items()):
            lines, branches = lines + 1, branches + len(taken)
            missed = sum(count == 0 for count in taken.values())
            missed_lines, missed_branches = missed_lines + (ran == 0), missed_branches + missed
            if ran == 0 or missed:
                shown = "".join("+" if taken[place] else "-" for place in sorted(taken)) if ran else "line"
                gaps.append(f"{file['file']}:{number}: {shown[:24]:8} {text[number - 1].strip()}\n")
    a.list.write_text("".join(gaps))
    if not lines or not branches:
        sys.exit("nothing was counted")
    reached = [100 * (1 - missed_lines / lines), 100 * (1 - missed_branches / branches)]
    print(f"{reached[0]:.2f} % of {lines} lines ({missed_lines} missed), "
          f"{reached[1]:.2f} % of {branches} branches ({missed_branches} missed)")
    sys.exit(reached[0] < a.least_lines or reached[1] < a.least_branches)


if __name__ == "__main__":
    main()
