"""Frames from fields."""
from __future__ import annotations

from typing import Optional

import numpy as np

from . import _constants as c
from ._arrays import Picture, output, picture
from ._buffer import Lent
from ._formats import format_named
from ._library import Error, image
from ._types import Array, FormatName, Readable, Writable

_METHODS = {"dup": c.TIL_FIELD_LINE_DUP, "ave": c.TIL_FIELD_LINE_AVE,
            "bilinear": c.TIL_FIELD_BILINEAR, "median": c.TIL_FIELD_MEDIAN}
_FLAGS = {"odd": 0, "even": 1}


def _check(field: Picture, method: str, lines: str) -> None:
    if not isinstance(method, str) or method not in _METHODS:
        raise ValueError(f"no method is called {method!r}; use dup, ave, bilinear or median")
    if not isinstance(lines, str) or lines not in _FLAGS:
        raise ValueError(f"no field is called {lines!r}; use odd or even")
    if method in ("bilinear", "median") and field.width < 2:
        raise ValueError(f"{method} takes its neighbours from lines of at least two pixels; use dup or ave")


def _run(field: Picture, frame: Picture, method: str, lines: str) -> None:
    with Lent(field) as one, Lent(frame) as other:
        status = image.TIL_FieldToFrame(one, other, _METHODS[method], _FLAGS[lines])
    if status != c.TRV_STATUS_OK:
        raise Error(status, f"status {status}: no frame is made of a field of {field.format.name} by {method}\n"
                    "why: bilinear and median take Mono8, BGR24, RGB24, YUV422 and 8-bit colour of 4 bytes\n"
                    "next: use dup or ave, or convert the field first")


def field_to_frame(array: Readable, format: FormatName, *, method: str = "ave", field: str = "odd",
                   width: Optional[int] = None, out: Optional[Writable] = None) -> Array:
    """The frame of twice as many lines that one field of an interlaced picture makes.

    array: the field, as convert() takes it. A field that is every second line of a frame, frame[1::2],
        is such an array.
    format: name of its pixel format
    method: "dup" line above, "ave" mean of the lines above and below, "bilinear" weighted sum of six
        pixels, "median" median of six
    field: "odd": the field's lines become lines 1, 3, 5, ...; "even": 0, 2, 4, ...
    width: as for convert()
    out: array of shape formats[format].shape(2 * height, width) that receives the frame

    Returns `out`, or a new array that the caller owns. Means take bytes one by one, so samples above
    8 bits lose the carry between their bytes. A field whose lines are apart is copied first; a frame
    whose lines are apart, or that shares memory with the field, is made beside it and copied.

    Raises as convert() does; Error has status 10 where the method does not exist for the format.
    Threads: other Python threads run during the call.
    """
    described = format_named(format)
    given = picture(array, described, width)
    _check(given, method, field)
    target = output(out, described, 2 * given.height, given.width)
    if given.padded or given.array.shape != described.shape(given.height, given.width):
        lines = given.array[:, :given.line] if described.packed else given.array
        given = picture(np.ascontiguousarray(lines), described, given.width)
    frame = target
    if out is not None and (target.padded or np.may_share_memory(given.array, target.array)):
        frame = output(None, described, target.height, target.width)
    _run(given, frame, method, field)
    if frame is not target:
        target.array[...] = frame.array
    return target.array
