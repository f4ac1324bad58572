"""Sequences: frames where the file has them, at the cost of a frame, and stores that are whole or go on."""
import ctypes
import os
import pickle
import resource
import shutil
import subprocess
import sys
import threading
import warnings
from concurrent.futures import ProcessPoolExecutor, ThreadPoolExecutor
from multiprocessing import get_context

import numpy as np
import pytest
import trvil

rng = np.random.default_rng(20261125)


def samples(count=5, height=6, width=8, bits=12):
    return rng.integers(0, 1 << bits, (count, height, width)).astype(np.uint16)


def recording(tmp_path, frames, **arguments):
    (tmp_path / "a.raw").write_bytes(frames.tobytes())
    return trvil.open(tmp_path / "a.raw", frames.shape[:0:-1], "BAY12", **{"phase": "GBRG", **arguments})


@pytest.mark.parametrize("skip, before, pad", [(0, 0, 0), (7, 0, 0), (0, 3, 2), (4095, 4097, 4080)])
@pytest.mark.parametrize("width", [8, 2049])  # lines below and above a page
def test_frames_are_where_the_file_has_them(tmp_path, skip, before, pad, width):
    frames = samples(width=width)
    padded = np.full((5, 6, 2 * width + pad), 0xEE, np.uint8)
    padded[..., :2 * width] = frames.view(np.uint8)
    content = bytes(skip) + b"".join(bytes(before) + frame.tobytes() for frame in padded)
    (tmp_path / "a.raw").write_bytes(content[:len(content) - pad])  # nothing behind the last line
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        opened = trvil.open(tmp_path / "a.raw", f"{width}x6", "BAY12", phase="GBRG", skip=skip, frame_skip=before,
                            stride=2 * width + pad)
    assert opened.shape == frames.shape and opened.dtype == np.uint16 and opened.nbytes == frames.nbytes
    assert all((a == b).all() for a, b in zip(opened, frames)) and len(list(opened)) == 5
    assert (np.asarray(opened[::-2]) == frames[::-2]).all() and (opened[1:][-1] == frames[-1]).all()
    assert len(opened[3:3]) == 0 and np.asarray(opened[3:3]).shape == (0, 6, width)
    with pytest.raises(IndexError, match="no frame 5: 5 are here"):
        opened[5]
    with pytest.raises(ValueError, match="read-only"):
        opened[0][0, 0] = 1
    assert (pickle.loads(pickle.dumps(opened[1:4])).converted("BGR24")[0] == opened.converted("BGR24")[1]).all()
    for cut in (1, 2 * width * 6 - 1):
        (tmp_path / "b.raw").write_bytes(content[:len(content) - pad - cut])
        with pytest.warns(UserWarning, match=r"no whole frame.* and 4 frames counted"):
            assert len(trvil.open(tmp_path / "b.raw", (width, 6), "BAY12", skip=skip, frame_skip=before,
                                  stride=2 * width + pad)) == 4


def test_several_files_are_one_recording(tmp_path):
    frames, names = samples(7), [tmp_path / name for name in "abc"]
    for name, part in zip(names, (frames[:3], frames[:0], frames[3:])):
        name.write_bytes(part.tobytes())
    opened = trvil.open(names, (8, 6), "BAY12")
    assert len(opened) == 7 and (np.asarray(opened) == frames).all() and opened != trvil.open(names[0], (8, 6), "BAY12")
    names[2].write_bytes(frames[:2].tobytes())
    with pytest.raises(OSError, match="Shorter than it was"):
        opened[6]
    assert (opened[4] == frames[1]).all()


def test_names_of_others_and_packings_say_what_frames_are(tmp_path):
    packed = rng.integers(0, 256, (3, 6, 12)).astype(np.uint8)
    (tmp_path / "a.raw").write_bytes(packed.tobytes())
    by_name = trvil.open(tmp_path / "a.raw", (8, 6), "BayerGB12Packed")
    for format, arguments in (("BAY12", {"packing": "12Packed", "phase": "GBRG"}), ("12Packed", {"phase": "GBRG"})):
        opened = trvil.open(tmp_path / "a.raw", (8, 6), format, **arguments)
        assert opened.shape == (3, 6, 12) and (opened[2] == packed[2]).all()
        assert (opened.converted("BGR24", method="med")[1] == by_name.converted("BGR24", method="med")[1]).all()
    expected = trvil.convert(packed[1], "BAY12", "BGR24", packing="12Packed", phase="GBRG", method="med")
    assert (by_name.converted("BGR24", method="med")[1] == expected).all()


