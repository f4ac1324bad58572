"""The libraries: where they are found, the calls that are used of them, and how they fail."""
import ctypes
import os
from pathlib import Path

from . import _constants as c

IMAGE_LIBRARY = "libtrvilx64.so"
BUFFER_LIBRARY = "libtrvblx64.so"
RAW_LIBRARY = "libtrvraw.so.0"

RELEASE = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_void_p)

_u32, _u64, _text = ctypes.c_uint32, ctypes.c_uint64, ctypes.c_char_p
_handle_out = ctypes.POINTER(ctypes.c_uint64)

_IMAGE_CALLS = {
    "TIL_Convert": [_u64, _u64],
    "TIL_FieldToFrame": [_u64, _u64, _u32, _u32],
    "TIL_FileWrite": [_u64, _text, _u32],
}
_BUFFER_CALLS = {
    "TBS_BufferWrap": [_handle_out, _u32, _u32, _u32, ctypes.c_void_p, _u64, _u32, RELEASE, ctypes.c_void_p],
    "TBS_BufferView": [_handle_out, _u64, _u32, _u32, _u32, _u32],
    "TBS_BufferParameterSet": [_u64, _u32, _u64],
    "TBS_BufferRelease": [_handle_out],
    "TBL_BufferParameterGet": [_u64, _u32, ctypes.c_void_p],
}
_RAW_CALLS = {
    "TRW_Explain": [_u64, _u32, _u64, _text, _u64],
}


class Error(Exception):
    """The library refused.

    status: the number that the library returned, one of trvil.STATUS_...
    explanation: what happened, why, and what to do about it, as lines of text
    """

    def __init__(self, status, explanation):
        super().__init__(explanation)
        self.status = status
        self.explanation = explanation

    def __reduce__(self):
        return type(self), (self.status, self.explanation)


def _folders():
    """Where the libraries may be, most wanted first."""
    if "TRVIL_LIBRARY_DIR" in os.environ:
        return [Path(os.environ["TRVIL_LIBRARY_DIR"])]
    here = Path(__file__).resolve().parent
    return [here, (here / c.LIBRARY_FOLDER).resolve()]


def _path_of(name):
    for folder in _folders():
        if (folder / name).exists():
            return str(folder / name)
    if "TRVIL_LIBRARY_DIR" in os.environ:
        raise OSError(f"TRVIL_LIBRARY_DIR is {os.environ['TRVIL_LIBRARY_DIR']}, and it has no {name}")
    return name  # the system loader looks


def _load(path, calls):
    library = ctypes.CDLL(path, use_errno=True)
    for call, arguments in calls.items():
        function = getattr(library, call)
        function.argtypes, function.restype = arguments, _u32
    return library


def _load_all():
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


def explain(source, destination):
    """Status and text of TRW_Explain for two handles."""
    text = ctypes.create_string_buffer(c.TRW_EXPLAIN_BYTES)
    status = raw.TRW_Explain(source, 0, destination, text, len(text))
    return status, text.value.decode("ascii")


def convert(source, destination):
    """TIL_Convert of two handles; raises Error."""
    status = image.TIL_Convert(source, destination)
    if status != c.TRV_STATUS_OK:
        raise Error(status, explain(source, destination)[1])
