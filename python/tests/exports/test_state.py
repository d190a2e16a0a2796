"""What the library keeps from call to call shows in no result; calls from threads and forks are safe."""

import os
import signal
import subprocess
import sys
import threading
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import numpy as np
import pytest

import calls
import qmx_ic

HERE = Path(__file__).parent


@pytest.fixture(scope="module")
def in_a_fresh_process():
    def digest(name):
        command = [sys.executable, str(HERE / "calls.py"), name]
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()

    return {name: digest(name) for name in calls.CALLS}


def test_every_call_after_every_other_is_as_in_a_fresh_process(in_a_fresh_process):
    differing = []
    for first in calls.CALLS:
        for second in calls.CALLS:
            calls.CALLS[first]()
            if calls.digest(second) != in_a_fresh_process[second]:
                differing.append((first, second))
    assert not differing
    assert len(set(in_a_fresh_process.values())) == len(calls.CALLS)


def test_any_thread_may_call(in_a_fresh_process):
    names = [name for name in calls.CALLS for _ in range(12)]
    np.random.default_rng(1).shuffle(names)
    with ThreadPoolExecutor(8) as threads:
        assert list(threads.map(calls.digest, names)) == [in_a_fresh_process[name] for name in names]


def test_other_threads_run_during_a_long_call():
    lot = calls.lot(9, 30_000)
    finished = threading.Event()

    def search():
        try:
            qmx_ic.semivariogram(lot, lag=0.5, nlag=40)
        finally:
            finished.set()

    thread = threading.Thread(target=search)
    thread.start()
    steps = 0
    while not finished.wait(0.001):
        steps += 1
    thread.join()
    assert steps > 20


@pytest.mark.filterwarnings("ignore::DeprecationWarning")
def test_a_fork_in_the_midst_of_calls_can_call(in_a_fresh_process):
    stop = threading.Event()

    def keep_calling():
        while not stop.is_set():
            calls.CALLS["semivariogram"]()

    thread = threading.Thread(target=keep_calling)
    thread.start()
    try:
        for _ in range(10):
            child = os.fork()
            if child == 0:
                signal.alarm(60)  # rather a failed test than one that hangs
                try:
                    same = calls.digest("spot_tests") == in_a_fresh_process["spot_tests"]
                    os._exit(0 if same else 1)
                finally:  # an exception must not take the child back into the tests
                    os._exit(2)
            assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0
    finally:
        stop.set()
        thread.join()


def test_numpy_alone_is_imported():
    code = (
        "import sys, numpy, time; begin = time.process_time(); import qmx_ic; took = time.process_time() - begin;"
        "print(took, *{name.split('.')[0] for name in sys.modules})"
    )
    took, *modules = subprocess.run(
        [sys.executable, "-c", code], capture_output=True, text=True, check=True
    ).stdout.split()
    assert not {"pandas", "matplotlib", "scipy", "dask", "pyarrow"} & set(modules)
    assert float(took) < 0.5  # 0.04 once Python has compiled the files
