"""What cameras send: packings, pools of threads, names and routes."""
import os
import threading

import numpy as np
import pytest
import trvil
from test_convert import before_a_forbidden_page

rng = np.random.default_rng(20261125)


def sent_by(packing, height, width):
    line = packing.line_bytes(width)
    sent = before_a_forbidden_page((height, line), packing.dtype)
    sent[...] = rng.integers(0, 256, sent.shape)
    return sent


def plain_samples(sent, name, width):
    """By the text of the standards, sample after sample."""
    bits = np.unpackbits(sent, axis=1, bitorder="big" if "msb" in name else "little")
    size = {"12p": 12, "10p": 10, "10pmsb": 10}[name]
    order = range(size)[::-1] if "msb" in name else range(size)
    return sum(bits[:, k:width * size:size].astype(np.uint16) << place for k, place in enumerate(order))


@pytest.mark.parametrize("name,width", [("12p", 64), ("12p", 33), ("10p", 22), ("10pmsb", 37)])
def test_samples_are_those_of_the_standard(name, width):
    sent = sent_by(trvil.packings[name], 5, width)
    np.testing.assert_array_equal(trvil.unpack(sent, name, width=width), plain_samples(sent, name, width))


def test_straight_to_the_picture_is_unpacking_first():
    with trvil.Pool(3) as pool:
        for packing in trvil.packings.values():
            yuv = packing.format.name == "YUV422"
            kinds = ["YUV422"] if yuv else [f"Mono{packing.bits}", f"BAY{packing.bits}_C"]
            for samples in kinds:
                for width, method in ((64, "ave"), (37, "med"), (37, "dup")):
                    sent = sent_by(packing, 7, width)
                    to = "BGR24" if samples[0] in "BY" else "Mono8"
                    first = trvil.unpack(sent, packing, width=width)
                    expected = trvil.convert(first, samples, to, method=method)
                    canvas = np.full((9, width + 8) + expected.shape[2:], 99, np.uint8)
                    out = canvas[1:-1, 5:-3]
                    arguments = {"packing": packing, "width": width, "method": method, "out": out}
                    for threads in (None, pool):
                        out[...] = 0
                        assert trvil.convert(sent, samples, to, pool=threads, **arguments) is out
                        np.testing.assert_array_equal(out, expected)
                    out[...] = 99
                    assert (canvas == 99).all(), packing.name


def test_packings_know_how_long_lines_are():
    for packing in trvil.packings.values():
        assert packing.most_pixels(packing.group_bytes * 3) == packing.group * 3
        for width in (1, 24, 25, 33):
            line = packing.line_bytes(width)
            assert packing.most_pixels(line) >= width > packing.most_pixels(line - 1)
    with pytest.raises(ValueError, match="hold up to 2 pixels of 12p, not 3"):
        trvil.unpack(np.zeros((2, 3), np.uint8), "12p", width=3)
    with pytest.raises(ValueError, match="no packing is called '12P'"):
        trvil.unpack(np.zeros((2, 3), np.uint8), "12P")
    with pytest.raises(trvil.Error, match="the settings say BAY10, which samples of 12p are not"):
        trvil.convert(np.zeros((2, 6), np.uint8), "BAY10", "BGR24", packing="12p")


def test_memory_may_be_shared_with_what_is_written():
    memory = rng.integers(0, 256, (8, 96), np.uint8)
    before = memory.copy()
    out = memory.view(np.uint16)[:, :32]
    np.testing.assert_array_equal(trvil.unpack(memory[:, :48], "12p", out=out), trvil.unpack(before[:, :48], "12p"))
    memory[...] = before
    grey = trvil.convert(memory[:, :48], "Mono12", "Mono8", packing="12p", out=memory[:, 16:48])
    np.testing.assert_array_equal(grey, trvil.convert(before[:, :48], "Mono12", "Mono8", packing="12p"))


def test_pools_serve_threads_until_the_last_has_gone():
    sent = rng.integers(0, 256, (300, 960), np.uint8)
    expected = trvil.convert(sent, "BAY12", "BGR24", packing="12p")
    pool, problems = trvil.Pool(2), []

    def use():
        try:
            while True:
                if (trvil.convert(sent, "BAY12", "BGR24", packing="12p", pool=pool) != expected).any():
                    problems.append("another picture")
        except ValueError as error:
            if "the pool is closed" not in str(error):
                problems.append(error)

    threads = [threading.Thread(target=use) for _ in range(4)]
    for thread in threads:
        thread.start()
    child = os.fork()
    if child == 0:
        same = (trvil.convert(sent, "BAY12", "BGR24", packing="12p", pool=pool) == expected).all()
        os._exit(0 if same else 1)
    assert os.waitpid(child, 0)[1] == 0 and pool.threads == 2
    pool.close()
    for thread in threads:
        thread.join()
    assert not problems
    for threads in (-1, 1025, 2.0):
        with pytest.raises(ValueError, match="1 to 1024"):
            trvil.Pool(threads)


def test_explanations_tell_the_steps():
    sent, picture = np.zeros((480, 960), np.uint8), np.zeros((480, 640, 3), np.uint8)
    with trvil.Pool(2) as pool, trvil.wrap(sent, "BAY12", packing="12p", phase="GBRG") as source, \
         trvil.wrap(picture, "BGR24") as destination:
        assert (source.width, source.stride, source.format.name) == (640, 960, "BAY8")
        status, text = trvil.explain(source, destination, packing="12p", pool=pool)
        assert status == 0 and "12p becomes BGR24 by way of BAY12, 640 x 480 pixels, by ave in phase C" in text
        assert "2 threads share" in text


def test_names_lead_there_and_back():
    count = 0
    for name in trvil.names():
        again = trvil.find_name(f"{name.system}:{name.name}")
        assert again == name
        if name.code is not None and name.system in ("pfnc", "v4l2"):
            assert trvil.find_code(name.system, name.code) is not None
        if name.format is not None:
            count += 1
            found = trvil.name_of(name.system, name.format, packing=name.packing, phase=name.phase)
            assert (found.format, found.packing) == (name.format, name.packing)
    assert count > 150
    assert trvil.find_name("BayerRG8").phase == "A" and trvil.find_name("nothing").name is None
    assert "no three conversions" in trvil.plan_route("BAY8", "Mono32").why
    with pytest.raises(ValueError, match="no system is called 'x'"):
        trvil.name_of("x", "BAY8")
