#!/usr/bin/env python3
"""Writes a manual page in mdoc from headers, docs/contracts.toml and a program as example.

usage: manual.py PAGE INCLUDE CONTRACTS PROGRAM FOLDER     PAGE is til, tbl, obl or raw

Beside FOLDER/PAGE.3 it writes a page NAME.3 for each of its functions but the demosaic kernels, which
leads to it.
"""
import pathlib
import re
import sys

import contracts
import headers
import markup
import mdoc
from mdoc import escaped

ALL = ["til.h", "tbl.h", "raw.h", "obl.h", "obl_drv.h", "status.h"]
PAGES = {
    "til": (["til.h"], "image functions of trvil",
            "Image processing of trvil (libtrvilx64.so, \\-ltrvilx64)"),
    "tbl": (["tbl.h"], "buffers of trvil",
            "Buffers of trvil (libtrvblx64.so, \\-ltrvblx64)"),
    "obl": (["obl.h", "obl_drv.h"], "support functions of trvil",
            "Support functions of trvil (libtrvilx64.so, \\-ltrvilx64)"),
    "raw": (["raw.h"], "packings of cameras",
            "Raw library of trvil (libtrvraw.so.0, \\-ltrvraw)"),
}
KERNEL = re.compile(r"TIL_(BAY\w)_to_(\w+)_(dup|ave|med)_([A-D])$")


