"""What the system gives a program: streams, memory, file handles, a clock, a home, a place for temporary files."""

import fcntl
import os
import pathlib
import re
import resource
import subprocess
import tempfile
import unittest

from scenes import LONG, OLD, PROGRAM, Scene
from stand import SHIM


def closing(*streams):
    def close():
        for stream in streams:
            os.close(stream)

    return close


class Surroundings(unittest.TestCase):
    def scene(self, name):
        made = Scene(name)
        self.addCleanup(made.close)
        return made

    # ---- streams ----

    def test_streams_that_are_closed_are_no_files_of_the_run(self):
        for name in ("stats", "grid", "generate", "report"):
            scene = self.scene(name)
            for closed in ((0,), (1,), (2,), (0, 1, 2)):
                with self.subTest(f"{name} without {closed}"):
                    scene.reset()
                    shell = " ".join(f"{stream}>&-" for stream in closed)
                    done = subprocess.run(f"'{PROGRAM}' {' '.join(scene.arguments)} {shell}", shell=True,
                                          cwd=scene.folder, capture_output=True)
                    self.assertEqual(done.returncode, 2 if 1 in closed else 0)
                    left = scene.changes()
                    self.assertEqual({name: left.get(name) for name in scene.outputs},
                                     {name: scene.made[name] for name in scene.outputs})
                    if closed == (1,):
                        self.assertTrue(done.stderr.startswith(b"qmx-ic: "), done.stderr)

    def test_no_place_for_a_message_is_no_crash(self):
        scene = self.scene("stats")
        for arguments, code in (("stats missing.csv", 2), ("stats missing.csv --json", 2), ("stats --nothing", 2),
                                ("curve lot.csv --max-pass 1", 1), ("stats lot.csv", 2)):
            for places in (">/dev/full 2>/dev/full", ">/dev/full 2>&-", ">&- 2>&-"):
                done = subprocess.run(f"'{PROGRAM}' {arguments} {places}", shell=True, cwd=scene.folder)
                self.assertIn(done.returncode, (code, 2), (arguments, places))

    def test_a_pipe_that_takes_nothing_more(self):
        scene = self.scene("stats")
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        self.addCleanup(os.close, writing)
        fcntl.fcntl(writing, fcntl.F_SETFL, os.O_NONBLOCK)
        try:
            while True:
                os.write(writing, bytes(65536))
        except BlockingIOError:
            pass
        done = subprocess.run([PROGRAM, "select", "lot.csv", "--circle", "432000,4862000,99", "--output", "-"],
                              cwd=scene.folder, stdout=writing, stderr=subprocess.PIPE)
        self.assertEqual(done.returncode, 2)
        self.assertIn(b"Resource temporarily unavailable", done.stderr)

    # ---- limits ----

    def test_less_and_less_memory(self):
        scene = self.scene("report")
        needed = None
        megabytes = [int(64 * 1.35**step) for step in range(12)]
        for limit in (resource.RLIMIT_AS, resource.RLIMIT_DATA):
            ends = []
            for most in megabytes:
                scene.reset()
                done = scene.end(preexec_fn=lambda: resource.setrlimit(limit, (most << 20, most << 20)))
                ends.append(done.code)
                if done.code == 127 and b"error while loading shared libraries" in done.err:
                    continue  # the program itself does not fit
                self.assertEqual(scene.faults_of(done, ["memory"], codes=(1,)), [], f"{most} MB")
            self.assertEqual(ends[-1], 0)

    def test_a_lot_that_memory_does_not_hold(self):
        scene = self.scene("stats")
        scene.call("generate", "big", "--points", "300000", "--final-coverage", "--spots", "0")
        room = self.address_space_of_a_small_run(scene)
        for extra in (4, 12, 25):
            most = room + (extra << 20)
            done = scene.end(["stats", "big.csv", "--json"],
                             preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (most, most)))
            if done.code == 0:
                continue
            self.assertEqual(done.code, 1, done)
            self.assertIn(b"not enough memory", done.err)
            self.assertIn(b'"qmx-ic/failure/1"', done.out)

    def address_space_of_a_small_run(self, scene):
        least, most = 1 << 20, 1 << 32
        while most - least > 1 << 20:
            middle = (least + most) // 2
            done = scene.end(["stats", "lot.csv"], preexec_fn=lambda: resource.setrlimit(
                resource.RLIMIT_AS, (middle, middle)))
            least, most = (least, middle) if done.code == 0 else (middle, most)
        return most

    def test_no_handles_for_files(self):
        scene = self.scene("report")
        ends = set()
        for most in (3, 4, 5, 6, 7, 8, 16):
            scene.reset()
            done = scene.end(preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (most, most)))
            ends.add(done.code)
            if done.code == 127:
                continue  # the program itself is not loaded
            self.assertEqual(scene.faults_of(done, ["too many open files"]), [], most)
        self.assertIn(0, ends)

    # ---- clock, home, temporary files ----

    def test_a_clock_that_is_set_back(self):
        scene = self.scene("tables")
        for start in (0, -1, 86_400, 253_402_300_799 + 10**9, 2**31, 2**33):
            scene.reset()
            done = scene.end(env={**os.environ, "LD_PRELOAD": SHIM, "FAULTS_CLOCK": str(start)})
            self.assertEqual(scene.faults_of(done), [], start)
            self.assertEqual(done.code, 0)
        job = scene.folder / "job.toml"
        job.write_text(job.read_text(encoding="utf-8").replace("time_stamp", "#"), encoding="utf-8")
        for start in (0, -86_400, 2**31, 2**40):
            done = scene.end(["report", "--job", "job.toml", "--json"],
                             env={**os.environ, "LD_PRELOAD": SHIM, "FAULTS_CLOCK": str(start)})
            self.assertEqual(done.code, 0, done.err)
            self.assertTrue(re.search(rb'"\d{4,}-\d\d-\d\dT\d\d:\d\d:\d\dZ"', done.out), start)

    def test_no_home_and_no_environment(self):
        for name in ("report", "stats"):
            scene = self.scene(name)
            for environment in ({}, {"HOME": "/nowhere", "TMPDIR": "/nowhere", "LANG": "xx_XX", "LC_ALL": "de_DE"},
                                {"HOME": "/proc/1/root", "XDG_CACHE_HOME": "/dev/null", "TZ": "Nowhere/Nowhere"}):
                scene.reset()
                self.assertEqual(scene.faults_of(scene.end(env=environment)), [])

    def test_a_stream_is_kept_where_the_user_says(self):
        scene = self.scene("stats")
        lot = (scene.folder / "lot.csv").read_bytes()
        wanted = scene.end(["stats", "lot.csv"]).out.replace(b"lot.csv", b"-")

        def run(folder, **settings):
            return subprocess.run([PROGRAM, "stats", "-"], input=lot, capture_output=True, cwd=scene.folder,
                                  env={**os.environ, "TMPDIR": str(folder)}, **settings)

        for folder in (scene.kept, "/nowhere", ""):
            self.assertEqual(run(folder).stdout.split(b"\n")[3:], wanted.split(b"\n")[3:], folder)
        self.assertEqual(sorted(os.listdir(scene.kept)), ["work"])
        done = run("/tmp", preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000)))
        self.assertEqual(done.returncode, 2)
        self.assertIn(b"TMPDIR", done.stderr)


if __name__ == "__main__":
    unittest.main()
