"""Conversions of arrays: right values, and never a byte beside the picture."""
import ctypes
import mmap
import os
import pickle
import subprocess
import threading

import numpy as np
import pytest
import trvil

ALL = [(a, b) for a in trvil.formats.values() for b in trvil.formats.values()]
rng = np.random.default_rng(20261123)


def any_pixels(format, height, width):
    shape, dtype = format.shape(height, width), format.dtype
    bits = 8 * dtype.itemsize if format.packed or format.family == "word" else format.significant
    return rng.integers(0, 1 << min(bits, 31), shape, dtype=np.uint32).astype(dtype)


def on_a_canvas(shape, dtype, fill):
    """A view with neighbours on all sides, and its canvas."""
    canvas = np.full((shape[0] + 2, shape[1] + 6) + shape[2:], fill, dtype)
    return canvas[1:-1, 3:-3], canvas


def ways(a, b):
    """The options by which a becomes b."""
    for method in ("dup", "ave", "gradient") if a.family == "bayer" and b.family != "bayer" else ("ave",):
        options = {"method": method, "phase": "RGGB" if a.family == "bayer" else None}
        try:
            trvil.convert(any_pixels(a, 4, 8), a, b, **options)
        except trvil.Error:
            continue
        yield options


def check_between_neighbours(a, b, height, width, options):
    source = any_pixels(a, height, width)
    expected = trvil.convert(source, a, b, width=width, **options)
    view, _ = on_a_canvas(source.shape, source.dtype, 201)
    view[...] = source
    out, canvas = on_a_canvas(b.shape(height, width), b.dtype, 99)
    out[...] = 0
    before = canvas.copy()
    assert trvil.convert(view, a, b, width=width, out=out, **options) is out
    np.testing.assert_array_equal(out, expected)
    before[1:-1, 3:-3] = out
    np.testing.assert_array_equal(canvas, before)


def test_strides_and_neighbours_do_not_matter_on_any_route():
    routes = set()
    for a, b in ALL:
        for options in ways(a, b):
            routes.add((a.name, b.name))
            for height, width in ((5, 7), (4, 8), (2, 2), (1, 6)):
                if height > 1 or a.family != "bayer" or b.family == "bayer":
                    check_between_neighbours(a, b, height, width, options)
    assert len(routes) == 546


