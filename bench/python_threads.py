#!/usr/bin/env python3
"""python_threads.py [SECONDS]: pictures per second from Python by one thread and by two, side by side.

The first line is a loop of C that the interpreter only calls, for the machine itself.
Takes an idle machine; frames fit the caches. PYTHONPATH and TRVIL_LIBRARY_DIR say which module."""
import ctypes
import sys
import threading
import time

import numpy as np
import trvil

SECONDS = float(sys.argv[1]) if len(sys.argv) > 1 else 0.5
HEIGHT, WIDTH = 1024, 1280
rng = np.random.default_rng(1)


def rate(make_call, threads):
    """Calls per second of so many threads, each with memory of its own."""
    counts, calls, end = [0] * threads, [make_call() for _ in range(threads)], [0.0]
    ready = threading.Barrier(threads + 1)

    def work(number):
        call, count = calls[number], 0
        call()
        ready.wait()
        while time.perf_counter() < end[0]:
            call()
            count += 1
        counts[number] = count

    workers = [threading.Thread(target=work, args=(number,)) for number in range(threads)]
    end[0] = time.perf_counter() + 3600
    for worker in workers:
        worker.start()
    end[0] = time.perf_counter() + 0.05 + SECONDS
    ready.wait()
    begun = time.perf_counter()
    for worker in workers:
        worker.join()
    return sum(counts) / (time.perf_counter() - begun)


def convert(source, to, **options):
    def make():
        format = trvil.formats[source]
        array = rng.integers(0, 1 << format.significant, format.shape(HEIGHT, WIDTH)).astype(format.dtype)
        out = np.empty(trvil.formats[to].shape(HEIGHT, WIDTH), trvil.formats[to].dtype)
        return lambda: trvil.convert(array, source, to, out=out, **options)
    return make


def unpack():
    sent, out = rng.integers(0, 256, (HEIGHT, WIDTH * 3 // 2), np.uint8), np.empty((HEIGHT, WIDTH), np.uint16)
    return lambda: trvil.unpack(sent, "12p", out=out)


def develop():
    settings = trvil.Settings(black=64, wb=(1.5, 1, 1.2), ccm=[[1.5, -.5, 0], [-.25, 1.5, -.25], [0, -.5, 1.5]],
                              curve="srgb", method="gradient")
    array, out = rng.integers(0, 4096, (HEIGHT, WIDTH)).astype(np.uint16), np.empty((HEIGHT, WIDTH, 3), np.uint8)
    return lambda: trvil.develop(array, "BAY12", settings, "BGR24", out=out)


def machine():
    """About as long as a conversion, in the processor alone."""
    words, crc = bytes(1 << 20), ctypes.CDLL("libz.so.1").crc32
    return lambda: crc(0, words, len(words))


print(f"{WIDTH} x {HEIGHT} pixels     one thread   two threads   gain")
for name, make in (("(machine alone)", machine), ("unpack 12p", unpack),
                   ("BAY8 to BGR24, ave", convert("BAY8", "BGR24")),
                   ("BAY12 to BGR24, med", convert("BAY12", "BGR24", method="med")),
                   ("BAY12 to RGB48, gradient", convert("BAY12", "RGB48", method="gradient")),
                   ("develop BAY12 to BGR24", develop)):
    rounds = [(rate(make, 1), rate(make, 2)) for _ in range(5)]
    one, two = np.median(rounds, axis=0)
    gain = np.median([b / a for a, b in rounds])
    print(f"{name:24} {one:8.0f} /s  {two:8.0f} /s    {gain:.2f}", flush=True)
