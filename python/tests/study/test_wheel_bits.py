"""The library in the wheel, which has BLAS routines of its own, gives the bits of the program's library."""

import glob
import os
import pathlib
import subprocess
import sys

import pytest
import qmx_ic

SCRIPT = pathlib.Path(__file__).with_name("hash_of_calls.py")


def hash_of(library: object) -> list[str]:
    reference = glob.glob("/usr/lib/*-linux-gnu/blas")
    environment = {**os.environ, "LD_LIBRARY_PATH": ":".join(reference)}
    done = subprocess.run(
        [sys.executable, str(SCRIPT), str(library)], capture_output=True, text=True, check=True, env=environment
    )
    return done.stdout.split()


def test_bits_of_all_functions():
    of_program = os.environ.get("QMX_IC_PROGRAM_LIBRARY")
    if not of_program:
        pytest.skip("QMX_IC_PROGRAM_LIBRARY names no library to compare with")
    folder = pathlib.Path(qmx_ic.__file__).parent
    (of_package,) = [*folder.glob("libQMX_IC*.so*"), *folder.parent.glob("qmx_ic.libs/libQMX_IC*.so*")]
    assert of_package.read_bytes() != pathlib.Path(of_program).read_bytes()
    wanted = hash_of(of_program)
    assert hash_of(of_package) == wanted
    succeeded, failed = map(int, wanted[1:])
    assert succeeded > 2000 and failed > 100