def before_a_forbidden_page(shape, dtype):
    """An array whose last byte is followed by memory that nobody may touch."""
    size, page = int(np.prod(shape)) * dtype.itemsize, mmap.PAGESIZE
    memory = mmap.mmap(-1, (size // page + 2) * page)
    whole = np.frombuffer(memory, np.uint8)
    end = len(whole) - page
    forbidden = ctypes.c_void_p(whole.ctypes.data + end)
    assert ctypes.CDLL(None, use_errno=True).mprotect(forbidden, page, 0) == 0
    return whole[end - size:end].view(dtype).reshape(shape)


@pytest.mark.parametrize("width", [5, 7])
def test_no_route_leaves_the_arrays(width):
    for a, b in ALL:
        for options in ways(a, b):
            pixels = any_pixels(a, 3, width)
            source = before_a_forbidden_page(pixels.shape, a.dtype)
            source[...] = pixels
            out = before_a_forbidden_page(b.shape(3, width), b.dtype)
            trvil.convert(source, a, b, width=width, out=out, **options)
            np.testing.assert_array_equal(out, trvil.convert(pixels, a, b, width=width, **options))


@pytest.mark.skipif("TRVIL_TOOL" not in os.environ, reason="no tool beside the module")
@pytest.mark.parametrize("source,to,width,options", [
    ("BAY10", "BGR24", 33, {"phase": "GBRG", "method": "med"}), ("BAY8_B", "BGRX32", 16, {}),
    ("Mono12P", "Mono12", 7, {}), ("YUV422", "BGR24", 9, {}), ("Mono14", "Mono8", 5, {})])
def test_equals_what_the_tool_makes(tmp_path, source, to, width, options):
    array = any_pixels(trvil.formats[source], 6, width)
    array.tofile(tmp_path / "in.raw")
    arguments = [f"--{key}={value}" for key, value in options.items()]
    subprocess.run([os.environ["TRVIL_TOOL"], "convert", "-s", f"{width}x6", "-f", source, "-t", to, "--via=never",
                    *arguments, str(tmp_path / "in.raw"), "-o", str(tmp_path / "out.raw")],
                   check=True, capture_output=True)
    picture = trvil.convert(array, source, to, width=width, **options)
    expected = np.fromfile(tmp_path / "out.raw", picture.dtype)
    np.testing.assert_array_equal(picture.ravel(), expected)


def test_pad_bytes_and_shared_memory():
    bgr = any_pixels(trvil.formats["BGR24"], 4, 5)
    out = np.full((4, 5, 4), 0xEE, np.uint8)
    trvil.convert(bgr, "BGR24", "BGRX32", out=out)
    assert (out[..., 3] == 0xEE).all() and (out[..., :3] == bgr).all()
    memory = rng.integers(0, 256, 80).astype(np.uint8)
    inside, out = memory[:60].reshape(4, 5, 3), memory.reshape(4, 5, 4)
    expected, pads = inside.copy(), out[..., 3].copy()
    trvil.convert(inside, "BGR24", "BGRX32", out=out)
    assert (out[..., :3] == expected).all() and (out[..., 3] == pads).all()
    words = any_pixels(trvil.formats["Mono12"], 6, 8)
    expected = words >> 4
    trvil.convert(words, "Mono12", "Mono8", out=words.view(np.uint8)[:, 4:12])
    assert (words.view(np.uint8)[:, 4:12] == expected).all()
    flipped = np.array(bgr)
    assert trvil.convert(flipped, "BGR24", "RGB24", out=flipped) is flipped
    assert (flipped == bgr[..., ::-1]).all()


def test_read_only_sources_and_threads():
    mosaic = np.frombuffer(rng.bytes(64 * 480 * 2), np.uint16).reshape(480, 64) & 0xFFF
    mosaic.flags.writeable = False
    expected, results = trvil.convert(mosaic, "BAY12_C", "BGR24"), [None] * 4

    def work(i):
        for _ in range(20):
            results[i] = trvil.convert(mosaic, "BAY12_C", "BGR24")

    threads = [threading.Thread(target=work, args=(i,)) for i in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert all((result == expected).all() for result in results)


GREY = np.zeros((4, 8), np.uint16)


@pytest.mark.parametrize("arguments,options,kind,words", [
    (([[1, 2]], "Mono8", "BGR24"), {}, TypeError, "give a numpy.ndarray"),
    ((GREY, "Mono8", "BGR24"), {}, ValueError, "of uint16; Mono8 is an array"),
    ((GREY.astype(">u2"), "Mono12", "Mono8"), {}, ValueError, "of >u2"),
    ((GREY[0], "Mono12", "Mono8"), {}, ValueError, "has the shape"),
    ((GREY[:0], "Mono12", "Mono8"), {}, ValueError, "at least one pixel"),
    ((GREY[:, ::2], "Mono12", "Mono8"), {}, ValueError, "do not lie side by side"),
    ((GREY.T, "Mono12", "Mono8"), {}, ValueError, "do not lie side by side"),
    ((GREY[::-1], "Mono12", "Mono8"), {}, ValueError, "follow each other downwards"),
    ((np.broadcast_to(GREY[0], (4, 8)), "Mono12", "Mono8"), {}, ValueError, "begin 0 bytes apart"),
    ((GREY, "Mono12", "Mono8"), {"width": 7}, ValueError, "8 pixels wide, not 7"),
    ((GREY.view(np.uint8), "Mono10P", "Mono10"), {"width": 13}, ValueError, "hold up to 12 pixels"),
    ((GREY, "Mono12", "Mono8"), {"out": np.zeros((4, 9), np.uint8)}, ValueError, "this picture is"),
    ((GREY, "Mono12", "Mono8"), {"out": GREY}, ValueError, "out is of uint16"),
    ((GREY, "Mono12", "mono8"), {}, ValueError, "no pixel format"),
    ((GREY, "Mono12", "Mono8"), {"phase": "RGGB"}, ValueError, "not a mosaic"),
    ((GREY, "BAY12", "BGR24"), {"phase": "RGBG"}, ValueError, "no Bayer phase"),
    ((GREY, "BAY12", "BGR24"), {"method": "mean"}, ValueError, "no demosaic method"),
    ((GREY[:1], "BAY12", "BGR24"), {}, ValueError, "at least 2 x 2"),
])
def test_arguments_without_sense_are_named(arguments, options, kind, words):
    with pytest.raises(kind, match=words):
        trvil.convert(*arguments, **options)


def test_refusals_explain_themselves_and_change_nothing():
    out = np.full((4, 8, 4), 0xEE, np.uint8)
    with pytest.raises(trvil.Error, match="the only method there is dup\nnext: ") as caught:
        trvil.convert(GREY, "BAY12", "RGBX32", method="ave", out=out)
    assert caught.value.status == trvil.STATUS_BAYER_SETTING and (out == 0xEE).all()
    copy = pickle.loads(pickle.dumps(caught.value))
    assert (copy.status, copy.explanation) == (3, caught.value.explanation)
    frozen = np.zeros((4, 8), np.uint8)
    frozen.flags.writeable = False
    with pytest.raises(ValueError, match="read-only"):
        trvil.convert(GREY, "Mono12", "Mono8", out=frozen)
    with pytest.raises(ValueError, match="bits=10, 12, 14 or 16"):
        trvil.demosaic(GREY)
