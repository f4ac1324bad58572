#!/usr/bin/env python3
"""Writes the measured parts of docs/performance.md and its charts from the bench's own files.

usage: charts.py RESULTS PAGE PICTURES
       charts.py RESULTS PAGE MAKE

RESULTS is a folder with warm.json, cold.json, core.json, small.json, tiny.json, threads.json (bench_peers
--json) and calls.json (bench_call). With MAKE, such as amd, the machine is another than the page's
own: its parts are named "MAKE: NAME", it has no charts, threads or calls. In PAGE everything between "<!-- measured: NAME -->" and "<!-- end -->"
is replaced; the charts go to the folder PICTURES. Nothing is written when a part is missing.
"""
import json
import math
import pathlib
import re
import sys

from drawing import bars_chart, dots_chart

RUNS = ["warm", "cold", "core", "small", "tiny"]
PEERS = ["plain", "plain pdep", "OpenCV", "libyuv", "swscale", "dc1394"]
LEVELS = ["trvil", "trvil v3", "trvil v2", "trvil scalar"]


def is_ours(candidate):
    return candidate["name"].startswith("trvil")


class Task:
    """One task of one run: our times and those of the peers."""

    def __init__(self, result):
        self.name, self.family = result["task"], result["family"]
        self.pixels, self.bytes, self.copy = result["pixels"], result["bytes"], result["copy_seconds"]
        self.candidates = result["candidates"]
        self.own = self.candidates[0]["seconds"]
        self.peers = [c for c in self.candidates if not is_ours(c)]
        self.best = min(self.peers, key=lambda c: c["seconds"], default=None)

    def of_copy(self, seconds=None):
        return self.copy / (seconds or self.own)

    def of_best(self):
        return self.best["seconds"] / self.own

    def speed(self):
        return self.pixels / self.own * 1e-6

    def rate(self):
        return self.bytes / self.own * 1e-9


class Run:
    def __init__(self, path):
        data = json.loads(path.read_text())
        self.machine, self.versions, self.rules = data["machine"], data["versions"], data["run"]
        self.tasks = {r["task"]: Task(r) for r in data["results"]}

    def families(self):
        names = list(dict.fromkeys(t.family for t in self.tasks.values()))
        return {n: [t for t in self.tasks.values() if t.family == n] for n in names}


def mean(values):
    """The geometric mean, which is right for ratios."""
    values = list(values)
    return math.exp(sum(map(math.log, values)) / len(values))


def table(heads, rows):
    """A Markdown table; columns whose head ends in ':' are aligned to the right."""
    right = [h.endswith(":") for h in heads]
    lines = ["| " + " | ".join(h.rstrip(":") for h in heads) + " |"]
    lines.append("|" + "|".join(" ---: " if r else " --- " for r in right) + "|")
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines)


def named(candidate):
    return candidate["name"] + ("~" if candidate["differs"] else "")


def spread(values):
    low, high = f"{min(values):.2f}", f"{max(values):.2f}"
    return low if low == high else f"{low} to {high}"


def machine_part(runs):
    run = runs["warm"]
    machine = run.machine
    rows = [["Processor", f"{machine['processor']}, {machine['processors']} cores, "
                          f"{machine['l2_bytes'] >> 20} MiB L2 each, {machine['l3_bytes'] >> 20} MiB L3 as it "
                          "reports itself"],
            ["System", machine["system"]], ["Our level", machine["level"]],
            ["Compiler", machine["compiler"]], ["Measured", machine["date"]]]
    rows += [[name, version] for name, version in run.versions.items()]
    return table(["What", "Which"], rows)


def family_part(runs):
    warm, cold = runs["warm"].families(), runs["cold"].families()
    rows = [[family, str(len(tasks)), spread([t.of_copy() for t in tasks]),
             spread([t.of_best() for t in tasks]), spread([t.of_copy() for t in cold[family]]),
             spread([t.of_best() for t in cold[family]])] for family, tasks in warm.items()]
    return table(["Family", "Tasks:", "warm, x copy:", "warm, x best peer:", "cold, x copy:",
                  "cold, x best peer:"], rows)


def task_cells(task):
    return [f"{task.speed():.0f}", f"{task.rate():.1f}", f"{task.of_copy():.2f}",
            f"{task.of_best():.2f}", named(task.best)]


def task_part(runs):
    rows = []
    for name, task in runs["warm"].tasks.items():
        cold = runs["cold"].tasks[name]
        rows.append([name] + task_cells(task) + task_cells(cold))
    heads = ["Mpx/s:", "GB/s:", "x copy:", "x best:", "best peer"]
    return table(["Task"] + ["warm " + heads[0]] + heads[1:] + ["cold " + heads[0]] + heads[1:], rows)


def peers_part(runs):
    tasks = runs["warm"].tasks.values()
    present = {c["name"] for t in tasks for c in t.peers}
    names = [n for n in PEERS if n in present] + sorted(present - set(PEERS))
    rows = []
    for task in tasks:
        by_name = {c["name"]: c for c in task.peers}
        cells = []
        for name in names:
            peer = by_name.get(name)
            cells.append(f"{task.of_copy(peer['seconds']):.2f}{'~' if peer['differs'] else ''}" if peer else "")
        differs = [f"{c['name']}: {c['differs']}" for c in task.peers if c["differs"]]
        rows.append([task.name, f"{task.of_copy():.2f}"] + cells + ["; ".join(differs)])
    return table(["Task", "trvil:"] + [n + ":" for n in names] + ["what differs"], rows)


