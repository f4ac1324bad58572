#!/usr/bin/env python3
"""Prints trvil/_constants.py, made from the C headers so that nothing is typed twice.

generate_constants.py INCLUDE_FOLDER VERSION LIBRARY_FOLDER
"""
import re
import sys
from pathlib import Path

ROW = re.compile(r"^TRV_FORMAT\((0x\w+), (\w+),\s*(\d+),\s*(\d+),\s*(\w+),\s*(\d+), (\w+),\s*(\w+),\s*(.*)\)$", re.M)
FIELD = re.compile(r"\{(\w), (\d+), (\d+)\}")
NUMBER = re.compile(r"^#define ((?:TRV_STATUS|TBL|TBS|TIL|TRW)_\w+)\s+(?:\\\s+)?(?:UINT32_C\()?(\w+?)u?\)?\s", re.M)


def formats(folder):
    for code, name, stored, significant, family, group, phase, order, fields in ROW.findall(
            (folder / "formats.inc").read_text()):
        channels = tuple((channel, int(bit), int(bits)) for channel, bit, bits in FIELD.findall(fields))
        yield (name, int(code, 16), int(stored), int(significant), family, int(group),
               None if phase == "none" else phase, order, channels)


def numbers(folder):
    for header in ("status.h", "tbl.h", "til.h", "raw.h"):
        for name, value in NUMBER.findall((folder / header).read_text()):
            yield name, int(value, 0)


def main(include, version, library_folder):
    folder = Path(include) / "trvil"
    prefix = re.search(r"define TBL_FORMAT\(name\) \(UINT32_C\((0x\w+)\)", (folder / "tbl.h").read_text())
    print('"""Numbers of the C headers. Made by generate_constants.py; not to be edited."""')
    print("from typing import Optional, Tuple")
    print()
    print(f"VERSION = {version!r}")
    print(f"LIBRARY_FOLDER = {library_folder!r}")
    print(f"FORMAT_PREFIX = {prefix.group(1)}")
    for name, value in numbers(folder):
        print(f"{name} = {value:#x}")
    print("# name, code, bits stored, significant bits, family, pixels of a group, phase, bit order, fields")
    print("FORMATS: Tuple[Tuple[str, int, int, int, str, int, Optional[str], str, Tuple[Tuple[str, int, int], ...]],"
          " ...] = (")
    for row in formats(folder):
        print(f"    {row!r},")
    print(")")


main(*sys.argv[1:])
