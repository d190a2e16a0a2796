"""Runs the program again and again, each time with one fault, on the stand that stand.c makes."""

import collections
import os
import pathlib
import subprocess

SHIM = os.environ.get("QMX_IC_STAND", "")
# How a run ended: its exit code (negative: the signal that killed it), what it said, and how many calls of
# the kind it made.
Ending = collections.namedtuple("Ending", "code out err calls")


class Stand:
    """One command line. The folder is where it runs; what it prints is kept outside."""

    def __init__(self, program, arguments, folder, kept, environment=None):
        self.out, self.err = pathlib.Path(kept, "out"), pathlib.Path(kept, "err")
        orders, self.orders = os.pipe()
        self.answers, answers = os.pipe()
        names = dict(FAULTS_PIPES=f"{orders},{answers}", FAULTS_OUT=str(self.out),
                     FAULTS_ERR=str(self.err), LD_PRELOAD=SHIM)
        self.process = subprocess.Popen([program, *arguments], cwd=folder, pass_fds=(orders, answers),
                                        stdin=subprocess.DEVNULL,
                                        env={**os.environ, **names, **(environment or {})})
        os.close(orders)
        os.close(answers)
        self.answers = os.fdopen(self.answers)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        os.close(self.orders)
        self.answers.close()
        self.process.wait()

    def run(self, kind="none", nth=0, lasting=False, error=0, at_stop=None):
        """at_stop: called with the number of the process where it stops; its result ends the run."""
        os.write(self.orders, f"{kind} {nth} {int(lasting)} {error}\n".encode())
        while True:
            answer = self.answers.readline().split()
            if not answer:
                raise RuntimeError("the stand is gone")
            if answer[0] == "ended":
                break
            at_stop(int(answer[1]))
            os.write(self.orders, b"on\n")
        code = os.waitstatus_to_exitcode(int(answer[1]))
        if code == 98:
            raise RuntimeError("system calls cannot be met here")
        return Ending(code, self.out.read_bytes(), self.err.read_bytes(), int(answer[2]))
