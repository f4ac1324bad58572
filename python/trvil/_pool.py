"""Threads that share a picture."""
from __future__ import annotations

import ctypes
import weakref
from typing import Any, Optional, Tuple

from . import _constants as c
from ._library import Error, raw


def _destroy(address: Optional[int]) -> None:
    raw.TRW_PoolDestroy(ctypes.byref(ctypes.c_void_p(address)))


class _Threads:
    """A pool of the library, which ends when nobody uses it any more; of none, the calling thread."""

    address: Optional[int] = None

    def start(self, count: int) -> None:
        address = ctypes.c_void_p()
        status = raw.TRW_PoolCreate(ctypes.byref(address), count)
        if status != c.TRV_STATUS_OK:
            raise Error(status, f"status {status}: no pool of {count} threads\nwhy: the system starts no more, "
                                "or has no memory\nnext: make a smaller one, or end other programs")
        self.address = address.value
        weakref.finalize(self, _destroy, self.address).atexit = False


_NONE = _Threads()


class Pool:
    """Threads for convert(pool=...), which share the lines of a picture.

    threads: how many work on a picture, from 1 to 1024, the calling one included; 0 for as many as
        the processors that the calling thread may run on

    close(), the end of a `with` block, or the garbage collector ends them, once calls that are under
    way have returned. A pool keeps memory for strips of lines, some 256 KiB a thread, or three lines
    where these are longer.

    Any number of Python threads may use a pool at the same time. A child made by fork has none of
    its threads: there convert() works alone.

    Raises ValueError for another number of threads, Error (status 14 or 15) where the system has no
    memory or starts no more threads.
    """

    def __init__(self, threads: int = 0) -> None:
        if not isinstance(threads, int) or not 0 <= threads <= 1024:
            raise ValueError(f"a pool has 1 to 1024 threads, or 0 for one per processor, not {threads!r}")
        self._threads: Optional[_Threads] = _Threads()
        self._threads.start(threads)

    @property
    def threads(self) -> int:
        """How many threads work on a picture, the calling one included."""
        count, held = ctypes.c_uint32(), hold(self)
        raw.TRW_PoolThreadsGet(held.address, ctypes.byref(count))
        return count.value

    def close(self) -> None:
        """Ends the threads. May be called again."""
        self._threads = None

    def __reduce__(self) -> Tuple[Any, ...]:
        raise TypeError("a Pool is neither copied nor pickled: its threads belong to this process")

    def __enter__(self) -> Pool:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()


def hold(pool: Optional[Pool]) -> _Threads:
    """What a call must hold on to while it uses a pool, or none. ValueError when it was closed."""
    if pool is None:
        return _NONE
    if not isinstance(pool, Pool):
        raise TypeError(f"pool is a {type(pool).__name__}; give a trvil.Pool, or None")
    threads = pool._threads
    if threads is None:
        raise ValueError("the pool is closed; make another one")
    return threads
