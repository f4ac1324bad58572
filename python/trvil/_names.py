"""What other systems call pixels, and by which conversions formats become others."""
from __future__ import annotations

import ctypes
from dataclasses import dataclass
from typing import Any, Callable, Iterator, Optional, Tuple

from . import _constants as c
from ._arrays import whole
from ._formats import Format, by_code, format_named, format_of, method_value, phase_letter, phase_value
from ._library import Reading as _Reading
from ._library import Route as _Route
from ._library import raw, record
from ._packings import Packing, packing_named, packing_of
from ._types import FormatName, PackingName

_SYSTEMS = {"pfnc": c.TRW_SYSTEM_PFNC, "v4l2": c.TRW_SYSTEM_V4L2, "gst": c.TRW_SYSTEM_GST,
            "ros": c.TRW_SYSTEM_ROS, "opencv": c.TRW_SYSTEM_OPENCV}
_METHODS = {"dup": c.TRW_DIRECT_DUP, "ave": c.TRW_DIRECT_AVE, "med": c.TRW_DIRECT_MED}


@dataclass(frozen=True)
class Reading:
    """What a name or a number of another system says of pixels.

    name: as the system spells it; None when nothing is called so
    system: "pfnc", "v4l2", "gst", "ros" or "opencv"; None for several, or none
    code: its PFNC value or fourcc; None where it has none
    format: the Format of the picture, once it is unpacked; None where the name says a phase alone, or
        pixels that nothing here reads
    packing: the Packing that the pixels come in; None when they are the format's own
    phase: "A" (RGGB) to "D" of a mosaic
    why: why it is not read; None when it is
    """

    name: Optional[str]
    system: Optional[str]
    code: Optional[int]
    format: Optional[Format]
    packing: Optional[Packing]
    phase: Optional[str]
    why: Optional[str]


@dataclass(frozen=True)
class Route:
    """How one format becomes another.

    formats: the Formats that the picture has, first to last; empty for no route
    methods: the methods of a straight conversion, of "dup", "ave" and "med", all where nothing is
        demosaiced; empty for none
    remark: what the straight conversion does to a picture that it does not keep, else None
    why: why there is no route, else None
    """

    formats: Tuple[Format, ...]
    methods: Tuple[str, ...]
    remark: Optional[str]
    why: Optional[str]


def _text(value: Optional[bytes]) -> Optional[str]:
    return None if value is None else value.decode("ascii")


def _reading(call: Callable[..., int], *arguments: Any) -> Reading:
    r = record(_Reading)
    call(*arguments, ctypes.byref(r))
    return Reading(_text(r.name), _text(r.system_name), r.code or None, format_of(r.format),
                   packing_of(r.packing), phase_letter(r.phase), _text(r.why))


def _system(name: str) -> int:
    if not isinstance(name, str) or name not in _SYSTEMS:
        raise ValueError(f"no system is called {name!r}; use {', '.join(_SYSTEMS)}")
    return _SYSTEMS[name]


def find_name(name: str) -> Reading:
    """What a name of another system says of pixels, as a Reading.

    name: such as "BayerRG12p", "v4l2:pRAA" or "gst:bggr16le"; the system and a colon may stand in front.
        Capitals count only where they tell names apart

    Of a name that nothing is called by, of one that systems disagree about, and of pixels that
    nothing here reads, `why` says so; nothing is raised.
    """
    return _reading(raw.TRW_FindName, name.replace("\0", "?").encode("utf-8", "replace"))


def find_code(system: str, code: int) -> Reading:
    """What a number of a system says of pixels, as a Reading: a PFNC value, or a fourcc of V4L2.

    system: "pfnc" or "v4l2"; the others have no numbers
    code: 0 to 0xFFFFFFFF

    As with find_name(), `why` says why not. Raises ValueError for no system and no such number.
    """
    code = whole(code, "code")
    if not 0 <= code <= 0xFFFFFFFF:
        raise ValueError(f"{code} is no number of 32 bits")
    return _reading(raw.TRW_FindCode, _system(system), code)


def name_of(system: str, format: FormatName, *, packing: Optional[PackingName] = None,
            phase: Optional[str] = None) -> Reading:
    """What a system calls pixels, as a Reading; its `why` is set where it has no name for them.

    system: "pfnc", "v4l2", "gst", "ros" or "opencv"
    format: name or Format of the picture; with a packing that which it is unpacked to
    packing: name or Packing that the pixels come in; None for the format's own
    phase: of a mosaic, as for convert(); default what the format's name says, else "RGGB"
    """
    described = format_named(format)
    mosaic = described.family == "bayer"
    return _reading(raw.TRW_NameOf, _system(system), described.code,
                    0 if packing is None else packing_named(packing).code,
                    phase_value(phase, described) if mosaic else 0)


def names() -> Iterator[Reading]:
    """All names of other systems, those included that nothing here reads, as Readings."""
    index, r = 0, record(_Reading)
    while raw.TRW_NameAt(index, ctypes.byref(r)) == c.TRV_STATUS_OK:
        yield _reading(raw.TRW_NameAt, index)
        index += 1


def plan_route(source: FormatName, to: FormatName, *, method: Optional[str] = None,
               phase: Optional[str] = None) -> Route:
    """How a format becomes another by at most three conversions, as a Route.

    source, to: names of formats, or Formats
    method, phase: of a mosaic, as for convert(); None for any

    The route is the shortest on which the picture is kept: no bits are lost before the last step,
    and values that grew are not narrowed again. Where there is none, `why` says so. Raises ValueError
    for names that mean nothing.
    """
    first, last = format_named(source), format_named(to)
    route = record(_Route)
    raw.TRW_PlanRoute(first.code, last.code, 0 if method is None else method_value(method),
                      0 if phase is None else phase_value(phase, first), ctypes.byref(route))
    passed = tuple(by_code[code] for code in route.format if code)
    methods = tuple(name for name, bit in _METHODS.items() if route.direct & bit)
    return Route(passed, methods, _text(route.remark), _text(route.why))
