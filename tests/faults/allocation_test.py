"""The n-th allocation of a command fails, alone or with all behind it: a message says so, the exit code is that
of an error, and every output is whole or as it was before."""

import signal
import unittest

from scenes import PROGRAM, LONG, Scene, SCENES, SPATIAL, has_spatial_formats
from stand import Stand

SAYS_SO = ("memory",)


def places(calls, start):
    """In which calls it fails: all, or some of the start that every command shares and more behind it."""
    if LONG:
        return range(1, calls + 1)
    behind = max(1, (calls - start) // 36)
    return sorted({*range(1, start, start // 8), *range(start, calls, behind), *range(calls - 5, calls + 1)})


class Allocation(unittest.TestCase):
    def fail_everywhere(self, name, words, may_die_of=()):
        scene = Scene(name)
        self.addCleanup(scene.close)
        with Stand(PROGRAM, ["--version"], scene.folder, scene.kept) as stand:
            start = stand.run("memory").calls
        wrong = []
        with Stand(PROGRAM, scene.arguments, scene.folder, scene.kept) as stand:
            calls = stand.run("memory").calls
            self.assertGreater(calls, start)
            for number, nth in enumerate(places(calls, start)):
                for lasting in (False, True) if LONG else (number % 2 == 1,):
                    scene.reset()
                    ending = stand.run("memory", nth, lasting)
                    wrong += [f"allocation {nth} of {calls}{' and all behind' * lasting}: {each}"
                              for each in scene.faults_of(ending, words, may_die_of=may_die_of)]
        self.assertEqual(wrong, [])


def add(name, words=SAYS_SO, may_die_of=()):
    def test(self):
        self.fail_everywhere(name, words, may_die_of)

    setattr(Allocation, f"test_{name}", test)


for scene_name in SCENES:
    add(scene_name)
# Libraries of others may end the program where they find no memory; what they leave is whole or nothing.
for scene_name in SPATIAL if has_spatial_formats() else ():
    add(scene_name, [""], (signal.SIGABRT, signal.SIGSEGV))

if __name__ == "__main__":
    unittest.main()
