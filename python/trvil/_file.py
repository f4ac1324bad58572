"""Picture files."""
import ctypes
import errno
import os

import numpy as np

from . import _constants as c
from ._arrays import picture
from ._buffer import wrap_picture
from ._formats import format_named
from ._library import Error, image

_TIFF_FORMATS = ("Mono8", "Mono16", "BGR24", "RGB24")


def _kind_of(path, kind):
    if kind is None:
        kind = {".tif": "tiff", ".tiff": "tiff", ".raw": "raw"}.get(os.path.splitext(os.fsdecode(path))[1].lower())
    if kind not in ("tiff", "raw"):
        raise ValueError(f"cannot tell the kind of file from {os.fsdecode(path)!r}; name it .tif or .raw, "
                         "or pass kind='tiff' or kind='raw'")
    return kind


def _tight(given):
    """Files hold what lies between lines too, which is nobody's."""
    lines = given.array[:, :given.line] if given.format.packed else given.array
    return picture(np.ascontiguousarray(lines), given.format, given.width)


def _write(source, path, kind):
    with wrap_picture(source) as buffer:
        ctypes.set_errno(0)
        status = image.TIL_FileWrite(buffer.handle, os.fsencode(path),
                                     c.TIL_FILE_TIFF if kind == "tiff" else c.TIL_FILE_RAW)
        number = ctypes.get_errno()
    if status == c.TRV_STATUS_FILE_OPEN:
        raise OSError(number, os.strerror(number), os.fsdecode(path))
    if status != c.TRV_STATUS_OK or os.path.getsize(path) < source.size:
        raise Error(status or c.TRV_STATUS_SYSTEM,
                    f"status {status or c.TRV_STATUS_SYSTEM}: {os.fsdecode(path)} was not written whole\n"
                    "why: the disk may be full, or the picture has 4 GiB or more\n"
                    "next: look at the free space")


def write(array, path, format, *, kind=None, width=None):
    """Writes a picture to a file, replacing what was there.

    array, format, width: as for convert()
    path: name of the file; .tif, .tiff and .raw tell its kind
    kind: "tiff" (Mono8, Mono16, BGR24 or RGB24) or "raw" (any format: the pixels, no header),
        whatever the name says

    The file appears whole or not at all: it is written beside its place and then moved there. Note:
    RGB24 is stored with red and blue exchanged, as readers of these files expect; write BGR24.

    Raises TypeError and ValueError as convert() does, OSError when the file cannot be made, and Error
    when it could not be written whole (15, 17) or TIFF does not hold the format (12).
    """
    kind = _kind_of(path, kind)
    source = _tight(picture(array, format_named(format), width))
    if kind == "tiff" and source.format.name not in _TIFF_FORMATS:
        raise Error(c.TRV_STATUS_TIFF_FORMAT,
                    f"status {c.TRV_STATUS_TIFF_FORMAT}: a TIFF file cannot hold {source.format.name}\n"
                    f"why: it holds {', '.join(_TIFF_FORMATS)}\nnext: convert to one of them, or write a .raw file")
    place = os.path.realpath(os.fsdecode(path))
    if os.path.lexists(place) and not os.path.isfile(place):
        raise OSError(errno.EINVAL, "Not a regular file", os.fsdecode(path))
    part = f"{place}.{os.getpid()}.part"
    try:
        _write(source, part, kind)
        os.replace(part, place)
    finally:
        if os.path.lexists(part):
            os.unlink(part)
