#!/usr/bin/env python3
"""Compares what the library returns on two platforms for random lots, byte by byte.

    compare_lots.py --count N --here PROGRAM --there COMMAND...

The two programs are made of random_lots.cpp. Where a call differs, the values that do are shown.
"""

import argparse
import subprocess
import sys


def lines_of(command):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        sys.exit(f"{' '.join(command)}: exit code {done.returncode}\n{done.stderr}")
    return done.stdout.splitlines()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--count", type=int, required=True)
    parser.add_argument("--here", required=True)
    parser.add_argument("--there", nargs=argparse.REMAINDER, required=True)
    asked = parser.parse_args()

    here = lines_of([asked.here, str(asked.count)])
    there = lines_of([*asked.there, str(asked.count)])
    if len(here) != asked.count or len(there) != asked.count:
        sys.exit(f"{asked.count} calls were asked for; {len(here)} here and {len(there)} there were made")
    different = [k for k in range(asked.count) if here[k] != there[k]]
    for k in different[:20]:
        print(f"here:  {here[k]}\nthere: {there[k]}")
    if different:
        first = ["--call", str(different[0])]
        values = zip(lines_of([asked.here, *first]), lines_of([*asked.there, *first]))
        for left, right in [pair for pair in values if pair[0] != pair[1]][:20]:
            print(f"  here {left}   there {right}")
        sys.exit(f"{len(different)} of {asked.count} calls differ")
    called = len({line.split()[1] for line in here})
    print(f"{asked.count} calls of {called} exports: the same bytes")


if __name__ == "__main__":
    main()
