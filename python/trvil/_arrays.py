"""Arrays as the library's pictures: what is accepted, and where a copy has to be made."""
from __future__ import annotations

import operator
from dataclasses import dataclass
from typing import Any, Optional

import numpy as np

from ._formats import Format
from ._packings import Packing
from ._types import Array, Layout, Readable, Writable


@dataclass(frozen=True)
class Picture:
    """An array that the library can read as a picture of a format."""

    array: Array
    format: Layout
    samples: Format  # what the pixels are, once a packing is unpacked
    width: int
    height: int
    stride: int  # bytes from line to line

    @property
    def packing(self) -> int:
        """TRW_PACKING_..., or 0 for a pixel format."""
        return self.format.code if isinstance(self.format, Packing) else 0

    def copied(self) -> Picture:
        """The same in memory of its own."""
        return picture(self.array.copy(), self.format, self.width, samples=self.samples)

    @property
    def line(self) -> int:
        return self.format.line_bytes(self.width)

    @property
    def padded(self) -> bool:
        return self.stride != self.line

    @property
    def address(self) -> int:
        return int(self.array.__array_interface__["data"][0])

    @property
    def size(self) -> int:
        """Bytes from the first pixel to the last."""
        return self.stride * (self.height - 1) + self.line


def _describe(format: Layout) -> str:
    axes = {True: "(height, bytes of a line)", False: "(height, width)"}[format.packed]
    if format.channels is not None:
        axes = f"(height, width, {format.channels})"
    return f"{format.name} is an array {axes} of {format.dtype}"


def _from_dlpack(thing: Any, name: str) -> Array:
    try:
        array = np.from_dlpack(thing)
    except (BufferError, RuntimeError, TypeError, ValueError) as problem:
        raise TypeError(f"{name} is a {type(thing).__name__} that cannot be read where it lies: {problem}") from problem
    # PyTorch has no 16 bits without a sign; the bits are the same.
    return array.view(f"u{array.itemsize}") if array.dtype.kind == "i" else array


def as_array(thing: Any, name: str = "array") -> Array:
    """The memory of an array, of an object with __dlpack__ or of a buffer, as an array; TypeError for others."""
    if isinstance(thing, np.ndarray):
        return thing
    if hasattr(thing, "__dlpack__"):
        return _from_dlpack(thing, name)
    try:
        return np.asarray(memoryview(thing))
    except (TypeError, ValueError) as problem:
        raise TypeError(f"{name} is a {type(thing).__name__}; give a numpy.ndarray, an object with __dlpack__, or a "
                        "buffer such as bytes, memoryview, array and mmap") from problem


