"""develop.py TOOL: what the tool develops is what the formulas give in floating point.

A sensor is planted, with a dark level, a vignette, hot and dead pixels and colours of its own; calibrate finds
them, and convert takes them away. Ends with 77 where there is no NumPy."""

import json
import subprocess
import sys
import tempfile
from pathlib import Path

try:
    import numpy as np
except ImportError:
    sys.exit(77)

tool = sys.argv[1]
random = np.random.default_rng(3)
width, height, bits, phase = 162, 122, 12, "GRBG"
full = (1 << bits) - 1
common = ["-s", f"{width}x{height}", "-f", f"BAY{bits}", "--phase", phase]
lines, columns = np.mgrid[:height, :width]
site = lines % 2 * 2 + columns % 2
colour = np.array(["RGB".index(letter) for letter in phase])[site]


def run(*words):
    result = subprocess.run([str(word) for word in (tool, *words)], capture_output=True, text=True)
    assert result.returncode == 0, f"{words}: {result.stderr}"
    return result.stdout


def write(path, samples):
    path.write_bytes(np.clip(np.rint(samples), 0, full).astype("<u2").tobytes())
    return path


def read(path):
    _, size, _, samples = path.read_bytes().split(b"\n", 3)
    shape = size.split()
    return np.frombuffer(samples, ">u2").reshape(int(shape[1]), int(shape[0]), -1).astype(float)


def convert(folder, dump, *options):
    run("convert", *common, dump, "-o", folder / "made.ppm", "--depth", "16", "--force", *options)
    return read(folder / "made.ppm")


def mean_of_neighbours(mosaic, good, x, y):
    """Of the nearest good samples of this colour on the four sides."""
    for distance in range(2, 66, 2):
        places = [(y + dy, x + dx) for dx, dy in [(-distance, 0), (distance, 0), (0, -distance), (0, distance)]]
        values = [mosaic[p] for p in places if 0 <= p[0] < height and 0 <= p[1] < width and good[p]]
        if values:
            return np.floor(sum(values) / len(values) + .5)
    return mosaic[y, x]


def interpolated(mosaic):
    """By the mean of the nearest neighbours, as `ave` does it where there are all of them."""
    padded = {}
    for c in range(3):
        mask = np.where(colour == c, 1., 0.)
        weights = np.array([[1, 2, 1], [2, 4, 2], [1, 2, 1]])
        total, count = np.zeros((height, width)), np.zeros((height, width))
        for dy in (-1, 0, 1):
            for dx in (-1, 0, 1):
                near = np.s_[max(dy, 0):height + min(dy, 0), max(dx, 0):width + min(dx, 0)]
                here = np.s_[max(-dy, 0):height + min(-dy, 0), max(-dx, 0):width + min(-dx, 0)]
                if c == 1 and dx and dy:
                    continue
                total[here] += weights[dy + 1, dx + 1] * (mosaic * mask)[near]
                count[here] += weights[dy + 1, dx + 1] * mask[near]
        padded[c] = np.where(colour == c, mosaic, total / np.maximum(count, 1))
    return np.dstack([padded[0], padded[1], padded[2]])


def srgb(x):
    return np.where(x <= 0.0031308, 12.92 * x, 1.055 * np.maximum(x, 1e-9) ** (1 / 2.4) - 0.055)


def check_reference(folder):
    """Everything at once, in a picture that changes slowly enough for the method not to matter."""
    dark = random.integers(30, 80, (height, width))
    flat = dark + np.rint(2500 - .08 * ((columns - 80) ** 2 + (lines - 60) ** 2)) + random.integers(-40, 40, (height, width))
    truth = np.array([900, 1500, 1100])[colour]
    samples = dark + np.rint(truth * (flat - dark) / (flat - dark).mean())
    defects = [(5, 7), (6, 7), (7, 7), (0, 0), (161, 121), (80, 60), (82, 60)]
    for x, y in defects:
        samples[y, x] = random.choice([0, full])
    black, white, gains = [50, 51, 52, 53], 4000, [1.7, 1, 1.3]
    matrix = np.array([[1.5, -.375, -.125], [-.25, 1.5, -.25], [0, -.5, 1.5]])
    (folder / "defects.txt").write_text("# planted\n" + "".join(f"{x} {y}\n" for x, y in defects))
    write(folder / "dark.raw", dark), write(folder / "flat.raw", flat), write(folder / "dump.raw", samples)

    lit = flat - dark
    means = np.array([lit[site == i].mean() for i in range(4)])
    factor = np.array(gains)[colour] * means[site] / lit * 65535 / (white - np.array(black)[site])
    words = np.minimum(np.floor(np.maximum(samples - dark, 0) * factor + .5), 65535)
    good = np.ones((height, width), bool)
    for x, y in defects:
        good[y, x] = False
    fixed = words.copy()
    for x, y in defects:
        fixed[y, x] = mean_of_neighbours(words, good, x, y)

    options = ["--black", ",".join(map(str, black)), "--white", white, "--dark", folder / "dark.raw", "--flat",
               folder / "flat.raw", "--defects", folder / "defects.txt", "--wb", ",".join(map(str, gains))]
    # What each pixel has of its own colour is the word, whatever the method.
    own = np.take_along_axis(convert(folder, folder / "dump.raw", *options), colour[..., None], 2)[..., 0]
    assert np.abs(own - fixed).max() <= 1, np.abs(own - fixed).max()

    linear = convert(folder, folder / "dump.raw", *options)
    wanted = np.rint(65535 * srgb(np.rint(np.clip(linear @ matrix.T, 0, 65535)) / 65535))
    made = convert(folder, folder / "dump.raw", *options, "--ccm", ",".join(map(str, matrix.ravel())), "--curve", "srgb")
    assert np.abs(made - wanted).max() <= 1, np.abs(made - wanted).max()
    inner = np.s_[2:-2, 2:-2]
    assert np.abs(linear - interpolated(fixed))[inner].max() <= 1, "the method is not the mean"

    # The same from a file of settings, on any number of threads.
    (folder / "ccm.txt").write_text("\n".join(" ".join(map(str, row)) for row in matrix))
    convert(folder, folder / "dump.raw", *options, "--ccm", folder / "ccm.txt", "--curve", "srgb", "--save-settings",
            folder / "all.json", "--threads", "1")
    saved = json.loads((folder / "all.json").read_text())
    assert (saved["ccm"], saved["dark"]) == ("ccm.txt", "dark.raw"), "files are named from the folder of the settings"
    again = convert(folder, folder / "dump.raw", "--settings", folder / "all.json", "--threads", "3")
    assert np.array_equal(again, made)


