#!/usr/bin/env python3
"""Corpora as text: fuzz/corpus/NAME.hex holds an input per line, libFuzzer wants a file per input.

corpus.py expand NAME.hex FOLDER    writes the inputs into the folder
corpus.py collect FOLDER NAME.hex   writes the folder's inputs as lines, short ones first
"""
import hashlib
import pathlib
import sys

LINES_KEPT = 250
BYTES_KEPT = 96


def expand(corpus, folder):
    folder.mkdir(parents=True, exist_ok=True)
    for line in corpus.read_text().splitlines():
        data = bytes.fromhex(line)
        (folder / hashlib.sha1(data).hexdigest()).write_bytes(data)


def collect(folder, corpus):
    inputs = {path.read_bytes() for path in folder.iterdir()}
    kept = sorted((i for i in inputs if 0 < len(i) <= BYTES_KEPT), key=lambda i: (len(i), i))
    step = max(1, -(-len(kept) // LINES_KEPT))
    corpus.write_text("".join(i.hex() + "\n" for i in kept[::step]))


if len(sys.argv) != 4 or sys.argv[1] not in ("expand", "collect"):
    sys.exit(__doc__)
(expand if sys.argv[1] == "expand" else collect)(*map(pathlib.Path, sys.argv[2:]))
