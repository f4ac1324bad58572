"""What is known of a sensor and what its pictures are to look like."""
from __future__ import annotations

import difflib
import json
import os
from typing import Any, Dict, Mapping, Optional, Sequence, Tuple, Union

import numpy as np

from ._arrays import as_array
from ._formats import method_value
from ._sensor_files import read_defects, read_matrix, read_reference
from ._types import Array, FormatName, PackingName, Path, Readable, Words

_NAMES = "black", "white", "dark", "flat", "defects", "wb", "ccm", "curve", "method"
_FILES = "dark", "flat", "defects"


def _numbers(value: Any, name: str, counts: Tuple[int, ...]) -> Tuple[float, ...]:
    """A number, a list of them or text such as "1.8,1,1.5", as floats."""
    if isinstance(value, str):
        value = value.split(",")
    try:
        numbers = np.array(value, dtype=float).ravel()
    except (TypeError, ValueError):
        numbers = np.array([])
    if numbers.size not in counts or not np.isfinite(numbers).all():
        raise ValueError(f"{name} is {' or '.join(map(str, counts))} numbers, not {value!r}")
    return tuple(numbers.tolist())


def _levels(value: Any, name: str, counts: Tuple[int, ...]) -> Tuple[int, ...]:
    numbers = _numbers(value, name, counts)
    if any(number != int(number) or not 0 <= number <= 0xFFFF for number in numbers):
        raise ValueError(f"{name} is made of sample values from 0 to 65535, not {value!r}")
    return tuple(map(int, numbers))


def _kept(array: Array, dtype: Words) -> Array:
    """A copy that nobody changes, or the array where it is one already."""
    if array.dtype != dtype or array.flags.writeable or array.base is not None or not array.flags.c_contiguous:
        array = np.array(array, dtype, order="C")
        array.flags.writeable = False
    return array


def _reference(value: Readable, name: str) -> Array:
    array = as_array(value, name)
    if array.dtype not in (np.uint8, np.uint16) or array.ndim != 2:
        raise ValueError(f"{name} is an array (height, width) of uint8 or uint16, not {array.dtype} {array.shape}")
    return _kept(array, np.dtype(np.uint16))


def _places(value: Any) -> Array:
    """(x, y) of each defect, sorted, each once."""
    try:
        array = np.asarray(value)
        if array.dtype == bool and array.ndim == 2:
            array = np.argwhere(array)[:, ::-1]
        places = array.reshape(-1, 2) if array.size == 0 else array
        good = places.ndim == 2 and places.shape[1] == 2 and (places.size == 0 or places.dtype.kind in "iu")
    except ValueError:
        good = False
    if not good or (places.size and not 0 <= places.min() <= places.max() <= 0xFFFFFFFF):
        raise ValueError("defects are pairs (x, y) of whole numbers from 0, or a bool array (height, width) that is "
                         "true where they are")
    return _kept(np.unique(places, axis=0).reshape(-1, 2), np.dtype(np.uint32))


def _curve(value: Any) -> str:
    if not isinstance(value, str):
        value = f"gamma:{float(value)!r}"
    if value in ("none", "srgb"):
        return str(value)
    kind, _, number = value.partition(":")
    try:
        if kind == "gamma" and 0.1 <= float(number) <= 10:
            return f"gamma:{float(number)!r}"
    except ValueError:
        pass
    raise ValueError(f'a curve is "none", "srgb", or "gamma:" and 0.1 to 10, not {value!r}')


def _gains(value: Any) -> Tuple[float, ...]:
    if isinstance(value, str) and (value == "grey" or value.startswith("point:")):
        raise ValueError(f'wb is "{value}", which the tool measures in a picture; `trvil convert --save-settings` '
                         "writes what it measured as numbers")
    gains = _numbers(value, "wb", (1, 3))
    return gains * 3 if len(gains) == 1 else gains


def _matrix(value: Any) -> Tuple[Tuple[float, ...], ...]:
    entries = _numbers(value, "ccm", (9,))
    return entries[0:3], entries[3:6], entries[6:9]


