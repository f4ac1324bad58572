"""What else than arrays is read where it lies."""
import array
import mmap

import numpy as np
import pytest
import trvil

rng = np.random.default_rng(20261127)
MOSAIC = rng.integers(0, 4096, (6, 8)).astype(np.uint16)
PICTURE = trvil.demosaic(MOSAIC, "RGGB", bits=12)


class Producer:
    """Something with __dlpack__ and nothing else."""

    def __init__(self, held):
        self.held = held

    def __dlpack__(self, stream=None):
        return self.held.__dlpack__(stream=stream)

    def __dlpack_device__(self):
        return self.held.__dlpack_device__()


class ElsewhereProducer(Producer):
    def __dlpack__(self, stream=None):
        raise BufferError("the tensor lies on another device")


def test_buffers_are_lines_of_so_many_pixels(tmp_path):
    content = MOSAIC.tobytes()
    (tmp_path / "m.raw").write_bytes(content)
    words = array.array("H", MOSAIC.ravel().tolist())
    with open(tmp_path / "m.raw", "rb") as file, mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ) as mapped:
        for given in (content, bytearray(content), memoryview(content), words, mapped, MOSAIC.ravel()):
            np.testing.assert_array_equal(trvil.convert(given, "BAY12", "BGR24", width=8), PICTURE)
        np.testing.assert_array_equal(trvil.demosaic(content, bits=12, width=8), PICTURE)
        np.testing.assert_array_equal(trvil.convert(memoryview(MOSAIC)[1:5], "BAY12", "BGR24", phase="GBRG"),
                                      trvil.demosaic(MOSAIC[1:5], "GBRG", bits=12))
        sent = rng.bytes(12 * 5)
        np.testing.assert_array_equal(trvil.unpack(sent, "12p", width=8),
                                      trvil.unpack(np.frombuffer(sent, np.uint8).reshape(5, 12), "12p"))
    out = bytearray(6 * 8 * 3)
    trvil.convert(content, "BAY12", "BGR24", width=8, out=memoryview(out).cast("B", (6, 8, 3)))
    assert out == PICTURE.tobytes()


def test_tensors_are_read_where_they_lie():
    held = MOSAIC.copy()
    with trvil.wrap(Producer(held), "BAY12") as buffer:
        assert buffer.width == 8 and trvil._buffer._owned
        inside = [a for a in trvil._buffer._owned.values() if np.shares_memory(a, held)]
        assert inside, "a copy was made"
    for given in (Producer(held), Producer(held.view(np.int16))):
        np.testing.assert_array_equal(trvil.convert(given, "BAY12", "BGR24"), PICTURE)
        np.testing.assert_array_equal(trvil.demosaic(given, bits=12), PICTURE)
    np.testing.assert_array_equal(np.from_dlpack(trvil.demosaic(held, bits=12)), PICTURE)


def test_tensors_of_pytorch():
    torch = pytest.importorskip("torch", reason="no PyTorch here")
    tensor = torch.from_numpy(MOSAIC.astype(np.int16))
    made = trvil.develop(tensor[1:5], "BAY12", trvil.Settings(white=4000), "BGR24", phase="GBRG")
    np.testing.assert_array_equal(made, trvil.develop(MOSAIC[1:5], "BAY12", trvil.Settings(white=4000), "BGR24",
                                                      phase="GBRG"))
    back = torch.from_dlpack(trvil.convert(tensor, "BAY12", "BGR24"))
    assert (back.numpy() == PICTURE).all()
    with pytest.raises(TypeError, match="cannot be read where it lies"):
        trvil.convert(torch.zeros((4, 4), requires_grad=True), "BAY12", "BGR24")
    with pytest.raises(ValueError, match="do not lie side by side"):
        trvil.convert(tensor.T, "BAY12", "BGR24")


@pytest.mark.parametrize("given,width,kind,words", [
    (MOSAIC.tobytes(), None, ValueError, "of uint8"), (MOSAIC.tobytes(), 7, ValueError, "has 96 bytes; lines of 7 pixels"),
    (b"", 8, ValueError, "has 0 bytes"), (MOSAIC.tobytes(), 0, ValueError, "lines of 0 pixels"),
    (MOSAIC.ravel(), None, ValueError, "of one dimension it needs a width"),
    (MOSAIC.ravel()[::2], 8, ValueError, "has gaps"), ("text", 8, TypeError, "array is a str; give a numpy.ndarray"),
    (None, 8, TypeError, "is a NoneType"), (ElsewhereProducer(MOSAIC), None, TypeError, "lies on another device"),
])
def test_what_is_no_picture_is_named(given, width, kind, words):
    with pytest.raises(kind, match=words):
        trvil.convert(given, "BAY12", "BGR24", width=width)
    with pytest.raises((TypeError, ValueError), match="out"):
        trvil.convert(MOSAIC, "BAY12", "BGR24", out=bytes(144))
