"""Quick looks: PNG files that hold what the format's bits say."""
import struct
import zlib

import numpy as np
import pytest
import trvil

rng = np.random.default_rng(20261128)


def read_png(content):
    """Checks the file's chunks, and gives its samples."""
    assert content[:8] == b"\x89PNG\r\n\x1a\n"
    chunks, at = [], 8
    while at < len(content):
        size, name = struct.unpack_from(">I4s", content, at)
        data = content[at + 8:at + 8 + size]
        assert struct.unpack_from(">I", content, at + 8 + size)[0] == zlib.crc32(name + data)
        chunks.append((name, data))
        at += 12 + size
    assert [name for name, _ in chunks] == [b"IHDR", b"IDAT", b"IEND"]
    width, height, bits, kind = struct.unpack_from(">IIBB", chunks[0][1])
    channels = {0: 1, 2: 3}[kind]
    lines = np.frombuffer(zlib.decompress(chunks[1][1]), np.uint8).reshape(height, -1)
    assert not lines[:, 0].any() and lines.shape[1] == 1 + width * channels * bits // 8
    samples = lines[:, 1:].copy().view(f">u{bits // 8}").reshape((height, width, 3)[:2 if kind == 0 else 3])
    return samples


def look(array, format, **options):
    return read_png(trvil.show(array, format, **options)._repr_png_())


def any_of(format, height, width):
    most = (1 << min(format.significant if format.family != "word" else 32, 32)) - 1
    return rng.integers(0, most, format.shape(height, width), dtype=np.uint64, endpoint=True).astype(format.dtype)


def test_grey_and_colour_fill_the_range():
    for bits in (10, 12, 14, 16):
        grey = np.array([[0, 1, (1 << bits) - 1]], np.uint16)
        assert look(grey, f"Mono{bits}").tolist() == [[0, round(65535 / ((1 << bits) - 1)), 65535]]
    eight = any_of(trvil.formats["Mono8"], 5, 7)
    assert (look(eight, "Mono8") == eight).all() and look(eight, "Mono8").itemsize == 1
    assert look(np.array([[0, 0x80000000, 0xFFFFFFFF]], np.uint32), "Mono32").tolist() == [[0, 32768, 65535]]
    for name, order in (("RGB24", (0, 1, 2)), ("BGR24", (2, 1, 0)), ("BGRX32", (2, 1, 0)), ("XRGB32", (1, 2, 3)),
                        ("RGBA32", (0, 1, 2)), ("RGB48", (0, 1, 2)), ("BGR48", (2, 1, 0)), ("RGBA64", (0, 1, 2))):
        pixels = any_of(trvil.formats[name], 4, 5)
        np.testing.assert_array_equal(look(pixels, name), pixels[..., order])
    assert look(np.array([[0xF800, 0x07E0, 0x001F]], np.uint16), "RGB16").tolist() == [
        [[255, 0, 0], [0, 255, 0], [0, 0, 255]]]


def test_mosaics_packings_and_yuv_are_what_conversions_make():
    mosaic = any_of(trvil.formats["BAY12"], 6, 9)
    np.testing.assert_array_equal(look(mosaic, "BAY12", phase="GBRG"),
                                  trvil.demosaic(mosaic, "GBRG", bits=12)[..., ::-1])
    sent = rng.integers(0, 256, (6, 12), np.uint8)
    np.testing.assert_array_equal(look(sent, "BAY12_D", packing="12p"),
                                  trvil.convert(sent, "BAY12_D", "BGR24", packing="12p")[..., ::-1])
    words = trvil.unpack(sent, "12p").astype(np.uint32)
    np.testing.assert_array_equal(look(sent, "Mono12", packing="12p"), (words * 65535 + 2047) // 4095)
    yuv = any_of(trvil.formats["YUV422"], 4, 6)
    np.testing.assert_array_equal(look(yuv, "YUV422"), trvil.convert(yuv, "YUV422", "RGB24"))
    assert look(mosaic[:1, :3], "BAY12").shape == (1, 3)


def test_every_format_and_packing_can_be_looked_at():
    for format in trvil.formats.values():
        for height, width in ((1, 1), (3, 5), (4, 8)):
            array = rng.integers(0, 256, int(np.prod(format.shape(height, width))) * format.dtype.itemsize, np.uint8)
            shown = look(array.view(format.dtype).reshape(format.shape(height, width)), format, width=width)
            assert shown.shape[:2] == (height, width), format.name
    for packing in trvil.packings.values():
        assert look(np.zeros((2, packing.line_bytes(8)), np.uint8), packing.format, packing=packing, width=8).shape[1] == 8


def test_large_pictures_are_thinned_and_misuse_is_named():
    grey = any_of(trvil.formats["Mono8"], 30, 100)
    np.testing.assert_array_equal(look(grey, "Mono8", largest=40), grey[::3, ::3])
    assert repr(trvil.show(grey, "Mono8", largest=40)) == "<Mono8, 100 x 30, shown as 34 x 10>"
    for options, words in (({"largest": 0}, "largest is"), ({"phase": "RGGB"}, "not a mosaic"), ({"width": 7}, "100 pixels wide")):
        with pytest.raises(ValueError, match=words):
            trvil.show(grey, "Mono8", **options)
