"""The pixel formats, and the arrays that hold them."""
from __future__ import annotations

from dataclasses import dataclass
from functools import cached_property
from types import MappingProxyType
from typing import Iterator, Optional, Tuple

import numpy as np

from . import _constants as c
from ._types import FormatName, Words


@dataclass(frozen=True)
class Format:
    """How pixels lie in memory.

    name: as documents and tools spell it, such as "BAY12"
    code: what the C interface calls it, such as 0xC0022618
    stored: bits of memory per pixel, pad bits included
    significant: bits per sample that carry the value
    family: "grey", "colour", "word", "yuv" or "bayer"
    group: pixels that share a whole number of bytes: 1, or 2 or 4
    phase: "A" to "D" when the name says it, otherwise None
    order: whether bits are counted from the "least" or the "most" significant one of each byte
    fields: (channel, first bit, bits) of a group's first pixel: M grey, S a mosaic's sample, R G B A,
        X a pad, Y U V
    """

    name: str
    code: int
    stored: int
    significant: int
    family: str
    group: int
    phase: Optional[str]
    order: str
    fields: Tuple[Tuple[str, int, int], ...]

    @cached_property
    def packed(self) -> bool:
        """Whether pixels share bytes. Arrays of such formats are bytes, not pixels."""
        return self.stored % 8 != 0

    @cached_property
    def channels(self) -> Optional[int]:
        """Length of the array's third axis, or None when it has two axes."""
        if self.packed or self.family == "word":
            return None
        sample = (self.fields[0][2] + 7) // 8 * 8  # bits of memory
        return self.stored // sample if self.stored > sample else None

    @cached_property
    def dtype(self) -> Words:
        """numpy.dtype of the array: uint8, uint16 or uint32."""
        if self.packed:
            return np.dtype(np.uint8)
        return np.dtype(f"u{self.stored // 8 // (self.channels or 1)}")

    def line_bytes(self, width: int) -> int:
        """Bytes of a line of so many pixels."""
        return (width * self.stored + 7) // 8

    def most_pixels(self, size: int) -> int:
        """Pixels of a line that has so many bytes."""
        return size * 8 // self.stored

    def shape(self, height: int, width: int) -> Tuple[int, ...]:
        """Shape of the array of a picture: (height, width), (height, width, channels), or of a
        packed format (height, bytes of a line)."""
        if self.packed:
            return height, self.line_bytes(width)
        return (height, width) if self.channels is None else (height, width, self.channels)


def _read_formats() -> Iterator[Tuple[str, Format]]:
    for name, code, stored, significant, family, group, phase, order, channels in c.FORMATS:
        yield name, Format(name, c.FORMAT_PREFIX + code, stored, significant, family, group, phase, order, channels)


formats = MappingProxyType(dict(_read_formats()))
by_code = {format.code: format for format in formats.values()}


def format_of(code: int) -> Optional[Format]:
    """The Format of a code; None for 0."""
    return by_code.get(code)


def format_named(name: FormatName) -> Format:
    """The format of that name, or the format itself. ValueError tells near names."""
    if isinstance(name, Format):
        return name
    if isinstance(name, str) and name in formats:
        return formats[name]
    near = [known for known in formats if known.lower().startswith(str(name).lower()[:4])]
    hint = f"; near it are {', '.join(near)}" if near else ""
    raise ValueError(f"no pixel format is called {name!r}{hint}. trvil.formats lists them all")


_PHASES = {"RGGB": "A", "GRBG": "B", "GBRG": "C", "BGGR": "D"}
_PHASE_VALUES = {"A": c.TBL_BAYER_PHASE_A, "B": c.TBL_BAYER_PHASE_B, "C": c.TBL_BAYER_PHASE_C,
                 "D": c.TBL_BAYER_PHASE_D}


def phase_value(phase: Optional[str], of: Format) -> int:
    """Parameter 10 for "RGGB" or "A" and so on; None is what the format's name says, else A."""
    letter = of.phase or "A" if phase is None else _PHASES.get(str(phase).upper(), str(phase).upper())
    if letter not in _PHASE_VALUES:
        raise ValueError(f"no Bayer phase is called {phase!r}; use RGGB, GRBG, GBRG, BGGR or A to D")
    return _PHASE_VALUES[letter]


def phase_letter(value: int) -> Optional[str]:
    """ "A" to "D" for parameter 10; None for 0."""
    return next((letter for letter, known in _PHASE_VALUES.items() if known == value), None)


_METHODS = {"dup": c.TBL_BAYER_METHOD_DUP, "ave": c.TBL_BAYER_METHOD_AVE, "med": c.TBL_BAYER_METHOD_MED,
            "gradient": c.TRW_METHOD_GRADIENT}


def method_value(method: str) -> int:
    """The number of a demosaic method."""
    if not isinstance(method, str) or method not in _METHODS:
        raise ValueError(f"no demosaic method is called {method!r}; use {', '.join(_METHODS)}")
    return _METHODS[method]
