"""check_sessions.py DOCUMENT TOOL [--update]: the sessions in a document show what the tool prints.

Blocks of ```console hold commands after "$ " and their output, stdout before stderr. They run one after the
other in one folder. "..." as a line stands for any lines. --update writes what was printed."""

import re
import subprocess
import sys
import tempfile
from pathlib import Path


def run(command, tool, folder):
    result = subprocess.run(
        ["bash", "-c", f'trvil() {{ "{tool}" "$@"; }}; {command}'],
        cwd=folder, capture_output=True, text=True, timeout=120)
    return result.stdout + result.stderr


def matches(wanted, found):
    parts = [re.escape(part) for part in re.split(r"^\.\.\.\n", wanted, flags=re.M)]
    return re.fullmatch("(?s:.*)".join(parts), found) is not None


def check_block(block, tool, folder):
    """The block as it should be."""
    result = ""
    for session in re.split(r"^\$ ", block, flags=re.M)[1:]:
        command, _, wanted = session.partition("\n")
        while command.endswith("\\"):
            more, _, wanted = wanted.partition("\n")
            command += "\n" + more
        found = run(command, tool, folder)
        result += f"$ {command}\n" + (wanted if matches(wanted, found) else found)
    return result


def main():
    document, tool = Path(sys.argv[1]), sys.argv[2]
    text = document.read_text()
    with tempfile.TemporaryDirectory() as folder:
        pattern = r"(?<=^```console\n)(.*?)(?=^```$)"
        current = re.sub(pattern, lambda m: check_block(m[1], tool, folder), text, flags=re.M | re.S)
    if current == text:
        return 0
    if "--update" in sys.argv:
        document.write_text(current)
        return 0
    subprocess.run(["diff", "-u", document, "-"], input=current, text=True, check=False)
    return 1


sys.exit(main())
