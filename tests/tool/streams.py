"""streams.py TOOL: recordings as ffmpeg reads them, TIFF pages, and runs that a signal ends.

ffmpeg's checksums of the frames of a stream are those of the pictures that the tool makes of each dump
alone. The recording is a window that moves over the real dump of ../shared/data, and a made one."""

import hashlib
import os
import random
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

TOOL = os.path.abspath(sys.argv[1])
CHART = Path(__file__).resolve().parents[2] / "../shared/data/chart-1920x1080-rggb10.raw"
FRAMES = 5
FORMAT = ("-f", "BAY10", "--phase", "RGGB")


def run(*words, **more):
    return subprocess.run([TOOL, *words], check=True, capture_output=True, **more).stdout


def window(dump, width, at_x, at_y, wide, high):
    """Part of a picture of 16-bit words."""
    lines = (dump[((at_y + y) * width + at_x) * 2:][:wide * 2] for y in range(high))
    return b"".join(lines)


def recordings(folder):
    """Name, size and dumps."""
    made = random.Random(7)
    yield "made", (70, 38), [bytes(made.getrandbits(8) & (255 if i % 2 == 0 else 3) for i in range(70 * 38 * 2))
                             for _ in range(FRAMES)]
    if CHART.exists():
        dump = CHART.read_bytes()
        yield "real", (640, 360), [window(dump, 1920, 200 * i, 100 * i, 640, 360) for i in range(FRAMES)]


def checksums(source, *words):
    """Of the frames, as ffmpeg finds them."""
    said = subprocess.run(["ffmpeg", "-hide_banner", "-loglevel", "error", *words, "-i", "-", "-f", "framemd5", "-"],
                          input=source, check=True, capture_output=True).stdout.decode()
    return [line.split(",")[-1].strip() for line in said.splitlines() if not line.startswith("#")]


def md5(pictures):
    return [hashlib.md5(picture).hexdigest() for picture in pictures]


def body(pnm):
    return pnm.split(b"\n", 3)[3]


def swapped(words):
    low_first = bytearray(words)
    low_first[::2], low_first[1::2] = words[1::2], words[::2]
    return bytes(low_first)


def near(plane, pixels, weights, offset):
    """Whether a plane is what the formula says, rounded."""
    for i, value in enumerate(plane):
        exact = offset + sum(w * c for w, c in zip(weights, pixels[3 * i:3 * i + 3]))
        if abs(value - exact) > 0.5001:
            return f"pixel {i}: {value} for {exact}"
    return None


def check_y4m(stream, pictures, size):
    """4:4:4 by BT.601 in the range of video."""
    wide, high = size
    kr, kb = 0.299, 0.114
    light = (kr, 1 - kr - kb, kb)
    y = [w * 219 / 255 for w in light]
    u = [(b - w) * 112 / 255 / (1 - kb) for b, w in zip((0, 0, 1), light)]
    v = [(r - w) * 112 / 255 / (1 - kr) for r, w in zip((1, 0, 0), light)]
    frame = wide * high * 3
    frames = [stream[-(frame + 6) * (FRAMES - i):][6:][:frame] for i in range(FRAMES)]
    assert checksums(stream) == md5(frames), "ffmpeg reads other frames"
    for planes, picture in zip(frames, pictures):
        for i, (weights, offset) in enumerate(((y, 16), (u, 128), (v, 128))):
            wrong = near(planes[i * wide * high:][:wide * high][:20000], picture, weights, offset)
            assert wrong is None, wrong


def check_video(folder, size, dumps):
    words = ("-s", f"{size[0]}x{size[1]}", *FORMAT)
    (folder / "all.raw").write_bytes(b"".join(dumps))
    for i, dump in enumerate(dumps):
        (folder / f"{i}.raw").write_bytes(dump)
    each = [body(run("convert", *words, f"{i}.raw", "-o", "-", "--as", "ppm", cwd=folder)) for i in range(FRAMES)]
    deep = [swapped(body(run("convert", *words, f"{i}.raw", "-o", "-", "--as", "ppm", "--depth", "16", cwd=folder)))
            for i in range(FRAMES)]
    grey = [dump[:size[0] * size[1]] for dump in dumps]
    for kind, pictures in (("rgb24", each), ("rgb48le", deep)):
        stream = run("convert", *words, "all.raw", "-o", "-", "--as", kind, cwd=folder)
        raw = ("-f", "rawvideo", "-pix_fmt", kind, "-s", f"{size[0]}x{size[1]}")
        assert checksums(stream, *raw) == md5(pictures), kind
    check_y4m(run("convert", *words, "all.raw", "-o", "-", "--as", "y4m", cwd=folder), each, size)
    as_grey = ("-s", f"{size[0]}x{size[1]}", "-f", "Mono8", "--frames", f":{2 * FRAMES}:2", "all.raw")
    assert checksums(run("convert", *as_grey, "-o", "-", "--as", "y4m", cwd=folder)) == md5(grey), "mono"
    probe = subprocess.run(["ffprobe", "-v", "error", "-show_entries", "stream=pix_fmt,color_range,r_frame_rate",
                            "-of", "csv=p=0", "-"], check=True, capture_output=True,
                           input=run("convert", *words, "all.raw", "-o", "-", "--as", "y4m", "--fps", "30000/1001",
                                     cwd=folder)).stdout
    assert probe.strip() == b"yuv444p,tv,30000/1001", probe
    check_pages(folder, words, each, deep)


