"""Handles: the names by which the libraries know pictures in memory."""
from __future__ import annotations

import ctypes
import itertools
import weakref
from typing import Any, Dict, Optional, Tuple

from . import _constants as c
from ._arrays import Picture, picture, whole
from ._formats import Format, by_code, format_named, formats, method_value, phase_value
from ._library import RELEASE, Error, buffers
from ._packings import packing_named
from ._types import Array, FormatName, Layout, PackingName, Readable

# What a handle's memory belongs to, until the handle's last owner lets go of it: that may be C code
# that retained it, so the array is not the Buffer's alone to keep.
_owned: Dict[int, Array] = {}
_tokens = itertools.count(1)


def _forget(token: int, _memory: int) -> None:
    _owned.pop(token, None)


_let_go, _NOBODY = RELEASE(_forget), RELEASE(0)


def _check(status: int, what: str) -> None:
    if status != c.TRV_STATUS_OK:
        raise Error(status, f"{what}: the buffer library answered status {status}")


def _release(handle: int) -> None:
    buffers.TBS_BufferRelease(ctypes.byref(ctypes.c_uint64(handle)))


class Buffer:
    """A picture by its handle, for C code that takes one and for explain().

    Made by wrap() and view(). It lends the array's memory to the handle without a copy. The array
    lives until the handle's last owner has let go, also when C code retained it and the Buffer is
    gone; such code must let go before the interpreter ends. close(), the end of a `with` block, or
    the garbage collector gives the handle back. A Buffer is not copied and not pickled; view() makes
    a second one of the same memory.

    Threads: any may use a Buffer, also while another closes it: it answers, or raises ValueError or
    Error (status 8). After a fork, parent and child have a Buffer each.
    """

    def __init__(self, handle: int) -> None:
        self._handle = handle
        self._finalizer = weakref.finalize(self, _release, handle)

    @property
    def handle(self) -> int:
        """The 64-bit handle. ValueError when the buffer was closed."""
        if not self._finalizer.alive:
            raise ValueError("the buffer is closed; wrap the array again")
        return self._handle

    def _read(self, parameter: int) -> int:
        value = ctypes.c_uint32()
        _check(buffers.TBL_BufferParameterGet(self.handle, parameter, ctypes.byref(value)), "cannot read a buffer")
        return value.value

    @property
    def width(self) -> int:
        """Pixels per line."""
        return self._read(c.TBL_PARAMETER_WIDTH)

    @property
    def height(self) -> int:
        """Lines."""
        return self._read(c.TBL_PARAMETER_HEIGHT)

    @property
    def stride(self) -> int:
        """Bytes from the start of a line to the start of the next."""
        return self._read(c.TBL_PARAMETER_STRIDE)

    @property
    def format(self) -> Format:
        """The Format of its pixels."""
        return by_code[self._read(c.TBL_PARAMETER_FORMAT)]

    def view(self, x: int, y: int, width: int, height: int) -> Buffer:
        """A Buffer of a rectangle of this one, without a copy.

        Bayer phase and packing offset move along. ValueError when the rectangle leaves the picture
        or begins inside a group that cannot be cut.
        """
        handle = ctypes.c_uint64()
        x, y, width, height = whole(x, "x"), whole(y, "y"), whole(width, "width"), whole(height, "height")
        if min(x, y, width, height) < 0 or max(x, y, width, height) > 0xFFFFFFFF:
            raise ValueError(f"{width} x {height} at {x}, {y} is no rectangle")
        status = buffers.TBS_BufferView(ctypes.byref(handle), self.handle, x, y, width, height)
        if status == c.TRV_STATUS_PARAMETER:
            raise ValueError(f"{width} x {height} at {x}, {y} does not lie in {self.width} x {self.height}, "
                             f"or {self.format.name} cannot be cut there")
        _check(status, "cannot make a view")
        return Buffer(handle.value)

    def close(self) -> None:
        """Gives the handle back. May be called again."""
        self._finalizer()

    def __reduce__(self) -> Tuple[Any, ...]:
        raise TypeError("a Buffer is neither copied nor pickled: its handle has one owner, in this process")

    def __enter__(self) -> Buffer:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()


def _handle_format(source: Picture) -> Format:
    """What a handle says of its pixels: of a packing's, it says whether they are a mosaic."""
    if source.packing == 0:
        return source.samples
    return formats["BAY8" if source.samples.family == "bayer" else "Mono8"]


def _make_handle(source: Picture, release: Any, token: int) -> ctypes.c_uint64:
    handle = ctypes.c_uint64()
    status = buffers.TBS_BufferWrap(ctypes.byref(handle), source.width, source.height, _handle_format(source).code,
                                    source.address, source.size, source.stride, release, token)
    if status != c.TRV_STATUS_OK:
        raise Error(status, f"cannot wrap {source.width} x {source.height} pixels of {source.format.name}: "
                            f"the buffer library answered status {status}")
    return handle


class Lent:
    """A handle of a checked picture for a `with` block, in which the array is held; nobody retains it."""

    def __init__(self, source: Picture) -> None:
        self._source, self._handle = source, _make_handle(source, _NOBODY, 0)

    def __enter__(self) -> int:
        return self._handle.value

    def __exit__(self, *_: object) -> None:
        buffers.TBS_BufferRelease(ctypes.byref(self._handle))


def _owning(source: Picture) -> Buffer:
    """A Buffer of a checked picture, whose array lives as long as any owner of the handle."""
    token = next(_tokens)
    _owned[token] = source.array
    try:
        return Buffer(_make_handle(source, _let_go, token).value)
    except Error:
        _owned.pop(token)
        raise


def wrap(array: Readable, format: FormatName, *, packing: Optional[PackingName] = None, phase: Optional[str] = None,
         method: str = "ave", width: Optional[int] = None) -> Buffer:
    """A Buffer around an array, without a copy.

    array: as convert() takes it; it may be read-only as long as nothing writes through the handle
    format, packing, phase, width: as for convert()
    method: "dup", "ave" or "med", which C code that demosaics finds in the handle

    With a packing, the handle says Mono8, or BAY8 for a mosaic, and the width in pixels: as TRW_Unpack
    and TRW_Convert take it.

    Errors: those of convert() for the array. Error (status 14) when there are too many buffers.
    """
    described = format_named(format)
    if method == "gradient":
        raise ValueError("a handle knows the methods dup, ave and med; gradient is a setting of TRW_Convert")
    layout: Layout = described if packing is None else packing_named(packing)
    given = picture(array, layout, width, samples=described)
    settings = ((c.TBL_PARAMETER_BAYER_METHOD, method_value(method)),
                (c.TBL_PARAMETER_BAYER_PHASE, phase_value(phase, described)))
    result = _owning(given)
    for parameter, value in settings:
        _check(buffers.TBS_BufferParameterSet(result.handle, parameter, value), "cannot set up a buffer")
    return result
