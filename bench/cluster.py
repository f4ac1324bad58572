"""Frames a second into Zarr: threads of one process against a local cluster of Dask with as many processes.

usage: bench/cluster.py FOLDER [FRAMES]

FOLDER is on the disk to be measured, or in memory (/dev/shm); the recording of 1920x1080 BAY12 takes 4 MB a frame.
Both make the same store, in turn, and the best of four runs counts: memory that the
system hands out for the first time is slow.
"""
import pathlib
import shutil
import sys
import tempfile
import time

import numpy as np
import trvil
from distributed import Client

tree = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(tree / "docs/examples"))
import cluster  # noqa: E402

WIDTH, HEIGHT = 1920, 1080
WORKERS, ROUNDS = 2, 4


def first_frame():
    dump = tree / "../shared/data/chart-1920x1080-rggb10.raw"
    if dump.exists():
        return np.fromfile(dump, np.uint16).reshape(HEIGHT, WIDTH) * 4
    x, noise = np.linspace(0, 3800, WIDTH), np.random.default_rng(1).normal(0, 16, (HEIGHT, WIDTH))
    return np.clip(x + noise, 0, 4095).astype(np.uint16)


def recording(folder, frames):
    one, path = first_frame(), folder / "recording.raw"
    with open(path, "wb") as file:
        for i in range(frames):
            file.write(np.roll(one, 2 * i, axis=1).tobytes())
    return trvil.open(path, (WIDTH, HEIGHT), "BAY12_A")


def seconds(sequence, store, **arguments):
    shutil.rmtree(store, ignore_errors=True)
    begin = time.perf_counter()
    sequence.to_zarr(store, **arguments)
    return time.perf_counter() - begin


def measure(sequence, folder, executor, compressor):
    alone, shared = folder / "threads.zarr", folder / "cluster.zarr"
    rates = {"threads": 0.0, "cluster": 0.0}
    for _ in range(ROUNDS):
        for name, store, arguments in (("threads", alone, {}),
                                       ("cluster", shared, {"executor": executor, "ahead": 4 * WORKERS})):
            took = seconds(sequence, store, compressor=compressor, **arguments)
            rates[name] = max(rates[name], len(sequence) / took)
    same = all((shared / path.name).read_bytes() == path.read_bytes() for path in alone.iterdir())
    size = sum(path.stat().st_size for path in alone.iterdir()) // len(sequence)
    return rates, size, same


def main(place, frames="200"):
    print(f"{'':28}{'threads/s':>10}{'cluster/s':>10}{'ratio':>7}{'MB a frame':>12}")
    with tempfile.TemporaryDirectory(dir=place) as name:
        folder = pathlib.Path(name)
        opened = recording(folder, int(frames))
        made = {"ave BGR24": opened.converted("BGR24"),
                "developed RGB24": opened.developed(trvil.Settings(curve="srgb"), to="RGB24")}
        with cluster.local_cluster(name, WORKERS) as local, Client(local) as client:
            for what, sequence in made.items():
                for compressed, compressor in (("", None), (", compressed", "default")):
                    with client.get_executor(pure=False) as executor:
                        rates, size, same = measure(sequence, folder, executor, compressor)
                    print(f"{what + compressed:28}{rates['threads']:10.0f}{rates['cluster']:10.0f}"
                          f"{rates['cluster'] / rates['threads']:7.2f}{size / 1e6:12.2f}"
                          f"{'' if same else '  DIFFERENT BYTES'}", flush=True)


if __name__ == "__main__":
    main(*sys.argv[1:])
