"""The n-th call that changes files fails, as on a full or broken disk: a message says so, and every output is
whole or as it was before."""

import errno
import os
import pathlib
import resource
import shutil
import subprocess
import unittest

from scenes import LONG, OLD, PROGRAM, Scene, SCENES, SPATIAL, has_spatial_formats, listing
from stand import Stand

WORDS = {errno.ENOSPC: "no space left", errno.EIO: "input/output error", errno.EROFS: "read-only"}


class Disk(unittest.TestCase):
    def scene(self, name, **settings):
        made = Scene(name, **settings)
        self.addCleanup(made.close)
        return made

    def fail_every_write(self, name):
        scene = self.scene(name)
        wrong = []
        with Stand(PROGRAM, scene.arguments, scene.folder, scene.kept) as stand:
            calls = stand.run("write").calls
            self.assertGreater(calls, 0)
            step = 1 if LONG or calls < 40 else 5
            for error, lasting in ((errno.ENOSPC, True), (errno.EIO, False), (errno.EROFS, True)):
                for nth in range(1, calls + 1, step if error != errno.EROFS else calls):
                    scene.reset()
                    ending = stand.run("write", nth, lasting, error)
                    words = (WORDS[error], "could not be written", "cannot be written")
                    found = scene.faults_of(ending, words, codes=(2,))
                    if ending.code == 0:
                        found.append("exit code 0")
                    wrong += [f"{errno.errorcode[error]} at call {nth} of {calls}: {each}" for each in found]
        self.assertEqual(wrong, [])

    def test_tables_of_two_reports_are_not_mixed(self):
        scene = self.scene("tables")
        with Stand(PROGRAM, scene.arguments, scene.folder, scene.kept) as stand:
            scene.reset()
            calls = stand.run("write").calls
            mixed = []
            for nth in range(1, calls + 1, 1 if LONG else 3):
                scene.reset()
                for name in scene.made:
                    (scene.folder / name).write_bytes(OLD)
                ending = stand.run("write", nth, False, errno.ENOSPC)
                tables = listing(scene.folder / "made").values()
                if len({table == OLD for table in tables}) > 1:
                    mixed.append((nth, ending.err))
        # Only where the very renaming fails, of which there is one for each table.
        self.assertLessEqual(len(mixed), calls * 0.35, mixed)

    def test_a_small_disk_is_full(self):
        folder = pathlib.Path(self.scene("stats").kept, "small")
        folder.mkdir()
        if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=400k", "tmpfs", folder],
                          capture_output=True).returncode != 0:
            self.skipTest("file systems may not be mounted here")
        self.addCleanup(subprocess.run, ["umount", folder], check=True)
        (folder / "old.csv").write_bytes(OLD)
        done = subprocess.run([PROGRAM, "generate", "lot", "--points", "100000"], cwd=folder, capture_output=True)
        self.assertEqual(done.returncode, 2)
        self.assertIn(b"No space left on device", done.stderr)
        self.assertEqual(listing(folder), {"old.csv": OLD})
        subprocess.run(["mount", "-o", "remount,ro", folder], check=True)
        for arguments in ("generate lot", "generate a/lot", "fit old.csv --x a --y b --output new.csv"):
            done = subprocess.run([PROGRAM, *arguments.split()], cwd=folder, capture_output=True)
            self.assertEqual(done.returncode, 2)
            self.assertTrue(done.stderr.startswith(b"qmx-ic: "), done.stderr)
        self.assertEqual(listing(folder), {"old.csv": OLD})

    def test_files_may_grow_no_further(self):
        scene = self.scene("report")
        for most in (0, 1000, 40_000, 600_000):
            scene.reset()
            done = scene.end(preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (most, most)))
            self.assertEqual(scene.faults_of(done, ["file too large"], codes=(2,)), [], most)
            self.assertEqual(done.code, 2)

    def test_an_output_that_may_not_be_written_is_not_replaced(self):
        scene = self.scene("stats")
        os.chmod(scene.kept, 0o755)
        os.chmod(scene.folder, 0o777)
        who = {"user": 65534} if os.geteuid() == 0 else {}
        scene.reset()
        os.chmod(scene.folder / "made.csv", 0o444)
        done = scene.end(**who)
        self.assertEqual((done.code, (scene.folder / "made.csv").read_bytes()), (2, OLD), done.err)
        self.assertIn(b"Permission denied", done.err)
        os.chmod(scene.folder / "made.csv", 0o644 if not who else 0o666)
        os.chmod(scene.folder, 0o555)
        done = scene.end(**who)
        os.chmod(scene.folder, 0o777)
        self.assertEqual((done.code, (scene.folder / "made.csv").read_bytes()), (2, OLD), done.err)
        self.assertEqual(scene.end(**who).code, 0)

    def test_the_folder_goes_before_its_file_has_its_name(self):
        scene = self.scene("fit")
        place = scene.folder / "place"
        arguments = scene.arguments[:-1] + ["place/made.csv"]
        with Stand(PROGRAM, arguments, scene.folder, scene.kept) as stand:
            for nth in range(1, 9):
                place.mkdir(exist_ok=True)
                ending = stand.run("stop", nth, at_stop=lambda _: shutil.rmtree(place, ignore_errors=True))
                if not place.exists():
                    self.assertEqual(ending.code, 2, (nth, ending))
                    self.assertIn(b"No such file", ending.err)

    def test_the_longest_name_of_a_file_is_written(self):
        scene = self.scene("fit")
        for name in ("n" * 251 + ".csv", "\u00fc" * 125 + "n.csv"):
            done = scene.end(arguments=scene.arguments[:-1] + [name])
            self.assertEqual(done.code, 0, done.err)
            self.assertEqual((scene.folder / name).read_bytes(), scene.made["made.csv"])
        done = scene.end(arguments=scene.arguments[:-1] + ["n" * 252 + ".csv"])
        self.assertEqual(done.code, 2)
        self.assertIn(b"name too long", done.err)


def add(name):
    setattr(Disk, f"test_every_write_of_{name}", lambda self: self.fail_every_write(name))


for scene_name in [*SCENES, *(SPATIAL if has_spatial_formats() else ())]:
    add(scene_name)

if __name__ == "__main__":
    unittest.main()
