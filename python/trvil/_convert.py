"""Conversions between pixel formats."""
from __future__ import annotations

from typing import Optional, Tuple

import numpy as np

from . import _library
from ._arrays import Picture, as_array, output, picture, with_room
from ._buffer import Buffer, Lent
from ._formats import Format, format_named, formats, method_value, phase_value
from ._packings import packing_named
from ._pool import Pool, hold
from ._types import Array, FormatName, Layout, PackingName, Readable, Writable

_BITS = 8, 10, 12, 14, 16  # of a mosaic's samples
_BITS_OF = {"uint8": _BITS[:1], "uint16": _BITS[1:]}


def _demosaics(source: Format, to: Format) -> bool:
    return source.family == "bayer" and to.family != "bayer"


def _unpacks(source: Format, to: Format) -> bool:
    """Whether whole groups are read and written, what the width is notwithstanding."""
    return source.packed and source.name != "Mono12MP" and to.stored == 16


def _group_rest(source: Picture, to: Format) -> int:
    return -source.width % source.samples.group if _unpacks(source.samples, to) else 0


def _with_sample_behind(source: Picture) -> Picture:
    """The last pixel of an odd line is made of the sample behind it, so one of the right colour is
    put there: the nearest is two back."""
    sample = source.samples.stored // 8
    result = with_room(source, sample)
    line = source.line
    result.array[:, line:] = result.array[:, line - 2 * sample:line - sample]
    return result


def _with_pixel_behind(source: Picture) -> Picture:
    result = with_room(source, 4)
    result.array[:, source.line:] = result.array[:, source.line - 4:source.line]
    return result


def _looks_behind(source: Picture, to: Format, method: str) -> bool:
    return _demosaics(source.samples, to) and method in ("ave", "med") and source.width % 2 != 0


def _unpacked(source: Picture, out: Optional[Writable] = None) -> Picture:
    samples = source.samples
    if source.packing == 0:  # a packed format
        words = formats[f"BAY{samples.significant}_{samples.phase}"]
        return picture(convert(source.array, samples, words, width=source.width), words)
    target = output(out, samples, source.height, source.width)
    if out is not None and np.may_share_memory(source.array, target.array):
        source = source.copied()
    with Lent(source) as one, Lent(target) as other:
        _library.unpack(one, source.packing, other)
    return target


def _safe_source(source: Picture, to: Format, method: str) -> Picture:
    """The source, or a copy of it where the library reads behind a line."""
    if _looks_behind(source, to, method):
        return _with_sample_behind(source)
    if source.format.name == "RGB30" and to.name == "RGB48":
        return _with_pixel_behind(source)
    rest = _group_rest(source, to)
    return with_room(source, 8) if rest else source


def _needs_own_output(source: Picture, target: Picture) -> bool:
    """Whether the library would touch bytes of `out` that are not its pixels, or read what it wrote."""
    block = source.format.name == target.format.name and source.padded and source.stride == target.stride
    return block or _group_rest(source, target.samples) != 0 or np.may_share_memory(source.array, target.array)


def _run(source: Picture, target: Picture, phase: Optional[str], method: str, pool: Optional[Pool]) -> None:
    samples = source.samples
    settings = _library.record(_library.Settings, format=samples.code if source.packing else 0)
    if samples.family == "bayer":
        settings.method, settings.phase = method_value(method), phase_value(phase, samples)
    threads = hold(pool)
    with Lent(source) as one, Lent(target) as other:
        _library.convert(one, source.packing, other, settings, threads.address)


def _check_mosaic(source: Picture, to: Format, phase: Optional[str]) -> None:
    if phase is not None and source.samples.family != "bayer":
        raise ValueError(f"phase={phase!r} makes no sense with {source.samples.name}, which is not a mosaic")
    if _demosaics(source.samples, to) and (source.width < 2 or source.height < 2):
        raise ValueError(f"a mosaic has at least 2 x 2 pixels, not {source.width} x {source.height}: "
                         "one block of it holds one red, one blue and two green samples")


def _convert_packed(given: Picture, target: Picture, phase: Optional[str], method: str, pool: Optional[Pool]) -> Array:
    if np.may_share_memory(given.array, target.array):
        given = given.copied()
    _run(given, target, phase, method, pool)
    return target.array


