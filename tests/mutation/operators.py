"""The small changes that mutate.py makes: each yields a line of code as it might have been mistyped."""
import re

SWAPS = {  # whole tokens with blanks around them, as clang-format leaves operators
    "relational": {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">"},
    "logical": {"&&": "||", "||": "&&"},
    "arithmetic": {"+": "-", "-": "+", "*": "+", "/": "*", "%": "/", "+=": "-=", "-=": "+="},
    "bitwise": {"&": "|", "|": "&", "^": "|"},
    "shift direction": {"<<": ">>", ">>": "<<"},
}
WORDS = {"min": "max", "max": "min", "true": "false", "false": "true",
         "green_first": "row_is_red", "above": "below", "below": "above", "left": "right", "right": "left"}
NUMBER = re.compile(r"(?<![\w.'])(0x[0-9A-Fa-f]+|\d+)(?=[uU]?\b)(?![.'])")
TOKEN = re.compile(r"(?<= )([-+*/%&|^]=?|==|!=|<=?|>=?|&&|\|\||<<|>>)(?= )")
STEP = re.compile(r"\+\+|--")
CONDITION = re.compile(r"\b(if|while) \((.*)\)( (?:return|continue|break|\{|[a-z_]+\().*)$")
STATEMENT = re.compile(r"^\s+(?!return|using|const\b|auto\b|static|constexpr|typename|template|case|default|"
                       r"break|continue|struct|class|enum|extern|namespace|public|private|else|friend)"
                       r"[a-z_*+-][\w.>*+()\[\]-]*(?:\(.*\)| (?:[-+|&^]|<<|>>)?= .*|\+\+|--);$")
ARGUMENTS = re.compile(r"(?<=\()(\w+), (\w+)(?=[,)])")
NOT_CODE = re.compile(r"^\s*(//|#|static_assert|namespace|using|template|inline constexpr size_t)|assert\(")


def blanked(line):
    """The line with text and comments blanked out, so that nothing is found there."""
    line = re.sub(r"//.*$", lambda m: " " * len(m[0]), line)
    return re.sub(r"\"(?:\\.|[^\"])*\"|'(?:\\.|[^'])'", lambda m: "_" * len(m[0]), line)


def replaced(line, match, text, group=1):
    return line[:match.start(group)] + text + line[match.end(group):]


def number_changes(line, match):
    value = int(match[1], 0)
    for other in {value + 1, max(value - 1, 0)} - {value}:
        text = hex(other) if match[1].startswith("0x") else str(other)
        before = line[:match.start()].rstrip()
        kind = "shift amount" if before.endswith(("<<", ">>", "<<=", ">>=")) else "constant"
        yield kind, replaced(line, match, text)


def changes(line):
    code = blanked(line)
    for match in TOKEN.finditer(code):
        for kind, swaps in SWAPS.items():
            if match[1] in swaps:
                yield kind, replaced(line, match, swaps[match[1]])
    for match in NUMBER.finditer(code):
        yield from number_changes(line, match)
    for match in re.finditer(r"\b(" + "|".join(WORDS) + r")\b", code):
        yield "word", replaced(line, match, WORDS[match[1]])
    for match in STEP.finditer(code):
        yield "step", replaced(line, match, "--" if match[0] == "++" else "++", 0)
    for match in CONDITION.finditer(code):
        yield "negation", replaced(line, match, f"!({line[match.start(2):match.end(2)]})", 2)
    if STATEMENT.match(code):
        yield "deletion", line[:len(line) - len(line.lstrip())] + ";"
    for match in ARGUMENTS.finditer(code):
        if match[1] != match[2]:
            yield "argument swap", replaced(line, match, f"{match[2]}, {match[1]}", 0)


def candidates(name, text):
    in_comment = False
    for number, line in enumerate(text.split("\n"), 1):
        in_comment = (in_comment or line.lstrip().startswith("/*")) and "*/" not in line
        if in_comment or NOT_CODE.search(line):
            continue
        for operator, after in changes(line):
            yield {"file": name, "line": number, "operator": operator, "before": line, "after": after}
