"""random_calls.py COUNT SEED [THREADS]: calls with any arguments, right and wrong, on threads and across forks.

What is wrong raises what the documentation names, in words; nothing else happens. To be run under malloc's checks:
test_random.py does it."""
import os
import pickle
import random
import sys
import tempfile
import threading
import time

import numpy as np
import trvil

COUNT, SEED, THREADS = int(sys.argv[1]), int(sys.argv[2]), int(sys.argv[3]) if len(sys.argv) > 3 else 8
EXPECTED = trvil.Error, TypeError, ValueError, OSError
FORMATS, PACKINGS = list(trvil.formats), list(trvil.packings)
JUNK = [None, -1, 0, 3.5, "", "junk", b"junk", [], {}, object(), float("nan"), 1 << 40, True, np.float64(2)]
SHARED = [trvil.Pool(2), trvil.Pool(3)]


class Caller(threading.Thread):
    def __init__(self, number, count, folder):
        super().__init__(daemon=True)
        self.r, self.count, self.folder = random.Random(f"{SEED} {number}"), count, folder
        self.kept, self.problem, self.refused = [], None, 0

    def or_junk(self, value, one_of=100):
        return self.r.choice(JUNK) if self.r.randrange(one_of) == 0 else value

    def size(self):
        return self.r.choice((1, 2, 3, 7, 8, 16, 33, 64)), self.r.choice((1, 2, 5, 8, 31, 40, 64, 64, 128, 130))

    def array(self, layout, height, width):
        """Of the right kind for the most part; in a larger one, read-only, or as something else."""
        r, shape, dtype = self.r, list(layout.shape(height, width)), layout.dtype
        if r.randrange(60) == 0:
            shape[r.randrange(len(shape))] += r.choice((-1, 1, 4))
        if r.randrange(60) == 0:
            dtype = np.dtype(r.choice(("u1", "u2", "u4", ">u2", "i2", "f8", "?")))
        wide = [max(0, n) + extra for n, extra in zip(shape, (r.randrange(2), r.choice((0, 0, 3)), 0))]
        array = np.frombuffer(bytearray(r.randbytes(int(np.prod(wide)) * dtype.itemsize)), dtype).reshape(wide)
        array = array[tuple(slice(n) for n in shape)]
        how = r.randrange(40)
        if how == 0:
            return array[::-1] if array.size else array
        if how == 1:
            array = array[:, ::2]
        if how == 2:
            array.flags.writeable = False
        if how == 3:
            return r.choice((array.tobytes(), bytearray(array.tobytes()), array.ravel()))
        if how == 4 and array.flags.c_contiguous and array.size:
            return memoryview(array)
        return self.or_junk(array)

    def options(self, layout, to, height, width, mosaic=True):
        r, given = self.r, {}
        if r.randrange(3) == 0:
            given["width"] = self.or_junk(width + r.choice((0,) * 12 + (1, -1)))
        if r.randrange(3) == 0 and mosaic:
            given["phase"] = self.or_junk(r.choice(("RGGB", "GRBG", "GBRG", "BGGR", "A", "d")))
        if r.randrange(3) == 0 and to is not None:
            given["out"] = self.array(to, height, width)
        if r.randrange(4) == 0:
            given["pool"] = self.or_junk(r.choice(SHARED))
        return given

    def layouts(self):
        source = trvil.formats[self.r.choice(FORMATS)]
        if self.r.randrange(2):
            source = trvil.formats[self.r.choice([n for n in FORMATS if n.startswith(("BAY", "Mono"))])]
        packing = trvil.packings[self.r.choice(PACKINGS)] if self.r.randrange(3) == 0 else None
        if packing is not None and packing.bits:
            source = trvil.formats[f"{self.r.choice(('BAY', 'Mono'))}{packing.format.significant}"]
        return source, packing

    def convert(self):
        (source, packing), (height, width) = self.layouts(), self.size()
        to = trvil.formats[self.r.choice(FORMATS if self.r.randrange(2) else ["BGR24", "RGB48", "Mono8", "BGRX32"])]
        layout = packing or source
        given = self.options(layout, to, height, width, source.family == "bayer")
        given["method"] = self.or_junk(self.r.choice(("dup", "ave", "med", "gradient")))
        array = self.array(layout, height, width)
        if self.r.randrange(10) == 0 and isinstance(array, np.ndarray):
            given["out"] = array
        trvil.convert(array, self.or_junk(source), self.or_junk(to), packing=self.or_junk(packing), **given)

    def settings(self, height, width, most):
        r, values = self.r, {}
        makers = {"black": lambda: r.choice((0, 5, most // 2, (1, 2, 3, 4))), "white": lambda: r.choice((most, most - 1)),
                  "dark": lambda: np.asarray(self.array(trvil.formats["Mono16"], height, width)) & (most >> r.choice((0, 2))),
                  "flat": lambda: self.array(trvil.formats["Mono8"], height, width),
                  "defects": lambda: [(r.randrange(width), r.randrange(height)) for _ in range(r.randrange(5))],
                  "wb": lambda: r.choice((1.5, (2, 1, 1.5), (1, 0, 1), "1,2,3", (1e9, 1, 1))),
                  "ccm": lambda: [r.uniform(-2.7, 2.7) for _ in range(9)], "curve": lambda: r.choice(("srgb", "none", 2.2, "gamma:0.1")),
                  "method": lambda: r.choice(("dup", "ave", "med", "gradient"))}
        for name, make in makers.items():
            if r.randrange(3) == 0:
                values[name] = self.or_junk(make())
        return trvil.Settings.from_dict(values)

    def develop(self):
        (source, packing), (height, width) = self.layouts(), self.size()
        settings = self.settings(height, width, (1 << min(source.significant, 16)) - 1)
        layout, to = packing or source, self.r.choice(
            ("RGB48", "BGR24", "BGR48") if source.family == "bayer" else ("Mono16", "Mono8"))
        options = self.options(layout, trvil.formats[to], height, width, source.family == "bayer")
        for _ in range(self.r.randrange(3)):
            trvil.develop(self.array(layout, height, width), source, self.or_junk(settings), self.or_junk(to),
                          packing=packing, **options)
        self.kept.append(trvil.Recipe(pickle.loads(pickle.dumps(settings)), source, width, height, packing=packing))
        trvil.develop(self.array(layout, height, width), source, self.kept[-1].settings, packing=packing)

    def unpack(self):
        (height, width), packing = self.size(), trvil.packings[self.r.choice(PACKINGS)]
        options = self.options(packing, packing.format, height, width)
        trvil.unpack(self.array(packing, height, width), self.or_junk(packing),
                     **{name: options[name] for name in ("width", "out") if name in options})

    def field(self):
        (height, width), format = self.size(), trvil.formats[self.r.choice(FORMATS)]
        options = self.options(format, format, 2 * height, width)
        trvil.field_to_frame(self.array(format, height, width), self.or_junk(format),
                             method=self.or_junk(self.r.choice(("dup", "ave", "bilinear", "median"))),
                             field=self.or_junk(self.r.choice(("odd", "even"))),
                             **{name: options[name] for name in ("width", "out") if name in options})

    def handles(self):
        (height, width), format = self.size(), trvil.formats[self.r.choice(FORMATS)]
        buffer = trvil.wrap(self.array(format, height, width), format)
        self.kept.append(buffer)
        other = self.r.choice([kept for kept in self.kept if isinstance(kept, trvil.Buffer)])
        if self.r.randrange(2):
            self.kept.append(buffer.view(*(self.or_junk(self.r.randrange(12)) for _ in range(4))))
        if self.r.randrange(3) == 0:
            other.close()
        if self.r.randrange(2):
            assert trvil.explain(buffer, other, pool=self.or_junk(None))[1]

    def others(self):
        r = self.r
        names = trvil.find_name(r.choice(("pfnc:", "v4l2:", "")) + "".join(r.choices("BayerRG12pMono\0é", k=r.randrange(20))))
        assert names.why or names.format or names.phase
        trvil.find_code(self.or_junk("pfnc"), self.or_junk(r.getrandbits(32)))
        trvil.plan_route(self.or_junk(r.choice(FORMATS)), self.or_junk(r.choice(FORMATS)), method=self.or_junk("ave"))
        trvil.name_of(self.or_junk("v4l2"), r.choice(FORMATS), packing=self.or_junk(r.choice(PACKINGS)))
        with trvil.Pool(self.or_junk(r.choice((1, 2, 4)))) as pool:
            self.kept.append(pool.threads)
        (height, width), format = self.size(), trvil.formats[r.choice(("Mono8", "BGR24", "BAY12"))]
        trvil.write(self.array(format, height, width), f"{self.folder}/{r.randrange(4)}.{r.choice(('tif', 'raw', 'raw'))}", format)

    def run(self):
        calls = [self.convert] * 6 + [self.develop] * 3 + [self.unpack, self.field, self.handles, self.others]
        try:
            for _ in range(self.count):
                try:
                    self.r.choice(calls)()
                except EXPECTED as refusal:
                    self.refused += 1
                    assert str(refusal), f"{type(refusal).__name__} without a word"
                del self.kept[:-8]
        except BaseException as problem:
            self.problem = problem
            raise


def run_all(count, threads, folder):
    callers = [Caller(number, count // threads, folder) for number in range(threads)]
    for caller in callers:
        caller.start()
    return callers


def in_a_child(folder):
    """Forked while pools work: the child calls by its own thread, with the pools of its parent, and ends."""
    child = os.fork()
    if child == 0:
        caller = Caller(os.getpid(), 30, folder)
        caller.run()
        os._exit(0 if caller.problem is None else 1)
    return child


def wait_for(child):
    for _ in range(6000):
        done, status = os.waitpid(child, os.WNOHANG)
        if done:
            return status
        time.sleep(0.01)
    os.kill(child, 9)
    sys.exit("a forked child hangs")


with tempfile.TemporaryDirectory() as folder:
    callers, children = run_all(COUNT, THREADS, folder), 0
    while any(caller.is_alive() for caller in callers):
        children += 1
        if wait_for(in_a_child(folder)) != 0:
            sys.exit("a forked child failed")
        time.sleep(0.05)
    for caller in callers:
        caller.join()
if any(caller.problem for caller in callers):
    sys.exit(1)
refused = sum(caller.refused for caller in callers)
print(f"{COUNT} calls, {refused} refused, {children} children")
