#!/usr/bin/env python3
"""Objects of the vector levels share no name with another level.

A weak symbol is one the linker keeps a single copy of; if that copy came from the AVX-512 level, an
older processor would meet an illegal instruction in code that looks innocent. The scalar level is
compiled for every processor, so its copies may serve anybody.
"""
import re
import subprocess
import sys

faults = []
for entry in sys.argv[1:]:
    lines = subprocess.run(["nm", "-C", entry], check=True, capture_output=True, text=True).stdout
    for line in lines.splitlines():
        kind, name = line[17:18], line[19:]
        if "_level_scalar." in entry:
            continue
        level = re.search(r"_level_([^\W_]+)\.", entry).group(1)
        # Sanitizer bookkeeping is shared by design and holds no code of ours.
        ours = "trv::" in name
        if ours and (kind in "WVu" or (kind in "TDBR" and f"trv::{level}::" not in name)):
            faults.append(f"{entry}: {line}")
print("\n".join(faults))
sys.exit(bool(faults))