def _in_lines(array: Array, format: Layout, width: Optional[int], name: str) -> Array:
    """Memory of one dimension: lines of so many pixels without padding."""
    if array.ndim != 1 or width is None:
        return array
    line = format.line_bytes(width) if width > 0 else 0
    if line == 0 or array.nbytes == 0 or array.nbytes % line != 0:
        raise ValueError(f"{name} has {array.nbytes} bytes; lines of {width} pixels of {format.name} have {line} each")
    if not array.flags.c_contiguous:
        raise ValueError(f"{name} has gaps; only whole lines may be apart. Pass numpy.ascontiguousarray of it")
    return array.view(np.uint8).view(format.dtype).reshape(format.shape(array.nbytes // line, width))


def _check_kind(array: Array, format: Layout, name: str) -> None:
    if array.dtype != format.dtype:
        raise ValueError(f"{name} is of {array.dtype}; {_describe(format)}. Use astype, or another format")
    channels = array.shape[2] if array.ndim == 3 else None
    if array.ndim not in (2, 3) or channels != format.channels:
        flat = "; of one dimension it needs a width" if array.ndim == 1 else ""
        raise ValueError(f"{name} has the shape {array.shape}; {_describe(format)}{flat}")
    if 0 in array.shape or max(array.shape) > 0xFFFFFFFF:
        raise ValueError(f"{name} has the shape {array.shape}; a picture has at least one pixel")


def _check_pixels(array: Array, name: str) -> None:
    """Pixels of a line must follow each other; NumPy leaves strides of single elements undefined."""
    wanted = array.itemsize
    for axis in range(array.ndim - 1, 0, -1):
        if array.shape[axis] > 1 and array.strides[axis] != wanted:
            raise ValueError(
                f"the pixels of a line of {name} do not lie side by side (strides {array.strides}); "
                "only whole lines may be apart. Pass numpy.ascontiguousarray of it")
        wanted *= array.shape[axis]


def _row_stride(array: Array, line: int, name: str) -> int:
    if array.shape[0] == 1:
        return line
    stride = array.strides[0]
    if stride < line or stride > 0xFFFFFFFF or stride % array.itemsize != 0:
        raise ValueError(
            f"the lines of {name} begin {stride} bytes apart, and each has {line}; they must follow "
            "each other downwards, by whole samples. Pass numpy.ascontiguousarray of it")
    return stride


def _width_of(array: Array, format: Layout, width: Optional[int], name: str) -> int:
    if not format.packed:
        if width is not None and width != array.shape[1]:
            raise ValueError(f"{name} is {array.shape[1]} pixels wide, not {width}")
        return array.shape[1]
    most = format.most_pixels(array.shape[1])
    if width is None:
        width = most
    if not 1 <= width <= most:
        raise ValueError(f"lines of {array.shape[1]} bytes hold up to {most} pixels of {format.name}, not {width}")
    return width


def samples_of(layout: Layout) -> Format:
    """What a packing is unpacked to, or the format itself."""
    return layout.format if isinstance(layout, Packing) else layout


def whole(value: Any, name: str) -> int:
    """A whole number, of Python or NumPy."""
    try:
        return operator.index(value)
    except TypeError:
        raise TypeError(f"{name} is {value!r}; give a whole number") from None


def picture(array: Readable, format: Layout, width: Optional[int] = None, name: str = "array", *,
            samples: Optional[Format] = None) -> Picture:
    """The array, or what as_array() takes, as a picture, without a copy; ValueError or TypeError says why it is
    none. `samples` is what a packing is unpacked to, where that is not its own format."""
    if width is not None:
        width = whole(width, "width")
    array = _in_lines(as_array(array, name), format, width, name)
    _check_kind(array, format, name)
    _check_pixels(array, name)
    width = _width_of(array, format, width, name)
    stride = _row_stride(array, format.line_bytes(width), name)
    return Picture(array, format, samples or samples_of(format), width, array.shape[0], stride)


def output(out: Optional[Writable], format: Format, height: int, width: int) -> Picture:
    """`out` as the picture to be written, or a new one of zeros. Room for the rest of a packed
    group lies behind every new one."""
    shape = format.shape(height, width)
    if out is None:
        room = 64
        memory = np.zeros(format.line_bytes(width) * height + room, np.uint8)
        return picture(memory[:-room].view(format.dtype).reshape(shape), format, width)
    out = as_array(out, "out")
    _check_kind(out, format, "out")
    if out.shape != shape:
        raise ValueError(f"out has the shape {out.shape}; this picture is {shape} of {format.dtype}")
    if not out.flags.writeable:
        raise ValueError("out is read-only; pass an array that may be written")
    return picture(out, format, width, "out")


def with_room(source: Picture, room: int) -> Picture:
    """A copy of a picture with so many zero bytes behind each line, as an array of bytes."""
    line = source.line
    memory = np.zeros((source.height, line + room), np.uint8)
    lines = np.ascontiguousarray(source.array).view(np.uint8).reshape(source.height, -1)
    memory[:, :line] = lines[:, :line]
    return Picture(memory, source.format, source.samples, source.width, source.height, line + room)
