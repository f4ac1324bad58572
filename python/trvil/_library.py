"""The libraries: where they are found, the calls that are used of them, and how they fail."""
from __future__ import annotations

import ctypes
import os
from pathlib import Path
from typing import Any, Callable, Dict, List, Mapping, Optional, Sequence, Tuple, Type, TypeVar

from . import _constants as c

IMAGE_LIBRARY = "libtrvilx64.so"
BUFFER_LIBRARY = "libtrvblx64.so"
RAW_LIBRARY = "libtrvraw.so.0"

RELEASE = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_void_p)

_u32, _u64, _text = ctypes.c_uint32, ctypes.c_uint64, ctypes.c_char_p
_handle_out = ctypes.POINTER(ctypes.c_uint64)

_IMAGE_CALLS: Dict[str, Sequence[Any]] = {
    "TIL_FieldToFrame": [_u64, _u64, _u32, _u32],
    "TIL_FileWrite": [_u64, _text, _u32],
}
_BUFFER_CALLS: Dict[str, Sequence[Any]] = {
    "TBS_BufferWrap": [_handle_out, _u32, _u32, _u32, ctypes.c_void_p, _u64, _u32, RELEASE, ctypes.c_void_p],
    "TBS_BufferView": [_handle_out, _u64, _u32, _u32, _u32, _u32],
    "TBS_BufferParameterSet": [_u64, _u32, _u64],
    "TBS_BufferRelease": [_handle_out],
    "TBL_BufferParameterGet": [_u64, _u32, ctypes.c_void_p],
}


class PackingInfo(ctypes.Structure):
    """TRW_PackingInfo"""
    _fields_ = [("size", _u32), ("bits", _u32), ("group_pixels", _u32), ("group_bytes", _u32), ("format", _u32),
                ("reserved", _u32), ("line_bytes", _u64), ("name", ctypes.c_char * 16)]


class Settings(ctypes.Structure):
    """TRW_Settings"""
    _fields_ = [("size", _u32), ("format", _u32), ("method", _u32), ("phase", _u32)]


class DevelopSettings(ctypes.Structure):
    """TRW_DevelopSettings"""
    _fields_ = [("size", _u32), ("format", _u32), ("method", _u32), ("phase", _u32), ("black", _u32 * 4),
                ("white", _u32), ("curve", _u32), ("dark", _u64), ("flat", _u64), ("defects", ctypes.c_void_p),
                ("defect_count", _u64), ("gains", ctypes.c_double * 3), ("matrix", ctypes.c_double * 9),
                ("gamma", ctypes.c_double)]


class Reading(ctypes.Structure):
    """TRW_Reading"""
    _fields_ = [("size", _u32), ("system", _u32), ("code", _u32), ("format", _u32), ("packing", _u32),
                ("phase", _u32), ("system_name", _text), ("name", _text), ("why", _text)]


class Route(ctypes.Structure):
    """TRW_Route"""
    _fields_ = [("size", _u32), ("steps", _u32), ("format", _u32 * 4), ("direct", _u32), ("reserved", _u32),
                ("remark", _text), ("why", _text)]


_Record = TypeVar("_Record", bound=ctypes.Structure)


def record(kind: Type[_Record], **values: Any) -> _Record:
    """A record of the raw library that says its size."""
    return kind(size=ctypes.sizeof(kind), **values)


_pool, _recipe = ctypes.c_void_p, ctypes.c_void_p
_settings, _reading = ctypes.POINTER(Settings), ctypes.POINTER(Reading)

_RAW_CALLS: Dict[str, Sequence[Any]] = {
    "TRW_Convert": [_u64, _u32, _u64, _settings, _pool],
    "TRW_Develop": [_u64, _u64, _recipe, _pool],
    "TRW_Explain": [_u64, _u32, _u64, _text, _u64],
    "TRW_ExplainConvert": [_u64, _u32, _u64, _settings, _pool, _text, _u64],
    "TRW_FindCode": [_u32, _u32, _reading],
    "TRW_FindName": [_text, _reading],
    "TRW_NameAt": [_u32, _reading],
    "TRW_NameOf": [_u32, _u32, _u32, _u32, _reading],
    "TRW_PackingInfoGet": [_u32, _u32, _u32, ctypes.POINTER(PackingInfo)],
    "TRW_PlanRoute": [_u32, _u32, _u32, _u32, ctypes.POINTER(Route)],
    "TRW_PoolCreate": [ctypes.POINTER(_pool), _u32],
    "TRW_PoolDestroy": [ctypes.POINTER(_pool)],
    "TRW_PoolThreadsGet": [_pool, ctypes.POINTER(_u32)],
    "TRW_RecipeCreate": [ctypes.POINTER(_recipe), _u64, _u32, ctypes.POINTER(DevelopSettings), ctypes.POINTER(_text)],
    "TRW_RecipeDestroy": [ctypes.POINTER(_recipe)],
    "TRW_Unpack": [_u64, _u32, _u64],
}