@pytest.mark.parametrize("arguments, words", [
    ({"format": "BAY13"}, "no pixel format is called 'BAY13'; near it"),
    ({"format": "Mono8", "phase": "RGGB"}, "makes no sense with Mono8"),
    ({"packing": "10Packed"}, "10Packed is unpacked to samples as Mono10 has them, not to BAY12"),
    ({"size": (8, 0)}, "a size is"), ({"size": "8x6x1"}, "a size is"), ({"stride": 15}, "cannot lie 15 bytes apart"),
    ({"stride": 17}, "cannot lie 17 bytes apart"), ({"skip": -1}, "bytes from 0 on"), ({"path": []}, "one file at least"),
    ({"path": "/dev/zero"}, "no regular file")])
def test_what_makes_no_sense_is_said_at_once(tmp_path, arguments, words):
    recording(tmp_path, samples())
    with pytest.raises(ValueError, match=words):
        trvil.open(**{"path": tmp_path / "a.raw", "size": (8, 6), "format": "BAY12", **arguments})


def test_frames_are_made_as_single_pictures_are(tmp_path):
    frames, settings = samples(), trvil.Settings(black=64, wb=(2, 1, 1.5), dark=samples(1)[0] // 64, curve="srgb")
    opened = recording(tmp_path, frames)
    developed, coloured = opened.developed(settings), opened[::2].converted("BGRX32", method="med")
    for i, frame in enumerate(frames):
        assert (developed[i] == trvil.develop(frame, "BAY12", settings, phase="GBRG")).all()
    assert (coloured[2] == trvil.convert(frames[4], "BAY12", "BGRX32", phase="GBRG", method="med")).all()
    assert developed.format.name == "RGB48" and coloured.shape == (3, 6, 8, 4)
    twice = developed.converted("RGB24")
    assert (twice[3] == developed[3] >> 8).all() and pickle.loads(pickle.dumps(twice)) == twice
    with pytest.raises(trvil.Error, match="BAY12 .*Mono8"):
        opened.converted("Mono8")
    with pytest.raises(trvil.Error, match="defect"):
        opened.developed(trvil.Settings(defects=[(8, 0)]))


COUNT = """
import os, sys, trvil
trvil.formats["BAY12"]
os.access("/begin", 0)
opened = trvil.open(sys.argv[1], (64, 32), "BAY12")
os.access("/between", 0)
frame = opened[len(opened) // 2].sum()
os.access("/end", 0)
print(len(opened))
"""


@pytest.mark.skipif(shutil.which("strace") is None, reason="skipped: install strace")
def test_opening_costs_the_same_for_ten_frames_and_a_million(tmp_path):
    costs = []
    for count in (10, 10**6):
        with open(tmp_path / "sparse.raw", "wb") as file:
            file.truncate(count * 4096)
        run = subprocess.run(["strace", "-o", tmp_path / "log", sys.executable, "-c", COUNT, tmp_path / "sparse.raw"],
                             capture_output=True, text=True, check=True)
        lines = (tmp_path / "log").read_text().split("\n")
        begin, between, end = (next(i for i, line in enumerate(lines) if f'"/{name}"' in line)
                               for name in ("begin", "between", "end"))
        own = [line for line in lines[begin + 1:between] if "sparse.raw" in line]
        costs.append([line.partition("(")[0] for line in own])
        assert int(run.stdout) == count and end - between < 12, lines[between:end]
        assert not any(line.startswith(("read", "pread")) for line in lines[begin:end])
    assert costs[0] == costs[1] and len(costs[0]) == 1


RESIDENT = """
import sys, trvil
def resident(): return int(open("/proc/self/statm").read().split()[1]) * 4096
opened = trvil.open(sys.argv[1], (1920, 1080), "BAY12")
total, most = 0, 0
for frame in opened[::16]:
    total += int(frame[::64].max()) + int(frame[::16, ::512].sum())
    most = max(most, resident())
kept = [opened[i] for i in range(2000)]
print(len(opened), total, max(most, resident()) >> 20)
"""


def test_reading_ten_gigabytes_keeps_memory_small(tmp_path):
    with open(tmp_path / "sparse.raw", "wb") as file:
        file.truncate(10 << 30)
    limit = "import resource; resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64))\n"
    run = subprocess.run([sys.executable, "-W", "ignore", "-c", limit + RESIDENT, tmp_path / "sparse.raw"],
                         capture_output=True, text=True, check=True)
    frames, total, most = map(int, run.stdout.split())
    assert (frames, total) == ((10 << 30) // (1920 * 1080 * 2), 0) and most < 200


class Tiff:
    """The pages of a file, as libtiff reads them."""

    def __init__(self, path):
        library = ctypes.CDLL("libtiff.so.6")
        library.TIFFOpen.restype = ctypes.c_void_p
        library.TIFFReadEncodedStrip.restype = ctypes.c_ssize_t
        file = ctypes.c_void_p(library.TIFFOpen(os.fsencode(path), b"rc"))  # c: strips as they are
        assert file
        self.pages, self.facts = [], []
        while True:
            self.facts.append([self.field(library, file, tag) for tag in (256, 257, 258, 277, 262)])
            width, height, bits, channels, _ = self.facts[-1]
            page = np.zeros((height, width, channels)[:2 + (channels > 1)], f"u{bits // 8}")
            assert library.TIFFReadEncodedStrip(file, 0, ctypes.c_void_p(page.ctypes.data), ctypes.c_ssize_t(-1)) == page.nbytes
            self.pages.append(page)
            if not library.TIFFReadDirectory(file):
                break
        library.TIFFClose(file)

    @staticmethod
    def field(library, file, tag):
        value = ctypes.c_uint32()
        assert library.TIFFGetFieldDefaulted(file, tag, ctypes.byref(value))
        return value.value


@pytest.mark.parametrize("big", [False, True])
@pytest.mark.parametrize("format", ["samples", "Mono8", "RGB24", "BGR24", "BGR48"])
@pytest.mark.parametrize("width", [9, 800])  # pages of odd size, and such as share no memory page
def test_stacks_are_what_libtiff_reads(tmp_path, monkeypatch, format, big, width):
    frames = samples(5, 7, width, 8 if format == "Mono8" else 12)
    if format == "Mono8":
        (tmp_path / "a.raw").write_bytes(frames.astype(np.uint8).tobytes())
        made = trvil.open(tmp_path / "a.raw", (width, 7), "Mono8")
    else:
        made = recording(tmp_path, frames)
    if format.startswith("BGR"):
        made = made.converted(format)
    elif format == "RGB24":
        made = made.converted("BGR24").converted(format)
    if big:
        monkeypatch.setattr(trvil._stack, "_CLASSIC_BYTES", 100)
    made.write(tmp_path / "a.tif", threads=3)
    assert (tmp_path / "a.tif").read_bytes()[:4] == (b"II+\0" if big else b"II*\0")
    tiff = Tiff(tmp_path / "a.tif")
    wanted = np.asarray(made)[..., ::-1] if format.startswith("BGR") else np.asarray(made)
    assert (np.array(tiff.pages) == wanted).all()
    assert {facts[4] for facts in tiff.facts} == {2 if made.format.channels else 1}


def test_a_stack_appears_whole_or_not_at_all(tmp_path):
    opened, old = recording(tmp_path, samples()), b"precious"
    (tmp_path / "a.tif").write_bytes(old)
    with pytest.raises(trvil.Error, match="cannot hold BGRX32"):
        opened.converted("BGRX32").write(tmp_path / "a.tif")
    with pytest.raises(ValueError, match="no frames"):
        opened[:0].write(tmp_path / "a.tif")
    with pytest.raises(FileNotFoundError, match="/none"):
        opened.write(tmp_path / "none" / "a.tif")
    (tmp_path / "a.raw").write_bytes(bytes(100))
    with pytest.raises(OSError, match="Shorter.*a.raw"):
        opened.write(tmp_path / "a.tif")
    big = recording(tmp_path, samples(200, 64, 64))
    before, _ = resource.getrlimit(resource.RLIMIT_FSIZE), None
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 20, before[1]))
    try:
        with pytest.raises(trvil.Error, match="not written whole") as caught:
            big.write(tmp_path / "a.tif")
    finally:
        resource.setrlimit(resource.RLIMIT_FSIZE, before)
    assert caught.value.status == trvil.STATUS_FILE_CLOSE
    assert (tmp_path / "a.tif").read_bytes() == old and sorted(os.listdir(tmp_path)) == ["a.raw", "a.tif"]


