#!/usr/bin/env python3
"""Writes the reference pages of the site from the headers and docs/contracts.toml.

usage: reference.py INCLUDE CONTRACTS FOLDER
"""
import pathlib
import re
import sys

import contracts
import headers
import markup

TITLES = {
    "til.h": "Pictures: til.h",
    "tbl.h": "Buffers: tbl.h",
    "raw.h": "Packings: raw.h",
    "obl.h": "Support: obl.h",
    "obl_drv.h": "Operating system: obl_drv.h",
    "status.h": "Statuses: status.h",
}
ROLES = {"function": ":c:func:`{}`", "record": ":c:struct:`{}`", "callback": ":c:type:`{}`",
         "macro": ":c:macro:`{}`", "code": "``{}``", "argument": "``{}``",
         "page": ":doc:`/{0}`"}
MANY = 12  # as many signatures stand behind the text, not in front of it


def indented(lines, by=3):
    return [" " * by + line if line else "" for line in lines]


class Page:
    def __init__(self, header, marks, promises):
        self.header, self.marks, self.promises = header, marks, promises
        self.lines = []

    def inline(self, text):
        made = ""
        for kind, words in self.marks.spans(text):
            if kind == "words":
                made += re.sub(r"([*`|\\]|_(?=\W|$))", r"\\\1", words)
                continue
            glue = "\\ " if made and (made[-1].isalnum() or made[-1] in ",") else ""
            made += glue + ROLES[kind].format(words) + "\\ "
        return re.sub(r"\\ (?=[\s.,;:)\]]|$)", "", made)

    def comment(self, text):
        lines = []
        for kind, content in headers.blocks(text):
            if kind == "text":
                lines += [self.inline(content), ""]
                continue
            if kind == "code":
                lines += ["::", "", *indented(content), ""]
                continue
            lines += [".. list-table::", "   :class: statuses", ""]
            for term, words in content:
                lines += [f"   * - {self.inline(term)}", f"     - {self.inline(words)}"]
            lines.append("")
        return lines

    def title(self, text, under):
        self.lines += [text, under * len(text), ""]

    def contract(self, items, contract, is_alone):
        lines = []
        if not is_alone:
            names = [f":c:func:`{item.name}`" for item in items]
            lines += [", ".join(names), ""]
        lines += [f":param {name}: {self.inline(words)}"
                  for name, words in contract.parameters.items()]
        lines += [f":{title}: {self.inline(words)}" for title, words in contract.promises]
        return lines + [""]

    def functions(self, group):
        comment = self.comment(group.comment)
        if len(group.items) >= MANY:
            self.lines += comment
            comment = []
        runs = contracts.runs(group.items, self.promises)
        if len(group.items) >= MANY:
            for items, contract in runs:
                self.directive("function", [i.text for i in items],
                               self.contract(items, contract, True))
            return
        body = comment
        for items, contract in runs:
            body += self.contract(items, contract, len(runs) == 1)
        self.directive("function", [i.text for i in group.items], body)

    def directive(self, kind, signatures, body):
        first, *rest = signatures
        self.lines += [f".. c:{kind}:: {first}", *indented(rest, len(f".. c:{kind}:: ")), ""]
        self.lines += [*indented(body), ""]

    def macros(self, group):
        self.lines += self.comment(group.comment) if len(group.items) > 1 else []
        for item in group.items:
            value = re.sub(r"^UINT32_C\((\w+)\)$|(?<=[0-9A-F])u$", r"\1", item.text)
            words = [f"Value ``{value}``" + (f": {self.inline(item.words)}" if item.words
                                                 else ".")]
            if len(group.items) == 1:
                words += ["", *self.comment(group.comment)]
            self.directive("macro", [item.name], words)

    def record(self, item, comment):
        body = self.comment(comment)
        for member, words in item.members:
            body += [f".. c:member:: {member}", "", f"   {self.inline(words)}", ""]
        self.directive("struct", [item.name], body)

    def enumeration(self, item, comment):
        page = "formats" if item.name.startswith("TBL") else "raw"
        self.lines += [*self.comment(comment), f":doc:`All codes </{page}>`", ""]

    def group(self, group):
        kinds = {item.kind for item in group.items}
        if kinds == {"function", "macro"}:
            for kind in ("function", "macro"):
                items = [item for item in group.items if item.kind == kind]
                self.group(headers.Group(group.comment if kind == "function" else "", items))
        elif not group.items:
            self.lines += self.comment(group.comment)
        elif kinds == {"function"}:
            self.functions(group)
        elif kinds == {"macro"}:
            self.macros(group)
        elif kinds == {"struct"}:
            self.record(group.items[0], group.comment)
        elif kinds == {"enum"}:
            self.enumeration(group.items[0], group.comment)
        else:
            text = re.sub(r"^typedef |;$", "", group.items[0].text)
            self.directive("type", [text], self.comment(group.comment))

    def text(self):
        self.title(TITLES[self.header.name], "=")
        self.lines += [".. code-block:: c", "",
                       f"   #include <trvil/{self.header.name}>", ""]
        self.lines += self.comment(self.header.introduction)
        for section in self.header.sections:
            if section.title:
                self.title(section.title, "-")
            for group in section.groups:
                self.group(group)
        return "\n".join(self.lines) + "\n"


def main(include, contracts_path, folder):
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    all_headers = [headers.read_header(pathlib.Path(include) / name) for name in TITLES]
    marks = markup.Markup(all_headers)
    promises = contracts.Contracts(contracts_path)
    for header in all_headers:
        name = header.name.replace(".h", ".rst")
        (folder / name).write_text(Page(header, marks, promises).text())


if __name__ == "__main__":
    main(*sys.argv[1:])
