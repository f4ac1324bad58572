"""checksums.py TOOL: lists of `trvil convert --checksums` hold what is in the files, and `trvil verify` sees what changes.

Sums are taken by a plain CRC-32C of the test's own, at the places that the list tells."""

import json
import os
import subprocess
import sys
import tempfile
import urllib.parse
from pathlib import Path

tool = os.path.abspath(sys.argv[1])
width, height, frames = 14, 10, 9
size = ["-s", f"{width}x{height}", "-f", "BAY12", "--phase", "RGGB"]
frame_bytes = width * height * 2
table = []
for n in range(256):
    for _ in range(8):
        n = n >> 1 ^ 0x82F63B78 if n & 1 else n >> 1
    table.append(n)


def crc32c(data):
    crc = 0xFFFFFFFF
    for byte in data:
        crc = table[(crc ^ byte) & 255] ^ crc >> 8
    return crc ^ 0xFFFFFFFF


assert crc32c(b"123456789") == 0xE3069283


def run(*words, expect=0, stdin=b"", **options):
    result = subprocess.run([tool, *map(str, words)], input=stdin, capture_output=True, timeout=60, **options)
    assert result.returncode == expect, f"{words}: {result.returncode}, {result.stderr.decode()}"
    return result


def read_list(path):
    """Its frames as (index, input, output), each a pair of a sum and its place."""
    lines = Path(path).read_text(errors="surrogateescape").split("\n")
    assert lines[0] == "# trvil checksums 1" and lines[-1] == ""
    split = [line.split(" ") for line in lines if line and not line.startswith("#")]
    return [(int(w[0]), (int(w[1], 16), *w[3:6]), (int(w[2], 16), *w[6:9])) for w in split]


def check_sum(entry, instead=None):
    sum, place, count, file = entry
    data = instead if instead is not None else Path(os.fsdecode(urllib.parse.unquote_to_bytes(file))).read_bytes()
    data = data[int(place):int(place) + int(count)]
    assert len(data) == int(count) and crc32c(data) == sum, entry


def put_recording(name, begin=0, before=b"", head=b"", count=frames):
    samples = [bytes(v for i in range(width * height) for v in ((i * 7 + f * 31) & 255, (i + f) & 15))
               for f in range(begin, begin + count)]
    Path(name).write_bytes(head + b"".join(before + frame for frame in samples))


def test_lists():
    """Of every kind of output, and of recordings in several files and with bytes between frames."""
    put_recording("one.raw"), put_recording("two %\n.raw", begin=40)
    put_recording("gaps.raw", before=b"12345", head=b"head")
    both = ["one.raw", "two %\n.raw"]
    gaps = ["gaps.raw", "--skip", 4, "--frame-skip", 5, "--frames", "1:8:3"]
    cases = [(both, "all.rgb24", 18), (both, "all.y4m", 18), (both, "all.raw", 18), (both, "f{n}.png", 18),
             (both, "{name}.ppm", 2), (both, "{name}.rgb24", 18), (gaps, "gaps.rgb24", 3), (gaps, "gaps{n}.dng", 3)]
    for words, output, count in cases:
        run("convert", *size, *words, "-o", output, "--jobs", 2, "--checksums", "list", "--force")
        entries = read_list("list")
        assert len(entries) == count, (output, entries)
        for _, read, written in entries:
            check_sum(read), check_sum(written)
        files = [read[3] for _, read, _ in entries]
        assert files == sorted(files), "the list is not in the order of its inputs"
        run("verify", "list")
    run("convert", *size, *both, "-o", "stack.tif", "--checksums", "list", "--force")
    assert [written[1] for _, _, written in read_list("list")] == [f"page{i}" for i in range(18)]
    run("verify", "list")
    run("convert", *size, "one.raw", "--frames", "4", "-o", "single.tif", "--checksums", "list", "--force")
    (_, read, written), = read_list("list")
    check_sum(read), check_sum(written)


def test_pipes():
    """What went through pipes is told by --of; a frame that breaks off has the bytes that were there."""
    dumps = Path("one.raw").read_bytes()[:-100]
    sent = run("convert", *size, "--partial", "-", "-o", "-", "--as", "rgb24", "--checksums", "piped", stdin=dumps).stdout
    entries = read_list("piped")
    assert len(entries) == frames and int(entries[-1][1][2]) == frame_bytes - 100
    for _, read, written in entries:
        check_sum(read, dumps), check_sum(written, sent)
    Path("dumps.copy").write_bytes(dumps), Path("sent.copy").write_bytes(sent)
    run("verify", "piped", "--of", "input", "dumps.copy")
    run("verify", "piped", "--of", "output", "sent.copy")
    assert b"--of input FILE" in run("verify", "piped", expect=2).stderr
    assert b"has nothing of one.raw" in run("verify", "piped", "one.raw", expect=2).stderr
    refused = run("convert", *size, "one.raw", "-o", "-", "--as", "png", "--checksums", "other", expect=2)
    assert not refused.stdout and not Path("other").exists()


