"""Files that describe a sensor: grey pictures or dumps, lists of defects, matrices."""
from __future__ import annotations

import os
import struct
from typing import Any, Dict, List, Optional, Tuple

import numpy as np

from ._convert import convert, unpack
from ._formats import format_named, formats
from ._packings import packing_named
from ._types import Array, FormatName, Layout, PackingName, Path

# Tags of a TIFF file, and what a grey picture without compression has there.
_WIDTH, _HEIGHT, _BITS, _COMPRESSION, _KIND, _OFFSETS, _SAMPLES, _COUNTS = 256, 257, 258, 259, 262, 273, 277, 279
_TYPES = {1: "B", 3: "H", 4: "I"}


def _text_of(path: Path) -> List[str]:
    with open(path, encoding="utf-8", errors="replace") as file:
        return [line.split("#")[0] for line in file]


def _tiff_tags(content: bytes, order: str) -> Dict[int, Tuple[Any, ...]]:
    start, = struct.unpack_from(order + "I", content, 4)
    count, = struct.unpack_from(order + "H", content, start)
    tags = {}
    for at in range(start + 2, start + 2 + 12 * count, 12):
        tag, kind, number = struct.unpack_from(order + "HHI", content, at)
        if kind in _TYPES:
            values = f"{order}{number}{_TYPES[kind]}"
            place = at + 8 if struct.calcsize(values) <= 4 else struct.unpack_from(order + "I", content, at + 8)[0]
            tags[tag] = struct.unpack_from(values, content, place)
    return tags


def _tiff(content: bytes) -> Optional[Array]:
    """A grey TIFF picture without compression, such as `trvil calibrate` writes; None for another."""
    order = {b"II*\0": "<", b"MM\0*": ">"}.get(content[:4])
    if order is None:
        return None
    try:
        tags = _tiff_tags(content, order)
        (width,), (height,), (bits,) = tags[_WIDTH], tags[_HEIGHT], tags[_BITS]
        if bits not in (8, 16) or tags.get(_COMPRESSION, (1,)) != (1,) or tags[_KIND] != (1,):
            return None
        lines = b"".join(content[at:at + size] for at, size in zip(tags[_OFFSETS], tags[_COUNTS]))
        return np.frombuffer(lines, f"{order}u{bits // 8}").reshape(height, width)
    except (KeyError, ValueError, struct.error):
        return None


def _pgm(content: bytes) -> Optional[Array]:
    if content[:2] != b"P5":
        return None
    words: List[int] = []
    at = 2
    while len(words) < 3:
        end = content.index(b"\n", at) if content[at:at + 1] == b"#" else at + 1
        if content[at:at + 1].isdigit():
            while content[end:end + 1].isdigit():
                end += 1
            words.append(int(content[at:end]))
        at = end
    width, height, most = words
    return np.frombuffer(content, ">u2" if most > 255 else "u1", width * height, at + 1).reshape(height, width)


def _by_pillow(path: str) -> Array:
    try:
        from PIL import Image  # type: ignore[import]
    except ImportError:
        raise ValueError(f"{path} is read by Pillow only, and there is none; install python3-pil, or give an "
                         "uncompressed TIFF or a PGM file") from None
    with Image.open(path) as picture:
        array = np.asarray(picture)
        if array.ndim != 2 or picture.mode == "P":
            raise ValueError(f"{path} is a picture in colour; take a grey one")
    if array.min() < 0 or array.max() > 0xFFFF:
        raise ValueError(f"{path} has samples outside of 0 to 65535")
    return array


def _picture(path: Path) -> Optional[Array]:
    """The samples of a grey picture; None for what is no picture."""
    path = os.fsdecode(path)
    with open(path, "rb") as file:
        content = file.read(8)
        if content[:2] not in (b"P5", b"II", b"MM", b"\x89P"):
            return None
        content += file.read()
    try:
        array = _pgm(content)
    except ValueError as problem:
        raise ValueError(f"{path} is a PGM file that is cut off or has no sense") from problem
    if array is None:
        array = _tiff(content)
    if array is None and (content[:4] in (b"II*\0", b"MM\0*") or content[:4] == b"\x89PNG"):
        array = _by_pillow(path)
    return array if array is None else array.astype(np.uint8 if array.itemsize == 1 else np.uint16)


def _dump(path: Path, size: Optional[Tuple[int, int]], format: Optional[FormatName],
          packing: Optional[PackingName]) -> Array:
    if size is None or format is None:
        raise ValueError(f"{os.fsdecode(path)} is no picture that tells its size; if it is a dump, say "
                         "size=(width, height) and format=")
    (width, height), described = size, format_named(format)
    layout: Layout = described if packing is None else packing_named(packing)
    line = layout.line_bytes(width)
    content = np.fromfile(path, np.uint8)
    if content.size != line * height:
        raise ValueError(f"{os.fsdecode(path)} has {content.size} bytes; {width} x {height} pixels of {layout.name} "
                         f"have {line * height}")
    if packing is not None:
        return unpack(content.reshape(height, line), packing, width=width)
    array = content.view(described.dtype).reshape(described.shape(height, width))
    if described.packed:
        words = ("BAY" if described.family == "bayer" else "Mono") + str(described.significant)
        return convert(array, described, formats[words], width=width)
    return array


def read_reference(path: Path, size: Optional[Tuple[int, int]] = None, format: Optional[FormatName] = None,
                   packing: Optional[PackingName] = None) -> Array:
    """A dark or flat picture: a grey picture, or a dump of that kind."""
    array = _picture(path)
    return _dump(path, size, format, packing) if array is None else array


def read_defects(path: Path) -> Any:
    """Lines of x y, with comments from #, or a grey picture that is not zero where defects are."""
    array = _picture(path)
    if array is not None:
        return array != 0
    places = []
    for number, line in enumerate(_text_of(path), 1):
        words = line.replace(",", " ", 1).split()
        if words:
            if len(words) != 2 or not all(word.isascii() and word.isdigit() for word in words):
                raise ValueError(f'line {number} of {os.fsdecode(path)}, "{line.rstrip()}", is no x and y')
            places.append(tuple(map(int, words)))
    return places


def read_matrix(path: Path) -> List[float]:
    """Nine numbers in any shape, with comments from #."""
    try:
        entries = [float(word) for line in _text_of(path) for word in line.replace(",", " ").split()]
    except ValueError:
        entries = []
    if len(entries) != 9:
        raise ValueError(f"{os.fsdecode(path)} does not hold nine numbers and nothing else")
    return entries
