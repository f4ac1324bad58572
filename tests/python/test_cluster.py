"""A cluster of two processes makes what threads make, and goes on when one of them or all are killed."""
import os
import re
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

import numpy as np
import pytest
import trvil

zarr = pytest.importorskip("zarr", reason="skipped: install python3-zarr")
distributed = pytest.importorskip("distributed", reason="skipped: install python3-distributed")

EXAMPLES = Path(__file__).resolve().parents[2] / "docs/examples"
sys.path.insert(0, str(EXAMPLES))
import cluster  # noqa: E402

FRAMES, WIDTH, HEIGHT = 120, 640, 480


@pytest.fixture
def recording(tmp_path):
    frames = np.random.default_rng(20261126).integers(0, 4096, (FRAMES, HEIGHT, WIDTH)).astype(np.uint16)
    (tmp_path / "a.raw").write_bytes(frames.tobytes())
    return trvil.open(tmp_path / "a.raw", (WIDTH, HEIGHT), "BAY12_B")


def content(store):
    return {path.name: path.read_bytes() for path in store.iterdir()}


def wait_for_chunks(store, count):
    deadline = time.monotonic() + 60
    while not store.exists() or len(os.listdir(store)) < count:
        assert time.monotonic() < deadline
        time.sleep(0.002)


def test_a_killed_worker_loses_nothing(recording, tmp_path):
    made = recording.developed(trvil.Settings(black=64, wb=(2, 1, 1.5), curve="srgb"), to="BGR24")
    assert made.to_zarr(tmp_path / "threads.zarr", frames=1) == FRAMES
    store, killed = tmp_path / "cluster.zarr", []

    def kill(pid):
        wait_for_chunks(store, FRAMES // 5)
        os.kill(pid, signal.SIGKILL)
        killed.append(len(os.listdir(store)))

    with cluster.local_cluster(str(tmp_path / "work")) as local, distributed.Client(local) as client:
        killer = threading.Thread(target=kill, args=(next(iter(client.run(os.getpid).values())),))
        killer.start()
        assert made.to_zarr(store, frames=1, executor=client.get_executor(pure=False), ahead=4) == FRAMES
        killer.join()
        assert [address.split(":")[1] for address in client.scheduler_info()["workers"]] == ["//127.0.0.1"] * len(
            client.scheduler_info()["workers"])
    assert killed[0] < FRAMES and content(store) == content(tmp_path / "threads.zarr")


def test_a_killed_example_goes_on(recording, tmp_path):
    command = [sys.executable, EXAMPLES / "cluster.py", tmp_path / "a.raw", f"{WIDTH}x{HEIGHT}", "BAY12_B", tmp_path / "a.zarr"]
    process = subprocess.Popen(command, start_new_session=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    try:
        wait_for_chunks(tmp_path / "a.zarr", 6)
    finally:
        os.killpg(process.pid, signal.SIGKILL)
        process.communicate()
    chunks = content(tmp_path / "a.zarr")
    run = subprocess.run(command, capture_output=True, text=True, check=True)
    made, there = map(int, re.match(r"(\d+) frames developed, (\d+) are in ", run.stdout).groups())
    kept = [int(name.partition(".")[0]) for name in chunks if re.fullmatch(r"\d[\d.]*", name)]
    of_chunk = (8 << 20) // (WIDTH * HEIGHT * 3)
    assert kept and (there, made) == (FRAMES, FRAMES - sum(min(of_chunk, FRAMES - of_chunk * i) for i in kept))
    array = zarr.open(str(tmp_path / "a.zarr"))
    pictures = recording.developed(trvil.Settings(curve="srgb"), to="RGB24")
    assert all((array[i] == pictures[i]).all() for i in range(0, FRAMES, 7))
