"""Raw pictures of cameras and frame grabbers as NumPy arrays: conversion of pixel formats,
demosaicing, frames from fields, TIFF and raw files, by the trvil image library.

    import trvil
    picture = trvil.convert(mosaic, "BAY12", "BGR24", phase="RGGB", method="ave")

formats maps the names of the 74 pixel formats to their descriptions, packings those of what cameras
send beyond them: convert() and unpack() take both. find_name() reads the names that other systems
have. Arrays go in and out without a copy; each function says where it cannot help one. Errors of the library are trvil.Error, with its
status (trvil.STATUS_...) and explanation; arguments that make no sense are TypeError or ValueError.

Threads: every function may run on any thread beside any other. The library works without the
interpreter's lock, so threads that convert different pictures use as many processors; a Pool shares one
picture among several.

The libraries are looked for in the folder that the environment variable TRVIL_LIBRARY_DIR names, and
nowhere else when it is set; then beside this module and where they were installed together; then by
the system loader.
"""
from __future__ import annotations

from . import _constants
from ._buffer import Buffer, wrap
from ._convert import convert, demosaic, explain, unpack
from ._develop import Recipe, develop
from ._field import field_to_frame
from ._file import write
from ._formats import Format, formats
from ._library import Error
from ._names import Reading, Route, find_code, find_name, name_of, names, plan_route
from ._packings import Packing, packings
from ._pool import Pool
from ._sequence import Sequence, open
from ._settings import Settings
from ._show import QuickLook, show

__version__ = _constants.VERSION

STATUS_OK = _constants.TRV_STATUS_OK
STATUS_BAYER_SETTING = _constants.TRV_STATUS_BAYER_SETTING
STATUS_PARAMETER = _constants.TRV_STATUS_PARAMETER
STATUS_UNSUPPORTED = _constants.TRV_STATUS_UNSUPPORTED
STATUS_TIFF_FORMAT = _constants.TRV_STATUS_TIFF_FORMAT
STATUS_MEMORY = _constants.TRV_STATUS_MEMORY
STATUS_SYSTEM = _constants.TRV_STATUS_SYSTEM
STATUS_FILE_CLOSE = _constants.TRV_STATUS_FILE_CLOSE

__all__ = ["Buffer", "Error", "Format", "Packing", "Pool", "QuickLook", "Reading", "Recipe", "Route", "Sequence",
           "Settings", "convert", "demosaic", "develop", "explain", "field_to_frame", "find_code", "find_name",
           "formats", "name_of", "names", "open", "packings", "plan_route", "show", "unpack", "wrap", "write"]
