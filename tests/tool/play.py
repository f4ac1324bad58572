"""play.py TOOL [CHROMIUM]: what `trvil play` shows is what `trvil convert` makes.

The player is a program of the test that keeps what it is sent. With CHROMIUM only the page is tested, and its pixels are
those that a browser draws. Ends with 77 where there is no Chromium."""

import atexit
import html
import os
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import zlib
from pathlib import Path

tool, browser = os.path.abspath(sys.argv[1]), sys.argv[2:]
folder = Path(tempfile.mkdtemp())
atexit.register(shutil.rmtree, folder, ignore_errors=True)
width, height, frames = 63, 42, 30
size = ["-s", f"{width}x{height}", "-f", "BAY12", "--phase", "GBRG", "--wb", "1.5,1,2"]
frame_bytes = width * height * 3


def run(*words, expect=0, stdin=b"", path=None, display=":0"):
    env = {**os.environ, "PATH": f"{path}", "DISPLAY": display, "WAYLAND_DISPLAY": ""}
    result = subprocess.run([tool, *map(str, words)], input=stdin, capture_output=True, cwd=folder, timeout=60, env=env)
    assert result.returncode == expect, f"{words}: {result.returncode}, {result.stderr.decode()}"
    return result


def player(name, script):
    """A folder to stand in PATH, with a player in it."""
    home = folder / name
    home.mkdir()
    (home / "ffplay").write_text(f"#!/bin/sh\n{script}\n")
    (home / "ffplay").chmod(0o755)
    return f"{home}:/usr/bin:/bin"


def recording(name="rec.raw"):
    run("sample", *size[:-2], "-o", "chart.raw")
    lines = (folder / "chart.raw").read_bytes()
    moved = [lines[4 * i:] + lines[:4 * i] for i in range(frames)]
    (folder / name).write_bytes(b"".join(moved))
    made = run("convert", *size, name, "-o", "-", "--as", "rgb24").stdout
    assert len(made) == frames * frame_bytes
    return b"".join(moved), [made[i:i + frame_bytes] for i in range(0, len(made), frame_bytes)]


