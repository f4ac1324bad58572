"""Sequences as arrays of Dask and Zarr, which are imported when they are asked for."""
from __future__ import annotations

import hashlib
import importlib
import itertools
import json
import os
import pathlib
import secrets
from typing import TYPE_CHECKING, Any, Callable, Dict, Iterable, Iterator, List, Tuple

import numpy as np

from ._types import Array

if TYPE_CHECKING:
    from ._sequence import Sequence

_Tasks = Iterable[Tuple[Any, ...]]


def _module(name: str, package: str) -> Any:
    try:
        return importlib.import_module(name)
    except ImportError as problem:
        raise ImportError(f"this needs {name.partition('.')[0]}: install {package}") from problem


def _bounds(frames: int, of_chunk: int) -> List[Tuple[int, int]]:
    return [(start, min(start + of_chunk, frames)) for start in range(0, frames, of_chunk)]


def _block(sequence: Sequence, start: int, stop: int) -> Array:
    return sequence._block(start, stop)


def _digest(sequence: Sequence) -> str:
    return hashlib.sha256(json.dumps(sequence._facts(), sort_keys=True).encode()).hexdigest()


def dask_array(sequence: Sequence, of_chunk: int) -> Any:
    dask = _module("dask.array", "python3-dask")
    name = f"trvil-{_digest(sequence)[:32]}-{of_chunk}"
    bounds = _bounds(len(sequence), of_chunk)
    whole = tuple((length,) for length in sequence.shape[1:])
    rest = (0,) * len(whole)
    graph: Dict[Any, Any] = {(name, i, *rest): (_block, f"{name}-source", *bound) for i, bound in enumerate(bounds)}
    graph[f"{name}-source"] = sequence
    counts = tuple(stop - start for start, stop in bounds) or (0,)
    if not bounds:
        graph[(name, 0, *rest)] = (_block, f"{name}-source", 0, 0)
    return dask.Array(graph, name, (counts, *whole), dtype=sequence.dtype)


def _write_chunks(sequence: Sequence, store: Any, bounds: List[Tuple[int, int]], _run: str) -> int:
    """Those of these chunks that are not there, and how many frames they all have. `_run` differs from call to call:
    Dask takes calls with the same arguments for the same call."""
    array = _module("zarr", "python3-zarr").open_array(store, mode="r+", write_empty_chunks=True)
    block = np.zeros((array.chunks[0], *sequence.shape[1:]), sequence.dtype)  # bytes that nobody writes stay zero
    for start, stop in _missing(array, bounds):
        array[start:stop] = sequence._fill(block[:stop - start], start)
    return sum(stop - start for start, stop in bounds)


def _array(store: Any, sequence: Sequence, of_chunk: int, compressor: Any) -> Any:
    """The array of a store: that of an earlier call for the same, or a new one."""
    zarr = _module("zarr", "python3-zarr")
    wanted = {"trvil": {"format": sequence.format.name, "of": _digest(sequence)}}
    shape, chunks = sequence.shape, (of_chunk, *sequence.shape[1:])
    try:
        found = zarr.open(store, mode="r+", write_empty_chunks=True)
    except (zarr.errors.PathNotFoundError, zarr.errors.GroupNotFoundError):
        found = None
    if found is None:
        made = zarr.create(shape, chunks, sequence.dtype, compressor, store=store, write_empty_chunks=True,
                           dimension_separator=".")
        made.attrs.put(wanted)
        return made
    if not (isinstance(found, zarr.Array) and found.shape == shape and found.chunks == chunks
            and found.dtype == sequence.dtype and found.attrs.asdict() == wanted):
        raise ValueError(f"the store holds something else than these frames ({found!r}); name another one, or remove it")
    return found


def _missing(array: Any, bounds: Iterable[Tuple[int, int]]) -> Iterator[Tuple[int, int]]:
    rest = ".0" * (array.ndim - 1)
    return (bound for bound in bounds if f"{bound[0] // array.chunks[0]}{rest}" not in array.store)


def write_zarr(sequence: Sequence, store: Any, of_chunk: int, compressor: Any, tasks: int,
               run: Callable[[Callable[..., int], _Tasks], int]) -> int:
    """`tasks`: how many are done at a time; 0 for threads. A task costs a cluster milliseconds, so it has several chunks,
    up to 16; there are at least four times `tasks` where there are chunks enough, so that all end together."""
    if isinstance(store, (str, os.PathLike)):
        store = os.path.abspath(os.fspath(store))  # workers may be in other folders
    array, call = _array(store, sequence, of_chunk, compressor), secrets.token_hex(8)
    chunks = _missing(array, _bounds(len(sequence), of_chunk))
    of_task = max(1, min(16, -(-len(sequence) // of_chunk) // (4 * tasks))) if tasks else 1
    groups = iter(lambda: list(itertools.islice(chunks, of_task)), [])
    written = run(_write_chunks, ((sequence, store, group, call) for group in groups))
    if isinstance(store, str):  # what workers left behind that were killed
        for part in pathlib.Path(store).glob("*.partial"):
            part.unlink()
    return written
