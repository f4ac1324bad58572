"""Quick looks at pictures of any format, in notebooks."""
from __future__ import annotations

import struct
import zlib
from typing import Optional

import numpy as np

from ._arrays import Picture, picture
from ._convert import convert, unpack
from ._formats import Format, format_named, formats
from ._packings import packing_named
from ._types import Array, FormatName, Layout, PackingName, Readable


# What packed formats become that are not grey, or that nothing unpacks to words of all their bits.
_WHOLE = {"Mono12MP": "RGB24", **{f"BAY{bits}P_{phase}": f"BAY{bits}_{phase}" for bits in (10, 12, 14) for phase in "ABCD"}}


class QuickLook:
    """A picture as notebooks show it. Made by show().

    pixels: (height, width) of grey or (height, width, 3) of red, green and blue, from 0, black, to the
        most that their dtype, uint8 or uint16, can tell
    """

    def __init__(self, pixels: Array, what: str) -> None:
        self.pixels = pixels
        self._what = what

    @property
    def png(self) -> bytes:
        """The bytes of a PNG file of 8 or 16 bits a sample."""
        return _png(self.pixels)

    def _repr_png_(self) -> bytes:
        return self.png

    def __repr__(self) -> str:
        return f"<{self._what}, shown as {self.pixels.shape[1]} x {self.pixels.shape[0]}>"


def _chunk(name: bytes, content: bytes) -> bytes:
    return struct.pack(">I", len(content)) + name + content + struct.pack(">I", zlib.crc32(name + content))


def _png(pixels: Array) -> bytes:
    height, width = pixels.shape[:2]
    lines = pixels.astype(pixels.dtype.newbyteorder(">")).reshape(height, -1).view(np.uint8)
    unfiltered = np.zeros((height, lines.shape[1] + 1), np.uint8)  # each line begins with its filter: none
    unfiltered[:, 1:] = lines
    head = struct.pack(">IIBBBBB", width, height, 8 * pixels.itemsize, 2 if pixels.ndim == 3 else 0, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + _chunk(b"IHDR", head) + _chunk(b"IDAT", zlib.compress(unfiltered.tobytes(), 1))
            + _chunk(b"IEND", b""))


def _as_numbers(array: Array, format: Format) -> Array:
    """Each pixel as one number, whose bits the format's fields count."""
    if format.channels is None:
        return array.astype(np.uint64)
    bits = 8 * format.dtype.itemsize
    shifts = np.arange(format.channels, dtype=np.uint64) * np.uint64(bits)
    numbers: Array = np.bitwise_or.reduce(array.astype(np.uint64) << shifts, axis=2)
    return numbers


def _channels(array: Array, format: Format) -> Array:
    """Grey or red, green and blue, from 0 to the most of 8 or 16 bits."""
    fields = {name: (first, bits) for name, first, bits in format.fields}
    wanted = "RGB" if "R" in fields else "M" if "M" in fields else "S"
    depth = 8 if max(fields[name][1] for name in wanted) <= 8 else 16
    numbers, most, planes = _as_numbers(array, format), np.uint64((1 << depth) - 1), []
    for name in wanted:
        first, bits = fields[name]
        full = np.uint64((1 << bits) - 1)
        planes.append((((numbers >> np.uint64(first) & full) * most + full // np.uint64(2)) // full).astype(f"u{depth // 8}"))
    return planes[0] if len(planes) == 1 else np.dstack(planes)


def _thinned(array: Array, largest: int) -> Array:
    step = -(-max(array.shape[:2]) // largest)
    return array[::step, ::step]


def _shown(given: Picture, phase: Optional[str], largest: int) -> Array:
    samples, packing = given.samples, given.format if given.packing else None
    packing_name = None if packing is None else packing.name
    width = given.width if given.format.packed else None
    if samples.family == "bayer" and min(given.width, given.height) >= 2:
        made = convert(given.array, samples, "BGR24", packing=packing_name, phase=phase, width=width)
        return _thinned(made, largest)[..., ::-1]
    array = given.array
    if packing_name is not None:
        array = unpack(array, packing_name, width=width)
    elif samples.packed:
        words = formats[_WHOLE.get(samples.name) or f"Mono{samples.significant}"]
        array, samples = convert(array, samples, words, width=width), words
    if samples.family == "yuv":
        array, samples = convert(array, samples, "RGB24"), formats["RGB24"]
    return _channels(_thinned(array, largest), samples)


def show(array: Readable, format: FormatName, *, packing: Optional[PackingName] = None, phase: Optional[str] = None,
         width: Optional[int] = None, largest: int = 1024) -> QuickLook:
    """A quick look at a picture of any format: a notebook shows what this returns.

    array, format, packing, phase, width: as for convert()
    largest: of a larger picture every second, third, ... pixel of every such line is shown, so that neither
        side is longer

    Mosaics are demosaiced to 8 bits by the mean of their neighbours; others keep up to 16 bits. The largest
    value that the format can tell is white; nothing is balanced or bent to a curve: develop() does that. A
    fourth channel is left out.

    Raises TypeError and ValueError as convert() does. Threads: as for convert().
    """
    samples = format_named(format)
    layout: Layout = samples if packing is None else packing_named(packing)
    if not isinstance(largest, int) or largest < 1:
        raise ValueError(f"largest is a number of pixels, not {largest!r}")
    given = picture(array, layout, width, samples=samples)
    if phase is not None and samples.family != "bayer":
        raise ValueError(f"phase={phase!r} makes no sense with {samples.name}, which is not a mosaic")
    return QuickLook(np.ascontiguousarray(_shown(given, phase, largest)),
                     f"{samples.name}, {given.width} x {given.height}")