def test_dask_has_the_same_frames(tmp_path):
    dask = pytest.importorskip("dask.array", reason="skipped: install python3-dask")
    made = recording(tmp_path, samples(11)).converted("RGB48")
    for frames in (1, 4, 100, None):
        array = made.to_dask(frames)
        assert array.shape == made.shape and (array.compute(scheduler="threads") == np.asarray(made)).all()
    assert made.to_dask(4).chunks[0] == (4, 4, 3) and isinstance(made.to_dask()[2:4].max(), dask.Array)
    assert made[:0].to_dask().compute().shape == (0, 6, 8, 3)
    assert made.to_dask(2).name != made[1:].to_dask(2).name


def test_zarr_goes_on_where_a_call_ended(tmp_path):
    zarr = pytest.importorskip("zarr", reason="skipped: install python3-zarr")
    made, store = recording(tmp_path, samples(11)).converted("BGR24"), tmp_path / "a.zarr"
    for name, executor in (("a", None), ("b", ThreadPoolExecutor(2)),
                           ("c", ProcessPoolExecutor(2, mp_context=get_context("spawn")))):
        assert made.to_zarr(tmp_path / f"{name}.zarr", frames=2, executor=executor, ahead=3) == 11
        assert (zarr.open(str(tmp_path / f"{name}.zarr"))[:] == np.asarray(made)).all()
        if executor:
            executor.shutdown()
    chunks = {path.name: path.read_bytes() for path in store.iterdir()}
    assert made.to_zarr(store, frames=2) == 0
    for name in ("0.0.0.0", "5.0.0.0"):
        (store / name).unlink()
    assert made.to_zarr(store, frames=2) == 3
    assert chunks == {path.name: path.read_bytes() for path in store.iterdir()}
    shutil.copytree(tmp_path, moved := tmp_path.parent / "moved", dirs_exist_ok=True)
    again = trvil.open(moved / "a.raw", (8, 6), "BAY12", phase="GBRG").converted("BGR24")
    assert again.to_zarr(moved / "a.zarr", frames=2) == 0
    for other, frames in ((made, 3), (made[1:], 2), (again.converted("RGB24"), 2),
                          (recording(tmp_path, samples(11)).converted("BGR24", method="med"), 2)):
        with pytest.raises(ValueError, match="holds something else"):
            other.to_zarr(store, frames=frames)
    (tmp_path / "a.raw").write_bytes(bytes(200))
    (store / "5.0.0.0").unlink()
    with pytest.raises(OSError, match="Shorter"):
        made.to_zarr(store, frames=2)
    assert chunks.keys() - {path.name for path in store.iterdir()} == {"5.0.0.0"}


def test_threads_share_a_sequence(tmp_path):
    frames = samples(64)
    opened, problems = recording(tmp_path, frames), []
    made = opened.developed(trvil.Settings(black=16))
    expected = [frame.copy() for frame in made]

    def work(first):
        for i in [*range(first, 64), *range(first)] * 4:
            if not (made[i] == expected[i]).all() or not (opened[i] == frames[i]).all():
                problems.append(i)

    threads = [threading.Thread(target=work, args=(8 * first,)) for first in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not problems
