"""Inputs that change while they are read, break off, or promise what they do not hold."""

import errno
import gzip
import os
import re
import sqlite3
import struct
import subprocess
import sys
import unittest

from scenes import LONG, OLD, PROGRAM, Scene, has_spatial_formats
from stand import Stand

CHANGED = ("changed while it was being read",)


def shorten(file):
    os.truncate(file, file.stat().st_size // 2)


def lengthen(file):
    with open(file, "ab") as opened:
        opened.write(file.read_bytes()[-200:])


def add_a_line(file):  # which changes the hash alone
    with open(file, "ab") as opened:
        opened.write(b"\n")


def write_again(file):
    file.write_bytes(file.read_bytes()[::-1])


def replace(file):
    other = file.with_name("other")
    other.write_bytes(file.read_bytes()[: file.stat().st_size // 3])
    os.utime(other, (1, 1))
    other.rename(file)


class Input(unittest.TestCase):
    def scene(self, name):
        made = Scene(name)
        self.addCleanup(made.close)
        return made

    def test_a_file_that_cannot_be_read_to_its_end_gives_no_answer(self):
        for name in ["stats", "select", "spots", "report", *(["vector"] if has_spatial_formats() else [])]:
            scene = self.scene(name)
            wrong = []
            with Stand(PROGRAM, scene.arguments, scene.folder, scene.kept) as stand:
                calls = stand.run("read").calls
                for nth in range(1, calls + 1):
                    for lasting in (False, True):
                        scene.reset()
                        ending = stand.run("read", nth, lasting, errno.EIO)
                        wrong += [f"{name}, read {nth} of {calls}: {each}" for each in scene.faults_of(ending)]
            self.assertEqual(wrong, [])

    def change_while_reading(self, name, file, change, words, is_refused=True):
        scene = self.scene(name)
        wrong, ends = [], set()
        with Stand(PROGRAM, scene.arguments, scene.folder, scene.kept) as stand:
            calls = stand.run("stop", 0).calls
            for nth in range(1, calls + 1, 1 if LONG else max(1, calls // 25)):
                scene.reset()
                (scene.folder / file).write_bytes(scene.inputs[file])
                os.utime(scene.folder / file, (1_000_000_000, 1_000_000_000))
                ending = stand.run("stop", nth, at_stop=lambda _: change(scene.folder / file))
                ends.add(ending.code)
                changed = (scene.folder / file).read_bytes() if (scene.folder / file).exists() else None
                (scene.folder / file).write_bytes(scene.inputs[file])
                # Changed behind the last look, the answer is that of the file as it was; before it was
                # opened, it is another file.
                found = scene.faults_of(ending, words)
                if found and ending.code == 0 and changed is not None:
                    made = scene.changes()
                    answer = self.answer_to(scene, file, changed)
                    if answer.out == ending.out and scene.changes() == made:
                        continue
                wrong += [f"{change.__name__} at call {nth} of {calls}: {each}" for each in found]
        self.assertEqual(wrong, [])
        self.assertEqual(2 in ends, is_refused, ends)

    def answer_to(self, scene, file, content):
        (scene.folder / file).write_bytes(content)
        try:
            return scene.end()
        finally:
            (scene.folder / file).write_bytes(scene.inputs[file])

    def test_a_text_that_changes_gives_no_answer(self):
        for change in (shorten, lengthen, write_again):
            with self.subTest(change.__name__):
                self.change_while_reading("stats", "lot.csv", change, ["changed", "reading stopped", "lot.csv"])

    def test_a_packed_text_that_changes_gives_no_answer(self):
        self.change_while_reading("select", "lot.csv.gz", shorten, ["changed", "breaks off", "lot.csv"])

    def test_a_file_that_is_replaced_or_removed_is_read_as_it_was_opened(self):
        for change in (replace, os.remove):
            self.change_while_reading("stats", "lot.csv", change, ["lot.csv"], is_refused=change is os.remove)

    def test_hashes_are_those_of_the_areas_and_jobs_that_were_read(self):
        for file in ("lot-alignment.csv", "job.toml"):
            with self.subTest(file):
                self.change_while_reading("report", file, add_a_line, [*CHANGED, file])

    def test_cells_are_those_of_the_file_that_the_report_read(self):
        self.change_while_reading("report", "lot.csv", replace, ["lot.csv"])

    @unittest.skipUnless(has_spatial_formats(), "needs the libraries of spatial formats")
    def test_a_spatial_file_that_changes_gives_no_answer(self):
        for change in (shorten, replace):
            self.change_while_reading("vector", "lot.gpkg", change, ["lot.gpkg"])

    # ---- what no table has ----

    def test_ten_thousand_columns(self):
        scene = self.scene("columns")
        columns = 10_000
        names = ["x", "y", "CMV", *(f"more{i}" for i in range(columns - 3))]
        rows = [[str(i % 10), str(i // 10), str(40 + i % 7), *(["1"] * (columns - 3))] for i in range(60)]
        text = "\n".join(",".join(row) for row in [names, *rows]) + "\n"
        (scene.folder / "wide.csv").write_text(text, encoding="utf-8")
        done = scene.end(["stats", "wide.csv", "--json"], timeout=60)
        self.assertEqual(done.code, 0, done.err)
        self.assertIn(b'"rows_used": 60', done.out)
        done = scene.end(["select", "wide.csv", "--circle", "5,3,100", "--output", "kept.csv"], timeout=60)
        self.assertEqual((scene.folder / "kept.csv").read_text(encoding="utf-8"), text)

    def feed(self, arguments, pieces):
        """A run that is fed through a pipe, with its greatest memory in MB."""
        process = subprocess.Popen(["/usr/bin/env", "python3", "-c", MEASURED, PROGRAM, *arguments],
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        try:
            for piece in pieces:
                process.stdin.write(piece)
        except BrokenPipeError:
            pass
        out, err = process.communicate()
        memory = int(out.rsplit(b"\n", 2)[-2])
        return process.returncode, err, memory

    def test_a_line_of_a_gigabyte(self):
        head = b"x,y,CMV\n1,2,3\n"
        piece = b"12345678" * 131072
        for name, pieces in {"first line": [piece] * 1024, "third line": [head, *[piece] * 1024],
                             "quotation": [head, b'1,2,"', *[piece] * 1024],
                             "quoted lines": [head, b'1,2,"', *[piece + b"\n"] * 1024]}.items():
            for arguments in (["stats", "-"],) if name != "third line" else (["stats", "-"], ["columns", "-"]):
                code, err, memory = self.feed(arguments, pieces)
                self.assertEqual(code, 2, name)
                self.assertRegex(err.decode(), "line [123].*(MB|further on)", name)
                self.assertLess(memory, 600, name)

    def test_a_gigabyte_of_nothing(self):
        scene = self.scene("stats")
        with open(scene.folder / "hole.csv", "wb") as hole:
            hole.truncate(1 << 30)
        with open(scene.folder / "late.csv", "wb") as late:
            late.write(b"x,y,CMV\n1,2,3\n2,3,4\n")
            late.truncate(1 << 30)
        packed = gzip.compress(bytes(1 << 24), mtime=0) * 64
        (scene.folder / "packed.csv.gz").write_bytes(packed)
        for name in ("hole.csv", "late.csv", "packed.csv.gz"):
            for arguments in (["stats", name], ["coverage", "lot.csv", "--area", name],
                              ["spots", "lot.csv", name, "--radius", "1"]):
                done = scene.end(arguments, timeout=100)
                self.assertEqual(done.code, 2, arguments)
                self.assertIn(name.encode(), done.err)

    def test_null_bytes_are_no_digits(self):
        scene = self.scene("stats")
        rows = [f"{i},{i % 3},{i % 5}" for i in range(40)]
        rows[7], rows[11], rows[13] = "7,1\0,2", "11,2,1\0", "\0" * 9
        (scene.folder / "null.csv").write_text("\n".join(["x,y,CMV", *rows]) + "\n", encoding="utf-8")
        done = scene.end(["stats", "null.csv", "--json"])
        self.assertEqual(done.code, 0, done.err)
        for told in (b'"rows_read": 40', b'"rows_used": 38', b'"rows_dropped": 2', b'"rows_without_position": 1'):
            self.assertIn(told, done.out)
        (scene.folder / "head.csv").write_bytes(b"x,y,C\0MV\n1,2,3\n")
        done = scene.end(["stats", "head.csv"])
        self.assertEqual(done.code, 2, done.out)

    @unittest.skipUnless(has_spatial_formats(), "needs the libraries of spatial formats")
    def test_more_rows_promised_than_there_are(self):
        scene = self.scene("vector")
        truth = scene.end(["stats", "lot.gpkg", "--all-records", "--json"]).out
        rows = int(re.search(rb'"rows_read": (\d+)', truth)[1])
        for promised in (2**31 - 1, 2**31, 2**32, 2**62, 0, 7, -5):
            file = sqlite3.connect(scene.folder / "lot.gpkg")
            file.execute("update gpkg_ogr_contents set feature_count = ?", (promised,))
            file.commit()
            file.close()
            done = scene.end(["stats", "lot.gpkg", "--all-records", "--json"])
            self.assertEqual(done.code, 0, (promised, done.err))
            self.assertIn(b'"rows_read": %d' % rows, done.out)
            self.assertEqual(b"promises" in done.out, promised > rows, promised)


# The greatest memory of what it starts, as the last line.
MEASURED = """
import resource, subprocess, sys
code = subprocess.run(sys.argv[1:]).returncode
print()
print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss // 1024)
sys.exit(code)
"""

if __name__ == "__main__":
    unittest.main()
