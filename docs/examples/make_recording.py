"""Makes a recording to try things with: 24 frames of 640 x 480, a mosaic of 10 bits, RGGB.

usage: make_recording.py RECORDING [DUMP]

The camera pans over DUMP, a picture of 1920 x 1080 of such samples, or over a made one.
"""
import sys

import numpy as np

WIDTH, HEIGHT, FRAMES = 640, 480, 24


def made_scene():
    """Coloured rings over a ramp, as a linear sensor sees them: little red and blue, a black level, noise."""
    y, x = np.mgrid[0:1080, 0:1920]
    rings = 0.5 + 0.5 * np.cos((x - 960) ** 2 / 9000 + (y - 540) ** 2 / 9000)
    colours = np.stack([rings, 0.2 + 0.6 * x / 1920, 1 - rings * y / 1080]) * np.array([0.5, 1, 0.6])[:, None, None]
    scene = np.where(y % 2 == 0, np.where(x % 2 == 0, colours[0], colours[1]),
                     np.where(x % 2 == 0, colours[1], colours[2]))
    noise = np.random.default_rng(7).normal(0, 4, scene.shape)
    return np.clip(64 + 800 * scene + noise, 0, 1023).astype("<u2")


def main(recording, dump=None):
    scene = np.fromfile(dump, "<u2").reshape(1080, 1920) if dump else made_scene()
    with open(recording, "wb") as file:
        for frame in range(FRAMES):  # even steps: the phase stays
            x, y = 560 + 12 * frame, 260 + 4 * frame
            file.write(scene[y:y + HEIGHT, x:x + WIDTH].tobytes())


if __name__ == "__main__":
    main(*sys.argv[1:])
