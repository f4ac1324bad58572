"""dng.py TOOL: what other programs make of the tool's DNG files.

Exiftool finds nothing to warn of, LibRaw gives the samples back as they were, and dcraw and LibRaw give a
red, a green and a blue area their colours, in all four phases. Whoever of them is not there is left out; ends
with 77 where none is, or no NumPy."""

import json
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

try:
    import numpy as np
except ImportError:
    sys.exit(77)

tool = sys.argv[1]
phases = ["RGGB", "GRBG", "GBRG", "BGGR"]
width, height = 98, 64


def run(*words):
    return subprocess.run([str(word) for word in words], check=True, capture_output=True).stdout


def pnm(content):
    _, size, _, samples = content.split(b"\n", 3)
    columns, lines = map(int, size.split())
    return np.frombuffer(samples, ">u2").reshape(lines, columns, -1)


def mosaic_of(picture, phase):
    mosaic = np.zeros(picture.shape[:2], np.uint16)
    for site, letter in enumerate(phase):
        place = np.s_[site // 2::2, site % 2::2]
        mosaic[place] = picture[place][..., "RGB".index(letter)]
    return mosaic


def write_dng(folder, samples, name, phase, *options):
    dump, dng = folder / "dump.raw", folder / "picture.dng"
    dump.write_bytes(samples)
    if not name.endswith("_"):
        options = ["--phase", phase, *options]
    else:
        name += "ABCD"[phases.index(phase)]
    run(tool, "convert", "-s", f"{width}x{height}", "-f", name, *options, dump, "-o", dng, "--force")
    return dng


def packed(samples):
    """As 12p: two in three bytes, lowest bits first."""
    even, odd = samples[:, ::2].astype(int), samples[:, 1::2].astype(int)
    return np.dstack([even & 255, even >> 8 | (odd & 15) << 4, odd >> 4]).astype(np.uint8).tobytes()


def check_samples(folder):
    random = np.random.default_rng(1)
    for phase in phases:
        for name, bits in [*((f"BAY{n}", n) for n in (8, 10, 12, 14, 16)), ("BAY12_", 12), ("BAY12P_", 12), ("12p", 12)]:
            samples = random.integers(0, 1 << bits, (height, width), np.uint16)
            is_packed = "p" in name.lower()
            stored = packed(samples) if is_packed else samples.astype("u1" if bits == 8 else "<u2").tobytes()
            dng = write_dng(folder, stored, name, phase)
            run("unprocessed_raw", dng)
            found = pnm((folder / "picture.dng.pgm").read_bytes())[..., 0]
            assert np.array_equal(found, samples), f"{phase} {name}: LibRaw has other samples"


def check_colours(folder, readers):
    picture = np.full((height, width, 3), 200)
    for colour in range(3):
        picture[:, colour * 32:colour * 32 + 32, colour] = 3200
    for phase in phases:
        dng = write_dng(folder, mosaic_of(picture, phase).astype("<u2").tobytes(), "BAY12", phase, "--black", "200")
        for reader in readers:
            options = [reader, "-4", "-o", "1", "-w"]
            found = run(*options, "-c", dng) if reader == "dcraw" else run(*options, "-Z", "-", dng)
            areas = pnm(found)
            for colour in range(3):
                mean = areas[8:-8, colour * 32 + 8:colour * 32 + 24].mean((0, 1))
                others = np.delete(mean, colour)
                assert mean[colour] > 20000 and max(others) < 400, f"{reader} {phase}: {mean} for colour {colour}"


def check_tags(folder):
    random = np.random.default_rng(2)
    samples = random.integers(0, 1024, (height, width), np.uint16).astype("<u2").tobytes()
    gains, matrix = [2, 1, 1.6], np.array([[1.5, -.4, -.1], [-.3, 1.6, -.3], [0, -.6, 1.6]])
    dng = write_dng(folder, samples, "BAY10", "GBRG", "--black", "60,61,62,63", "--white", "1000",
                    "--wb", ",".join(map(str, gains)), "--ccm", ",".join(map(str, matrix.ravel())))
    tags, = json.loads(run("exiftool", "-j", "-n", "-validate", "-all", dng))
    assert str(tags["Validate"]) in ("0", "0 0 0") and "Warning" not in tags, tags
    wanted = {"BlackLevel": [60, 61, 62, 63], "WhiteLevel": [1000], "CFAPattern2": [1, 2, 0, 1],
              "AsShotNeutral": [.5, 1, .625], "ActiveArea": [0, 0, height, width],
              "DefaultCropSize": [width, height], "CalibrationIlluminant1": [21]}
    for name, values in wanted.items():
        found = [float(word) for word in str(tags[name]).split()]
        assert np.allclose(found, values), f"{name} is {found}"
    # White of D65 is grey to the sensor, and XYZ of a colour is what the matrix undoes.
    to_xyz = np.array([[.4124564, .3575761, .1804375], [.2126729, .7151522, .0721750], [.0193339, .1191920, .9503041]])
    there = np.array([float(word) for word in tags["ColorMatrix1"].split()]).reshape(3, 3)
    assert np.allclose(there @ to_xyz @ matrix, np.diag([.5, 1, .625]), atol=1e-4), there


def main():
    there = {name for name in ["exiftool", "unprocessed_raw", "dcraw", "dcraw_emu"] if shutil.which(name)}
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        if "exiftool" in there:
            check_tags(folder)
        if "unprocessed_raw" in there:
            check_samples(folder)
        check_colours(folder, sorted(there & {"dcraw", "dcraw_emu"}))
    return 0 if there else 77


sys.exit(main())
