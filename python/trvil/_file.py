"""Picture files."""
from __future__ import annotations

import ctypes
import errno
import os
import secrets
import shutil
import stat
from contextlib import contextmanager, suppress
from typing import BinaryIO, Iterator, Optional, Tuple

import numpy as np

from . import _constants as c
from ._arrays import Picture, picture
from ._buffer import Lent
from ._formats import format_named
from ._library import Error, image
from ._types import FormatName, Path, Readable

# Bytes in front of the pixels of a TIFF file.
_TIFF_HEADS = {"Mono8": 186, "Mono16": 186, "BGR24": 204, "RGB24": 204}
_NO_ROOM = (errno.ENOSPC, errno.EDQUOT, errno.EFBIG, errno.EIO)


def _kind_of(path: Path, kind: Optional[str]) -> str:
    if kind is None:
        kind = {".tif": "tiff", ".tiff": "tiff", ".raw": "raw"}.get(os.path.splitext(os.fsdecode(path))[1].lower())
    if kind not in ("tiff", "raw"):
        raise ValueError(f"cannot tell the kind of file from {os.fsdecode(path)!r}; name it .tif or .raw, "
                         "or pass kind='tiff' or kind='raw'")
    return kind


def _tight(given: Picture) -> Picture:
    """Files hold what lies between lines too, which is nobody's."""
    lines = given.array[:, :given.line] if given.format.packed else given.array
    return picture(np.ascontiguousarray(lines), given.format, given.width)


def _replaced(path: Path) -> Tuple[str, Optional[int]]:
    """The file that a write to `path` replaces or makes, links followed, and its permissions or None.

    stat() refuses the links of others in folders that all may write to, where the kernel protects
    them; realpath() alone would follow them.
    """
    try:
        mode = os.stat(path).st_mode
    except FileNotFoundError:
        mode = None
    if mode is not None and not stat.S_ISREG(mode):
        raise OSError(errno.EINVAL, "Not a regular file", os.fsdecode(path))
    return os.path.realpath(os.fsdecode(path)), mode if mode is None else mode & 0o777


def _not_whole(path: Path, status: int, why: str) -> Error:
    return Error(status, f"status {status}: {os.fsdecode(path)} was not written whole\n"
                         f"why: {why}\nnext: look at the free space, quotas and limits")


def _encode(source: Picture, kind: str, path: Path, content: BinaryIO) -> None:
    """Lets the library write the file into `content`, which lies in memory: by a name that nobody
    can put a link at, and where its size shows whether the library wrote all of it."""
    name = f"/proc/self/fd/{content.fileno()}"
    with Lent(source) as handle:
        ctypes.set_errno(0)
        status = image.TIL_FileWrite(handle, os.fsencode(name),
                                     c.TIL_FILE_TIFF if kind == "tiff" else c.TIL_FILE_RAW)
        number = ctypes.get_errno()
    if status == c.TRV_STATUS_FILE_OPEN:
        raise OSError(number, os.strerror(number), name)
    size = source.size + (_TIFF_HEADS[source.format.name] if kind == "tiff" else 0)
    if status != c.TRV_STATUS_OK or os.fstat(content.fileno()).st_size != size:
        raise _not_whole(path, status or c.TRV_STATUS_FILE_CLOSE,
                         "the limit of file sizes or of memory, or a picture of 4 GiB or more")


@contextmanager
def _placed(place: str, mode: Optional[int]) -> Iterator[BinaryIO]:
    """A file that appears at its place when the block ends: whole, or not at all."""
    folder = os.open(os.path.dirname(place), os.O_PATH | os.O_DIRECTORY | os.O_CLOEXEC)
    part = f".trvil-{secrets.token_hex(16)}.part"

    def create(name: str, flags: int) -> int:
        return os.open(name, flags, 0o666 if mode is None else 0o600, dir_fd=folder)

    try:
        with open(part, "xb", opener=create) as out:
            yield out
            if mode is not None:
                os.fchmod(out.fileno(), mode)
        os.replace(part, os.path.basename(place), src_dir_fd=folder, dst_dir_fd=folder)
    except FileExistsError:  # under this name it is not ours to remove
        raise
    except BaseException:
        with suppress(FileNotFoundError):
            os.unlink(part, dir_fd=folder)
        raise
    finally:
        os.close(folder)


@contextmanager
def whole_file(path: Path) -> Iterator[BinaryIO]:
    """A file to be written in the block, which replaces `path` whole or not at all. Errors are those of write()."""
    place, mode = _replaced(path)
    try:
        with _placed(place, mode) as out:
            yield out
    except OSError as problem:
        if problem.filename is None and problem.errno in _NO_ROOM:
            raise _not_whole(path, c.TRV_STATUS_FILE_CLOSE, problem.strerror) from problem
        if problem.filename is not None and os.fsdecode(problem.filename).startswith("/") \
                and problem.filename != os.path.dirname(place):
            raise  # of a file that is read in the block
        raise OSError(problem.errno, problem.strerror, os.fsdecode(path)) from problem


def write(array: Readable, path: Path, format: FormatName, *, kind: Optional[str] = None,
          width: Optional[int] = None) -> None:
    """Writes a picture to a file, replacing what was there.

    array, format, width: as for convert()
    path: name of the file; .tif, .tiff and .raw tell its kind. A symbolic link is followed, as
        open() does: what it points to is replaced
    kind: "tiff" (Mono8, Mono16, BGR24 or RGB24) or "raw" (any format: the pixels, no header),
        whatever the name says

    The file appears whole or not at all: it is made in memory, stored beside its place under a name
    that nobody can foresee, and then moved there. It keeps the permissions of the file it replaces,
    but not its owner or its other names. On any failure what was there stays, and nothing else is
    left behind. Note: RGB24 is stored with red and blue exchanged, as readers of these files expect;
    write BGR24.

    Raises TypeError and ValueError as convert() does, OSError when the file cannot be made, and Error
    when it could not be written whole, as on a full disk (15, 17), or TIFF does not hold the format
    (12).

    Threads: several may write to one path; each stores a whole file, and the last one stays.
    """
    kind = _kind_of(path, kind)
    source = _tight(picture(array, format_named(format), width))
    if kind == "tiff" and source.format.name not in _TIFF_HEADS:
        raise Error(c.TRV_STATUS_TIFF_FORMAT,
                    f"status {c.TRV_STATUS_TIFF_FORMAT}: a TIFF file cannot hold {source.format.name}\n"
                    f"why: it holds {', '.join(_TIFF_HEADS)}\nnext: convert to one of them, or write a .raw file")
    with open(os.memfd_create("trvil"), "rb") as content:
        _encode(source, kind, path, content)
        with whole_file(path) as out:
            shutil.copyfileobj(content, out, 1 << 20)