def convert(array: Readable, source: FormatName, to: FormatName, *, packing: Optional[PackingName] = None,
            phase: Optional[str] = None, method: str = "ave", width: Optional[int] = None,
            out: Optional[Writable] = None, pool: Optional[Pool] = None) -> Array:
    """The picture of `array` in another pixel format.

    array: numpy.ndarray of the shape and dtype of the source format, formats[source].shape(height,
        width): (height, width) for grey, mosaics and colour words, (height, width, 3) or (..., 4)
        for colour, (height, width, 2) of bytes for YUV422, (height, bytes of a line) of uint8 for
        packed formats and with a packing. Lines may be apart (a view of columns), pixels of a line
        may not. Objects with __dlpack__ in the memory of the processor, such as tensors of PyTorch, are
        taken as arrays; so are buffers (bytes, memoryview, array, mmap), which with a `width` may be of
        one dimension: lines without padding. All are read only, without a copy but in the cases below.
    source, to: names of formats, such as "BAY12" and "BGR24", or Format objects
    packing: name of what a camera sends, such as "12Packed", one of trvil.packings. `source` is the
        format that it is unpacked to then, a few lines at a time; no whole picture lies between
    phase: of a mosaic: "RGGB", "GRBG", "GBRG", "BGGR" or "A" to "D"; default what the name of the
        format says, else "RGGB"
    method: of demosaicing: "dup" nearest, "ave" mean, "med" median, "gradient" mean that the pixel's own
        colour corrects: the sharpest, with the least false colour
    width: pixels of a line of a packed source, where its lines are longer than they need, and of memory
        of one dimension
    out: array or writable buffer of shape formats[to].shape(height, width) that receives the picture; it may be a view
        whose lines are apart, and nothing but its pixels changes. The fourth byte of 4-byte pixels
        keeps its value where the source has three channels.
    pool: a Pool whose threads share the picture; default the calling thread alone. The values are
        the same

    Mosaics become bytes of colour, and RGB48 or BGR48 at the depth they have: 12 bits give 0 to 4095.

    Returns `out`, or a new array that the caller owns, zero in bytes that are not written. Values
    are those of the library: truncated when they shrink, not scaled when they grow.

    Copied first: a mosaic of odd width by ave or med, so that the last pixel is made of samples of
    its own line; RGB30 to RGB48; unpacking of a width that is no multiple of the group; pictures
    that share memory with `out`, and copies of a padded picture to the same stride. A packed
    mosaic of odd width is unpacked as a whole first for ave and med.

    Raises TypeError or ValueError for arrays and names that make no sense, and Error with status
    and explanation when the library has no such conversion (status 10) or no such demosaic (3).
    `out` is unchanged then.

    Threads: other Python threads run during the call. Nobody may write `array` or `out` meanwhile.
    """
    samples, becomes = format_named(source), format_named(to)
    layout: Layout = samples if packing is None else packing_named(packing)
    given = picture(array, layout, width, samples=samples)
    target = output(out, becomes, given.height, given.width)
    _check_mosaic(given, becomes, phase)
    if given.packing or (samples.packed and _demosaics(samples, becomes)):
        if not _looks_behind(given, becomes, method):
            return _convert_packed(given, target, phase, method, pool)
        given = _unpacked(given)
    safe = _safe_source(given, becomes, method)
    if out is None or not _needs_own_output(given, target):
        _run(safe, target, phase, method, pool)
        return target.array
    own = output(None, becomes, given.height, given.width)
    own.array[...] = target.array  # pad bytes keep their values
    _run(safe, own, phase, method, pool)
    target.array[...] = own.array
    return target.array


def unpack(array: Readable, packing: PackingName, *, width: Optional[int] = None,
           out: Optional[Writable] = None) -> Array:
    """The samples of a picture as a camera sends it.

    array: (height, bytes of a line) of uint8, read without a copy; lines may be apart. They begin
        with a group of pixels, and may end inside one
    packing: name of the packing, such as "12Packed" or "RAW10", one of trvil.packings
    width: pixels of a line; default as many as its bytes hold
    out: (height, width) of uint16 that receives the samples; it may be a view whose lines are apart

    Returns `out`, or a new array that the caller owns: (height, width) of uint16, for UYVY, YVYU and
    VYUY (height, width, 2) of uint8 in the order of YUV422. Values stay as they are: 10 bits give 0
    to 1023. An array that shares memory with `out` is copied first.

    Raises TypeError or ValueError for arrays and names that make no sense. `out` is unchanged then.
    Threads: other Python threads run during the call. Nobody may write `array` or `out` meanwhile.
    """
    return _unpacked(picture(array, packing_named(packing), width), out).array


def demosaic(array: Readable, phase: Optional[str] = "RGGB", *, bits: Optional[int] = None, to: FormatName = "BGR24",
             method: str = "ave", width: Optional[int] = None, out: Optional[Writable] = None,
             pool: Optional[Pool] = None) -> Array:
    """The colour picture of a mosaic.

    array: (height, width) of uint8, or of uint16 with `bits` significant bits in each sample
    phase: colours of the first two pixels of the first line, then of the second
    bits: 10, 12, 14 or 16 for uint16; 8, or left out, for uint8
    to: "BGR24", "BGRX32", "RGB16", or "RGB48" and "BGR48" with as many bits as the samples have; by
        method "dup" also "RGBX32", by "gradient" "RGBX32" and "RGB24" but not "RGB16"
    method, width, out, pool: as for convert(); of bytes and the like, `bits` says how large samples are

    Returns the array, (height, width, 3) for BGR24. Errors and threads: as for convert().
    """
    given = as_array(array)
    possible = _BITS if given.ndim == 1 else _BITS_OF.get(given.dtype.name, ())
    if bits is None and given.dtype == np.uint8:
        bits = 8
    if bits not in possible:
        raise ValueError(f"a mosaic is an array of uint8, or of uint16 with bits=10, 12, 14 or 16; this is "
                         f"{given.dtype} with bits={bits}")
    return convert(given, f"BAY{bits}", to, phase=phase, method=method, width=width, out=out, pool=pool)


def explain(source: Buffer, destination: Buffer, *, packing: Optional[PackingName] = None,
            pool: Optional[Pool] = None) -> Tuple[int, str]:
    """What the library says of converting one Buffer into another: (status, text).

    packing, pool: as for convert(); the source is wrapped with the same packing

    Nothing is converted. The text is lines: what happens, "why:", "next:", "warning:", "note:". With
    a packing or a pool, notes say how many lines at a time are unpacked, and how many threads share
    the picture.
    """
    if packing is None and pool is None:
        return _library.explain(source.handle, destination.handle)
    code = 0 if packing is None else packing_named(packing).code
    threads = hold(pool)
    return _library.explain_convert(source.handle, code, destination.handle, _library.record(_library.Settings),
                                    threads.address)
