"""check_pix_fmts.py PAGE TOOL: pixels of ffmpeg are those that the page calls the same.

A picture of one colour goes from ffmpeg to the tool, which makes that colour of it. ffmpeg reads mosaics
and does not write them, so these are made here, and both make a picture of them."""
import re
import struct
import subprocess
import sys
from pathlib import Path

page, tool = Path(sys.argv[1]), sys.argv[2]
RED, GREEN, BLUE = COLOUR = 200, 100, 50
GREY = round(0.299 * RED + 0.587 * GREEN + 0.114 * BLUE)
SIZE = 16


def run(command, data=b""):
    return subprocess.run(command, input=data, check=True, capture_output=True, timeout=60).stdout


def flat(pixels):
    mosaic = re.fullmatch(r"bayer_(\w{4})(8|16le)", pixels)
    if mosaic is None:
        return run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", f"color=0xC86432:s={SIZE}x{SIZE}",
                    "-frames:v", "1", "-f", "rawvideo", "-pix_fmt", pixels, "-"])
    samples = [COLOUR["rgb".index(colour)] for colour in mosaic[1]]
    word = struct.Struct("B" if mosaic[2] == "8" else "<H")
    scale = 1 if mosaic[2] == "8" else 257
    return b"".join(word.pack(scale * samples[y % 2 * 2 + x % 2]) for y in range(SIZE) for x in range(SIZE))


def middle(picture):
    """Of the pixels that end a file: bytes, or words with the high byte first."""
    bytes_each = len(picture) // (3 * SIZE * SIZE)
    at = len(picture) - 3 * bytes_each * (SIZE * SIZE // 2 + SIZE // 2)
    return tuple(picture[at:at + 3 * bytes_each:bytes_each])


def ours(pixels, data):
    return middle(run([tool, "convert", "-s", f"{SIZE}x{SIZE}", "-f", pixels, "-", "--as", "ppm", "-o", "-"], data))


def theirs(pixels, data):
    return middle(run(["ffmpeg", "-v", "error", "-f", "rawvideo", "-pix_fmt", pixels, "-s", f"{SIZE}x{SIZE}",
                       "-i", "-", "-f", "rawvideo", "-pix_fmt", "rgb24", "-"], data))


rows = re.findall(r"^\| ([\w, ]+) \| (\w+) \|$", page.read_text(), re.M)
rows = [(names.split(", "), ours) for names, ours in rows if ours != "trvil"]
assert len(rows) > 20, "the table is gone"
faults = []
for names, name in rows:
    for pixels in names:
        data = flat(pixels)
        wanted = (GREY,) * 3 if pixels.startswith("gray") else COLOUR
        near = 20 if "yuv" in pixels or "yv" in pixels else 8  # luminance from 16 to 235
        makers = [("trvil", ours(name, data))]
        if pixels.startswith("bayer"):
            makers.append(("ffmpeg", theirs(pixels, data)))
        for who, got in makers:
            if max(abs(a - b) for a, b in zip(got, wanted)) > near:
                faults.append(f"{pixels} is {name}: {who} makes {got} of {wanted}")
sys.exit("\n".join(faults) or 0)