def read_png(path):
    """Rows of an 8-bit RGB file."""
    data, at, packed = path.read_bytes(), 8, b""
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + 8 + length]
        if kind == b"IHDR":
            across, down = struct.unpack(">II", body[:8])
        packed += body if kind == b"IDAT" else b""
        at += 12 + length
    raw, rows, before = zlib.decompress(packed), [], bytes(across * 3)
    for y in range(down):
        line = bytearray(raw[y * (across * 3 + 1) + 1:(y + 1) * (across * 3 + 1)])
        filter_type = raw[y * (across * 3 + 1)]
        for i in range(len(line)):
            a, b, c = (line[i - 3], before[i], before[i - 3]) if i >= 3 else (0, before[i], 0)
            p = min((abs(b - c), 0, a), (abs(a - c), 1, b), (abs(a + b - 2 * c), 2, c))[2]
            line[i] = line[i] + (0, a, b, (a + b) // 2, p)[filter_type] & 255
        rows.append(bytes(line))
        before = rows[-1]
    return rows


def test_player(dumps, made):
    keeps = player("keeps", 'printf "%s " "$@" > arguments\ncat > shown')
    for words, stdin in (["rec.raw"], b""), (["-"], dumps):
        run("play", *size, *words, "--fps", "30000/1001", stdin=stdin, path=keeps)
        assert (folder / "shown").read_bytes() == b"".join(made)
        arguments = (folder / "arguments").read_text()
        assert f"-video_size {width}x{height} " in arguments and "-framerate 30000/1001 " in arguments
    run("play", *size, "--frames", "3:10:2", "rec.raw", path=keeps)
    assert (folder / "shown").read_bytes() == b"".join(made[3:10:2])

    closes = player("closes", "head -c 5000 > /dev/null")
    result = subprocess.run(f"yes | {tool} play -s 640x480 -f BAY8 -", shell=True, capture_output=True, timeout=20,
                            env={"PATH": closes, "DISPLAY": ":0"})
    assert (result.returncode, result.stderr) == (0, b""), result

    breaks = player("breaks", "cat > /dev/null; exit 3")
    assert b"exit code 3" in run("play", *size, "rec.raw", path=breaks, expect=1).stderr
    assert b"install ffmpeg or mpv" in run("play", *size, "rec.raw", path=folder, expect=1).stderr
    assert b"-o page.html" in run("play", *size, "rec.raw", path=keeps, display="", expect=1).stderr


def test_paused_player():
    """A signal ends the tool though the player takes nothing, and the player with it."""
    paused = player("paused", f"echo $$ > {folder}/process; exec sleep 60")
    feed = subprocess.Popen(["yes"], stdout=subprocess.PIPE)
    play = subprocess.Popen([tool, "play", "-s", "640x480", "-f", "BAY8", "-"], stdin=feed.stdout,
                            env={"PATH": paused, "DISPLAY": ":0"})
    feed.stdout.close()
    deadline = time.monotonic() + 20
    while not (folder / "process").exists() or not (folder / "process").read_text():
        assert time.monotonic() < deadline
        time.sleep(.01)
    time.sleep(.2)
    play.send_signal(signal.SIGTERM)
    assert play.wait(timeout=20) == -signal.SIGTERM
    feed.wait(timeout=20)
    try:
        os.kill(int((folder / "process").read_text()), 0)
        assert False, "the player goes on"
    except ProcessLookupError:
        pass


def test_sheet(dumps, made):
    """Of a stream that does not tell its length, as few frames stay as fit, evenly spread."""
    for words, stdin, step in (["rec.raw"], b"", 2), (["-"], dumps * 4, 8):
        run("play", *size, *words, "-o", "sheet.png", "--force", stdin=stdin)
        rows, count = read_png(folder / "sheet.png"), (frames * (4 if stdin else 1) + step - 1) // step
        assert len(rows) == 12 + (count + 3) // 4 * (height + 45)
        for place in range(count):
            left, top = 12 + place % 4 * 228, 45 + place // 4 * (height + 45)
            tile = b"".join(row[3 * left:3 * (left + width)] for row in rows[top:top + height])
            assert tile == made[place * step % frames], f"place {place} is not frame {place * step}"


def test_limit():
    """A page that is full is whole, and an endless stream ends with it."""
    result = subprocess.run(f"yes | {tool} play -s 640x480 -f BAY8 - --page-limit 1 -o small.html", shell=True,
                            capture_output=True, cwd=folder, timeout=60)
    assert result.returncode == 0 and b"--page-limit" in result.stderr, result
    page = (folder / "small.html").read_text()
    assert len(page) < 1.1 * (1 << 20) and page.endswith("</html>\n") and page.count("<script>add(") > 1
    refused = run("play", *size, "rec.raw", "-o", "video.mp4", expect=2)
    assert b".html for a page" in refused.stderr
    assert b"it exists already" in run("play", *size, "rec.raw", "-o", "small.html", expect=5).stderr


LOOK = """<script>addEventListener("load", async () => {
  const lines = [];
  const key = name => document.dispatchEvent(new KeyboardEvent("keydown", { key: name }));
  const later = () => new Promise(done => setTimeout(done, 20));
  const settled = async () => { await later(); await decoded(wanted); await later(); };
  const table = [...Array(256).keys()].map(n => { for (let k = 0; k < 8; ++k) n = n & 1 ? n >>> 1 ^ 0xEDB88320 : n >>> 1; return n; });
  const look = () => {
    const { data } = context.getImageData(0, 0, canvas.width, canvas.height);
    let sum = -1;
    data.forEach((sample, i) => { if (i % 4 < 3) sum = table[(sum ^ sample) & 255] ^ sum >>> 8; });
    lines.push(`${document.getElementById("status").value}: ${(~sum >>> 0).toString(16)}`);
  };
  await settled(); look();
  for (const name of ["Home", "ArrowRight", "ArrowRight", "ArrowLeft", "End", "ArrowRight"]) { key(name); await settled(); look(); }
  number.value = 14; number.onchange(); await settled(); look();
  key(" "); lines.push(document.getElementById("play").textContent);
  for (let i = 0; i < 1000 && document.getElementById("play").textContent !== "Play"; ++i) await settled();
  look();
  key("+"); key("+"); lines.push(getComputedStyle(canvas).width);
  for (let i = 0; i < frames.length; ++i) { await show(i); look(); }
  lines.push(performance.getEntriesByType("resource").filter(entry => !entry.name.startsWith("data:")).length);
  const result = document.createElement("pre"); result.id = "result"; result.textContent = lines.join("\\n");
  document.body.append(result);
});</script>"""


def test_page(chromium):
    name = "<b>&{{about}}.raw"
    _, made = recording(name)
    run("play", *size, name, "--frames", "2::3", "-o", "page.html")
    page = folder / "page.html"
    page.write_text(page.read_text().replace("</body>", LOOK + "</body>"))
    for milliseconds in 60_000, 600_000, 6_000_000:  # of the page's clock, which goes on while pictures are decoded
        dom = subprocess.run([chromium, "--headless", "--no-sandbox", "--disable-gpu", "--force-color-profile=srgb",
                              f"--user-data-dir={folder}/browser", f"--virtual-time-budget={milliseconds}",
                              "--dump-dom", f"{page.as_uri()}#8"], capture_output=True, text=True, timeout=120).stdout
        assert f"<h1>{html.escape(name, quote=False)}</h1>" in dom, dom[:3000]
        said = re.search(r'<pre id="result">(.*?)</pre>', dom, re.S)
        if said:
            break
    assert said, "the page did not get to its end: " + dom[-3000:]
    indices = range(2, frames, 3)

    def shown(place):
        return f"frame {indices[place]}, {place + 1} of {len(indices)}: {zlib.crc32(made[indices[place]]):x}"

    expected = [shown(2), shown(0), shown(1), shown(2), shown(1), shown(9), shown(9), shown(4), "Pause", shown(9),
                f"{2 * width}px", *(shown(place) for place in range(len(indices))), "0"]
    assert said[1].split("\n") == expected, said[1]


if browser:
    if not shutil.which(browser[0]):
        print("no Chromium here: browser_packages of scripts/packages.sh has it")
        sys.exit(77)
    test_page(browser[0])
else:
    recorded = recording()
    test_player(*recorded)
    test_paused_player()
    test_sheet(*recorded)
    test_limit()
