"""Developing: the tool's bytes, whatever the memory, and settings that say what is wrong with them."""
import json
import os
import pickle
import subprocess
import threading

import numpy as np
import pytest
import trvil
from test_convert import before_a_forbidden_page

rng = np.random.default_rng(20261126)
MATRIX = ((1.5, -.375, -.125), (-.25, 1.5, -.25), (0, -.5, 1.5))


def sensor(height, width, bits):
    """Everything that settings can say of a sensor and its pictures."""
    full = (1 << bits) - 1
    dark = rng.integers(0, full // 16, (height, width)).astype(np.uint16)
    flat = dark + rng.integers(full // 4, full // 2, (height, width)).astype(np.uint16)
    return {"black": (5, 6, 7, 8), "white": full - 20, "dark": dark, "flat": flat,
            "defects": [(0, 0), (width - 1, height - 1), (3, 2), (5, 2), (3, 2)]}


LOOK = {"wb": (1.75, 1, 1.25), "ccm": MATRIX, "curve": "srgb", "method": "gradient"}


def samples_of(source, height, width):
    return rng.integers(0, 1 << trvil.formats[source].significant, (height, width)).astype(trvil.formats[source].dtype)


def tool(*words):
    made = subprocess.run([os.environ["TRVIL_TOOL"], *map(str, words)], capture_output=True, text=True)
    assert made.returncode == 0, made.stderr


def write_settings(folder, sensor, look):
    """As the tool takes them: references as TIFF and PGM, the rest as numbers or text."""
    trvil.write(sensor["dark"], folder / "dark.tif", "Mono16")
    flat = sensor["flat"]
    (folder / "flat.pgm").write_bytes(b"P5\n# even\n%d %d\n65535\n" % flat.shape[::-1] + flat.astype(">u2").tobytes())
    (folder / "defects.txt").write_text("# x y\n" + "".join(f"{x}, {y}\n" for x, y in sensor["defects"]))
    said = {"black": ",".join(map(str, sensor["black"])), "white": sensor["white"], "dark": "dark.tif",
            "flat": "flat.pgm", "defects": "defects.txt", **look}
    if "ccm" in look:
        (folder / "ccm.txt").write_text("# rows\n" + "\n".join(", ".join(map(str, row)) for row in look["ccm"]))
        said["ccm"] = str(folder / "ccm.txt")
    (folder / "settings.json").write_text(json.dumps(said))
    return said


@pytest.mark.skipif("TRVIL_TOOL" not in os.environ, reason="no tool beside the module")
@pytest.mark.parametrize("source,width,look,to", [
    ("BAY12", 37, LOOK, "BGR24"), ("BAY10", 64, {**LOOK, "curve": "gamma:1.8", "method": "ave"}, "RGB48"),
    ("BAY8_C", 33, {"wb": (2, 1, 1.5)}, "BGR24"), ("Mono16", 31, {"curve": "srgb"}, "Mono8")])
def test_equals_what_the_tool_develops(tmp_path, source, width, look, to):
    bits = trvil.formats[source].significant
    if bits == 8:
        known = {"black": (3,), "white": 250}
        (tmp_path / "settings.json").write_text(json.dumps({"black": 3, "white": "250", "wb": "2,1,1.5"}))
    else:
        known = sensor(22, width, bits)
        write_settings(tmp_path, known, look)
    mosaic = trvil.formats[source].family == "bayer"
    phase = {"phase": "GBRG"} if mosaic else {}
    array = samples_of(source, 22, width)
    array.tofile(tmp_path / "in.raw")
    tool("convert", "-s", f"{width}x22", "-f", source, "-t", to, "--settings", tmp_path / "settings.json",
         *(f"--{key}={value}" for key, value in phase.items()), tmp_path / "in.raw", "-o", tmp_path / "out.raw")
    settings = trvil.Settings.read(tmp_path / "settings.json")
    assert settings == trvil.Settings(**known, **look)
    made = trvil.develop(array, source, settings, to, **phase)
    np.testing.assert_array_equal(made.ravel(), np.fromfile(tmp_path / "out.raw", made.dtype))


@pytest.mark.skipif("TRVIL_TOOL" not in os.environ, reason="no tool beside the module")
def test_a_dark_dump_is_black_as_the_tool_takes_it(tmp_path):
    """Without a black level that is said, the dark picture's mean; bare dumps are packed as the source is."""
    packing = trvil.packings["12p"]
    sent, dark = (rng.integers(0, high, (8, packing.line_bytes(30)), np.uint8) for high in (256, 12))
    dark.tofile(tmp_path / "dark.raw"), sent.tofile(tmp_path / "in.raw")
    (tmp_path / "s.json").write_text('{"dark": "dark.raw", "white": 4000}')
    tool("convert", "-s", "30x8", "-f", "BayerBG12p", "-t", "RGB48", "--settings",
         tmp_path / "s.json", tmp_path / "in.raw", "-o", tmp_path / "out.raw")
    with pytest.raises(ValueError, match=r"dark.raw is no picture that tells its size; if it is a dump, say size="):
        trvil.Settings.read(tmp_path / "s.json")
    settings = trvil.Settings.read(tmp_path / "s.json", size=(30, 8), format="BAY12", packing="12p")
    made = trvil.develop(sent, "BAY12", settings, packing="12p", phase="BGGR", width=30)
    np.testing.assert_array_equal(made.ravel(), np.fromfile(tmp_path / "out.raw", made.dtype))


def test_memory_and_threads_do_not_matter():
    """Guard pages, lines apart, shared memory, pools: of words, packed formats and packings."""
    kinds = [(name, None) for name in ("BAY8", "BAY14", "BAY10P_B", "Mono12", "Mono12P", "Mono8")]
    kinds += [("BAY12_D", "12Packed"), ("Mono10", "RAW10"), ("BAY10", "10p")]
    pool = trvil.Pool(3)
    for source, packing in kinds:
        for width in (37, 64):
            format = trvil.formats[source]
            layout = trvil.packings[packing] if packing else format
            mosaic = format.family == "bayer"
            shape = (40, layout.line_bytes(width)) if layout.packed else (40, width)
            array = before_a_forbidden_page(shape, layout.dtype)
            array[...] = rng.integers(0, 1 << (8 if layout.packed else format.significant), shape)
            settings = trvil.Settings(**sensor(40, width, format.significant), **(LOOK if mosaic else {"curve": 2.2}))
            arguments = {"packing": packing, "width": width}
            expected = trvil.develop(array, source, settings, **arguments)
            to = "BGR48" if mosaic else "Mono16"
            canvas = np.full((42, width + 9) + expected.shape[2:], 77, np.uint16)
            out = canvas[1:-1, 4:-5]
            assert trvil.develop(array, source, settings, to, out=out, pool=pool, **arguments) is out
            np.testing.assert_array_equal(out[..., ::-1] if mosaic else out, expected)
            out[...] = 77
            assert (canvas == 77).all()
            upper = trvil.develop(array, source, settings, "RGB24" if mosaic else "Mono8", pool=pool, **arguments)
            np.testing.assert_array_equal(upper, expected >> 8)
    words = samples_of("Mono16", 6, 16)
    expected = trvil.develop(words, "Mono16", trvil.Settings(curve="srgb"))
    assert trvil.develop(words, "Mono16", trvil.Settings(curve="srgb"), out=words) is words
    np.testing.assert_array_equal(words, expected)


def test_settings_serve_threads_and_kinds_and_travel():
    settings = trvil.Settings(**sensor(16, 24, 10), **LOOK)
    pictures = [samples_of("BAY10", 16, 24) for _ in range(8)]
    expected = [trvil.develop(p, "BAY10", settings) for p in pictures]
    recipe = trvil.Recipe(settings, "BAY10", 24, 16)
    again, copy = pickle.loads(pickle.dumps(settings)), pickle.loads(pickle.dumps(recipe))
    assert again == settings == trvil.Settings.from_dict(settings.to_dict()) and copy == recipe != settings
    assert len({settings, again}) == 1 and settings != trvil.Settings(**sensor(16, 24, 10))
    problems = []

    def use(mine):
        for turn in range(30):
            for picture, wanted in zip(pictures, expected):
                phase = "ABCD"[turn % 4]
                made = [mine.develop(picture), trvil.develop(picture, "BAY10", settings),
                        trvil.develop(picture, "BAY10", again, phase=phase)]
                if (made[0] != wanted).any() or (made[1] != wanted).any() or (phase != "A") == (made[2] == wanted).all():
                    problems.append(turn)

    threads = [threading.Thread(target=use, args=(r,)) for r in (recipe, copy, recipe)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not problems
    for array in (settings.dark, again.flat, settings.defects):
        with pytest.raises(ValueError, match="read-only"):
            array[0] = 1


GREY, MOSAIC = np.zeros((4, 8), np.uint16), ("BAY10", np.zeros((4, 8), np.uint16))


@pytest.mark.parametrize("values,words", [
    ({"blakc": 1}, "no setting is called blakc; is it black"), ({"black": (1, 2)}, "black is 1 or 4 numbers"),
    ({"white": 1.5}, "sample values from 0 to 65535"), ({"black": 70000}, "sample values"),
    ({"dark": np.zeros((2, 2))}, r"an array \(height, width\) of uint8 or uint16, not float64"),
    ({"defects": [(1.5, 2)]}, "pairs"), ({"defects": [(-1, 2)]}, "pairs"), ({"wb": "point:1,2"}, "the tool measures"),
    ({"wb": (1, float("nan"), 1)}, "wb is 1 or 3 numbers"), ({"ccm": range(8)}, "ccm is 9 numbers"),
    ({"curve": "gamma:20"}, "0.1 to 10"), ({"curve": "sRGB"}, "a curve is"), ({"method": "mean"}, "no demosaic method"),
])
def test_settings_without_sense_are_named(values, words):
    with pytest.raises(ValueError, match=words):
        trvil.Settings.from_dict(values)


@pytest.mark.parametrize("values,source,words,status", [
    ({"black": 1000, "white": 900}, "BAY10", "a black level is not below white", 8),
    ({"white": 1024}, "BAY10", "white is above what a sample can be", 8),
    ({"dark": GREY[:2]}, "BAY10", "another size than the source", 8),
    ({"defects": [(8, 0)]}, "BAY10", "a defect lies outside the picture", 8),
    ({"wb": -1}, "BAY10", "a gain is not above 0", 8), ({"ccm": [1] * 9}, "BAY10", "the matrix is singular", 8),
    ({"wb": (1, 2, 1)}, "Mono10", "grey has one gain", 10), ({"ccm": MATRIX}, "Mono10", "grey has no colours for a matrix", 10),
    ({}, "RGB16", "only mosaics and grey", 10)])
def test_the_library_says_why_settings_do_not_suit(values, source, words, status):
    with pytest.raises(trvil.Error, match=f"(?s)not developed by Settings.*why: .*{words}") as caught:
        trvil.develop(GREY, source, trvil.Settings(**values))
    assert caught.value.status == status


@pytest.mark.filterwarnings("ignore")  # Pillow's, of what it does not read
def test_refusals_leave_the_picture_alone(tmp_path):
    out = np.full((4, 8), 9, np.uint8)
    with pytest.raises(trvil.Error, match="BAY10 is not developed to Mono8\nwhy: mosaics are developed to RGB48"):
        trvil.develop(GREY, "BAY10", trvil.Settings(), "Mono8", out=out)
    assert (out == 9).all()
    with pytest.raises(TypeError, match="settings are trvil.Settings, not dict"):
        trvil.develop(GREY, "BAY10", {"black": 64})
    with pytest.raises(ValueError, match="samples of dark go up to 4000, those of BAY10 to 1023"):
        trvil.develop(GREY, "BAY10", trvil.Settings(dark=np.full((4, 8), 4000, np.uint16)))
    with pytest.raises(ValueError, match="the recipe is for 8 x 5 pixels, not 8 x 4"):
        trvil.Recipe(trvil.Settings(), "BAY10", 8, 5).develop(GREY)
    for content, words in (("[1]", "its JSON is no object"), ("{", "is no file of settings"),
                           ('{"defects": "d.txt"}', 'line 2 of .*d.txt, "1 2 3", is no x and y'),
                           ('{"ccm": "d.txt"}', "does not hold nine numbers"),
                           ('{"dark": "cut.pgm"}', "cut.pgm is a PGM file that is cut off"),
                           ('{"dark": "cut.tif"}', "cut.tif")):
        (tmp_path / "s.json").write_text(content)
        (tmp_path / "d.txt").write_text("1 2\n1 2 3\n")
        (tmp_path / "cut.pgm").write_bytes(b"P5 4 4 255\n123")
        (tmp_path / "cut.tif").write_bytes(b"MM\0*\0\0\0\x08\0\x09")
        with pytest.raises((ValueError, OSError), match=words):
            trvil.Settings.read(tmp_path / "s.json")
