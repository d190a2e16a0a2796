"""Whatever ends the program, and whenever: every output is whole or as it was before, and nothing else is left."""

import os
import random
import signal
import subprocess
import time
import unittest

from scenes import LONG, PROGRAM, Scene, has_spatial_formats
from stand import Stand

ENDING = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGPIPE, signal.SIGQUIT, signal.SIGXCPU)


class Signals(unittest.TestCase):
    def scene(self, name):
        made = Scene(name)
        self.addCleanup(made.close)
        return made

    def test_at_every_call_that_reads_or_writes(self):
        for name in ["stats", "generate", "report", "tables", *(["cells"] if has_spatial_formats() else [])]:
            scene = self.scene(name)
            wrong = []
            with Stand(PROGRAM, scene.arguments, scene.folder, scene.kept) as stand:
                calls = stand.run("stop", 0).calls
                for nth in range(1, calls + 1, 1 if LONG else max(1, calls // 30)):
                    sent = ENDING[nth % len(ENDING)]
                    scene.reset()
                    ending = stand.run("stop", nth, at_stop=lambda process: os.kill(process, sent))
                    found = scene.faults_of(ending, may_die_of=(sent,))
                    if ending.code != -sent:
                        found.append(f"ended with {ending.code}, not by {sent.name}")
                    wrong += [f"{name}, {sent.name} at call {nth} of {calls}: {each}" for each in found]
            self.assertEqual(wrong, [])

    def test_at_any_moment(self):
        chance = random.Random(20)
        scene = self.scene("report")
        started = time.monotonic()
        scene.end()
        lasts = time.monotonic() - started
        ends = set()
        for _ in range(400 if LONG else 30):
            scene.reset()
            sent = chance.choice(ENDING)
            process = subprocess.Popen([PROGRAM, *scene.arguments], cwd=scene.folder, stdin=subprocess.DEVNULL,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            time.sleep(lasts * chance.uniform(0, 1.1))
            process.send_signal(sent)
            ends.add(process.wait())
            left = {name: content for name, content in scene.changes().items()}
            for name, content in left.items():
                self.assertIn(name, scene.outputs, (sent.name, "is left behind"))
                self.assertIn(content, (b"as it stood before\n", scene.made[name]), (sent.name, name))
        self.assertTrue(any(end < 0 for end in ends), ends)


if __name__ == "__main__":
    unittest.main()
