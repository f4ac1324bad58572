"""Sequences of frames: opened and converted when they are asked for."""
from __future__ import annotations

import hashlib
import os
from collections import deque
from concurrent.futures import FIRST_COMPLETED, Executor, Future, ThreadPoolExecutor, wait
from dataclasses import dataclass, replace
from functools import lru_cache
from itertools import islice
from operator import index as as_index
from typing import Any, Callable, Deque, Dict, Iterable, Iterator, Optional, Tuple, Union, cast, overload

import numpy as np

from ._convert import convert
from ._develop import Recipe
from ._formats import Format, format_named
from ._packings import Packing
from ._recording import Kind, Name, Recording, Size, open_recording
from ._settings import Settings
from ._stack import write_stack
from ._stores import dask_array, write_zarr
from ._types import Array, FormatName, PackingName


@dataclass(frozen=True)
class _Conversion:
    source: Kind
    to: Format
    method: str

    def make(self, frame: Array, out: Optional[Array] = None) -> Array:
        given = self.source
        return convert(frame, given.samples, self.to, packing=given.packing, phase=given.phase, method=self.method,
                       width=given.width if given.layout.packed else None, out=out)


@lru_cache(maxsize=4)
def _recipe(settings: Settings, source: Kind) -> Recipe:
    """Made ready once for all equal settings: a task of a cluster comes with its own."""
    return Recipe(settings, source.samples, source.width, source.height, packing=source.packing, phase=source.phase)


@dataclass(frozen=True)
class _Development:
    source: Kind
    to: Format
    settings: Settings

    def make(self, frame: Array, out: Optional[Array] = None) -> Array:
        return _recipe(self.settings, self.source).develop(frame, self.to, out=out)


_Step = Union[_Conversion, _Development]


