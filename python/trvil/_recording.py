"""Recordings: files of frames that all have one size and format, mapped a frame at a time."""
from __future__ import annotations

import ctypes
import errno
import mmap
import os
import stat
import warnings
import weakref
from bisect import bisect_right
from dataclasses import dataclass
from itertools import accumulate
from typing import Any, Iterable, Optional, Tuple, Union

import numpy as np

from ._formats import Format, format_named, formats, phase_value
from ._names import find_name
from ._packings import Packing, packing_named, packings
from ._types import Array, FormatName, Layout, PackingName

Size = Union[str, Tuple[int, int]]
Name = Union[str, "os.PathLike[str]"]

_libc = ctypes.CDLL(None, use_errno=True)
_libc.mmap.argtypes = [ctypes.c_void_p, ctypes.c_size_t, ctypes.c_int, ctypes.c_int, ctypes.c_int, ctypes.c_long]
_libc.mmap.restype = ctypes.c_void_p
_libc.munmap.argtypes = [ctypes.c_void_p, ctypes.c_size_t]
_MAP_FAILED = ctypes.c_void_p(-1).value


@dataclass(frozen=True)
class Kind:
    """What the frames of a sequence are."""

    samples: Format
    packing: Optional[Packing]
    phase: Optional[str]
    width: int
    height: int

    @property
    def layout(self) -> Layout:
        return self.samples if self.packing is None else self.packing

    @property
    def shape(self) -> Tuple[int, ...]:
        if self.packing is None:
            return self.samples.shape(self.height, self.width)
        return self.height, self.packing.line_bytes(self.width)

    @property
    def dtype(self) -> np.dtype[Any]:
        return self.layout.dtype


