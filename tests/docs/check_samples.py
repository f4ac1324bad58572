"""Runs the code that a page shows, in the order of the page and in one folder, which has the examples.

usage: check_samples.py PAGE BUILD COMPILER...

Blocks of c and cpp are programs: they are compiled, run, and have to end with 0. Blocks of sh stop at
the first command that fails. Blocks of python are one session, so each may use what stands above. A piece
of a program is fine where a program of docs/examples, which other tests build, has all its lines.
What cannot be run says why in the line above it: "Not run by the tests: REASON". Blocks without a
language are output, drawings, and commands that build, install or measure trvil itself; a call of
the tool in one is a fault. Sessions, with $ in front of commands, have a test of their own.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

tree = pathlib.Path(__file__).resolve().parents[2]
page, build, *compilers = sys.argv[1:]
page, build = pathlib.Path(page), pathlib.Path(build).resolve()
FENCE = re.compile(r"^```([^\n]*)\n(.*?)^```$", re.M | re.S)
EXCUSE = re.compile(r"Not run by the tests: *\S")
COMMAND = re.compile(r"^(build/bin/)?trvil ", re.M)
LANGUAGES = {"c": ("c99", "c"), "cpp": ("c++20", "cpp")}
SHOWN = re.compile(r"|text|console|diff|cmake|json|\{\w+\}.*")


def environment():
    libraries = str(build / "lib")
    return {**os.environ, "PATH": f"{build / 'bin'}:{os.environ['PATH']}", "LC_ALL": "C.UTF-8",
            "LD_LIBRARY_PATH": libraries, "LIBRARY_PATH": libraries,
            "CPATH": str(tree / "include"), "TRVIL_LIBRARY_DIR": libraries,
            "GST_PLUGIN_PATH": str(build / "lib/gstreamer-1.0"),
            "GST_REGISTRY": str(build / "gstreamer-registry"),
            "PYTHONPATH": str(build / "python"), "PYTHONDONTWRITEBYTECODE": "1"}


def run(command, folder):
    done = subprocess.run(command, cwd=folder, env=environment(), text=True, timeout=120,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT)
    return "" if done.returncode == 0 else f"ends with {done.returncode}:\n{done.stdout}"


def compiled(language, code, folder):
    standard, suffix = LANGUAGES[language]
    source = folder / f"sample.{suffix}"
    source.write_text(code)
    compiler = compilers[0 if language == "c" else 1]
    return run([compiler, f"-std={standard}", "-Wall", "-Wextra", "-Werror", source, "-o", "sample",
                "-ltrvilx64", "-ltrvraw", "-ltrvblx64"], folder) or run(["./sample"], folder)


def is_piece(code, folder):
    """Whether the lines, but for their comments, stand in a program that other tests build."""
    wanted = [line.partition("//")[0].strip() for line in code.split("\n")]
    return any(all(line in program.read_text() for line in wanted)
               for program in folder.glob("*.c*"))


def judge(language, code, folder):
    if language in LANGUAGES and "main(" not in code and is_piece(code, tree / "docs/examples"):
        return ""
    if language in LANGUAGES:
        return compiled(language, code, folder)
    if language == "sh":
        return run(["sh", "-eu", "-c", code], folder)
    if not SHOWN.fullmatch(language):
        return "is of a language that nobody runs"
    if language != "console" and COMMAND.search(code):
        return "calls trvil: say ```sh, and see that it can be run"
    return ""


def main():
    text, session, ran, excused, faults = page.read_text(), "", 0, 0, []
    with tempfile.TemporaryDirectory() as name:
        shutil.copytree(tree / "docs/examples", name, dirs_exist_ok=True)
        for found in FENCE.finditer(text):
            language, code = found.groups()
            before = text[:found.start()].rstrip().rsplit("\n", 1)[-1]
            if EXCUSE.search(before):
                excused += 1
                continue
            line = text[:found.start()].count("\n") + 1
            ran += language in (*LANGUAGES, "sh", "python")
            if language == "python":  # with the lines of the page, for messages
                session += "\n" * (line - session.count("\n")) + code
                continue
            fault = judge(language.strip(), code, pathlib.Path(name))
            if fault:
                faults.append(f"{page}:{line}: the block {fault}")
        fault = run(["/usr/bin/python3", "-c", session], name) if session else ""
        if fault:
            faults.append(f"{page}: the session in Python {fault}")
    print(f"{page.name}: {ran} blocks run, {excused} excused")
    sys.exit("\n".join(faults) or 0)


main()