class Manual(mdoc.Text):
    def __init__(self, page, include, promises):
        everything = [headers.read_header(pathlib.Path(include) / name) for name in ALL]
        super().__init__(markup.Markup(everything))
        names, self.description, self.library = PAGES[page]
        self.page, self.promises = page, promises
        self.headers = [h for h in everything if h.name in names]
        self.statuses = everything[-1]

    def signature(self, item):
        result = re.match(r"(.*?)\s*\b\w+\(", item.text).group(1)
        self.put(f'.Ft "{result}"', f".Fo {item.name}")
        self.put(*(f'.Fa "{text}"' for text, _ in item.parameters), ".Fc")

    def synopsis(self):
        self.put(".Sh SYNOPSIS")
        for header in self.headers:
            self.put(f".In trvil/{header.name}")
            kernels = [i for i in header.items("function") if KERNEL.match(i.name)]
            for item in header.items("function"):
                if item not in kernels:
                    self.signature(item)
            for prefix in ("TIL_BAY8", "TIL_BAYn"):
                self.put(*(line for k in kernels if k.name.startswith(prefix)
                           for line in self.first_of(k, kernels)))

    def first_of(self, kernel, kernels):
        """The signature of a family's first kernel; the others differ in their names."""
        prefix = kernel.name[:8]
        if kernel is not next(k for k in kernels if k.name.startswith(prefix)):
            return []
        start = len(self.lines)
        self.signature(kernel)
        made, self.lines = self.lines[start:], self.lines[:start]
        return made

    def record(self, item):
        self.put(".Bd -literal -offset indent", *map(escaped, item.text.split("\n")), ".Ed")

    def kernels(self, items):
        families = {}
        for item in items:
            source, layout, method, phase = KERNEL.match(item.name).groups()
            methods = families.setdefault((source, layout), {})
            methods.setdefault(method, []).append(phase)
        self.put(".Pp", f"The {len(items)} names, with one phase out of each bracket:",
                 ".Bd -literal -offset indent")
        for (source, layout), methods in families.items():
            for method, phases in methods.items():
                phase = phases[0] if len(phases) == 1 else f"[{''.join(phases)}]"
                self.put(f"TIL_{source}_to_{layout}_{method}_{phase}")
        self.put(".Ed")

    def contract(self, names, contract):
        self.paragraph()
        self.put("Contract of")
        self.put(*(f".Fn {name} ," for name in names[:-1]), f".Fn {names[-1]} :")
        self.put('.Bl -tag -width "Not checked:" -compact -offset indent')
        for name, words in contract.parameters.items():
            self.put(f".It Fa {name}")
            self.words(words)
        for title, words in contract.promises:
            self.put(f".It {title}:")
            self.words(words)
        self.put(".El")

    def functions(self, group):
        is_kernels = KERNEL.match(group.items[0].name)
        if is_kernels:
            self.comment(group.comment)
            self.kernels(group.items)
        else:
            names = [item.name for item in group.items]
            self.paragraph()
            self.put(*(f".Fn {name} ," for name in names[:-1]), f".Fn {names[-1]}")
            self.put(".br")
            self.comment(group.comment, starts_paragraph=False)
        for items, contract in contracts.runs(group.items, self.promises):
            names = [contract.key] if is_kernels else [item.name for item in items]
            self.contract(names, contract)

    def macros(self, group):
        self.comment(group.comment)
        self.put(".Bl -tag -width TBL_PARAMETER_BAYER_METHOD -offset indent -compact")
        for item in group.items:
            self.put(f".It Dv {item.name}" if "(" not in item.name else f".It Li {item.name}")
            self.put(escaped(re.sub(r"^UINT32_C\((\w+)\)$|u$", r"\1", item.text)) +
                     (":" if item.words else ""))
            if item.words:
                self.words(item.words)
        self.put(".El")

    def group(self, group):
        kind = group.items[0].kind if group.items else "prose"
        functions = [item for item in group.items if item.kind == "function"]
        if functions and len(functions) < len(group.items):
            self.functions(headers.Group(group.comment, functions))
            self.macros(headers.Group("", [i for i in group.items if i not in functions]))
        elif kind == "function":
            self.functions(group)
        elif kind == "macro":
            self.macros(group)
        else:
            self.comment(group.comment)
            if kind == "struct":
                self.record(group.items[0])
            if kind == "callback":
                self.put(".Bd -literal -offset indent", escaped(group.items[0].text), ".Ed")

    def description_of_all(self):
        self.put(".Sh DESCRIPTION")
        for number, header in enumerate(self.headers):
            self.comment(header.introduction, starts_paragraph=number != 0)
            for section in header.sections:
                if section.title:
                    self.put(f".Ss {section.title}")
                for group in section.groups:
                    self.group(group)

    def return_values(self):
        self.put(".Sh RETURN VALUES", "Statuses are those of", ".In trvil/status.h :",
                 ".Bl -tag -width TRV_STATUS_PARAMETER -offset indent")
        for section in self.statuses.sections:
            for group in section.groups:
                for item in group.items:
                    value = re.sub(r"UINT32_C\((\w+)\)", r"\1", item.text)
                    self.put(f".It Dv {item.name} No ( {value} )")
                    self.words(group.comment.replace("\n", " "))
        self.put(".El")

    def example(self, program):
        lines = pathlib.Path(program).read_text().split("\n")
        self.put(".Sh EXAMPLES", ".Bd -literal", *map(escaped, lines[:-1]), ".Ed")

    def see_also(self):
        others = [("trvil", 1)] + [(p, 3) for p in sorted(PAGES) if p != self.page]
        others.sort(key=lambda page: (page[1], page[0]))
        self.put(".Sh SEE ALSO", *(f".Xr {name} {section} ," for name, section in others),
                 ".Xr trvil-formats 5")

    def text(self, program):
        names = [i.name for h in self.headers for i in h.items("function")
                 if not KERNEL.match(i.name)]
        self.put(f".Dd {mdoc.date()}", f".Dt {self.page.upper()} 3", ".Os", ".Sh NAME",
                 f".Nm {self.page} ,", *(f".Nm {name} ," for name in names[:-1]),
                 f".Nm {names[-1]}", f".Nd {self.description}", ".Sh LIBRARY", self.library)
        self.synopsis()
        self.description_of_all()
        self.return_values()
        if program:
            self.example(program)
        self.see_also()
        return "\n".join(self.lines) + "\n", names


def main(page, include, contracts_path, program, folder):
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    manual = Manual(page, include, contracts.Contracts(contracts_path))
    text, names = manual.text(program if page in ("til", "tbl") else "")
    (folder / f"{page}.3").write_text(text)
    for name in names:
        (folder / f"{name}.3").write_text(f".so man3/{page}.3\n")


if __name__ == "__main__":
    main(*sys.argv[1:])