@dataclass(frozen=True, repr=False)
class Sequence:
    """Frames one after the other, of a recording or made of one.

    open() makes it, and its slices and methods make others. `len`, `sequence[5]`, `sequence[10:20:2]` and `for` do
    what they do with lists. Frames of a recording are read-only arrays of the file's own memory, which is read where
    it is looked at; converted ones are new arrays, made each time they are asked for. Nothing is kept: what a frame
    takes is free again when nobody has it any more, also in the count of this process's memory.

    Sequences can be pickled, by the names of their files and not by their content, and are equal when all of it is.
    Whoever unpickles one needs the files at the same place.

    A file that has become shorter raises OSError. One that becomes shorter while a frame of it is looked at ends the
    process, as it does for every memory map.

    Threads: any number may use a sequence at the same time.
    """

    _recording: Recording
    _frames: range
    _kind: Kind
    _steps: Tuple[_Step, ...] = ()

    @property
    def shape(self) -> Tuple[int, ...]:
        """(frames, height, width), or as the format has it: (frames, *format.shape(height, width))."""
        return (len(self), *self._kind.shape)

    @property
    def dtype(self) -> np.dtype[Any]:
        """numpy.dtype of the frames."""
        return self._kind.dtype

    @property
    def format(self) -> Format:
        """The Format of the frames; with a packing, what they are unpacked to."""
        return self._kind.samples

    @property
    def packing(self) -> Optional[Packing]:
        """The Packing of the frames; None for the format's own."""
        return self._kind.packing

    @property
    def phase(self) -> Optional[str]:
        """The phase that was given to open(), or that its format's name says; None without one."""
        return self._kind.phase

    @property
    def width(self) -> int:
        """Pixels of a line."""
        return self._kind.width

    @property
    def height(self) -> int:
        """Lines of a frame."""
        return self._kind.height

    @property
    def nbytes(self) -> int:
        """Bytes that all frames have as arrays."""
        return int(np.prod(self.shape, dtype=object)) * self.dtype.itemsize

    def __len__(self) -> int:
        return len(self._frames)

    @overload
    def __getitem__(self, index: int) -> Array: ...

    @overload
    def __getitem__(self, index: slice) -> Sequence: ...

    def __getitem__(self, index: Union[int, slice]) -> Union[Array, Sequence]:
        if isinstance(index, slice):
            return replace(self, _frames=self._frames[index])
        try:
            return self._make(self._frames[as_index(index)])
        except IndexError:
            raise IndexError(f"there is no frame {index}: {len(self)} are here") from None

    def __iter__(self) -> Iterator[Array]:
        return map(self._make, self._frames)

    def __array__(self, dtype: Any = None) -> Array:
        return self._block(0, len(self)).astype(dtype or self.dtype, copy=False)

    def __repr__(self) -> str:
        made = f" of {self.packing.name}" if self.packing else ""
        return (f"<trvil.Sequence: {len(self)} frames of {self.width} x {self.height} {self.format.name}{made}, "
                f"{', '.join(self._recording.paths[:2])}{', ...' * (len(self._recording.paths) > 2)}>")

    def _make(self, number: int, out: Optional[Array] = None) -> Array:
        frame = self._recording.read(number)
        for step in self._steps[:-1]:
            frame = step.make(frame)
        if self._steps:
            return self._steps[-1].make(frame, out)
        if out is None:
            return frame
        out[...] = frame
        return out

    def _block(self, start: int, stop: int) -> Array:
        """Frames as one array; zero in bytes that nobody writes."""
        return self._fill(np.zeros((stop - start, *self._kind.shape), self.dtype), start)

    def _fill(self, block: Array, start: int) -> Array:
        for out, number in zip(block, self._frames[start:start + len(block)]):
            self._make(number, out)
        return block

    def developed(self, settings: Settings, to: Optional[FormatName] = None) -> Sequence:
        """The frames as develop() makes them by these settings.

        settings: Settings
        to: as for develop(): default "RGB48" for a mosaic, "Mono16" for grey

        Raises what Recipe and develop() raise, at once and not when a frame is made.
        """
        kind = self._kind
        target = format_named(to or ("RGB48" if kind.samples.family == "bayer" else "Mono16"))
        step = _Development(kind, target, settings)
        step.make(np.zeros(kind.shape, kind.dtype))  # a target that cannot be is found now
        return self._with(step, target)

    def converted(self, to: FormatName, *, method: str = "ave") -> Sequence:
        """The frames as convert() makes them.

        to: name of a format, such as "BGR24", or a Format
        method: of demosaicing: "dup", "ave", "med" or "gradient"

        Raises what convert() raises, at once and not when a frame is made.
        """
        kind, target = self._kind, format_named(to)
        step = _Conversion(kind, target, method)
        corner = replace(kind, width=min(kind.width, 16), height=min(kind.height, 4))
        replace(step, source=corner).make(np.zeros(corner.shape, corner.dtype))
        return self._with(step, target)

    def _with(self, step: _Step, format: Format) -> Sequence:
        kind = Kind(format, None, format.phase, self.width, self.height)
        return replace(self, _kind=kind, _steps=(*self._steps, step))

    def to_dask(self, frames: Optional[int] = None) -> Any:
        """The frames as an array of Dask: (frames, height, width) or as `shape` has it.

        frames: how many are a chunk; default as many as have 8 MiB, at least one

        Chunks are made when Dask computes them, where it computes them: threads, processes or other machines that have
        the files at the same place. ImportError without Dask.
        """
        return dask_array(self, self._frames_of_chunk(frames))

    def to_zarr(self, store: Any, *, frames: Optional[int] = None, executor: Optional[Executor] = None,
                ahead: Optional[int] = None, compressor: Any = "default") -> int:
        """Writes the frames into an array of Zarr; called again, it makes what is not there yet.

        store: name of a folder, or a store of Zarr, which needs to be picklable for an executor of other processes
        frames: how many are a chunk; default as many as have 8 MiB, at least one
        executor: makes the chunks: a concurrent.futures.ProcessPoolExecutor, or `client.get_executor(pure=False)` of
            Dask; default as many threads as the processors that this one may run on
        ahead: how many tasks are given to it at a time, of up to 16 chunks each for an executor; four times its threads
            is a good number. Default 64
        compressor: as zarr.create() takes it; None for none

        Returns how many frames this call made. A chunk appears whole or not at all in a folder, so whatever ends the
        call costs only the chunks that were under way: the same call, again, goes on from there.
        Nobody else may write to the store meanwhile.

        Raises ValueError where the store holds something else: an array of other frames, settings, files or chunks.
        The first error of a chunk ends the call, once those under way are done; what is made stays. ImportError without
        Zarr.
        """
        def write(pool: Executor, most: int, tasks: int) -> int:
            return write_zarr(self, store, self._frames_of_chunk(frames), compressor, tasks,
                              lambda function, each: _in_parallel(pool, function, each, most))

        if executor is not None:
            return write(executor, ahead or 64, ahead or 64)
        with ThreadPoolExecutor(_processors()) as threads:
            return write(threads, ahead or 2 * _processors(), 0)

    def write(self, path: Union[Name, bytes], *, threads: Optional[int] = None) -> None:
        """Writes the frames to a TIFF file, a page each, replacing what was there.

        path: name of the file. A symbolic link is followed
        threads: how many make frames at a time; default as many as processors that this one may run on

        Grey and mosaics of 8 to 16 bits, and three-channel colour of 8 and 16 bits are written, values as they are and
        colours as readers expect them. From 4 GiB on it is a BigTIFF. The file appears whole or not at all, beside its
        place until then, and memory holds a few frames for each thread.

        Raises Error as trvil.write() does, ValueError without frames, OSError when a file cannot be read or made.
        """
        with ThreadPoolExecutor(threads or _processors()) as pool:
            made = _in_order(pool, self._make, self._frames, 2 * (threads or _processors()))
            write_stack(path, self.format if self.packing is None else None, len(self), self.height, self.width, made)

    def _frames_of_chunk(self, frames: Optional[int]) -> int:
        if frames is None:
            one = int(np.prod(self._kind.shape, dtype=object)) * self.dtype.itemsize
            return max(1, min((8 << 20) // one, len(self)))
        if as_index(frames) < 1:
            raise ValueError(f"a chunk has one frame at least, not {frames}")
        return as_index(frames)

    def _facts(self) -> Dict[str, Any]:
        """What the frames come to depends on this: files by name and number of frames, wherever they lie."""
        return {"files": [[os.path.basename(path), end] for path, end in
                          zip(self._recording.paths, self._recording.ends)],
                "frames": [self._frames.start, self._frames.stop, self._frames.step],
                "spacing": list(vars(self._recording.spacing).values()),
                "source": repr(self._recording.kind), "steps": [_step_facts(step) for step in self._steps]}


def _step_facts(step: _Step) -> Dict[str, Any]:
    if isinstance(step, _Conversion):
        return {"to": step.to.name, "method": step.method}
    settings = {name: value if not isinstance(value, np.ndarray) else
                [value.shape, hashlib.sha256(value.tobytes()).hexdigest()]
                for name, value in step.settings.to_dict().items()}
    return {"to": step.to.name, "settings": repr(settings)}


def _processors() -> int:
    return len(os.sched_getaffinity(0))


def _in_order(executor: Executor, function: Callable[[Any], Any], items: Iterable[Any], ahead: int) -> Iterator[Any]:
    """Results of a function, in the order of its arguments, some of them made ahead."""
    left, under_way = iter(items), cast("Deque[Future[Any]]", deque())
    try:
        while True:
            under_way.extend(executor.submit(function, item) for item in islice(left, ahead - len(under_way)))
            if not under_way:
                return
            yield under_way.popleft().result()
    finally:
        for future in under_way:
            future.cancel()


def _in_parallel(executor: Executor, function: Callable[..., int], tasks: Iterable[Tuple[Any, ...]], ahead: int) -> int:
    """The sum of a function's results, as they come."""
    left, under_way, total = iter(tasks), cast("set[Future[int]]", set()), 0
    try:
        while True:
            under_way.update(executor.submit(function, *task) for task in islice(left, ahead - len(under_way)))
            if not under_way:
                return total
            done, under_way = wait(under_way, return_when=FIRST_COMPLETED)
            total += sum(future.result() for future in done)
    finally:
        for future in under_way:
            future.cancel()
        wait(under_way)


def open(path: Union[Name, Iterable[Name]], size: Size, format: FormatName, *, packing: Optional[PackingName] = None,
         phase: Optional[str] = None, skip: int = 0, frame_skip: int = 0, stride: Optional[int] = None) -> Sequence:
    """The frames of a recording, which is not read yet.

    path: name of a file, or several, whose frames follow each other
    size: (width, height) in pixels, or "1920x1080"
    format: name of a pixel format or a Format; or a packing, such as "12Packed", of grey or with a phase of a
        mosaic; or what GenICam, Video4Linux and others call it, such as "BayerRG12Packed"
    packing: name of a packing, where `format` says what the samples are
    phase: of a mosaic, as for convert()
    skip: bytes at the beginning of each file
    frame_skip: bytes before each frame
    stride: bytes from line to line; default no padding

    Takes the same for ten frames and for a million: the size of each file is asked for, nothing more. Bytes after the
    last whole frame are told by a warning and left out. The last frame needs no padding after its last line.

    Raises ValueError for what makes no sense and for what is no regular file, OSError where there is no file.
    """
    recording = open_recording(path, size, format, packing, phase, skip, frame_skip, stride)
    return Sequence(recording, range(recording.ends[-1]), recording.kind)
