"""Sequences as arrays of Dask and Zarr, which are imported when they are asked for."""
from __future__ import annotations

import functools
import hashlib
import importlib
import json
import os
import secrets
from typing import TYPE_CHECKING, Any, Callable, Dict, Iterable, Iterator, List, Tuple

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


@functools.lru_cache(maxsize=2)
def _kept(sequence: Sequence) -> Sequence:
    """The equal one that came first: its settings are made ready already."""
    return sequence


def _block(sequence: Sequence, start: int, stop: int) -> Array:
    return _kept(sequence)._block(start, stop)


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


def _write_chunk(sequence: Sequence, store: Any, start: int, stop: int, _run: str) -> int:
    """`_run` differs from call to call: Dask takes calls with the same arguments for the same call."""
    zarr = _module("zarr", "python3-zarr")
    zarr.open_array(store, mode="r+", write_empty_chunks=True)[start:stop] = _block(sequence, start, stop)
    return stop - start


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


def _missing(store: Any, array: Any, frames: int) -> Iterator[Tuple[int, int]]:
    rest = ".0" * (array.ndim - 1)
    for i, bound in enumerate(_bounds(frames, array.chunks[0])):
        if f"{i}{rest}" not in array.store:
            yield bound


def write_zarr(sequence: Sequence, store: Any, of_chunk: int, compressor: Any,
               run: Callable[[Callable[..., int], _Tasks], int]) -> int:
    if isinstance(store, (str, os.PathLike)):
        store = os.path.abspath(os.fspath(store))  # workers may be in other folders
    array, call = _array(store, sequence, of_chunk, compressor), secrets.token_hex(8)
    return run(_write_chunk, ((sequence, store, *bound, call)
                              for bound in _missing(store, array, len(sequence))))
