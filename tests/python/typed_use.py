"""A program that mypy reads strictly, and does not run: what it says of results, and what it refuses."""
import mmap
from typing import Any, Optional, Tuple, assert_type

import numpy as np
import numpy.typing as npt
import trvil

Array = npt.NDArray[Any]
mosaic = np.zeros((4, 4), np.uint16)
mapped = mmap.mmap(-1, 4096)

assert_type(trvil.convert(mosaic, "BAY12", trvil.formats["BGR24"], phase="RGGB", out=mosaic), Array)
assert_type(trvil.demosaic(mapped, bits=12, width=8), Array)
assert_type(trvil.unpack(b"", "12p", out=bytearray(8)), Array)
settings = trvil.Settings(black=64, wb=(1.5, 1, 1.2), ccm=np.eye(3), defects=[(1, 2)], curve=2.2)
assert_type(settings.black, Optional[Tuple[int, ...]])
assert_type(trvil.Settings.read("settings.json").dark, Optional[Array])
assert_type(trvil.Recipe(settings, "BAY12", 4, 4).develop(memoryview(b"")), Array)
with trvil.Pool(2) as pool, trvil.wrap(mosaic, "BAY12") as buffer:
    assert_type(trvil.explain(buffer, buffer, pool=pool), Tuple[int, str])
    assert_type(buffer.format, trvil.Format)
assert_type(trvil.find_name("pRAA").packing, Optional[trvil.Packing])
trvil.convert("text", "BAY12", "BGR24")  # type: ignore[arg-type]
trvil.convert(mosaic, "BAY12", "BGR24", out=b"")  # type: ignore[arg-type]
trvil.develop(mosaic, "BAY12", {"black": 1})  # type: ignore[arg-type]
