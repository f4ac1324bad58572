"""Which words of a comment are code: arguments, functions, constants, pages."""
import re

WORD = re.compile(
    r'"(?P<quoted>\*?[A-Za-z_]\w*)"'
    r"|(?P<page>docs/(?P<page_name>[\w-]+)\.md)"
    r"|(?P<name>\b(?:TIL|TRV|TRW|TBL|TBS|OBL)_\w+\b(?:\(\w+\)|\.\.\.)?)"
    r"|(?P<pointer>\*[a-z]\w*\b)")


class Markup:
    """Cuts text into (kind, words). `functions` and `arguments` are the names known as such."""

    def __init__(self, headers):
        self.functions = {item.name for h in headers for item in h.items("function")}
        self.records = {item.name for h in headers for item in h.items("struct")}
        self.callbacks = {item.name for h in headers for item in h.items("callback")}
        self.macros = {item.name for h in headers for item in h.items("macro")
                       if "(" not in item.name}
        self.arguments = {name for h in headers for item in h.items("function")
                          for _, name in item.parameters}
        self.arguments |= {re.findall(r"\w+", member)[-1] for h in headers
                           for item in h.items("struct") for member, _ in item.members}
        self.arguments |= {"pfnStart", "pfnCallback"}

    def kind_of_name(self, name):
        for kind, names in [("function", self.functions), ("record", self.records),
                            ("callback", self.callbacks), ("macro", self.macros)]:
            if name in names:
                return kind
        return "code"

    def spans(self, text):
        made, start = [], 0
        for found in WORD.finditer(text):
            kind, words = self.judge(found)
            if kind is None:
                continue
            made += [("words", text[start:found.start()]), (kind, words)]
            start = found.end()
        made.append(("words", text[start:]))
        return [span for span in made if span[1]]

    def judge(self, found):
        if found["quoted"]:
            is_argument = found["quoted"].lstrip("*") in self.arguments
            return ("argument", found["quoted"]) if is_argument else (None, "")
        if found["page"]:
            return "page", found["page_name"]
        if found["name"]:
            return self.kind_of_name(found["name"]), found["name"]
        is_argument = found["pointer"][1:] in self.arguments
        return ("argument", found["pointer"]) if is_argument else (None, "")
