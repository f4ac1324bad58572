#!/usr/bin/env python3
"""Prints a public header as Doxygen wants it: the house's comments and docs/contracts.toml become
its commands, so that Doxygen checks declarations, parameters and members against what is said.

usage: doxygen_filter.py HEADER
"""
import pathlib
import re
import sys

import contracts
import headers

docs = pathlib.Path(__file__).resolve().parent.parent


def escaped(text):
    return re.sub(r"([\\@<>%#&])", r"\\\1", text)


def commented(text, more=()):
    lines = []
    for kind, content in headers.blocks(text):
        if kind == "text":
            lines.append(escaped(content))
        elif kind == "list":
            lines += [f"- {escaped(term)}: {escaped(words)}" for term, words in content]
        else:
            lines += ["@verbatim", *content, "@endverbatim"]
        lines.append("")
    return "\n".join(["/** " + "\n".join([*lines, *more]).strip(), "*/"])


def function(item, comment, promises):
    more = [f"@param {name} {escaped(words)}"
            for name, words in promises.of(item).parameters.items()]
    if not item.text.startswith("void "):
        more.append("@return as said above")
    return [commented(comment, more), item.text + ";"]


def declaration(item, comment, promises):
    if item.kind == "function":
        return function(item, comment, promises)
    if item.kind == "macro":
        return [commented(f"{comment}\n{item.words}"), f"#define {item.name} {item.text}"]
    if item.kind == "struct":
        return [commented(comment), item.text.replace("/* ", "/**< ")]
    return [commented(comment), item.text] if item.kind == "callback" else []


def main(path):
    header = headers.read_header(path)
    promises = contracts.Contracts(docs / "contracts.toml")
    lines = [commented(header.introduction, ["@file"])]
    for section in header.sections:
        for group in section.groups:
            for item in group.items:
                lines += declaration(item, group.comment, promises)
    print("\n".join(lines))


if __name__ == "__main__":
    main(*sys.argv[1:])