@dataclass(frozen=True)
class Spacing:
    """Where the frames of a file lie: bytes before all of them, before each, and from line to line."""

    skip: int
    frame_skip: int
    stride: int
    frame: int  # bytes from the first pixel to the last
    pitch: int

    def frames_in(self, length: int) -> int:
        """The last frame needs no padding after its last line."""
        return max(0, (length - self.offset(0) - self.frame + self.pitch) // self.pitch)

    def offset(self, index: int) -> int:
        return self.skip + self.frame_skip + self.pitch * index


@dataclass(frozen=True)
class Recording:
    """Files whose frames follow each other."""

    paths: Tuple[str, ...]
    ends: Tuple[int, ...]  # frames up to the end of each file
    kind: Kind
    spacing: Spacing

    def read(self, index: int) -> Array:
        """A frame where it lies in its file; read-only."""
        file = bisect_right(self.ends, index)
        begin = self.spacing.offset(index - (self.ends[file - 1] if file else 0))
        memory = _map(self.paths[file], begin, self.spacing.frame)
        shape, dtype = self.kind.shape, self.kind.dtype
        inner = tuple(dtype.itemsize * int(np.prod(shape[axis + 1:])) for axis in range(1, len(shape)))
        return np.ndarray(shape, dtype, memory, begin % mmap.PAGESIZE, (self.spacing.stride, *inner))


def _map(path: str, begin: int, size: int) -> memoryview:
    """The pages of a file that have these bytes. They are unmapped when nobody looks at them any more: one map
    of the whole file would count every page that was ever read as this process's memory."""
    first = begin - begin % mmap.PAGESIZE
    length = begin + size - first
    descriptor = os.open(path, os.O_RDONLY | os.O_CLOEXEC)
    try:
        if os.fstat(descriptor).st_size < begin + size:  # a page behind the end would end the process
            raise OSError(errno.EIO, f"Shorter than it was when it was opened, no byte {begin + size}", path)
        address = _libc.mmap(None, length, mmap.PROT_READ, mmap.MAP_SHARED, descriptor, first)
        if address == _MAP_FAILED:
            number = ctypes.get_errno()
            raise OSError(number, os.strerror(number), path)
    finally:
        os.close(descriptor)
    memory = (ctypes.c_ubyte * length).from_address(address)
    weakref.finalize(memory, _libc.munmap, address, length).atexit = False
    return memoryview(memory).toreadonly()


def _size_of(size: Size) -> Tuple[int, int]:
    try:
        sides: Iterable[Any] = size.lower().split("x") if isinstance(size, str) else size
        width, height = map(int, sides)
    except (TypeError, ValueError):
        width = height = 0
    if not (1 <= width <= 0xFFFFFFFF and 1 <= height <= 0xFFFFFFFF):
        raise ValueError(f'a size is (width, height) in pixels, or "1920x1080", not {size!r}')
    return width, height


def _named(format: FormatName, phase: Optional[str]) -> Tuple[Format, Optional[Packing], Optional[str]]:
    """Samples, packing and phase of a name of ours, of a packing, or of another system."""
    if isinstance(format, Format) or format in formats:
        return format_named(format), None, phase
    if format in packings:
        packing = packings[format]
        mosaic = phase is not None and packing.format.family == "grey"
        return formats[f"BAY{packing.bits}"] if mosaic else packing.format, packing, phase
    reading = find_name(format)
    if reading.format is None and reading.name is not None:
        raise ValueError(f"{format} cannot be read: {reading.why or 'it tells no format'}")
    return reading.format or format_named(format), reading.packing, phase or reading.phase


def _kind_of(size: Size, format: FormatName, packing: Optional[PackingName], phase: Optional[str]) -> Kind:
    samples, packed, phase = _named(format, phase)
    packed = packed if packing is None else packing_named(packing)
    if samples.family == "bayer":
        phase_value(phase, samples)
    elif phase is not None:
        raise ValueError(f"phase={phase!r} makes no sense with {samples.name}, which is not a mosaic")
    if packed and (packed.format.stored, packed.bits) != (samples.stored, samples.significant):
        raise ValueError(f"{packed.name} is unpacked to samples as {packed.format.name} has them, not to {samples.name}")
    return Kind(samples, packed, phase, *_size_of(size))


def _spacing_of(kind: Kind, skip: int, frame_skip: int, stride: Optional[int]) -> Spacing:
    line = kind.layout.line_bytes(kind.width)
    if skip < 0 or frame_skip < 0:
        raise ValueError(f"skip and frame_skip are bytes from 0 on, not {skip} and {frame_skip}")
    if stride is None:
        stride = line
    if not line <= stride <= 0xFFFFFFFF or stride % kind.dtype.itemsize:
        raise ValueError(f"lines cannot lie {stride} bytes apart: {kind.width} pixels of {kind.layout.name} are {line} "
                         f"bytes, and lines begin with whole samples")
    return Spacing(skip, frame_skip, stride, stride * (kind.height - 1) + line, frame_skip + stride * kind.height)


def _frames_of(path: str, spacing: Spacing) -> int:
    status = os.stat(path)
    if not stat.S_ISREG(status.st_mode):
        raise ValueError(f"{path} is no regular file; only those can be opened at any frame")
    count = spacing.frames_in(status.st_size)
    surplus = status.st_size - spacing.skip - count * spacing.pitch
    if surplus > 0:
        warnings.warn(f"{path} ends with {surplus} bytes that are no whole frame, of {spacing.pitch} bytes each; they are "
                      f"left out, and {count} frames counted", stacklevel=4)
    return count


def open_recording(path: Union[Name, Iterable[Name]], size: Size, format: FormatName, packing: Optional[PackingName],
                   phase: Optional[str], skip: int, frame_skip: int, stride: Optional[int]) -> Recording:
    kind = _kind_of(size, format, packing, phase)
    spacing = _spacing_of(kind, skip, frame_skip, stride)
    names = [path] if isinstance(path, (str, os.PathLike)) else list(path)
    paths = tuple(os.path.abspath(os.fspath(name)) for name in names)
    if not paths:
        raise ValueError("a recording is one file at least")
    return Recording(paths, tuple(accumulate(_frames_of(each, spacing) for each in paths)), kind, spacing)
