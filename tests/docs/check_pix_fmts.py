"""check_pix_fmts.py PAGE TOOL: pixels of ffmpeg are those that the page calls the same.

A picture of one colour goes from ffmpeg to the tool, which makes that colour of it. ffmpeg reads mosaics
and does not write them, so these are made here, and both make a picture of them."""
import os
import re
import struct
import subprocess
import sys
import tempfile
from pathlib import Path

page, tool = Path(sys.argv[1]), os.path.abspath(sys.argv[2])
RED, GREEN, BLUE = COLOUR = 200, 100, 50
GREY = round(0.299 * RED + 0.587 * GREEN + 0.114 * BLUE)
SIZE = 16


def run(command, data=b""):
    return subprocess.run(command, input=data, check=True, capture_output=True, timeout=60).stdout


def mosaic(pattern, bits):
    samples = [COLOUR["rgb".index(colour)] for colour in pattern]
    word, scale = (struct.Struct("B"), 1) if bits == "8" else (struct.Struct("<H"), 257)
    return b"".join(word.pack(scale * samples[y % 2 * 2 + x % 2]) for y in range(SIZE) for x in range(SIZE))


def make_files(names):
    """A file NAME of the colour for each name; of mosaics, NAME.rgb too, which ffmpeg makes of it."""
    outputs, inputs, pictures = [], [], []
    for name in names:
        pattern = re.fullmatch(r"bayer_(\w{4})(8|16le)", name)
        if pattern is None:
            outputs += ["-frames:v", "1", "-f", "rawvideo", "-pix_fmt", name, name]
            continue
        Path(name).write_bytes(mosaic(*pattern.groups()))
        pictures += ["-map", str(len(inputs) // 8), "-f", "rawvideo", "-pix_fmt", "rgb24", name + ".rgb"]
        inputs += ["-f", "rawvideo", "-pix_fmt", name, "-s", f"{SIZE}x{SIZE}", "-i", name]
    run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", f"color=0xC86432:s={SIZE}x{SIZE}", *outputs])
    run(["ffmpeg", "-v", "error", *inputs, *pictures])


def middle(picture):
    """Of the pixels that end a file: bytes, or words with the high byte first."""
    bytes_each = len(picture) // (3 * SIZE * SIZE)
    at = len(picture) - 3 * bytes_each * (SIZE * SIZE // 2 + SIZE // 2)
    return tuple(picture[at:at + 3 * bytes_each:bytes_each])


def made_of(name, pixels):
    """By the tool, and by ffmpeg of what it cannot have written itself."""
    yield "trvil", run([tool, "convert", "-s", f"{SIZE}x{SIZE}", "-f", pixels, name, "--as", "ppm", "-o", "-"])
    if name.startswith("bayer"):
        yield "ffmpeg", Path(name + ".rgb").read_bytes()


rows = re.findall(r"^\| ([\w, ]+) \| (\w+) \|$", page.read_text(), re.M)
pairs = [(name, ours) for names, ours in rows if ours != "trvil" for name in names.split(", ")]
assert len(pairs) > 20, "the table is gone"
faults = []
with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    make_files([name for name, _ in pairs])
    for name, ours in pairs:
        wanted = (GREY,) * 3 if name.startswith("gray") else COLOUR
        near = 20 if "yuv" in name or "yv" in name else 8  # luminance from 16 to 235
        for who, picture in made_of(name, ours):
            got = middle(picture)
            if max(abs(a - b) for a, b in zip(got, wanted)) > near:
                faults.append(f"{name} is {ours}: {who} makes {got} of {wanted}")
sys.exit("\n".join(faults) or 0)