class Settings:
    """What develop() makes of a sensor's samples; without any, only their scale changes.

    The names, and what they mean, are those of the tool's file of settings. Samples are counted as the
    source's are: 0 to 1023 for 10 bits.

    black: what a sample is without light: a number, or four, of the pixels (0, 0), (1, 0), (0, 1) and
        (1, 1); of grey the first counts. Default the mean of `dark` for each of them, else 0
    white: what a sample is with as much light as it can tell; default as much as the format can
    dark: (height, width) of uint8 or uint16, a picture taken in the dark
    flat: the same, of an evenly lit area
    defects: (x, y) of pixels that are not to be believed: pairs, or a bool array (height, width)
    wb: gains of red, green and blue, or one of all, which grey takes too
    ccm: 3 x 3 numbers, from the sensor's colours to the picture's; of mosaics only
    curve: "none", "srgb", or "gamma:2.2"; a number is a gamma
    method: of demosaicing: "dup", "ave", "med" or "gradient"; default "ave"

    Arrays are copied, unless nobody can write them, and cannot be changed. Settings are equal when all of
    this is, and can be pickled. Raises ValueError for what makes no sense by itself; whether it suits a
    picture, Recipe and develop() say.
    """

    black: Optional[Tuple[int, ...]]
    white: Optional[int]
    dark: Optional[Array]
    flat: Optional[Array]
    defects: Optional[Array]
    wb: Optional[Tuple[float, ...]]
    ccm: Optional[Tuple[Tuple[float, ...], ...]]
    curve: str
    method: Optional[str]
    _prepared: Dict[Any, Any]  # recipes of the library, by kind of picture

    def __init__(self, black: Union[int, str, Sequence[int], None] = None, white: Union[int, str, None] = None,
                 dark: Optional[Readable] = None, flat: Optional[Readable] = None,
                 defects: Union[Array, Sequence[Tuple[int, int]], None] = None,
                 wb: Union[float, str, Sequence[float], None] = None,
                 ccm: Union[Array, str, Sequence[float], Sequence[Sequence[float]], None] = None,
                 curve: Union[float, str, None] = None, method: Optional[str] = None) -> None:
        if method is not None:
            method_value(method)
        self._keep("black", None if black is None else _levels(black, "black", (1, 4)))
        if self.black is not None and len(self.black) == 1:
            self._keep("black", self.black * 4)
        self._keep("white", None if white is None else _levels(white, "white", (1,))[0])
        self._keep("dark", None if dark is None else _reference(dark, "dark"))
        self._keep("flat", None if flat is None else _reference(flat, "flat"))
        self._keep("defects", None if defects is None else _places(defects))
        self._keep("wb", None if wb is None else _gains(wb))
        self._keep("ccm", None if ccm is None else _matrix(ccm))
        self._keep("curve", "none" if curve is None else _curve(curve))
        self._keep("method", method)
        self._keep("_prepared", {})

    def _keep(self, name: str, value: object) -> None:
        object.__setattr__(self, name, value)

    def __setattr__(self, name: str, value: object) -> None:
        raise AttributeError(f"{name} cannot be set: settings do not change; make others")

    def __delattr__(self, name: str) -> None:
        raise AttributeError(f"{name} cannot be deleted: settings do not change")

    @classmethod
    def from_dict(cls, values: Mapping[str, Any], *, folder: Path = ".", size: Optional[Tuple[int, int]] = None,
                  format: Optional[FormatName] = None, packing: Optional[PackingName] = None) -> Settings:
        """Settings of a mapping, as json.load() makes one of the tool's file, or to_dict().

        values: by the names of the fields. Numbers may be text, such as "1.8,1,1.5"; dark, flat, defects
            and ccm may be names of files, and wb "off"
        folder: where names of files start
        size, format, packing: (width, height) of dark and flat that are bare dumps, their pixel format,
            and how they are packed, as for Recipe; TIFF, PGM and PNG files tell it themselves

        Raises ValueError for names that are no setting and for values and files that make no sense,
        OSError for files that cannot be read.
        """
        unknown = [str(name) for name in values if name not in _NAMES]
        if unknown:
            near = [guess for name in unknown for guess in difflib.get_close_matches(name, _NAMES, 1)]
            raise ValueError(f"no setting is called {', '.join(unknown)}"
                             + (f"; is it {', '.join(near)}?" if near else "") + f" All are {', '.join(_NAMES)}")
        given = dict(values)
        for name in _FILES:
            if isinstance(given.get(name), (str, os.PathLike)):
                path = os.path.join(folder, given[name])
                given[name] = (read_defects(path) if name == "defects" else
                               read_reference(path, size, format, packing))
        if isinstance(given.get("ccm"), os.PathLike) or _is_name(given.get("ccm")):
            given["ccm"] = read_matrix(os.path.join(folder, given["ccm"]))
        if given.get("wb") == "off":
            given["wb"] = None
        return cls(**given)

    @classmethod
    def read(cls, path: Path, *, size: Optional[Tuple[int, int]] = None, format: Optional[FormatName] = None,
             packing: Optional[PackingName] = None) -> Settings:
        """Settings of a file that `trvil convert --save-settings` or `trvil calibrate` wrote.

        size, format, packing: as for from_dict(). Names of files in it start from its folder. Raises as
        from_dict() does.
        """
        with open(path, encoding="utf-8") as file:
            try:
                values = json.load(file)
            except ValueError as problem:
                raise ValueError(f"{os.fsdecode(path)} is no file of settings: {problem}") from problem
        if not isinstance(values, dict):
            raise ValueError(f"{os.fsdecode(path)} is no file of settings: its JSON is no object")
        return cls.from_dict(values, folder=os.path.dirname(os.fsdecode(path)), size=size, format=format,
                             packing=packing)

    def to_dict(self) -> Dict[str, Any]:
        """What is set, by name; from_dict() makes equal settings of it."""
        return {name: value for name, value in self._values().items() if value is not None}

    def _values(self) -> Mapping[str, Any]:
        return {name: getattr(self, name) for name in _NAMES}

    def __reduce__(self) -> Tuple[Any, ...]:
        return type(self), tuple(self._values().values())

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Settings):
            return NotImplemented
        return all(np.array_equal(a, b) if isinstance(a, np.ndarray) and isinstance(b, np.ndarray) else
                   type(a) is type(b) and not isinstance(a, np.ndarray) and a == b
                   for a, b in zip(self._values().values(), other._values().values()))

    def __hash__(self) -> int:
        return hash(tuple(value.shape if isinstance(value, np.ndarray) else value for value in self._values().values()))

    def __repr__(self) -> str:
        def said(name: str, value: Any) -> str:
            if name == "defects":
                return f"<{len(value)} pixels>"
            if isinstance(value, np.ndarray):
                return f"<{value.shape[1]} x {value.shape[0]}>"
            return repr(value)
        return f"Settings({', '.join(f'{name}={said(name, value)}' for name, value in self.to_dict().items())})"


def _is_name(value: Any) -> bool:
    if not isinstance(value, str):
        return False
    try:
        _numbers(value, "ccm", (9,))
    except ValueError:
        return True
    return False
