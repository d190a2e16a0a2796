#!/usr/bin/env python3
"""Rows that the program reads against those that Python's csv module reads, on generated dirty files.

Every file is either refused (exit code 2) or accounted for: rows read = rows used + dropped + left out,
and rows read is what csv.reader finds, empty lines and the head aside.

Usage: check_rows.py PROGRAM [FILES]
"""

import csv
import io
import json
import pathlib
import random
import subprocess
import sys
import tempfile

PIECES = ["1", "2.5", "-3", "", " ", "note", "12\" pipe", "\"quoted\"", "\"a, b\"", "\"two\nlines\"",
          "\"say \"\"so\"\"\"", "\"open", "clo\"se\"", "?", "overrange", "4O.2", "-9999", "é", "2.7km/h"]


def dirty_text(random_one):
    clean = random_one.random()
    # A mark that stays open ends most runs: only every fourth file may hold one.
    pieces = PIECES if random_one.random() < 0.25 else [p for p in PIECES if p != "\"open"]
    separator = random_one.choice([",", ";", "\t"])
    end = random_one.choice(["\n", "\r\n"])
    lines = [separator.join(["x", "y", "CMV", "note"])]
    for i in range(random_one.randrange(4, 60)):
        fields = [str(i), str(i * 0.5), str(40 + i % 7), "ok"]
        for k in range(4):
            if random_one.random() > max(clean, 0.7):
                fields[k] = random_one.choice(pieces)
        if random_one.random() < 0.03:
            fields.pop()
        if random_one.random() < 0.03:
            fields.append("more")
        lines.append(separator.join(fields))
        if random_one.random() < 0.05:
            lines.append("")
    return separator, end.join(lines) + random_one.choice(["", end])


def rows_by_csv(text, separator):
    rows = list(csv.reader(io.StringIO(text, newline=""), delimiter=separator))
    return len([row for row in rows if row]) - 1


def account_of(program, command, path):
    """The account of the rows, None where the file is refused."""
    end = subprocess.run([program, command, "--value", "CMV", "--json", str(path)],
                         capture_output=True)
    if end.returncode in (1, 2):
        return None
    if end.returncode != 0:
        raise SystemExit(f"{command}: exit code {end.returncode}\n{end.stderr.decode()}")
    return json.loads(end.stdout)["input"]


def fault_in(account, wanted):
    parts = ["rows_used", "rows_dropped", "rows_left_out_by_filter", "rows_of_earlier_passes",
             "rows_left_without_position"]
    told = sum(account[part] for part in parts)
    if account["rows_read"] != wanted or told != wanted:
        return f"csv finds {wanted} rows, read {account['rows_read']}, accounted for {told}"
    reasons = sum(reason["count"] for reason in account["dropped"])
    if reasons != account["rows_dropped"]:
        return f"{account['rows_dropped']} rows dropped, reasons for {reasons}"
    return None


def main():
    program, files = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 250
    refused = read = 0
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "dirty.csv"
        for seed in range(files):
            separator, text = dirty_text(random.Random(seed))
            path.write_bytes(text.encode("utf-8"))
            account = account_of(program, "columns", path)
            if account is None:
                refused += 1
                continue
            fault = fault_in(account, rows_by_csv(text, separator))
            analysed = account_of(program, "stats", path)
            if not fault and analysed and analysed != account:
                fault = f"columns and stats differ:\n{account}\n{analysed}"
            if fault:
                sys.exit(f"file {seed}: {fault}\n{text}")
            read += 1
    print(f"{read} files read as csv reads them, {refused} refused")
    if read < files // 4:
        sys.exit("too few files are read to say anything")


if __name__ == "__main__":
    main()
