"""Handles, fields, files, and how the module finds its libraries."""
import ctypes
import gc
import os
import shutil
import subprocess
import sys
import weakref
from pathlib import Path

import numpy as np
import pytest
import trvil
from trvil import _library

rng = np.random.default_rng(20261124)


def test_arrays_live_as_long_as_any_owner_of_their_handle():
    array = rng.integers(0, 256, (8, 8)).astype(np.uint8)
    alive = weakref.ref(array)
    buffer = trvil.wrap(array, "Mono8")
    view = buffer.view(2, 3, 4, 4)
    retained = ctypes.c_uint64(buffer.handle)
    assert _library.buffers.TBS_BufferRetain(retained) == 0
    del array
    buffer.close()
    buffer.close()
    with pytest.raises(ValueError, match="closed"):
        buffer.handle
    gc.collect()
    assert alive() is not None and (view.width, view.stride, view.format.name) == (4, 8, "Mono8")
    assert _library.buffers.TBS_BufferRelease(ctypes.byref(retained)) == 0
    del view
    gc.collect()
    assert alive() is None


def test_views_stay_inside():
    with trvil.wrap(np.zeros((4, 10), np.uint8), "Mono10P_x"[:7]) as buffer:
        assert (buffer.width, buffer.height, buffer.stride) == (8, 4, 10)
        for rectangle in ((0, 0, 9, 4), (1, 1, 0, 1), (-1, 0, 2, 2)):
            with pytest.raises(ValueError):
                buffer.view(*rectangle)


def test_fields_become_frames():
    frame = rng.integers(0, 256, (8, 5, 3)).astype(np.uint8)
    odd = frame[1::2]
    doubled = trvil.field_to_frame(odd, "BGR24", method="dup", field="even")
    np.testing.assert_array_equal(doubled, np.repeat(odd, 2, axis=0))
    made = trvil.field_to_frame(odd, "BGR24", field="odd")
    between = (odd[:-1].astype(int) + odd[1:]) >> 1
    np.testing.assert_array_equal(made[2::2], between)
    np.testing.assert_array_equal(made[1::2], odd)
    trvil.field_to_frame(odd, "BGR24", field="odd", out=frame)  # in the memory of the field itself
    np.testing.assert_array_equal(frame, made)
    canvas = np.full((8, 9, 3), 7, np.uint8)
    trvil.field_to_frame(made[1::2], "BGR24", field="odd", out=canvas[:, 2:7])
    assert (canvas[:, 2:7] == made).all() and (canvas[:, :2] == 7).all() and (canvas[:, 7:] == 7).all()
    with pytest.raises(trvil.Error, match="no frame is made of a field of Mono12 by median") as caught:
        trvil.field_to_frame(np.zeros((4, 4), np.uint16), "Mono12", method="median")
    assert caught.value.status == trvil.STATUS_UNSUPPORTED
    with pytest.raises(ValueError, match="use odd or even"):
        trvil.field_to_frame(odd, "BGR24", field="top")


def test_files_hold_the_picture_whole_or_are_not_there(tmp_path):
    wide = rng.integers(0, 256, (6, 9, 3)).astype(np.uint8)
    picture = wide[:, 2:7]
    trvil.write(picture, tmp_path / "a.raw", "BGR24")
    assert (tmp_path / "a.raw").read_bytes() == picture.tobytes()
    trvil.write(picture, str(tmp_path / "a.tif"), "BGR24")
    content = (tmp_path / "a.tif").read_bytes()
    assert content[:4] == b"MM\0*" and picture[..., ::-1].tobytes() in content
    trvil.write(picture, tmp_path / "a.dat", "BGR24", kind="raw")
    with pytest.raises(trvil.Error, match="cannot hold BGRX32") as caught:
        trvil.write(np.zeros((2, 2, 4), np.uint8), tmp_path / "a.tif", "BGRX32")
    assert caught.value.status == trvil.STATUS_TIFF_FORMAT and (tmp_path / "a.tif").read_bytes() == content
    with pytest.raises(FileNotFoundError):
        trvil.write(picture, tmp_path / "none" / "a.raw", "BGR24")
    with pytest.raises(ValueError, match="cannot tell the kind"):
        trvil.write(picture, tmp_path / "a.xyz", "BGR24")
    with pytest.raises(OSError, match="Not a regular file"):
        trvil.write(picture, "/dev/null", "BGR24", kind="raw")
    assert sorted(p.name for p in tmp_path.iterdir()) == ["a.dat", "a.raw", "a.tif"]


def import_with(folder, **environment):
    kept = {k: v for k, v in os.environ.items() if k not in ("TRVIL_LIBRARY_DIR", "LD_LIBRARY_PATH")}
    return subprocess.run([sys.executable, "-c", "import trvil; trvil.formats"], capture_output=True, text=True,
                          env={**kept, "PYTHONPATH": str(folder), **environment})


def test_libraries_are_found_beside_the_module_or_missed_in_words(tmp_path):
    module, libraries = Path(trvil.__file__).parent, Path(os.environ["TRVIL_LIBRARY_DIR"])
    shutil.copytree(module, tmp_path / "trvil")
    lost = import_with(tmp_path, TRVIL_LIBRARY_DIR=str(tmp_path))
    assert lost.returncode != 0 and "Set TRVIL_LIBRARY_DIR to the folder" in lost.stderr
    for name in (_library.IMAGE_LIBRARY, _library.BUFFER_LIBRARY):
        shutil.copy(libraries / name, tmp_path / "trvil")
    found = import_with(tmp_path)
    assert found.returncode == 0, found.stderr


def test_all_formats_of_the_headers_are_there():
    assert len(trvil.formats) == 74 and trvil.formats["BAY14P_D"].code == 0xC002264C
    for format in trvil.formats.values():
        size = int(np.prod(format.shape(3, 8))) * format.dtype.itemsize
        assert size == 3 * 8 * format.stored // 8, format.name
