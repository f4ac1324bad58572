"""What the pages name is there: files and folders, tests, functions and macros."""
import pathlib
import re
import sys

tree = pathlib.Path(__file__).resolve().parents[2]
ROOMS = "image|support|companion|raw|tool|grab|tests|docs|include|scripts|bench|cmake|python|packaging|fuzz"
PATH = re.compile(rf"({ROOMS})/[\w./*-]+")
TEST = re.compile(r"(?:([A-Z]\w+)[./])?([A-Z][a-z]+(?:[A-Z0-9][a-z0-9]*){2,})")
NAME = re.compile(r"\*?((?:TIL|TRV|TRW|TBL|TBS|OBL)_\w+[a-zA-Z0-9])(\(.*\))?")


def text_of(folder, suffixes):
    return "\n".join(path.read_text() for path in sorted((tree / folder).rglob("*"))
                     if path.suffix in suffixes)


tests = set(re.findall(r"\bTEST(?:_[FP])?\(\s*(\w+),\s*(\w+)", text_of("tests", {".cpp"})))
headers = text_of("include", {".h", ".hpp", ".inc"}) + text_of("image", {".h"})
headers += "\n".join(f"TBL_CODE_{n}" for n in re.findall(r"TRV_FORMAT\(0x\w+, (\w+)", headers))


def fault(word):
    if re.fullmatch(PATH, word):
        return None if any(tree.glob(word.rstrip("/"))) else "no such file"
    test, name = re.fullmatch(TEST, word), re.fullmatch(NAME, word)
    if test:
        suite, case = test.groups()
        known = any(case == c and suite in (None, s) for s, c in tests)
        return None if known else "no such test"
    if name and not re.search(rf"\b{name.group(1)}\b", headers):
        return "in no header"
    return None


faults, seen = [], 0
for page in sorted([*tree.glob("docs/*.md"), *tree.glob("docs/site/*.md")]):
    text = re.sub(r"^```.*?^```$", "", page.read_text(), flags=re.M | re.S)
    for word in re.findall(r"`([^`\n]+)`", text):
        seen += 1
        why = fault(word)
        if why:
            faults.append(f"{page.relative_to(tree)}: `{word}`: {why}")
print(f"{seen} words looked at")
sys.exit("\n".join(faults) or 0)
