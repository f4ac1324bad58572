"""The packings that cameras send, beyond the pixel formats."""
from __future__ import annotations

import ctypes
from dataclasses import dataclass
from types import MappingProxyType
from typing import Iterator, Optional, Tuple

import numpy as np

from . import _constants as c
from . import _library
from ._formats import Format, by_code
from ._types import PackingName


@dataclass(frozen=True)
class Packing:
    """How the samples of pixels share bytes. Arrays are bytes, (height, bytes of a line) of uint8.

    name: as standards and drivers spell it, such as "12Packed"
    code: what the C interface calls it, TRW_PACKING_...
    bits: of a sample
    group: pixels that share whole bytes
    group_bytes: bytes of such a group
    format: the Format that it is unpacked to: Mono10, Mono12, Mono14, Mono16 or YUV422
    """

    name: str
    code: int
    bits: int
    group: int
    group_bytes: int
    format: Format

    packed, channels, dtype = True, None, np.dtype(np.uint8)  # as a Format has them

    def line_bytes(self, width: int) -> int:
        """Bytes of a line of so many pixels, up to the last one that has a bit of a sample."""
        info = _info(self.code, width)
        if info is None:
            raise ValueError(f"{width} is no width")
        return int(info.line_bytes)

    def shape(self, height: int, width: int) -> Tuple[int, int]:
        """Shape of the array of a picture: (height, bytes of a line)."""
        return height, self.line_bytes(width)

    def most_pixels(self, size: int) -> int:
        """Pixels of a line that has so many bytes."""
        width = size // self.group_bytes * self.group
        while self.line_bytes(width + 1) <= size:
            width += 1
        return width


def _info(code: int, width: int = 0) -> Optional[_library.PackingInfo]:
    info = _library.record(_library.PackingInfo)
    status = _library.raw.TRW_PackingInfoGet(code, 0, width, ctypes.byref(info))
    return info if status == c.TRV_STATUS_OK else None


def _read_packings() -> Iterator[Tuple[str, Packing]]:
    code = 1
    while (info := _info(code)) is not None:
        name = info.name.decode("ascii")
        yield name, Packing(name, code, info.bits, info.group_pixels, info.group_bytes, by_code[info.format])
        code += 1


packings = MappingProxyType(dict(_read_packings()))
_by_code = {packing.code: packing for packing in packings.values()}


def packing_of(code: int) -> Optional[Packing]:
    """The Packing of a code; None for 0."""
    return _by_code.get(code)


def packing_named(name: PackingName) -> Packing:
    """The packing of that name, or the packing itself."""
    if isinstance(name, Packing):
        return name
    if isinstance(name, str) and name in packings:
        return packings[name]
    raise ValueError(f"no packing is called {name!r}; there are {', '.join(packings)}. find_name() tells the "
                     "packing that a name of a camera or driver means")
