#!/usr/bin/env python3
"""Changes the code in small ways, one at a time, and sees whether the tests notice.

    tests/mutation/mutate.py --count 200 --seed 1         draws, builds and tests 200 mutants
    tests/mutation/mutate.py --count 200 --seed 1 --list  shows what would be drawn

It works on a copy of the tree in build-mutation/, so the tree itself is never touched. A run that was
stopped goes on where it was; results lie in build-mutation/results-SEED.jsonl, a line per mutant:

    killed      a test failed, crashed or took far too long
    survived    all tests of the room passed: a test is missing, or the change cannot matter
    same        the compiler made the same programs of it: no mutant at all, not counted
    broken      it does not compile: not counted

Drawing goes on until COUNT mutants are killed or survive.
"""
import argparse
import hashlib
import json
import os
import random
import shlex
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))
from operators import candidates  # noqa: E402

TREE = Path(__file__).resolve().parents[2]
ROOMS = {  # the test programs of a room, those that fail soonest first
    "image/bayer": ["bayer_test", "pad_test", "convert_test", "exports_test"],
    "image/direct": ["direct_test", "pad_test", "convert_test"],
    "image/field": ["field_to_frame_test", "field_test", "exports_test"],
    "image/file": ["file_test", "fault_test"],
    "image/format": ["explain_test", "convert_test", "direct_test", "bayer_test"],
    "image/exports/file_write": ["file_test", "fault_test"],
    "image/exports/g": ["file_test", "fault_test"],
    "image/exports/field_to_frame": ["field_to_frame_test"],
    "image/exports/b": ["bayer_test", "exports_test"],
    "image/exports": ["convert_test", "direct_test", "bayer_test", "explain_test"],
    "image": ["convert_test", "direct_test", "bayer_test", "field_to_frame_test", "field_test", "file_test"],
    "support": ["test_support", "fault_test"],
    "companion": ["companion_test", "handles_test", "fault_test"],
    "raw": ["unpack_test", "raw_convert_test"],
    "raw/convert": ["explain_test", "raw_convert_test"],
    "raw/demosaic": ["demosaic_test"],
    "raw/develop": ["develop_test"],
    "raw/explain": ["explain_test"],
    "raw/exports": ["routes_test", "names_test", "explain_test", "develop_test", "raw_convert_test"],
    "raw/names": ["names_test"],
    "raw/pool": ["raw_pool_test", "raw_convert_test"],
    "raw/routes": ["routes_test"],
    "raw/strips": ["explain_test", "develop_test", "raw_convert_test"],
    "raw/unpack": ["unpack_test"],
}


def tests_of(path):
    return ROOMS[max((room for room in ROOMS if path.startswith(room)), key=len)]


class Workshop:
    """The copy of the tree, and how to build and test it."""

    def __init__(self, folder, prefix):
        self.folder, self.source, self.build = folder, folder / "source", folder / "build"
        self.prefix = shlex.split(prefix)
        self.limits, self.hashes = {}, {}

    def run(self, *command, limit=None):
        process = subprocess.Popen([*self.prefix, *map(str, command)], cwd=self.source, start_new_session=True,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            return process.wait(limit)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)  # its own group: what it started goes too
            process.wait()
            return "timeout"

    def test(self, program):
        """A changed program may write and ask for memory without end."""
        return self.run("prlimit", "--fsize=300000000:unlimited", "--as=20000000000", self.build / "bin" / program,
                        "--gtest_brief=1", "--gtest_fail_fast", limit=self.limits.get(program))

    def prepare(self, programs):
        shutil.rmtree(self.source, ignore_errors=True)
        listed = subprocess.run(["git", "ls-files"], cwd=TREE, check=True, capture_output=True, text=True)
        for name in listed.stdout.split():
            target = self.source / name
            target.parent.mkdir(parents=True, exist_ok=True)
            if (TREE / name).exists():
                shutil.copy(TREE / name, target)  # newer than what a stopped run has built
        subprocess.run(["git", "init", "-q"], cwd=self.source, check=True)  # ends the wrapper's search here
        if self.run("cmake", "-S", ".", "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=None",
                    "-DCMAKE_CXX_FLAGS=-O1 -DNDEBUG -Wno-error", "-DTRVIL_WERROR=OFF",
                    "-DTRVIL_BUILD_TOOL=OFF", "-DTRVIL_BUILD_BENCH=OFF"):
            sys.exit("the copy cannot be configured")
        if self.make(programs):
            sys.exit("the unchanged copy does not build")
        for program in programs:
            start = time.monotonic()
            if self.test(program):
                sys.exit(f"{program} fails without any change")
            self.limits[program] = 20 + 5 * (time.monotonic() - start)
            self.hashes[program] = self.hash(program)

    def make(self, programs):
        return self.run("cmake", "--build", self.build, "--target", *programs)

    def hash(self, program):
        digest = hashlib.sha256((self.build / "bin" / program).read_bytes())
        for library in (self.build / "lib").glob("*.so"):
            digest.update(library.read_bytes())
        return digest.hexdigest()

    def judge(self, mutant):
        programs = tests_of(mutant["file"])
        if self.make(programs):
            return "broken", ""
        changed = [program for program in programs if self.hash(program) != self.hashes[program]]
        if not changed:
            return "same", ""
        for program in changed:
            result = self.test(program)
            if result:
                return "killed", f"{program}: {result}"
        return "survived", ""

    def try_out(self, mutant):
        path = self.source / mutant["file"]
        text = path.read_text()
        lines = text.split("\n")
        assert lines[mutant["line"] - 1] == mutant["before"], "the tree changed while it was copied"
        lines[mutant["line"] - 1] = mutant["after"]
        path.write_text("\n".join(lines))
        try:
            return self.judge(mutant)
        finally:
            path.write_text(text)


