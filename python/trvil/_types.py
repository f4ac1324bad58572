"""Types of arguments and results."""
from __future__ import annotations

import array
import mmap
import os
from typing import TYPE_CHECKING, Any, Protocol, Tuple, Union

import numpy as np
import numpy.typing as npt

if TYPE_CHECKING:
    from ._formats import Format
    from ._packings import Packing


class Tensor(Protocol):
    """What has its pixels in the memory of the processor and lends them by __dlpack__."""

    def __dlpack__(self) -> Any: ...

    def __dlpack_device__(self) -> Tuple[int, int]: ...


Array = npt.NDArray[Any]
Readable = Union[Array, Tensor, bytes, bytearray, memoryview, mmap.mmap, "array.array[Any]"]
Writable = Union[Array, bytearray, memoryview, mmap.mmap, "array.array[Any]"]
Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]
Words = np.dtype[Any]
FormatName = Union[str, "Format"]
PackingName = Union[str, "Packing"]
Layout = Union["Format", "Packing"]
