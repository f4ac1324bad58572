"""Calls of many threads: the interpreter runs beside them, and any arguments end in a result or in words."""
import ctypes
import os
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

import numpy as np
import pytest
import trvil
from trvil import _library

CHECKED = {**os.environ, "PYTHONMALLOC": "malloc", "MALLOC_CHECK_": "3", "MALLOC_PERTURB_": "165",
           "LD_PRELOAD": "libc_malloc_debug.so.0"}


def python_runs_during(call):
    """Whether another thread gets the interpreter between the beginning and the end of a call, which keeps it
    for ten seconds unless it gives it away. Asked 40 times: processors may be busy."""
    interval = sys.getswitchinterval()
    sys.setswitchinterval(10)
    try:
        for _ in range(40):
            place, seen = ["before"], False

            def work():
                place[0] = "inside"
                call()
                place[0] = "behind"

            thread = threading.Thread(target=work)
            thread.start()
            while place[0] != "behind":
                seen = seen or place[0] == "inside"
                time.sleep(0.0001)
            thread.join()
            if seen:
                return True
        return False
    finally:
        sys.setswitchinterval(interval)


def test_the_interpreter_is_free_during_calls():
    usleep = 20000
    assert python_runs_during(lambda: ctypes.CDLL(None).usleep(usleep))
    assert not python_runs_during(lambda: ctypes.PyDLL(None).usleep(usleep)), "this test sees nothing"
    height, width = 1024, 2048
    mosaic, colours = np.zeros((height, width), np.uint16), np.zeros((height, width, 3), np.uint16)
    sent, recipe = np.zeros((height, width * 3 // 2), np.uint8), trvil.Recipe(trvil.Settings(), "BAY12", width, height)
    # Nothing but the libraries: NumPy gives the interpreter away, too.
    with trvil.wrap(mosaic, "BAY12") as source, trvil.wrap(colours, "RGB48") as destination, \
         trvil.wrap(sent, "BAY12", packing="12p") as packed, trvil.wrap(mosaic, "BAY12") as words:
        handles = source.handle, destination.handle, packed.handle, words.handle
        settings = _library.record(_library.Settings)
        for call in (lambda: _library.convert(handles[0], 0, handles[1], settings, None),
                     lambda: _library.unpack(handles[2], trvil.packings["12p"].code, handles[3]),
                     lambda: _library.raw.TRW_Develop(handles[0], handles[1], recipe._prepared.address, None)):
            assert python_runs_during(call)


@pytest.mark.skipif(not Path("/lib/x86_64-linux-gnu/libc_malloc_debug.so.0").exists(), reason="no checks of malloc here")
def test_random_calls_end_in_results_or_words():
    """3,000 in each run of the suite, 100,000 by the preset `random`."""
    fault = subprocess.run([sys.executable, "-c", "import ctypes; a = bytearray(100)\n"
                            "ctypes.memset((ctypes.c_char * 100).from_buffer(a), 1, 102); del a"], env=CHECKED, capture_output=True)
    assert fault.returncode == -signal.SIGABRT, "a byte behind an array is not noticed"
    count = int(os.environ.get("TRVIL_RANDOM_CALLS", 3000))
    seed = os.environ.get("TRVIL_SEED") or str(int.from_bytes(os.urandom(4), "big"))
    run = subprocess.run([sys.executable, "-X", "faulthandler", str(Path(__file__).with_name("random_calls.py")),
                          str(count), seed], env=CHECKED, capture_output=True, text=True)
    print(run.stdout)
    assert run.returncode == 0, f"TRVIL_SEED={seed}\n{run.stderr}"
    assert int(run.stdout.split()[2]) < 0.8 * count
