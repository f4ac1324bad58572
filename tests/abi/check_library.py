#!/usr/bin/env python3
"""What a library shows and asks for: names, imports, loading, hardening."""
import re
import subprocess
import sys


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def listed_names(version_script):
    text = open(version_script).read()
    return set(re.findall(r"^\s+(\w+);$", text.split("local:")[0], re.M))


def symbols(library, *options):
    lines = run("nm", "-D", *options, library).splitlines()
    return {line.split()[-1].split("@")[0] for line in lines}


# Instrumented builds load their sanitizer's run-time, and everything it brings along.
SANITIZER = re.compile(r"lib(asan|ubsan|tsan|lsan|m|gcc_s|stdc\+\+|dl|rt|pthread|resolv)\.so")
OPTIONAL = {"_ITM_deregisterTMCloneTable", "_ITM_registerTMCloneTable", "__gmon_start__", "__cxa_finalize"}


def check_loading(library, name, allowed_libraries, instrumented):
    dynamic = run("readelf", "-dW", library)
    assert f"Library soname: [{name}]" in dynamic, "SONAME is not the file name"
    assert "(RUNPATH)" in dynamic and "[$ORIGIN]" in dynamic and "(RPATH)" not in dynamic, dynamic
    needed = set(re.findall(r"Shared library: \[(.+?)\]", dynamic))
    extra = {n for n in needed - allowed_libraries if not (instrumented and SANITIZER.match(n))}
    assert not extra, f"loads {sorted(extra)}"
    assert "BIND_NOW" in dynamic or "NOW" in dynamic, "relocations are not bound at load"


def check_hardening(library):
    headers = run("readelf", "-lW", library)
    assert "GNU_RELRO" in headers, "no RELRO"
    stack = [line for line in headers.splitlines() if "GNU_STACK" in line]
    assert stack and "RWE" not in stack[0], "executable stack"


def main(library, version_script, name, allowed_libraries, allowed_prefix, instrumented):
    exported = symbols(library, "--defined-only")
    listed = listed_names(version_script)
    assert exported == listed, f"not listed: {sorted(exported - listed)}, not exported: {sorted(listed - exported)}"
    check_loading(library, name, set(allowed_libraries.split(",")), instrumented == "1")
    check_hardening(library)
    if instrumented == "1":
        return
    libc = symbols("/lib/x86_64-linux-gnu/libc.so.6", "--defined-only")
    foreign = {s for s in symbols(library, "--undefined-only") - libc - OPTIONAL
               if not re.fullmatch(allowed_prefix, s)}
    assert not foreign, f"imports {sorted(foreign)}"
    cxx = {s for s in symbols(library, "--undefined-only") if s.startswith("_Z")}
    assert not cxx, f"imports C++ run-time {sorted(cxx)}"


main(*sys.argv[1:])
