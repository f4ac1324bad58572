#!/usr/bin/env python3
"""The tool with one system call or one allocation failing, one after the other.

Whatever fails: the tool ends by itself; success means the right bytes; anything else says why, and leaves
the folder as it was. System calls fail by strace's fault injection, allocations by a library loaded first.

    tool_faults.py TOOL NO_MEMORY_LIBRARY [STEP]     every STEP-th allocation (1: all)
"""
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

CONVERT = "convert -s 64x48 -f BAY8 a.raw --force -o out"
COMMANDS = {  # what runs, and the file it makes; `out` and what it makes is there before
    "PNG": (f"{CONVERT}.png", "out.png"),
    "TIFF": (f"{CONVERT}.tif", "out.tif"),
    "PPM": (f"{CONVERT}.ppm", "out.ppm"),
    "raw": (f"{CONVERT}.raw", "out.raw"),
    "new file": ("convert -s 64x48 -f BAY8 a.raw -o new.tif", "new.tif"),
    "stdout": ("convert -s 64x48 -f BAY8 a.raw -o - --as ppm", "stdout"),
    "frame": ("frame -s 64x24 -f Mono8 --field even a.raw --force -o out.raw", "out.raw"),
    "sample": ("sample -s 64x48 -f BAY8 --force -o out.raw", "out.raw"),
}
CALLS = {  # system calls and how they fail; seeking in a file does not
    "openat": ["ENOSPC", "EMFILE"], "write": ["ENOSPC", "EIO"], "read": ["EIO"], "close": ["EIO"], "rename": ["EIO"], "renameat2": ["EIO", "EINVAL"], "fchmod": ["EPERM"],
    "newfstatat": ["EIO"], "memfd_create": ["EMFILE"], "linkat": ["EIO"], "link": ["EIO"],
}
MEMORY = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None  # thousands of small files
faults = []


class Folder:
    def __init__(self, tool):
        self.tool = tool
        self.path = Path(tempfile.mkdtemp(prefix="trvil-faults-", dir=MEMORY))
        (self.path / "a.raw").write_bytes(bytes(i * 7 % 256 for i in range(64 * 48)))
        self.clear()

    def clear(self):
        for entry in self.path.iterdir():
            if entry.name != "a.raw":
                entry.unlink()
        for kind in ("png", "tif", "ppm", "raw"):
            (self.path / f"out.{kind}").write_text("precious")

    def state(self):
        return {entry.name: entry.read_bytes() for entry in self.path.iterdir()}

    def run(self, words, before=(), **environment):
        self.clear()
        result = subprocess.run([*before, self.tool, *words.split()], cwd=self.path, capture_output=True,
                                env={**os.environ, "LC_ALL": "C", **environment}, timeout=60)
        state = self.state()
        if result.stdout:
            state["stdout"] = result.stdout
        return result, state

    def expected(self, words):
        result, good = self.run(words)
        assert result.returncode == 0, result.stderr
        self.clear()
        return good, self.state()


def judge(what, result, state, good, before, made):
    """The two promises: success is whole; failure says why and leaves a whole file or none."""
    said = result.stderr.decode(errors="replace")
    if result.returncode == 0 and state == good:
        return
    if result.returncode == 0:
        faults.append(f"{what}: says it succeeded, but the result is not what it should be")
    elif result.returncode not in (1, 2, 3, 4, 5):
        faults.append(f"{what}: ended by {result.returncode}: {said[-200:]}")
    elif state not in (before, good) and made != "stdout":
        faults.append(f"{what}: failed and left something behind: {sorted(set(state) ^ set(before))}")
    elif "trvil" not in said:
        faults.append(f"{what}: failed without a word")


def injected(log):
    return log.exists() and "(INJECTED)" in log.read_text(errors="replace")


def begun(log, k, call):
    """Whether the k-th call was made after the program was loaded: what the loader does is not ours."""
    lines = log.read_text(errors="replace").splitlines()
    start = next((i for i, line in enumerate(lines) if "a.raw" in line or ".trvil-" in line or "memfd" in line), None)
    failed = next(i for i, line in enumerate(lines) if "(INJECTED)" in line)
    return start is not None and failed >= start