def pages(file):
    """Bits, and the bytes of each page of a TIFF with the high byte first."""
    data = file.read_bytes()
    assert data[:2] == b"MM"
    big = data[3] == 43
    at, = struct.unpack_from(">Q", data, 8) if big else struct.unpack_from(">I", data, 4)
    while at != 0:
        count, = struct.unpack_from(">Q" if big else ">H", data, at)
        at += 8 if big else 2
        tags = {}
        for _ in range(count):
            tag, kind, number = struct.unpack_from(">HHQ" if big else ">HHI", data, at)
            letter = {3: "H", 4: "I", 16: "Q"}.get(kind)
            place = at + (12 if big else 8)
            if letter and struct.calcsize(letter) * number > (8 if big else 4):
                place, = struct.unpack_from(">Q" if big else ">I", data, place)
            if letter:
                tags[tag] = struct.unpack_from(f">{number}{letter}", data, place)
            at += 20 if big else 12
        at, = struct.unpack_from(">Q" if big else ">I", data, at)
        yield big, tags[258][0], b"".join(data[o:o + n] for o, n in zip(tags[273], tags[279]))


def check_pages(folder, words, each, deep):
    for name, more, wanted in (("8.tif", (), each), ("16.tif", ("--depth", "16"), [swapped(d) for d in deep])):
        run("convert", *words, "all.raw", "-o", name, *more, cwd=folder)
        found = list(pages(folder / name))
        assert [page[2] for page in found] == wanted and not found[0][0], name
        # A pipe does not tell its length, and may pass 4 GiB.
        run("convert", *words, "-", "-o", "big" + name, *more, cwd=folder, input=(folder / "all.raw").read_bytes())
        found = list(pages(folder / ("big" + name)))
        assert [page[2] for page in found] == wanted and found[0][0], "BigTIFF"


def check_early_end(folder):
    """ffmpeg takes three frames and ends; the tool does as quietly."""
    tool = subprocess.Popen([TOOL, "convert", "-s", "640x480", "-f", "BAY8", "/dev/zero", "-o", "-", "--as", "rgb24"],
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE, cwd=folder)
    subprocess.run(["ffmpeg", "-loglevel", "error", "-f", "rawvideo", "-pix_fmt", "rgb24", "-s", "640x480", "-i", "-",
                    "-frames:v", "3", "-f", "null", "-"], stdin=tool.stdout, check=True)
    tool.stdout.close()
    assert tool.wait(timeout=20) == -signal.SIGPIPE
    assert b"why" not in tool.stderr.read()


class Camera(threading.Thread):
    """Black frames without an end, until nobody reads them."""

    def __init__(self):
        super().__init__(daemon=True)
        self.output, self._input = os.pipe()
        self._given = 0
        self.start()

    def run(self):
        try:
            while True:
                self._given += os.write(self._input, bytes(1 << 16))
        except BrokenPipeError:
            os.close(self._input)

    def wait_for(self, size):
        while self._given < size:
            time.sleep(0.01)


def check_interrupted(folder):
    """A camera that goes on: what is whole by the signal stays, and nothing else."""
    frame = 320 * 240
    for output in ("film.y4m", "stack.tif", "{n}.ppm", "-"):
        for sent in (signal.SIGINT, signal.SIGTERM):
            place = Path(tempfile.mkdtemp(dir=folder))
            to = ("--as", "rgb24") if output == "-" else ()
            out = open(place / "out.rgb24", "wb")
            camera = Camera()
            tool = subprocess.Popen([TOOL, "convert", "-s", "320x240", "-f", "BAY8", "-", "-o", output, *to],
                                    stdin=camera.output, stdout=out, stderr=subprocess.PIPE, cwd=place)
            os.close(camera.output)
            camera.wait_for(100 * frame)  # more than is on its way at a time
            time.sleep(random.uniform(0, 0.2))
            tool.send_signal(sent)
            code = tool.wait(timeout=20)
            camera.join()
            out.close()
            assert code == -sent, (output, code, tool.stderr.read())
            left = {file.name: file.stat().st_size for file in place.iterdir()}
            whole = left.pop("out.rgb24")
            assert output != "-" or (whole % (frame * 3) == 0 and whole > 0), whole
            if output == "film.y4m":
                size = left.pop(output)
                head = (place / output).read_bytes()[:200].index(b"\n") + 1
                assert size > frame and (size - head) % (frame * 3 + 6) == 0, size
            if output == "stack.tif":
                assert all(len(page[2]) == frame * 3 for page in pages(place / output))
                left.pop(output)
            if output == "{n}.ppm":
                assert set(left.values()) == {frame * 3 + 15}, left
                assert sorted(left) == [f"{i:06}.ppm" for i in range(len(left))]
                left = {}
            assert not left, left
            shutil.rmtree(place)


if shutil.which("ffmpeg") is None:
    print("skipped: install ffmpeg")
    sys.exit(77)
with tempfile.TemporaryDirectory() as root:
    for name, size, dumps in recordings(root):
        place = Path(root, name)
        place.mkdir()
        check_video(place, size, dumps)
        print(name, "recording: ffmpeg agrees")
    check_early_end(root)
    check_interrupted(root)
