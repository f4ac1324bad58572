"""Pictures that are known, for the table of docs/demosaic.md, and their mosaics by other programs.

Photographs are those that Debian's packages have; they are read where these are installed.
"""
import bz2
import ctypes
import pathlib
import subprocess

import numpy
from PIL import Image


def soft(plane, sigma):
    """A plane as a lens of such a blur shows it, by its spectrum; edges wrap."""
    rows = numpy.fft.fftfreq(plane.shape[0])[:, None]
    columns = numpy.fft.rfftfreq(plane.shape[1])[None, :]
    blur = numpy.exp(-2 * (numpy.pi * sigma) ** 2 * (rows ** 2 + columns ** 2))
    return numpy.fft.irfft2(numpy.fft.rfft2(plane) * blur, plane.shape)


def texture(random, height, width, slope):
    """Noise whose amplitude falls with the frequency to the power of `slope`; deviation 1."""
    rows = numpy.fft.fftfreq(height)[:, None]
    columns = numpy.fft.rfftfreq(width)[None, :]
    frequency = numpy.hypot(rows, columns)
    frequency[0, 0] = 1
    noise = numpy.fft.rfft2(random.standard_normal((height, width))) / frequency ** slope
    noise[0, 0] = 0
    plane = numpy.fft.irfft2(noise, (height, width))
    return plane / plane.std()


def still_life(width=768, height=512, times=3):
    """Shaded balls, a striped cloth and a wall, three times as fine as the sensor; a lens blurs them
    by half a pixel, and each pixel is the mean of its area."""
    random = numpy.random.default_rng(18)
    y, x = numpy.mgrid[0:height * times, 0:width * times] / times
    grain = texture(random, height * times, width * times, 1.0)
    scene = numpy.empty((height * times, width * times, 3))
    scene[:] = numpy.array([0.52, 0.47, 0.40])
    scene *= (0.75 + 0.5 * x / width)[..., None] * (1 + 0.10 * grain)[..., None]
    cloth = y > 0.62 * height + 12 * numpy.sin(x / 90)
    stripe = numpy.sin((x + 0.5 * y + 9 * numpy.sin(y / 35)) / 4.5) > 0
    weave = 1 + 0.12 * numpy.sin(x * 1.9) * numpy.sin(y * 1.7)
    colours = numpy.where(stripe[..., None], numpy.array([0.62, 0.20, 0.18]),
                          numpy.array([0.80, 0.76, 0.66]))
    scene = numpy.where(cloth[..., None], colours * (weave * (1 + 0.06 * grain))[..., None], scene)
    for left, top, radius, colour in [(170, 260, 105, (0.85, 0.35, 0.10)),
                                      (395, 285, 120, (0.25, 0.55, 0.20)),
                                      (610, 250, 95, (0.20, 0.30, 0.65)),
                                      (520, 120, 40, (0.90, 0.80, 0.25))]:
        across, down = (x - left) / radius, (y - top) / radius
        inside = across ** 2 + down ** 2
        depth = numpy.sqrt(numpy.clip(1 - inside, 0, 1))
        light = 0.25 + 0.75 * numpy.clip(-0.45 * across - 0.5 * down + 0.74 * depth, 0, 1)
        shine = 0.5 * numpy.clip(-0.3 * across - 0.35 * down + 0.89 * depth, 0, 1) ** 60
        ball = numpy.array(colour) * (light * (1 + 0.05 * grain))[..., None] + shine[..., None]
        scene = numpy.where((inside < 1)[..., None], ball, scene)
    planes = [soft(scene[..., i], 0.5 * times) for i in range(3)]
    small = numpy.stack(planes, -1).reshape(height, times, width, times, 3).mean((1, 3))
    display = 255 * numpy.clip(small, 0, 1) ** (1 / 2.2)
    return Image.fromarray(numpy.clip(display + 0.5, 0, 255).astype(numpy.uint8))


def raccoon():
    """Of the package python3-scipy, or None."""
    path = pathlib.Path("/usr/lib/python3/dist-packages/scipy/misc/face.dat")
    if not path.exists():
        return None
    return Image.frombytes("RGB", (1024, 768), bz2.decompress(path.read_bytes()))


def portrait():
    """Of the package python-matplotlib-data, or None. Its JPEG has colour at half its size; reduced
    to that, every pixel has its own."""
    path = pathlib.Path("/usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg")
    return Image.open(path).convert("RGB").reduce(2) if path.exists() else None


def mosaic_of(picture):
    """What a sensor of phase RGGB sees of it, 8 bits."""
    colours = numpy.asarray(picture)
    mosaic = colours[..., 1].copy()
    mosaic[0::2, 0::2] = colours[0::2, 0::2, 0]
    mosaic[1::2, 1::2] = colours[1::2, 1::2, 2]
    return mosaic


class Library:
    """TRW_Convert of the library beside a tool."""

    class Settings(ctypes.Structure):
        _fields_ = [(name, ctypes.c_uint32) for name in ("size", "format", "method", "phase")]

    methods = {"dup": 0x109, "ave": 0x209, "med": 0x309, "gradient": 0x1009}

    def __init__(self, folder):
        self.buffers = ctypes.CDLL(str(folder / "libtrvblx64.so"), ctypes.RTLD_GLOBAL)
        self.raw = ctypes.CDLL(str(folder / "libtrvraw.so.0"))

    def wrap(self, array, code, step):
        handle = ctypes.c_uint64()
        height, width = array.shape[:2]
        status = self.buffers.TBS_BufferWrap(
            ctypes.byref(handle), width, height, code, ctypes.c_void_p(array.ctypes.data),
            ctypes.c_uint64(array.nbytes), width * step, None, None)
        assert status == 0, status
        return handle

    def demosaic(self, mosaic, method):
        mosaic = numpy.ascontiguousarray(mosaic)
        made = numpy.zeros((*mosaic.shape, 3), numpy.uint8)
        source, destination = self.wrap(mosaic, 0xC0022616, 1), self.wrap(made, 0xC0022611, 3)
        settings = self.Settings(16, 0, self.methods[method], 0x10A)
        status = self.raw.TRW_Convert(source, 0, destination, ctypes.byref(settings), None)
        assert status == 0, status
        for handle in (source, destination):
            self.buffers.TBS_BufferRelease(ctypes.byref(handle))
        return Image.fromarray(made[..., ::-1].copy())


class OpenCV:
    """The program opencv.cpp, built where OpenCV's headers are; else not `there`."""

    def __init__(self, folder):
        self.program = folder / "opencv"
        source = pathlib.Path(__file__).with_name("opencv.cpp")
        line = f"c++ -O2 -o {self.program} {source} $(pkg-config --cflags opencv4)" \
            " -lopencv_imgproc -lopencv_core"
        self.there = subprocess.run(line, shell=True, stderr=subprocess.DEVNULL).returncode == 0

    def demosaic(self, mosaic, method):
        height, width = mosaic.shape
        made = subprocess.run([self.program, str(width), str(height), method],
                              input=mosaic.tobytes(), stdout=subprocess.PIPE, check=True).stdout
        picture = Image.frombytes("RGB", (width, height), made, "raw", "BGR")
        if method != "vng":
            return picture
        # OpenCV 4.6 puts this one two lines too high: it is moved, and what is missing is left out
        # by being another method's.
        moved = self.demosaic(mosaic, "edge-aware")
        moved.paste(picture.crop((0, 0, width, height - 2)), (0, 2))
        return moved
