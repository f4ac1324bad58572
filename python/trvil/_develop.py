"""Developing: from a sensor's samples to the picture that they stand for."""
from __future__ import annotations

import ctypes
import weakref
from contextlib import ExitStack
from typing import Any, Optional, Tuple

import numpy as np

from . import _constants as c
from . import _library
from ._arrays import Picture, output, picture, whole
from ._buffer import Lent
from ._formats import Format, format_named, formats, method_value, phase_letter, phase_value
from ._library import Error, raw
from ._packings import Packing, packing_named
from ._pool import Pool, hold
from ._settings import Settings
from ._types import Array, FormatName, Layout, PackingName, Readable, Writable

_CURVES = {"none": c.TRW_CURVE_NONE, "srgb": c.TRW_CURVE_SRGB, "gamma": c.TRW_CURVE_GAMMA}
_MOST_PREPARED = 8  # kinds of pictures that settings remember
_Kind = Tuple[str, str, Tuple[int, int], int]


def _destroy(address: Optional[int]) -> None:
    raw.TRW_RecipeDestroy(ctypes.byref(ctypes.c_void_p(address)))


class _Prepared:
    """A recipe of the library, which ends when nobody uses it any more."""

    def __init__(self, address: Optional[int]) -> None:
        self.address = address
        weakref.finalize(self, _destroy, address).atexit = False


def _check_depth(array: Optional[Array], name: str, samples: Format) -> None:
    most = (1 << samples.significant) - 1
    if array is not None and array.size and array.max() > most:
        raise ValueError(f"the samples of {name} go up to {array.max()}, those of {samples.name} to {most}; they have to "
                         "count as the source's do")


