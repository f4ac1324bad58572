"""TIFF files of several pages."""
from __future__ import annotations

import struct
from dataclasses import dataclass
from typing import Iterable, List, Optional, Tuple

import numpy as np

from . import _constants as c
from ._file import whole_file
from ._formats import Format
from ._library import Error
from ._types import Array, Path

_CLASSIC_BYTES = 1 << 32  # places in a classic file are numbers of 32 bits
_SHORT, _LONG, _RATIONAL, _LONG8 = 3, 4, 5, 16
_Tag = Tuple[int, int, int, int]  # name, type, count, value or its place


@dataclass(frozen=True)
class _Shape:
    """A file of pages that are all alike: a head, then for each page its directory and its pixels."""

    big: bool
    pages: int
    height: int
    width: int
    channels: int
    bits: int

    @property
    def pixels(self) -> int:
        return self.height * self.width * self.channels * self.bits // 8

    @property
    def head(self) -> int:
        """Bytes before the first directory: the file's own, then what all directories point to."""
        return (16 if self.big else 8) + 16

    @property
    def directory(self) -> int:
        return 8 + 20 * len(self._tags(0)) + 8 if self.big else 2 + 12 * len(self._tags(0)) + 4

    @property
    def page(self) -> int:
        """Directories begin at even places."""
        return self.directory + self.pixels + self.pixels % 2

    @property
    def size(self) -> int:
        return self.head + self.pages * self.page

    def _tags(self, pixels_at: int) -> List[_Tag]:
        shared = self.head - 16
        place = _LONG8 if self.big else _LONG
        one = 1 << 32 | 1  # as a quotient of 32-bit numbers
        bits_inside = self.channels == 1 or self.big
        depth = sum(self.bits << 16 * i for i in range(self.channels))
        return [(254, _LONG, 1, 2),  # a page of several
                (256, _LONG, 1, self.width),
                (257, _LONG, 1, self.height),
                (258, _SHORT, self.channels, depth if bits_inside else shared + 8),
                (259, _SHORT, 1, 1),  # not compressed
                (262, _SHORT, 1, 2 if self.channels == 3 else 1),  # RGB, or grey whose zero is black
                (273, place, 1, pixels_at),
                (277, _SHORT, 1, self.channels),
                (278, _LONG, 1, self.height),  # one strip
                (279, place, 1, self.pixels),
                (282, _RATIONAL, 1, one if self.big else shared),
                (283, _RATIONAL, 1, one if self.big else shared),
                (296, _SHORT, 1, 1)]  # resolution without a unit

    def first_bytes(self) -> bytes:
        big, classic = struct.pack("<2sHHHQ", b"II", 43, 8, 0, self.head), struct.pack("<2sHI", b"II", 42, self.head)
        return (big if self.big else classic) + struct.pack("<II4H", 1, 1, *[self.bits] * 3, 0)

    def directory_bytes(self, page: int) -> bytes:
        begin = self.head + page * self.page
        following = begin + self.page if page + 1 < self.pages else 0
        tags = self._tags(begin + self.directory)
        count, tag, place = ("<Q", "<HHQQ", "<Q") if self.big else ("<H", "<HHII", "<I")
        return b"".join((struct.pack(count, len(tags)), *(struct.pack(tag, *each) for each in tags),
                         struct.pack(place, following)))


def _shape_of(format: Optional[Format], pages: int, height: int, width: int) -> _Shape:
    held = format is not None and not format.packed and format.dtype.itemsize <= 2 and (
        format.family in ("grey", "bayer") or (format.family == "colour" and format.channels == 3))
    if format is None or not held:
        raise Error(c.TRV_STATUS_TIFF_FORMAT,
                    f"status {c.TRV_STATUS_TIFF_FORMAT}: a TIFF file cannot hold "
                    f"{format.name if format else 'packed samples'}\n"
                    "why: it holds grey and mosaics of 8 to 16 bits, and colour of three channels of 8 or 16 bits\n"
                    "next: use converted() or developed() first")
    if pages == 0:
        raise ValueError("a TIFF file has one page at least; there are no frames")
    shape = _Shape(False, pages, height, width, format.channels or 1, 8 * format.dtype.itemsize)
    return shape if shape.size < _CLASSIC_BYTES else _Shape(True, *list(vars(shape).values())[1:])


def write_stack(path: Path, format: Optional[Format], pages: int, height: int, width: int,
                frames: Iterable[Array]) -> None:
    """A file of these frames; `format` is None for samples of a packing, which no TIFF file holds."""
    shape = _shape_of(format, pages, height, width)
    is_blue_first = format is not None and format.channels == 3 and min(format.fields, key=lambda f: f[1])[0] == "B"
    with whole_file(path) as out:
        out.write(shape.first_bytes())
        for page, frame in enumerate(frames):
            pixels = np.ascontiguousarray(frame[..., ::-1] if is_blue_first else frame)
            out.write(shape.directory_bytes(page))
            out.write(pixels.data)
            out.write(bytes(shape.pixels % 2))