# As the chart has them: dark skin to black in sRGB.
chart = np.array([
    115, 82, 68, 194, 150, 130, 98, 122, 157, 87, 108, 67, 133, 128, 177, 103, 189, 170, 214, 126, 44, 80, 91, 166,
    193, 90, 99, 94, 60, 108, 157, 188, 64, 224, 163, 46, 56, 61, 150, 70, 148, 73, 175, 54, 60, 231, 199, 31,
    187, 86, 149, 8, 133, 161, 243, 243, 242, 200, 200, 200, 160, 160, 160, 122, 122, 121, 85, 85, 85,
    52, 52, 52]).reshape(4, 6, 3) / 255
chart = np.where(chart <= 0.04045, chart / 12.92, ((chart + 0.055) / 1.055) ** 2.4)
left, top, right, bottom = 12, 9, 156, 105


def check_calibration(folder):
    level = random.integers(55, 66, (height, width))
    vignette = 1 - 1.2e-5 * ((columns - 70) ** 2 + (lines - 66) ** 2)
    gains, matrix = np.array([2, 1, 1.5]), np.array([[1.6, -.5, -.1], [-.2, 1.5, -.3], [.05, -.65, 1.6]])
    hot = {(20, 30), (21, 30), (90, 100), (161, 0)}
    dead = {(60, 14), (100, 90), (0, 121)}

    def dump(path, light, noise=2.):
        samples = level + light * vignette + random.normal(0, noise, (height, width))
        for x, y in hot:
            samples[y, x] += 900
        for x, y in dead:
            samples[y, x] = level[y, x]
        return write(path, samples)

    darks = [dump(folder / f"dark{i}.raw", 0) for i in range(12)]
    flats = [dump(folder / f"flat{i}.raw", (1600 / gains)[colour]) for i in range(12)]
    scene = np.full((height, width, 3), chart[3, 1])
    for y in range(top, bottom):
        for x in range(left, right):
            scene[y, x] = chart[(y - top) * 4 // (bottom - top), (x - left) * 6 // (right - left)]
    camera = scene @ np.linalg.inv(matrix).T / gains
    shot = dump(folder / "chart.raw", 3600 * np.take_along_axis(camera, colour[..., None], 2)[..., 0])

    corners = f"{left},{top},{right},{top},{right},{bottom},{left},{bottom}"
    found = folder / "found"
    found.mkdir()
    said = run("calibrate", *common, "--dark-frames", *darks, "--flat-frames", *flats, "--chart", shot, "--corners",
               corners, "-o", found)
    listed = (found / "defects.txt").read_text().splitlines()[1:]
    assert {tuple(map(int, line.split())) for line in listed} == hot | dead, listed
    assert f"{len(hot | dead)} pixels" in said, said
    settings = json.loads((found / "settings.json").read_text())
    assert np.allclose(settings["wb"], gains, rtol=.02), settings
    entries = np.array(settings["ccm"]).reshape(3, 3)
    assert np.abs(entries - matrix).max() < .05 and np.array_equal(entries * 4096, np.rint(entries * 4096)), entries
    assert np.array_equal(entries.sum(1), [1, 1, 1]), entries

    # An even area is even, without its vignette, its colour and its defects.
    even = convert(folder, flats[0], "--settings", found / "settings.json", "--ccm", "1,0,0,0,1,0,0,0,1")
    means = np.array([[even[y:y + 20, x:x + 20].mean((0, 1)) for x in range(0, 140, 20)] for y in range(0, 100, 20)])
    assert np.abs(means / means.mean((0, 1)) - 1).max() < .01, means / means.mean((0, 1))
    assert even.min() > .9 * even.mean((0, 1)).min() and even.max() < 1.1 * even.mean((0, 1)).max()
    # The chart has its colours.
    made = convert(folder, shot, "--settings", found / "settings.json") / 65535
    inner = [[made[top + 24 * y + 8:top + 24 * y + 16, left + 24 * x + 8:left + 24 * x + 16].mean((0, 1))
              for x in range(6)] for y in range(4)]
    scale = np.mean(inner) / chart.mean()
    assert np.abs(np.array(inner) / scale - chart).max() < .02, np.array(inner) / scale - chart


with tempfile.TemporaryDirectory() as name:
    check_reference(Path(name))
    check_calibration(Path(name))