class Error(Exception):
    """The library refused.

    status: the number that the library returned, one of trvil.STATUS_...
    explanation: what happened, why, and what to do about it, as lines of text
    """

    def __init__(self, status: int, explanation: str) -> None:
        super().__init__(explanation)
        self.status = status
        self.explanation = explanation

    def __reduce__(self) -> Tuple[Any, ...]:
        return type(self), (self.status, self.explanation)


def _folders() -> List[Path]:
    """Where the libraries may be, most wanted first."""
    if "TRVIL_LIBRARY_DIR" in os.environ:
        return [Path(os.environ["TRVIL_LIBRARY_DIR"])]
    here = Path(__file__).resolve().parent
    return [here, (here / c.LIBRARY_FOLDER).resolve()]


def _path_of(name: str) -> str:
    for folder in _folders():
        if (folder / name).exists():
            return str(folder / name)
    if "TRVIL_LIBRARY_DIR" in os.environ:
        raise OSError(f"TRVIL_LIBRARY_DIR is {os.environ['TRVIL_LIBRARY_DIR']}, and it has no {name}")
    return name  # the system loader looks


def _load(path: str, calls: Mapping[str, Sequence[Any]]) -> ctypes.CDLL:
    library = ctypes.CDLL(path, use_errno=True)
    for call, arguments in calls.items():
        function = getattr(library, call)
        function.argtypes, function.restype = arguments, _u32
    return library


def _load_all() -> Tuple[ctypes.CDLL, ctypes.CDLL, ctypes.CDLL]:
    try:
        # The image library brings its buffer library along; by its bare name that very one is found,
        # and only its buffers are known to the image library.
        return (_load(_path_of(IMAGE_LIBRARY), _IMAGE_CALLS),
                _load(BUFFER_LIBRARY, _BUFFER_CALLS),
                _load(_path_of(RAW_LIBRARY), _RAW_CALLS))
    except (OSError, AttributeError) as problem:
        raise ImportError(
            f"trvil cannot use its libraries: {problem}. Set TRVIL_LIBRARY_DIR to the folder that holds "
            f"{IMAGE_LIBRARY}, {BUFFER_LIBRARY} and {RAW_LIBRARY}, or install them where the system looks."
        ) from problem


image, buffers, raw = _load_all()


def _explained(call: Callable[..., int], *arguments: Any) -> Tuple[int, str]:
    text = ctypes.create_string_buffer(c.TRW_EXPLAIN_BYTES)
    status = call(*arguments, text, len(text))
    return status, text.value.decode("ascii")


def explain(source: int, destination: int, packing: int = 0) -> Tuple[int, str]:
    """Status and text of TRW_Explain for two handles: of TIL_Convert, or for a packing TRW_Unpack."""
    return _explained(raw.TRW_Explain, source, packing, destination)


def explain_convert(source: int, packing: int, destination: int, settings: Settings,
                    pool: Optional[int]) -> Tuple[int, str]:
    """Status and text of TRW_ExplainConvert for two handles, a Settings and the address of a pool."""
    return _explained(raw.TRW_ExplainConvert, source, packing, destination, ctypes.byref(settings), pool)


def check_memory(status: int) -> None:
    """Raises Error where there was no memory for the lines between."""
    if status == c.TRV_STATUS_MEMORY:
        raise Error(status, f"status {status}: no memory for the lines between\nwhy: the system gave none\n"
                            "next: end other programs, or convert narrower pictures")


def _check(status: int, explained: Callable[[], Tuple[int, str]]) -> None:
    check_memory(status)
    if status != c.TRV_STATUS_OK:
        raise Error(status, explained()[1])


def unpack(source: int, packing: int, destination: int) -> None:
    """TRW_Unpack of two handles; raises Error."""
    _check(raw.TRW_Unpack(source, packing, destination), lambda: explain(source, destination, packing))


def convert(source: int, packing: int, destination: int, settings: Settings, pool: Optional[int]) -> None:
    """TRW_Convert of two handles, a Settings and the address of a pool; raises Error."""
    _check(raw.TRW_Convert(source, packing, destination, ctypes.byref(settings), pool),
           lambda: explain_convert(source, packing, destination, settings, pool))
