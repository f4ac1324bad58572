"""Handles, fields, and how the module finds its libraries."""
import copy
import ctypes
import gc
import os
import pickle
import shutil
import subprocess
import sys
import threading
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


def test_a_buffer_used_by_many_threads_answers_or_raises():
    array, wrong = np.zeros((8, 8), np.uint8), []

    def use(buffer):
        try:
            while True:
                if buffer.width != 8 or buffer.view(0, 0, 4, 4).height != 4:
                    wrong.append("another buffer's values")
        except ValueError:  # closed
            pass
        except trvil.Error as error:
            if error.status != trvil.STATUS_PARAMETER:
                wrong.append(error)

    for _ in range(100):
        buffer = trvil.wrap(array, "Mono8")
        threads = [threading.Thread(target=work, args=arguments)
                   for work, arguments in 3 * [(use, (buffer,))] + 2 * [(buffer.close, ())]]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
    assert not wrong


def test_a_buffer_has_one_owner_in_a_process_and_one_in_its_child():
    buffer = trvil.wrap(np.zeros((8, 8), np.uint8), "Mono8")
    for copied in (copy.copy, copy.deepcopy, pickle.dumps):
        with pytest.raises(TypeError, match="neither copied nor pickled"):
            copied(buffer)
    child = os.fork()
    if child == 0:
        try:
            good = buffer.width == 8
            buffer.close()
            with trvil.wrap(np.zeros((3, 3), np.uint8), "Mono8") as own:
                good = good and own.width == 3
            os._exit(0 if good else 1)
        finally:
            os._exit(2)
    assert os.waitpid(child, 0)[1] == 0 and buffer.width == 8


def import_with(folder, **environment):
    kept = {k: v for k, v in os.environ.items() if k not in ("TRVIL_LIBRARY_DIR", "LD_LIBRARY_PATH")}
    return subprocess.run([sys.executable, "-c", "import trvil; trvil.formats"], capture_output=True, text=True,
                          env={**kept, "PYTHONPATH": str(folder), **environment})


def test_libraries_are_found_beside_the_module_or_missed_in_words(tmp_path):
    module, libraries = Path(trvil.__file__).parent, Path(os.environ["TRVIL_LIBRARY_DIR"])
    shutil.copytree(module, tmp_path / "trvil")
    lost = import_with(tmp_path, TRVIL_LIBRARY_DIR=str(tmp_path))
    assert lost.returncode != 0 and "Set TRVIL_LIBRARY_DIR to the folder" in lost.stderr
    for name in (_library.IMAGE_LIBRARY, _library.BUFFER_LIBRARY, _library.RAW_LIBRARY):
        shutil.copy(libraries / name, tmp_path / "trvil")
    found = import_with(tmp_path)
    assert found.returncode == 0, found.stderr


def test_all_formats_of_the_headers_are_there():
    assert len(trvil.formats) == 74 and trvil.formats["BAY14P_D"].code == 0xC002264C
    for format in trvil.formats.values():
        size = int(np.prod(format.shape(3, 8))) * format.dtype.itemsize
        assert size == 3 * 8 * format.stored // 8, format.name
