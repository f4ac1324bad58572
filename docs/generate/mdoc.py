"""Writes text in mdoc, the language of manual pages."""
import os
import re
import time

import headers

MACROS = {"function": "Fn", "record": "Vt", "callback": "Vt", "macro": "Dv", "code": "Li",
          "argument": "Fa"}
MANUALS = {"formats": "trvil-formats 5", "layouts": "trvil-formats 5"}


def escaped(text):
    text = text.replace("\\", "\\e").replace('"', "\\(dq")
    return re.sub(r"^(['.])", r"\\&\1", text)


def sentences(text):
    """mdoc begins every sentence on a line of its own."""
    parts = re.split(r"(?<=[\w)\"][.!?]) +(?=[A-Z\"])", text.strip())
    return [escaped(part) for part in parts if part]


def request_line(macro, words, behind):
    """`.Fa words` with the punctuation that follows it; and what is left of `behind`."""
    found = re.match(r"[.,;:)]+", behind)
    closing = " ".join(found.group()) if found else ""
    rest = behind[len(found.group()):] if found else behind
    glued = None if found else re.match(r"['\w-]\S*", rest)
    if glued:
        closing, rest = "Ns " + escaped(glued.group()), rest[glued.end():]
    return f".{macro} {escaped(words)} {closing}".rstrip(), rest


def date():
    now = time.gmtime(int(os.environ.get("SOURCE_DATE_EPOCH", time.time())))
    return time.strftime("%B ", now) + time.strftime("%d, %Y", now).lstrip("0")


class Text:
    def __init__(self, marks):
        self.marks = marks
        self.lines = []

    def put(self, *lines):
        self.lines += lines

    def paragraph(self):
        if not re.match(r"\.(Ss|Sh|Pp)", self.lines[-1]):
            self.put(".Pp")

    def words(self, text):
        """Text with its macros, each on a line of its own."""
        behind = ""
        spans = self.marks.spans(text)
        for i, (kind, words) in enumerate(spans):
            if kind == "words":
                self.put(*sentences(behind if i else words))
                continue
            behind = spans[i + 1][1] if i + 1 < len(spans) else ""
            behind = behind if i + 1 < len(spans) and spans[i + 1][0] == "words" else ""
            line, behind = self.macro(kind, words, behind)
            self.put(line)

    def macro(self, kind, words, behind):
        opening = ""
        if self.lines[-1].endswith("("):
            opening = "( "
            self.lines[-1] = self.lines[-1][:-1].rstrip()
            if not self.lines[-1]:
                self.lines.pop()
        name = MACROS.get(kind)
        if kind == "page":
            name, words = ("Xr", MANUALS[words]) if words in MANUALS else \
                ("Pa", f"docs/{words}.md")
        line, rest = request_line(name, words, behind)
        return re.sub(r"^(\.\w+ )", rf"\1{opening}", line), rest

    def list_of(self, content):
        self.put(".Bl -tag -width TRV_STATUS_PARAMETER -offset indent")
        for term, words in content:
            is_status = term in self.marks.macros
            self.put(f".It {'Dv ' if is_status else ''}{escaped(term)}")
            self.words(words)
        self.put(".El")

    def comment(self, text, starts_paragraph=True):
        for kind, content in headers.blocks(text):
            if kind == "list":
                self.list_of(content)
            elif kind == "code":
                self.put(".Bd -literal -offset indent", *map(escaped, content), ".Ed")
            else:
                if starts_paragraph:
                    self.paragraph()
                self.words(content)
            starts_paragraph = True