def drawn(seed):
    files = subprocess.run(["git", "ls-files", "image", "support", "companion", "raw"], cwd=TREE, check=True,
                           capture_output=True, text=True).stdout.split()
    piles = {}
    for name in files:
        if name.endswith((".cpp", ".h", ".inc")):
            for mutant in candidates(name, (TREE / name).read_text()):
                piles.setdefault(mutant["operator"], []).append(mutant)
    dice = random.Random(seed)
    while piles:  # every operator is as likely, or nearly half would be constants
        operator = dice.choice(sorted(piles))
        pile = piles[operator]
        yield pile.pop(dice.randrange(len(pile)))
        if not pile:
            del piles[operator]


def show(mutant):
    return (f"{mutant['file']}:{mutant['line']} {mutant['operator']}\n"
            f"  - {mutant['before'].strip()}\n  + {mutant['after'].strip()}")


def read_results(path):
    return [json.loads(line) for line in path.read_text().splitlines()] if path.exists() else []


def counted(results):
    return [r for r in results if r["result"] in ("killed", "survived")]


def summary(results):
    good = counted(results)
    survivors = [r for r in good if r["result"] == "survived"]
    share = 100 * (1 - len(survivors) / len(good)) if good else 0
    skipped = len(results) - len(good)
    text = "\n".join(show(mutant) for mutant in survivors)
    return f"{text}\n{len(good)} mutants, {len(good) - len(survivors)} killed ({share:.1f} %), " \
           f"{skipped} more made no difference to the compiler or did not compile"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("--count", type=int, default=200)
    parser.add_argument("--seed", type=int, default=int(time.time()))
    parser.add_argument("--only", default="", help="only files whose path begins so; several with commas")
    parser.add_argument("--list", action="store_true", help="show what is drawn and end")
    parser.add_argument("--prefix", default="", help="words before every build and test command")
    options = parser.parse_args()
    print(f"seed {options.seed}")
    mutants = [m for m in drawn(options.seed) if m["file"].startswith(tuple(options.only.split(",")))]
    if options.list:
        print("\n".join(show(mutant) for mutant in mutants[:options.count]))
        return
    workshop = Workshop(TREE / "build-mutation", options.prefix)
    record = workshop.folder / f"results-{options.seed}.jsonl"
    results = read_results(record)
    done = {(r["file"], r["line"], r["after"]) for r in results}
    workshop.prepare(sorted({program for mutant in mutants for program in tests_of(mutant["file"])}))
    for mutant in mutants:
        if len(counted(results)) >= options.count:
            break
        if (mutant["file"], mutant["line"], mutant["after"]) in done:
            continue
        start = time.monotonic()
        mutant["result"], mutant["by"] = workshop.try_out(mutant)
        mutant["seconds"] = round(time.monotonic() - start, 1)
        results.append(mutant)
        with record.open("a") as out:
            out.write(json.dumps(mutant) + "\n")
        print(f"{len(counted(results))} {mutant['result']:8} {mutant['seconds']:5} s  {show(mutant)}", flush=True)
    report = summary(results)
    (workshop.folder / f"report-{options.seed}.txt").write_text(report + "\n")
    print(report)


if __name__ == "__main__":
    main()