def _black(settings: Settings, samples: Format) -> Tuple[int, ...]:
    """The black level of each site; the mean of the dark picture where nothing else is said."""
    if settings.black is not None:
        return settings.black
    if settings.dark is None:
        return 0, 0, 0, 0
    sites = ([settings.dark] if samples.family != "bayer" else
             [settings.dark[y::2, x::2] for y in (0, 1) for x in (0, 1)])
    levels = [(int(site.sum(dtype=np.uint64)) + site.size // 2) // site.size if site.size else 0 for site in sites]
    return tuple(levels * 4)[:4]


def _record(settings: Settings, samples: Format, packed: bool) -> _library.DevelopSettings:
    """TRW_DevelopSettings but for what it points to."""
    kind, _, gamma = settings.curve.partition(":")
    record = _library.record(
        _library.DevelopSettings, black=_black(settings, samples), white=settings.white or 0, curve=_CURVES[kind],
        gamma=float(gamma or 0), format=samples.code if packed else 0)
    gains = settings.wb
    if gains is not None:
        is_one = samples.family != "bayer" and len(set(gains)) == 1
        record.gains = (gains[0], 0, 0) if is_one else gains
    if settings.ccm is not None:
        record.matrix = sum(settings.ccm, ())
    return record


def _like(layout: Layout, samples: Format, width: int, height: int) -> Picture:
    """A picture whose memory nobody looks at."""
    array = np.zeros(layout.line_bytes(width) * height, np.uint8)
    return Picture(array, layout, samples, width, height, layout.line_bytes(width))


def _prepare(settings: Settings, samples: Format, layout: Layout, width: int, height: int, phase: int) -> _Prepared:
    like = _like(layout, samples, width, height)
    record = _record(settings, samples, like.packing != 0)
    if samples.family == "bayer":
        record.method, record.phase = method_value(settings.method or "ave"), phase
    if settings.defects is not None and len(settings.defects):
        record.defects, record.defect_count = settings.defects.ctypes.data, len(settings.defects)
    address, why = ctypes.c_void_p(), ctypes.c_char_p()
    with ExitStack() as held:  # what the record points to lives until the recipe is made
        for name in ("dark", "flat"):
            array = getattr(settings, name)
            _check_depth(array, name, samples)
            if array is not None:
                setattr(record, name, held.enter_context(Lent(picture(array, formats["Mono16"], name=name))))
        status = raw.TRW_RecipeCreate(ctypes.byref(address), held.enter_context(Lent(like)), like.packing,
                                      ctypes.byref(record), ctypes.byref(why))
    if status != c.TRV_STATUS_OK:
        raise Error(status, f"status {status}: {width} x {height} pixels of {samples.name} are not developed by "
                            f"{settings!r}\nwhy: {(why.value or b'').decode('ascii')}\nnext: change the settings, or check that "
                            "they belong to these pictures")
    return _Prepared(address.value)


class Recipe:
    """Settings made ready for pictures of one kind, for many of them.

    settings: a Settings
    source: name or Format of the samples: grey of up to 16 bits or a mosaic
    width, height: of the pictures, in pixels; dark and flat have the same
    packing: name of what a camera sends, as for convert()
    phase: of a mosaic, as for convert()

    develop() by the same settings and kind does the same, as settings remember the last kinds they were
    made ready for; a Recipe says at once whether the settings suit. Recipes can be pickled: they are made
    ready again. They are equal when settings and kind are.

    Raises ValueError for names without sense and samples of dark or flat that the source cannot have;
    Error (status 8, 10 or 3) with the library's reason where settings do not suit the pictures, such as a
    black level above white or a defect outside, 14 without memory.

    Threads: any number may use a Recipe at the same time.
    """

    def __init__(self, settings: Settings, source: FormatName, width: int, height: int, *,
                 packing: Optional[PackingName] = None, phase: Optional[str] = None) -> None:
        if not isinstance(settings, Settings):
            raise TypeError(f"settings are trvil.Settings, not {type(settings).__name__}; "
                            "Settings.from_dict() and Settings.read() make them")
        width, height = whole(width, "width"), whole(height, "height")
        if not (1 <= width <= 0xFFFFFFFF and 1 <= height <= 0xFFFFFFFF):
            raise ValueError(f"a picture has at least one pixel, not {width} x {height}")
        samples = format_named(source)
        if phase is not None and samples.family != "bayer":
            raise ValueError(f"phase={phase!r} makes no sense with {samples.name}, which is not a mosaic")
        self._settings, self._samples, self._size = settings, samples, (width, height)
        self._layout: Layout = samples if packing is None else packing_named(packing)
        self._phase = phase_value(phase, samples) if samples.family == "bayer" else 0
        self._prepared = self._take_prepared()

    def _take_prepared(self) -> _Prepared:
        """Without a lock, which a child made by fork might find taken: at worst two threads prepare the same."""
        kinds, kind = self._settings._prepared, self._kind()
        prepared: Optional[_Prepared] = kinds.get(kind)
        if prepared is None:
            prepared = _prepare(self._settings, self._samples, self._layout, *self._size, self._phase)
            kinds[kind] = prepared
            for oldest in list(kinds)[:-_MOST_PREPARED]:
                kinds.pop(oldest, None)
        return prepared

    def _kind(self) -> _Kind:
        return self._samples.name, self._layout.name, self._size, self._phase

    @property
    def settings(self) -> Settings:
        """The Settings."""
        return self._settings

    @property
    def source(self) -> Format:
        """The Format of the samples."""
        return self._samples

    @property
    def packing(self) -> Optional[Packing]:
        """The Packing that they come in; None for the format's own."""
        return self._layout if isinstance(self._layout, Packing) else None

    @property
    def phase(self) -> Optional[str]:
        """ "A" (RGGB) to "D" of a mosaic, else None."""
        return phase_letter(self._phase)

    @property
    def width(self) -> int:
        """Pixels of a line."""
        return self._size[0]

    @property
    def height(self) -> int:
        """Lines."""
        return self._size[1]

    def develop(self, array: Readable, to: Optional[FormatName] = None, *, out: Optional[Writable] = None,
                pool: Optional[Pool] = None) -> Array:
        """A picture by this recipe; arguments, result and errors as of trvil.develop()."""
        to = format_named(to or ("RGB48" if self._samples.family == "bayer" else "Mono16"))
        given = picture(array, self._layout, self.width if self._layout.packed else None, samples=self._samples)
        if (given.width, given.height) != self._size:
            raise ValueError(f"the recipe is for {self.width} x {self.height} pixels, not {given.width} x {given.height}")
        target = output(out, to, given.height, given.width)
        if out is not None and np.may_share_memory(given.array, target.array):
            given = given.copied()
        threads = hold(pool)
        with Lent(given) as one, Lent(target) as other:
            status = raw.TRW_Develop(one, other, self._prepared.address, threads.address)
        self._check(status, to)
        return target.array

    def _check(self, status: int, to: Format) -> None:
        if status == c.TRV_STATUS_OK:
            return
        _library.check_memory(status)
        ways = ("mosaics are developed to RGB48 and BGR48" if self._samples.family == "bayer" else
                "grey is developed to Mono16")
        raise Error(status, f"status {status}: {self._samples.name} is not developed to {to.name}\n"
                            f"why: {ways}, and to what the library converts these to\nnext: choose another target")

    def __reduce__(self) -> Tuple[Any, ...]:
        return _recipe_again, (self._settings, self._samples.name, self._size, self.packing and self.packing.name,
                               self.phase)

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Recipe):
            return NotImplemented
        return self._kind() == other._kind() and self._settings == other._settings

    def __hash__(self) -> int:
        return hash((self._kind(), self._settings))

    def __repr__(self) -> str:
        kind = "".join(f", {name}={value!r}" for name, value in (("packing", self.packing and self.packing.name),
                                                                 ("phase", self.phase)) if value is not None)
        return f"Recipe({self._settings!r}, {self._samples.name!r}, {self.width}, {self.height}{kind})"


def _recipe_again(settings: Settings, source: str, size: Tuple[int, int], packing: Optional[str],
                  phase: Optional[str]) -> Recipe:
    return Recipe(settings, source, *size, packing=packing, phase=phase)


def develop(array: Readable, source: FormatName, settings: Settings, to: Optional[FormatName] = None, *,
            packing: Optional[PackingName] = None, phase: Optional[str] = None, width: Optional[int] = None,
            out: Optional[Writable] = None, pool: Optional[Pool] = None) -> Array:
    """The picture that a sensor's samples stand for.

    array: as convert() takes it, packed or not
    source: name or Format of the samples: grey of up to 16 bits or a mosaic
    settings: Settings: black level and white, dark, flat, defects, gains, matrix, curve, method
    to: default "RGB48" for a mosaic, "Mono16" for grey; or what the library converts these to, such as
        "BGR24", whose bytes are the upper ones of the words
    packing, phase, width: as for convert()
    out: array of shape formats[to].shape(height, width) that receives the picture
    pool: a Pool whose threads share the picture; default the calling thread alone. The values are
        the same

    Returns `out`, or a new array that the caller owns. Values go from 0, black, to 65535, white, before
    they become those of `to`. Samples become so one after the other: less the dark picture or black
    level, times gain and flat field; defects become the mean of the nearest samples of their colour; the
    method makes colours; then matrix and curve. A source that shares memory with `out` is copied.

    Settings remember what they were made ready for, so the first picture of a kind takes longer.

    Raises TypeError or ValueError for arrays and names that make no sense, and what Recipe raises where
    the settings do not suit the picture; Error (status 10) where the samples do not become `to`. `out` is
    unchanged then.

    Threads: other Python threads run during the call. Nobody may write `array` or `out` meanwhile.
    """
    layout: Layout = format_named(source) if packing is None else packing_named(packing)
    given = picture(array, layout, width)
    recipe = Recipe(settings, source, given.width, given.height, packing=packing, phase=phase)
    return recipe.develop(array, to, out=out, pool=pool)
