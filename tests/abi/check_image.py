#!/usr/bin/env python3
"""What the image rooms ask of the C library: files and blocks, never memory, locks or threads.

flockfile holds the lock of a stream that the TIFF writer itself has opened.
"""
import subprocess
import sys

ALLOWED = set("""
    TBL_BufferParameterGet fopen fclose fputc putc_unlocked fwrite fseek ftell flockfile funlockfile ferror_unlocked
    clearerr_unlocked fileno write __errno_location
    __overflow memmove memcpy memset __memcpy_chk __memmove_chk __stack_chk_fail _GLOBAL_OFFSET_TABLE_
""".split())

lines = subprocess.run(["nm", "--undefined-only", *sys.argv[1:]], check=True, capture_output=True,
                       text=True).stdout.splitlines()
asked = {line.split()[-1] for line in lines if line.startswith(" ")}
foreign = {name for name in asked - ALLOWED if "3trv" not in name and not name.startswith("TIL_")}
print("\n".join(sorted(foreign)))
sys.exit(bool(foreign))