def level_part(runs):
    rows = []
    for family, tasks in runs["warm"].families().items():
        cells = []
        for level in LEVELS:
            times = [(t, c["seconds"]) for t in tasks for c in t.candidates if c["name"] == level]
            cells.append(f"{mean(t.of_copy(s) for t, s in times):.2f}" if times else "")
        rows.append([family] + cells)
    return table(["Family", runs["warm"].machine["level"] + ":", "v3:", "v2:", "scalar:"], rows)


def small_part(runs):
    sizes = {"640x480": "small", "1024x128": "core", "64x48": "tiny"}
    heads, rows = ["Family"], [[family] for family in runs["small"].families()]
    for size, name in sizes.items():
        heads += [f"{size} Mpx/s:", "x copy:", "x best peer:"]
        for row, tasks in zip(rows, runs[name].families().values()):
            row += [f"{mean(t.speed() for t in tasks):.0f}", f"{mean(t.of_copy() for t in tasks):.2f}",
                    spread([t.of_best() for t in tasks])]
    return table(heads, rows)


def thread_part(runs):
    threads = runs["threads"].rules["threads"]
    rows = []
    for family, tasks in runs["threads"].families().items():
        alone = mean(runs["warm"].tasks[t.name].speed() for t in tasks)
        together = mean(t.speed() for t in tasks)
        rows.append([family, f"{alone:.0f}", f"{together:.0f}", f"{together / alone:.2f}",
                     spread([t.of_best() for t in tasks])])
    text = table(["Family", "1 thread, Mpx/s:", f"{threads} threads, Mpx/s:", "gain:", "x best peer:"], rows)
    return busy_note(runs["threads"]) + text


def busy_note(run):
    """What to say of a run of several threads that had not the machine for itself."""
    load, cores = run.machine["load"], run.machine["processors"]
    if load < run.rules["threads"] + 0.5:
        return ""
    return (f"Other programs ran meanwhile (load {load:.1f} on {cores} cores): these speeds are too low, and\n"
            "gain and ratios say little. Measured on an idle machine, this remark goes away.\n\n")


def call_part(calls):
    rows = [[c["task"], f"{c['width']}x{c['height']}", str(c["queries"]), f"{c['call_ns']:.0f}",
             f"{c['queries_ns']:.0f}", f"{c['call_ns'] - c['queries_ns']:.0f}"] for c in calls]
    return table(["Task", "Size", "Queries:", "call, ns:", "queries, ns:", "the rest, ns:"], rows)


def replace_parts(page, parts):
    for name, text in parts.items():
        pattern = re.compile(rf"(<!-- measured: {name} -->\n).*?(<!-- end -->)", re.S)
        page, count = pattern.subn(lambda m: m[1] + "\n" + text + "\n\n" + m[2], page)
        if count != 1:
            sys.exit(f"charts.py: the page needs one part 'measured: {name}', it has {count}")
    return page


def copy_chart(runs):
    cold = runs["cold"].families()
    bars = [(family, mean(t.of_copy() for t in tasks), mean(t.of_copy() for t in cold[family]))
            for family, tasks in runs["warm"].families().items()]
    return bars_chart("Speed as a part of a memory copy of the same bytes",
                      ["1920x1080, warm", "4096x3072, cold"], "memory copy", bars)


def peer_chart(runs):
    cold = runs["cold"].families()
    rows = [(family, [t.of_best() for t in tasks], [t.of_best() for t in cold[family]])
            for family, tasks in runs["warm"].families().items()]
    return dots_chart("How many times as fast as the best peer, each task a mark",
                      ["1920x1080, warm", "4096x3072, cold"], "best peer", rows)


def main(results, page, pictures):
    runs = {name: Run(results / f"{name}.json") for name in [*RUNS, "threads"]}
    calls = json.loads((results / "calls.json").read_text())["calls"]
    parts = {"machine": machine_part(runs), "families": family_part(runs), "tasks": task_part(runs),
             "peers": peers_part(runs), "levels": level_part(runs), "small": small_part(runs),
             "threads": thread_part(runs), "calls": call_part(calls)}
    text = replace_parts(page.read_text(), parts)
    charts = {"performance-copy.svg": copy_chart(runs), "performance-peers.svg": peer_chart(runs)}
    page.write_text(text)
    for name, chart in charts.items():
        (pictures / name).write_text(chart)


def main_of_another(results, page, make):
    runs = {name: Run(results / f"{name}.json") for name in RUNS}
    parts = {"machine": machine_part(runs), "families": family_part(runs), "small": small_part(runs)}
    page.write_text(replace_parts(page.read_text(), {f"{make}: {name}": text for name, text in parts.items()}))


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    results, page, last = map(pathlib.Path, sys.argv[1:])
    try:
        if last.is_dir():
            main(results, page, last)
        else:
            main_of_another(results, page, last.name)
    except (OSError, KeyError, json.JSONDecodeError) as error:
        sys.exit(f"charts.py: {error!r}; run bench/peers/publish, which makes all of its files")