def test_changes():
    """Each frame that differs or is missing is named, and only those."""
    run("convert", *size, "one.raw", "-o", "n{n}.png", "--checksums", "list", "--force")
    whole = Path("one.raw").read_bytes()
    for place in (0, frame_bytes * 7 - 1, len(whole) - 1):
        changed = bytearray(whole)
        changed[place] ^= 4
        Path("one.raw").write_bytes(changed)
        said = run("verify", "list", expect=1).stdout.decode()
        assert said.startswith(f"frame {place // frame_bytes} of one.raw differs: ") and said.count("\n") == 1, said
    Path("one.raw").write_bytes(whole[:-frame_bytes - 1])
    said = run("verify", "list", "one.raw", expect=4).stdout.decode()
    assert said == "frame 7 of one.raw is missing\nframe 8 of one.raw is missing\n", said
    Path("one.raw").write_bytes(whole)
    Path("n000003.png").unlink(), Path("n000004.png").write_bytes(Path("n000005.png").read_bytes())
    said = json.loads(run("verify", "list", "--json", expect=1).stdout)
    assert [(bad["frame"], bad["verdict"]) for bad in said["bad"]] == [(3, "missing"), (4, "differs")], said
    assert (said["checksums"], said["differ"], said["missing"]) == (2 * frames, 1, 1)

    run("convert", *size, "one.raw", "-o", "pages.tif", "--checksums", "pages", "--force")
    pages = bytearray(Path("pages.tif").read_bytes())
    (_, _, (_, _, count, _)), *_ = read_list("pages")
    pages[8 + 2 * int(count)] ^= 1  # in the second page or in the third: heads are short
    Path("pages.tif").write_bytes(pages)
    said = run("verify", "pages", expect=1).stdout
    assert said.count(b" of pages.tif differs") == 1 and said.count(b"\n") == 1, said


def test_failures():
    """A list tells of what was written, or is not there; what is no list is refused."""
    Path("short.raw").write_bytes(Path("one.raw").read_bytes()[:-10])
    run("convert", *size, "short.raw", "-o", "short{n}.ppm", "--checksums", "short", expect=4)
    assert len(read_list("short")) == frames - 1
    run("verify", "short")
    limit = ["bash", "-c", 'ulimit -f 2; exec "$@"', "-", tool]
    for outputs, count in (["full.rgb24"], None), (["{name}.full.rgb24"], None):
        words = ["convert", *size, "one.raw", "two %\n.raw", "-o", *outputs, "--checksums", "full"]
        assert subprocess.run([*limit, *map(str, words)], capture_output=True).returncode == 5
        assert not Path("full").exists(), outputs
    put_recording("little.raw", count=1)
    words = ["convert", *size, "one.raw", "little.raw", "-o", "{name}.part.rgb24", "--checksums", "part"]
    assert subprocess.run([*limit, *map(str, words)], capture_output=True).returncode == 5
    assert [read[3] for _, read, _ in read_list("part")] == ["little.raw"]
    before = Path("list").read_bytes()
    assert b"exists already" in run("convert", *size, "one.raw", "-o", "x.rgb24", "--checksums", "list", expect=5).stderr
    assert Path("list").read_bytes() == before and not Path("x.rgb24").exists()
    refused = run("convert", *size, "one.raw", "-o", "x.rgb24", "--force", "--checksums", "one.raw", expect=2)
    assert b"one.raw is an input" in refused.stderr
    good = before.decode().split("\n")[2]
    for line in ("", "1 2", good + " more", good.replace("one.raw", "%4"), "x" + good, good[:-1] + "%zz", "-" + good):
        Path("bad").write_text(f"# trvil checksums 1\n{line}\n")
        assert b"cannot use line 2 of bad" in run("verify", "bad", expect=4).stderr, line
    assert b"is no list" in run("verify", "one.raw", expect=4).stderr
    assert [f for f in os.listdir(".") if f.startswith(".trvil")] == []


with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    for test in (test_lists, test_pipes, test_changes, test_failures):
        test()
    os.chdir("/")
