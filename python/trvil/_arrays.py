"""Arrays as the library's pictures: what is accepted, and where a copy has to be made."""
from dataclasses import dataclass

import numpy as np

from ._formats import Format


@dataclass(frozen=True)
class Picture:
    """An array that the library can read as a picture of a format."""

    array: np.ndarray
    format: Format  # or a Packing, which has what this module asks of it
    width: int
    height: int
    stride: int  # bytes from line to line

    @property
    def line(self):
        return self.format.line_bytes(self.width)

    @property
    def padded(self):
        return self.stride != self.line

    @property
    def address(self):
        return self.array.__array_interface__["data"][0]

    @property
    def size(self):
        """Bytes from the first pixel to the last."""
        return self.stride * (self.height - 1) + self.line


def _describe(format):
    axes = {True: "(height, bytes of a line)", False: "(height, width)"}[format.packed]
    if format.channels is not None:
        axes = f"(height, width, {format.channels})"
    return f"{format.name} is an array {axes} of {format.dtype}"


def _check_kind(array, format, name):
    if not isinstance(array, np.ndarray):
        raise TypeError(f"{name} is a {type(array).__name__}; give a numpy.ndarray: {_describe(format)}")
    if array.dtype != format.dtype:
        raise ValueError(f"{name} is of {array.dtype}; {_describe(format)}. Use astype, or another format")
    channels = array.shape[2] if array.ndim == 3 else None
    if array.ndim not in (2, 3) or channels != format.channels:
        raise ValueError(f"{name} has the shape {array.shape}; {_describe(format)}")
    if 0 in array.shape or max(array.shape) > 0xFFFFFFFF:
        raise ValueError(f"{name} has the shape {array.shape}; a picture has at least one pixel")


def _check_pixels(array, name):
    """Pixels of a line must follow each other; NumPy leaves strides of single elements undefined."""
    wanted = array.itemsize
    for axis in range(array.ndim - 1, 0, -1):
        if array.shape[axis] > 1 and array.strides[axis] != wanted:
            raise ValueError(
                f"the pixels of a line of {name} do not lie side by side (strides {array.strides}); "
                "only whole lines may be apart. Pass numpy.ascontiguousarray of it")
        wanted *= array.shape[axis]


def _row_stride(array, line, name):
    if array.shape[0] == 1:
        return line
    stride = array.strides[0]
    if stride < line or stride > 0xFFFFFFFF or stride % array.itemsize != 0:
        raise ValueError(
            f"the lines of {name} begin {stride} bytes apart, and each has {line}; they must follow "
            "each other downwards, by whole samples. Pass numpy.ascontiguousarray of it")
    return stride


def _width_of(array, format, width, name):
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


def picture(array, format, width=None, name="array"):
    """The array as a picture, without a copy; ValueError or TypeError says why it is none."""
    _check_kind(array, format, name)
    _check_pixels(array, name)
    width = _width_of(array, format, width, name)
    stride = _row_stride(array, format.line_bytes(width), name)
    return Picture(array, format, width, array.shape[0], stride)


def output(out, format, height, width):
    """`out` as the picture to be written, or a new one of zeros. Room for the rest of a packed
    group lies behind every new one."""
    shape = format.shape(height, width)
    if out is None:
        room = 64
        memory = np.zeros(format.line_bytes(width) * height + room, np.uint8)
        return picture(memory[:-room].view(format.dtype).reshape(shape), format, width)
    _check_kind(out, format, "out")
    if out.shape != shape:
        raise ValueError(f"out has the shape {out.shape}; this picture is {shape} of {format.dtype}")
    if not out.flags.writeable:
        raise ValueError("out is read-only; pass an array that may be written")
    return picture(out, format, width, "out")


def with_room(source, room):
    """A copy of a picture with so many zero bytes behind each line, as an array of bytes."""
    line = source.line
    memory = np.zeros((source.height, line + room), np.uint8)
    lines = np.ascontiguousarray(source.array).view(np.uint8).reshape(source.height, -1)
    memory[:, :line] = lines[:, :line]
    return Picture(memory, source.format, source.width, source.height, line + room)