def each_system_call(folder, name, words, made):
    good, before = folder.expected(words)
    log = folder.path.with_suffix(".strace")
    tried = 0
    for call, errors in CALLS.items():
        for error in errors:
            for k in range(1, 200):
                log.unlink(missing_ok=True)
                strace = ["strace", "-f", "-o", str(log), "-e", f"trace={call},openat,memfd_create",
                          "-e", f"inject={call}:error={error}:when={k}"]
                result, state = folder.run(words, strace)
                if not injected(log):
                    break
                if begun(log, k, call):
                    tried += 1
                    judge(f"{name}: {call} {k} fails by {error}", result, state, good, before, made)
    log.unlink(missing_ok=True)
    return tried


def each_allocation(folder, name, words, made, library, step):
    good, before = folder.expected(words)
    tried = 0
    for for_good in ({}, {"NO_MEMORY_FOR_GOOD": "1"}):
        k, last = 1, count_allocations(folder, words, library)
        while k <= last:
            result, state = folder.run(words, LD_PRELOAD=library, NO_MEMORY_AT=str(k), **for_good)
            judge(f"{name}: allocation {k}{' and all after it' if for_good else ''}", result, state, good, before, made)
            tried += 1
            k += step
    return tried


def count_allocations(folder, words, library):
    """By halving: the last one whose failure, with all after it, is noticed."""
    low, high = 0, 100000
    while high - low > 1:
        middle = (low + high) // 2
        result, _ = folder.run(words, LD_PRELOAD=library, NO_MEMORY_AT=str(middle), NO_MEMORY_FOR_GOOD="1")
        low, high = (middle, high) if result.returncode else (low, middle)
    return low


def full_disk(folder):
    """A disk of every size from one page to enough. Returns how many were too small."""
    disk = folder.path / "disk"
    disk.mkdir()
    too_small = 0
    for kind in ("png", "tif", "ppm", "raw"):
        words = f"convert -s 64x48 -f BAY8 a.raw -o disk/out.{kind}".split()
        for pages in range(1, 9):
            if subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={4 * pages}k", "none", disk],
                              capture_output=True).returncode:
                return "NOT TESTED (needs the right to mount)"
            try:
                result = subprocess.run([folder.tool, *words], cwd=folder.path, capture_output=True)
                left = list(disk.iterdir())
            finally:
                subprocess.run(["umount", disk], check=True)
            too_small += result.returncode != 0
            if result.returncode not in (0, 5) or len(left) != (result.returncode == 0):
                faults.append(f"disk of {pages} pages: ended by {result.returncode} and left {left}")
    disk.rmdir()
    return f"{too_small} disks too small"


def beyond_four_gibibytes(folder):
    """The picture lies behind 5 GiB of nothing, which take no room."""
    _, good = folder.run(COMMANDS["PPM"][0])
    with (folder.path / "sparse.raw").open("wb") as sparse:
        sparse.seek(5 << 30)
        sparse.write((folder.path / "a.raw").read_bytes())
    words = f"convert -s 64x48 -f BAY8 --skip {5 << 30} sparse.raw --force -o out.ppm"
    result = subprocess.run([folder.tool, *words.split()], cwd=folder.path, capture_output=True)
    if result.returncode or (folder.path / "out.ppm").read_bytes() != good["out.ppm"]:
        faults.append(f"behind 5 GiB: {result}")


def main(tool, library, step="1"):
    folder = Folder(tool)
    can_trace = subprocess.run(["strace", "-o", "/dev/null", "true"], capture_output=True).returncode == 0 \
        if shutil.which("strace") else False
    if not can_trace:
        print("strace does not run here: failing system calls NOT TESTED")
    try:
        print(f"full disk: {full_disk(folder)}")
        beyond_four_gibibytes(folder)
        for name, (words, made) in COMMANDS.items():
            calls = each_system_call(folder, name, words, made) if can_trace else 0
            blocks = each_allocation(folder, name, words, made, library, int(step))
            print(f"{name}: {calls} system calls and {blocks} allocations failed in turn", flush=True)
    finally:
        shutil.rmtree(folder.path)
    print("\n".join(faults))
    sys.exit(bool(faults))


main(*sys.argv[1:])
