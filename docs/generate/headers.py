"""Reads the public headers: which comment explains which declarations.

The headers keep one order. A comment with a blank line behind it is prose of its section; any other
explains the declarations below it, up to the next comment. "---- Title ----" begins a section.
Inside a comment, lines that are indented once more are a list of terms, each with an explanation two
blanks behind it, or are shown as they are.
"""
import dataclasses
import pathlib
import re

TOKEN = re.compile(
    r"(?P<comment>/\*.*?\*/)"
    r"|(?P<directive>^[ \t]*\#(?:\\\n|[^\n])*)"
    r"|(?P<declaration>\b(?:typedef\s+struct\s+\w+\s*\{.*?\n\}\s*\w+|enum\s*\{.*?\n\}"
    r"|(?:TRV_API|typedef)\b[^;]*);)",
    re.S | re.M)
DEFINE = re.compile(r"#define\s+(\w+(?:\(\w+\))?)\s+(.*?)\s*(?:/\*\s*(.*?)\s*\*/)?$", re.S)
MEMBER = re.compile(r"^ {4}(\S.*?);(?:\s*/\*\s*(.*?)\s*\*/)?$", re.M | re.S)
TERM = re.compile(r"  (\S.*?)  +(\S.*)")
NOT_FOR_USERS = re.compile(r"\w+_H$|_POSIX|TRV_EXTERN_C|OBL_PRINTF_FORMAT$|TRV_API$")


@dataclasses.dataclass
class Item:
    """One declaration. `parameters` are (type, name) of a function, `members` (declaration, words)
    of a record; `words` is the comment beside a macro's value."""
    kind: str
    name: str
    text: str
    parameters: list = dataclasses.field(default_factory=list)
    members: list = dataclasses.field(default_factory=list)
    words: str = ""


@dataclasses.dataclass
class Group:
    """A comment and what it explains; without items it is prose."""
    comment: str
    items: list


@dataclasses.dataclass
class Section:
    title: str
    groups: list


@dataclasses.dataclass
class Header:
    name: str
    introduction: str
    sections: list

    def items(self, kind):
        return [item for section in self.sections for group in section.groups
                for item in group.items if item.kind == kind]


def plain(comment):
    """The text of a comment without its frame."""
    first, *rest = comment[2:-2].strip().split("\n")
    rest = [re.sub(r"^ \* ?", "   ", line) for line in rest]
    return "\n".join([first.strip(), *(re.sub(r"^ {1,3}", "", line).rstrip() for line in rest)])


def one_line(text):
    return re.sub(r"\s+", " ", text).strip()


def split_parameters(text):
    """The parameters between a function's parentheses, as (declaration, name)."""
    parts, depth, start = [], 0, 0
    for i, char in enumerate(text + ","):
        depth += (char == "(") - (char == ")")
        if char == "," and depth == 0:
            parts.append(text[start:i].strip())
            start = i + 1
    names = []
    for part in parts:
        pointed = re.search(r"\(\*(\w+)\)", part)
        names.append(pointed.group(1) if pointed else re.search(r"(\w+|\.\.\.)$", part).group(1))
    return [(part, name) for part, name in zip(parts, names) if part != "void"]


def function(text):
    text = re.sub(r"^TRV_API\s+|\s*OBL_PRINTF_FORMAT\([^)]*\)|;$", "", text)
    text = one_line(text)
    name, parameters = re.match(r".*?(\w+)\((.*)\)$", text).groups()
    return Item("function", name, text, split_parameters(parameters))


def record(text):
    name = re.search(r"\}\s*(\w+)\s*;$", text).group(1)
    body = text[text.index("{") + 1:text.rindex("}")]
    members = [(one_line(member), one_line(words)) for member, words in MEMBER.findall(body)]
    return Item("struct", name, text, members=members)


def declaration(text):
    if text.startswith("TRV_API"):
        return function(text)
    if text.startswith("enum"):
        return Item("enum", re.search(r"[A-Z]\w*(?=##name)", text).group(), text)
    if "{" in text:
        return record(text)
    opaque = re.fullmatch(r"typedef struct (\w+) \1;", text)
    if opaque:
        return Item("struct", opaque.group(1), text)
    return Item("callback", re.search(r"\(\*(\w+)\)", text).group(1), one_line(text))


def macro(text):
    found = DEFINE.match(text.strip())
    if not found or NOT_FOR_USERS.search(found.group(1)):
        return None
    name, value, words = found.groups()
    if "\\" in (words or ""):
        raise ValueError(f"the words beside {name} are broken over lines: shorten them")
    return Item("macro", name, value.replace("\\\n", "").strip(), words=words or "")


class Reader:
    def __init__(self, text):
        self.text = text
        self.sections = [Section("", [])]
        self.comment = None
        self.attached = False

    def take_comment(self, found):
        text = plain(found.group())
        title = re.fullmatch(r"---- (.*) ----", text)
        if title:
            self.sections.append(Section(title.group(1), []))
            self.comment = None
            return
        behind = self.text[found.end():]
        self.attached = not re.match(r"[ \t]*\n[ \t]*\n", behind)
        if self.attached and re.match(r"\s*#(?!define)", behind):
            return  # for the preprocessor's readers
        self.comment = Group(text, [])
        self.sections[-1].groups.append(self.comment)

    def take_item(self, item):
        if item is None:  # and what was said about it
            if self.comment and self.attached and not self.comment.items:
                self.sections[-1].groups.remove(self.comment)
                self.comment = None
            return
        if self.comment is None or not (self.attached or self.comment.items):
            raise ValueError(f"{item.name} has no comment")
        self.comment.items.append(item)

    def read(self):
        for found in TOKEN.finditer(self.text):
            if found.lastgroup == "comment":
                self.take_comment(found)
            elif found.lastgroup == "directive":
                self.take_item(macro(found.group()))
            else:
                self.take_item(declaration(found.group()))
        return self.sections


def read_header(path):
    path = pathlib.Path(path)
    text = path.read_text()
    first = re.match(r"/\*.*?\*/", text, re.S)
    sections = Reader(text[first.end():]).read()
    return Header(path.name, plain(first.group()), sections)


def chunks(text):
    """Neighbouring lines that are indented alike, more or not: [(is indented, lines)]."""
    made = []
    for line in text.split("\n"):
        is_indented = line.startswith("  ")
        if not line:
            made.append((None, []))
        elif made and made[-1][0] == is_indented:
            made[-1][1].append(line)
        else:
            made.append((is_indented, [line]))
    return [chunk for chunk in made if chunk[1]]


def terms(lines):
    made = []
    for line in lines:
        term = TERM.match(line)
        if term:
            made.append(term.groups())
        else:
            before, words = made.pop()
            made.append((before, f"{words} {line.strip()}"))
    return made


def blocks(text):
    """A comment's text as ("text", words), ("list", [(term, words)]) and ("code", lines)."""
    made = []
    for is_indented, lines in chunks(text):
        if not is_indented:
            made.append(("text", " ".join(lines)))
        elif TERM.match(lines[0]):
            made.append(("list", terms(lines)))
        else:
            made.append(("code", [line[2:] for line in lines]))
    return made
