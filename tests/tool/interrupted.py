"""interrupted.py TOOL SECONDS: runs that a signal ends, at any moment, leave nothing half.

Batches at several numbers of jobs, onto new names and onto files that are there, and a sample with its
scene. After each, every final name holds what an undisturbed run writes there, or what it held before, and
no other file is there. A run that the signal was meant for ends by it, or was done already."""

import os
import random
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

PICTURES = 300
SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)
DUMP = ("-s", "96x64", "-f", "BAY8")
LARGE = ("-s", "1500x1000", "-f", "BAY8")


def batch(jobs, kind, inputs=PICTURES, size=DUMP, force=()):
    names = [f"../in{size[1]}/{i}.raw" for i in range(inputs)]
    return ["convert", *size, "--jobs", str(jobs), "--as", kind, *force, *names, "-o", "."]


def commands():
    for jobs in (8, 100, 256):
        yield f"{jobs} jobs, png", batch(jobs, "png"), False
        yield f"{jobs} jobs, tif", batch(jobs, "tif"), False
        yield f"{jobs} jobs, raw onto others", batch(jobs, "raw", force=("--force",)), True
        yield f"{jobs} jobs, large", batch(jobs, "png", 40, LARGE), False
    yield "sample", ["sample", *LARGE, "-o", "a.raw", "--true", "a.png"], False


def start(tool, words, folder):
    """With the signals as a shell in the foreground has them."""
    return subprocess.Popen([tool, *words], cwd=folder, stderr=subprocess.DEVNULL,
                            preexec_fn=lambda: [signal.signal(s, signal.SIG_DFL) for s in SIGNALS])


class Case:
    def __init__(self, tool, root, words, replaces):
        self.tool, self.words = tool, words
        self.folder = Path(tempfile.mkdtemp(dir=root))
        began = time.monotonic()
        assert start(tool, words, self.folder).wait() == 0, words
        self.seconds = time.monotonic() - began
        self.whole = self.contents()
        self.before = dict.fromkeys(self.whole, b"precious") if replaces else {}

    def contents(self):
        return {entry.name: entry.read_bytes() for entry in self.folder.iterdir()}

    def interrupt(self):
        """What is wrong after a run with a signal at some time in it."""
        for entry in self.folder.iterdir():
            entry.unlink()
        for name, held in self.before.items():
            (self.folder / name).write_bytes(held)
        run = start(self.tool, self.words, self.folder)
        time.sleep(random.uniform(0, self.seconds))
        sent = random.sample(SIGNALS, random.choice((1, 1, 3)))
        for each in sent:
            run.send_signal(each)
        code = run.wait(timeout=60)
        self.ended = code < 0
        after = self.contents()
        wrong = [name for name, held in after.items() if held not in (self.whole.get(name), self.before.get(name))]
        lost = [name for name in self.before if name not in after]
        if code != 0 and -code not in sent:
            wrong.append(f"ended by {code}")
        return wrong + lost


def main(tool, seconds):
    seed = random.randrange(1 << 32)
    random.seed(seed)
    runs = ended = 0
    faults = []
    memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    with tempfile.TemporaryDirectory(dir=memory) as root:
        for size, count in ((DUMP, PICTURES), (LARGE, 40)):
            folder = Path(root, f"in{size[1]}")
            folder.mkdir()
            subprocess.run([tool, "sample", *size, "-o", "0.raw"], cwd=folder, check=True, capture_output=True)
            dump = bytearray((folder / "0.raw").read_bytes())
            for i in range(count):
                dump[0] = i % 256
                (folder / f"{i}.raw").write_bytes(dump)
        cases = [(name, Case(tool, root, words, replaces)) for name, words, replaces in commands()]
        end = time.monotonic() + seconds
        while time.monotonic() < end or runs < len(cases):
            name, case = cases[runs % len(cases)]
            wrong = case.interrupt()
            runs, ended = runs + 1, ended + case.ended
            if wrong:
                faults.append(f"{name}: {len(wrong)} wrong: {wrong[:5]}")
    print(f"{runs} runs, {ended} of them ended by a signal, seed {seed}")
    print("\n".join(faults[:20]))
    sys.exit(bool(faults) or ended == 0)


main(os.path.abspath(sys.argv[1]), float(sys.argv[2]))
