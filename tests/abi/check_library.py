#!/usr/bin/env python3
"""What a library shows and asks for: names, imports, loading, hardening.

    check_library.py LIBRARY EXPORTS IMPORTS SONAME NEEDED INSTRUMENTED

EXPORTS is the export map, all of whose names have to be there; IMPORTS is a list in the tree, a name a
line. A name that is asked for and not listed fails, so that the list does not grow by accident; `--write`
in place of INSTRUMENTED makes it anew.
"""
import re
import subprocess
import sys


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def listed(path):
    return set(open(path).read().split())


def exported_by(path):
    return set(re.findall(r"^\s+(\w+);", open(path).read(), re.M))


def symbols(library, *options):
    lines = run("nm", "-D", *options, library).splitlines()
    return {line.split()[-1].split("@")[0] for line in lines}


# Instrumented builds load their run-time, and everything it brings along.
RUN_TIME = re.compile(r"lib(asan|ubsan|tsan|lsan|m|gcc_s|stdc\+\+|dl|rt|pthread|resolv)\.so")
# Put there by the compiler's start-up files; weak, and not there in the end.
OPTIONAL = {"_ITM_deregisterTMCloneTable", "_ITM_registerTMCloneTable", "__gmon_start__", "__cxa_finalize"}


def check_loading(library, name, allowed_libraries, instrumented):
    dynamic = run("readelf", "-dW", library)
    assert f"Library soname: [{name}]" in dynamic, "SONAME is not the file name"
    assert "(RUNPATH)" in dynamic and "[$ORIGIN]" in dynamic and "(RPATH)" not in dynamic, dynamic
    needed = set(re.findall(r"Shared library: \[(.+?)\]", dynamic))
    extra = {n for n in needed - allowed_libraries if not (instrumented and RUN_TIME.match(n))}
    assert not extra, f"loads {sorted(extra)}"
    assert "BIND_NOW" in dynamic, "relocations are not bound at load"
    assert "TEXTREL" not in dynamic, "code is written to when loaded"


def check_segments(library):
    headers = run("readelf", "-lW", library)
    assert "GNU_RELRO" in headers, "no RELRO"
    stack = [line for line in headers.splitlines() if "GNU_STACK" in line]
    assert stack and "RWE" not in stack[0], "executable stack"
    assert not re.search(r"LOAD .*RWE", headers), "a segment is writable and executable"
    sections = run("readelf", "-SW", library)
    # With everything bound at load, what the loader fills in lies in .got, which RELRO protects.
    assert ".got.plt" not in sections, "a table of jumps stays writable"


def check_hardening(library):
    imports = symbols(library, "--undefined-only")
    assert "__stack_chk_fail" in imports, "no stack protector"
    asked = {"__vsnprintf_chk"} if "TIL_Convert" in symbols(library, "--defined-only") else set()
    assert asked <= imports, "not fortified"


def check_landing(library):
    """An indirect call may land only on endbr64: exported functions, and addresses that data holds."""
    code = {}
    for line in run("objdump", "-d", "--no-show-raw-insn", library).splitlines():
        if match := re.match(r"\s*([0-9a-f]+):\s+(\S+)", line):
            code[int(match[1], 16)] = match[2]
    entries = {int(line.split()[0], 16) for line in run("nm", "-D", "--defined-only", library).splitlines()
               if line.split()[1] == "T"}
    held = {int(a, 16) for a in re.findall(r"R_X86_64_RELATIVE\s+([0-9a-f]+)", run("readelf", "-rW", library))}
    # The loader's own start and end routines come from the C library's start-up files.
    own = {int(line.split()[0], 16) for line in run("nm", library).splitlines()
           if line.split()[-1] in ("frame_dummy", "__do_global_dtors_aux")}
    missing = [hex(a) for a in (entries | (held & code.keys())) - own if code.get(a) != "endbr64"]
    assert not missing, f"no endbr64 at {missing[:9]}"
    return len(entries), len(held & code.keys())


def compare_names(found, wanted):
    assert found == wanted, f"not in the map {sorted(found - wanted)}, not exported {sorted(wanted - found)}"


def main(library, exports, imports, soname, allowed_libraries, mode):
    exported = symbols(library, "--defined-only")
    asked = symbols(library, "--undefined-only") - OPTIONAL
    if mode == "--write":
        open(imports, "w").write("\n".join(sorted(asked)) + "\n")
        return
    compare_names(exported, exported_by(exports))
    check_loading(library, soname, set(allowed_libraries.split(",")), mode == "1")
    check_segments(library)
    if mode == "1":
        return
    allowed = listed(imports)
    surplus = {name for name in asked - allowed if re.sub("^__(.*)_chk$", r"\1", name) not in allowed}
    assert not surplus, f"asks for {sorted(surplus)}"
    check_hardening(library)
    print("%d exported functions and %d addresses held by data begin with endbr64" % check_landing(library))


main(*sys.argv[1:])
