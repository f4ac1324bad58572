"""grab.py TOOL: `trvil grab` with the camera of camera.py in a process of its own.

What it writes is what `trvil convert` writes of the same frames in a file, whichever frames were lost;
and what goes wrong ends in words, with the exit code that says whose fault it was."""
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import camera

tool = sys.argv[1]
CAMERA = [sys.executable, camera.__file__]
PIXELS = {name: f"pfnc:0x{code:08X}" for name, code in camera.FORMATS.items()}


class Running:
    """A camera, for as long as it is wanted."""

    def __init__(self, *words):
        self.process = subprocess.Popen([*CAMERA, *words], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        assert self.process.stdout.readline() == b"ready\n"

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait()
        self.process.stdout.close()


def run(*words, code=0, says=(), **options):
    done = subprocess.run([tool, *words], capture_output=True, timeout=60, **options)
    said = done.stderr.decode()
    assert done.returncode == code, f"{words}: {done.returncode}\n{said}"
    for word in (says,) if isinstance(says, str) else says:
        assert re.search(word, said), f"{words}: no \"{word}\" in\n{said}"
    return done.stdout


def grab(*words, **options):
    return run("grab", "127.0.0.1", *words, **options)


def files(folder):
    return [path.read_bytes() for path in sorted(Path(folder).iterdir())]


def recording(name, numbers, size, line):
    """A dump of these frames of the camera, and how convert is to read it."""
    height = int(size.split("x")[1])
    Path("dump.raw").write_bytes(b"".join(camera.noise(number, line * height) for number in numbers))
    return ["convert", "-s", size, "-f", PIXELS[name], "--stride", str(line), "dump.raw"]


def check_same(name, size, line, *options, numbers=range(1, 21), words=()):
    """Grabbed and converted, into files and into a stream."""
    for kind, output in (("png", "{}/{{n}}.png"), ("rgb24", "-")):
        made = []
        for maker in ("grabbed", "converted"):
            shutil.rmtree(maker, ignore_errors=True)
            os.mkdir(maker)
            told = ["--as", kind, *options, "-o", output.format(maker)]
            if maker == "grabbed":
                with Running("--size", size, "--format", name, *words):
                    stream = grab("-n", str(len(numbers)), *told)
            else:
                stream = run(*recording(name, numbers, size, line), *told)
            made.append((stream, files(maker)))
        assert made[0] == made[1], f"{name} as {kind}: other bytes"
        assert len(made[0][1]) == len(numbers) or len(made[0][0]) > 0


def is_running(name):
    for process in Path("/proc").glob("[0-9]*/comm"):
        try:
            if process.read_text().strip() == name:
                return True
        except OSError:  # it has ended
            pass
    return False


def test_pictures():
    check_same("Mono8", "64x6", 64)
    check_same("BayerRG12p", "66x8", 102, "-m", "gradient", "--wb", "1.5,1,1.2", words=("--padding", "3"))
    check_same("Mono12Packed", "33x5", 50)
    check_same("BayerGB12", "31x7", 62)
    check_same("YUV422_8", "40x4", 80)


def test_lost_packets():
    whole = [number for number in range(1, 27) if number % 4 != 0]
    check_same("Mono8", "200x20", 200, numbers=whole, words=("--drop", "4"))
    with Running("--drop", "4"):
        grab("-n", "9", "--as", "gray", "-o", "-",
             says=("frame 4 is left out: packets of it were lost", "2 frames were not whole"))
    with Running("--drop", "1"):
        grab("-n", "9", "--timeout", "0.5", "-o", "none.y4m", code=4, says="no whole frame came for 500 ms, after 0")
    assert not Path("none.y4m").exists()


def test_a_camera_that_goes_away():
    with Running("--vanish", "30", "--size", "64x6"):
        grab("-n", "100", "-o", "gone.y4m", code=4, says="went away after 30 frames")
    run(*recording("Mono8", range(1, 31), "64x6", 64), "-o", "whole.y4m")
    assert Path("gone.y4m").read_bytes() == Path("whole.y4m").read_bytes()


def test_words():
    grab("-o", "a.png", code=4, says="cannot open camera 127.0.0.1")
    assert json.loads(run("grab", "--list", "--json")) == []
    with Running("--serial", "42"):
        (found,) = json.loads(run("grab", "--list", "--json"))
        assert found["id"] == "Tests-Loop-42" and found["address"] == "127.0.0.1", found
        assert b"Tests-Loop-42" in run("grab", "--list")
        assert len(run("grab", "-n", "2", "--as", "gray", "-o", "-")) == 2 * 64 * 6
        grab("-n", "1", "-o", "a.png", "--wb", "grey", code=2, says="it is grey")
        grab("-n", "1", "-o", "a.png", "--set", "Colour=3", code=2, says="cannot set Colour=3")
        grab("-n", "1", "-o", "a.png", "--set", "PixelFormat=RGB10p", code=3, says="one stream of bits")
        grab("-n", "1", "-o", "a.png", "--set", "PixelFormat=Unheard", code=3, says="0x01234567")
        grab(code=2, says="there is no -o")
        grab("-n", "0", "-o", "a.png", code=2, says="-n: Value 0 not in range 1 to 1000000000")
        grab("--timeout", "0", "-o", "a.png", code=2, says="--timeout: Value 0 not in range")
        assert not Path("a.png").exists()
    with Running("--period", "60000000"):
        grab("-n", "3", "--timeout", "0.5", "-o", "one.y4m", code=4, says="no frame came for 500 ms, after 1 frame")
    assert len(Path("one.y4m").read_bytes()) > 64 * 6


def test_a_tool_alone():
    shutil.copy(tool, "trvil")
    libraries = os.environ.get("LD_LIBRARY_PATH", str(Path(tool).parent.parent / "lib"))
    done = subprocess.run(["./trvil", "grab", "--list"], capture_output=True,
                          env={"PATH": "/nowhere", "LD_LIBRARY_PATH": libraries})
    assert done.returncode == 1 and b"install the package trvil-grab" in done.stderr, done.stderr


def test_an_end_by_the_user():
    """Interrupted, and left by the reader: whole frames, and soon."""
    with Running("--size", "64x6"):
        grabbing = subprocess.Popen([tool, "grab", "127.0.0.1", "-o", "until.y4m"], start_new_session=True,
                                    stderr=subprocess.PIPE)
        time.sleep(1)
        os.killpg(grabbing.pid, signal.SIGINT)
        assert grabbing.wait(10) == -signal.SIGINT, grabbing.stderr.read()
        grabbing.stderr.close()
        made = Path("until.y4m").read_bytes()
        head = made.index(b"\n") + 1
        assert (len(made) - head) % (len(b"FRAME\n") + 64 * 6) == 0 and len(made) > 100 * 64 * 6
        reading = subprocess.Popen([tool, "grab", "127.0.0.1", "--as", "gray", "-o", "-"], stdout=subprocess.PIPE)
        assert len(reading.stdout.read(4000)) == 4000
        reading.stdout.close()
        reading.wait(10)
        for _ in range(50):  # the program beside the tool ends by itself
            if not is_running("trvil-grab"):
                return
            time.sleep(0.1)
    raise AssertionError("trvil-grab goes on")


with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    for name, test in list(globals().items()):
        if name.startswith("test_"):
            began = time.monotonic()
            test()
            print(f"{name}: {time.monotonic() - began:.1f} s")
