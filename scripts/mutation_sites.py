"""Finds the places of a C++ source where mutation.py can break it, and how."""

import dataclasses
import re

CONDITIONS = {
    "==": "!=", "!=": "==", "<=": "<", ">=": ">", "<": "<=", ">": ">=", "&&": "||", "||": "&&",
    "true": "false", "false": "true",
}
LITERAL = r"(?:L|u8)?\"(?:\\.|[^\"\\\n])*\""
# A statement that can't be exchanged with its neighbour, or whose place means nothing (va_end does
# nothing on this target).
FIXED = re.compile(r"(return|while|va_end|__\w+|break|continue|case|default|using|static_assert|"
                   r"constexpr|static|goto|throw|typedef|public|private|protected)\b")
BLOCK_OPENS_AFTER = re.compile(r"(\)|;|\{|\}|\belse|\bdo|\btry|\bconst|\bnoexcept|\boverride)\s*$")

# The name that a statement declares.
DECLARATION = re.compile(r"(?:const\s+)?[\w:<>*&]+(?:\s+|\s*[*&]\s*)(?:const\s+)?(\w+)\s*[=({]")
# What opens a block in which no statements run.
DECLARES = re.compile(r"\s*(?:template\b.*?>\s*)?(namespace|class|struct|enum|union)\b", re.S)


@dataclasses.dataclass(frozen=True)
class Site:
    kind: str
    line: int
    start: int
    end: int
    old: str
    new: str

    def apply(self, text):
        return text[: self.start] + self.new + text[self.end :]

    def describe(self):
        def short(text):
            flat = " ".join(text.split())
            return flat if len(flat) <= 60 else flat[:57] + "..."

        return f"{self.kind}: {short(self.old)} -> {short(self.new)}"


def masked(text):
    """The text with comments, literals and preprocessor lines blanked, at the same length."""
    pattern = re.compile(
        r"//[^\n]*|/\*.*?\*/|^[ \t]*#(?:\\\n|[^\n])*|" + LITERAL + r"|L?'(?:\\.|[^'\\])+'",
        re.S | re.M)

    def blank(match):
        return re.sub(r"[^\n]", " ", match.group())

    code = re.sub(r"\bstatic_assert\(.*?\);", blank, pattern.sub(blank, text), flags=re.S)
    # What only another compiler reads can't be broken here.
    for branch in re.finditer(r"^#ifdef _MSC_VER\n(.*?)^#(?:else|endif)", text, re.S | re.M):
        start, end = branch.span(1)
        code = code[:start] + re.sub(r"[^\n]", " ", code[start:end]) + code[end:]
    return code


def conditions(text, code):
    operators = r"(?<= )(?:==|!=|<=|>=|<|>|&&|\|\|)(?= )|\btrue\b|\bfalse\b"
    for match in re.finditer(operators, code):
        yield match.start(), match.end(), CONDITIONS[match.group()]
    for match in re.finditer(r"\b(?:if|while) \((?!constexpr)", code):
        end = closing(code, match.end() - 1)
        inner = text[match.end() : end]
        if ";" not in code[match.end() : end]:
            yield match.end(), end, f"!({inner})"


def constants(text, code):
    for match in re.finditer(r"(?<![\w.])(0x[0-9A-Fa-f]+|\d[\d']*)(?=[uUlL]*\b)(?!\.)", code):
        digits = match.group().replace("'", "")
        value = int(digits, 0) + 1
        yield match.start(), match.end(), hex(value) if "x" in digits else str(value)


def texts(text, _):
    # Where the code itself is: no comment, no line of the preprocessor, no message of the compiler.
    ignored = re.compile(
        r"//[^\n]*|^[ \t]*#[^\n]*|\bstatic_assert\(.*?\);|(?P<keep>" + LITERAL + ")",
        re.S | re.M)
    readable = [True] * len(text)
    for match in ignored.finditer(text):
        if match.group("keep") is None:
            readable[match.start() : match.end()] = [False] * len(match.group())
    for match in re.finditer(LITERAL, text):
        if not readable[match.start()] or text.endswith("extern ", 0, match.start()):
            continue
        inner = match.start() + match.group().index('"') + 1
        words = re.sub(r"%[-0-9.]*[a-zA-Z]+|\\.", lambda m: " " * len(m.group()),
                       text[inner : match.end() - 1])
        letters = [index for index, letter in enumerate(words)
                   if letter.isascii() and letter.isalpha()]
        if letters:
            at = inner + letters[len(letters) // 2]
            new = "q" if text[at] != "q" else "k"
            yield match.start(), match.end(), \
                text[match.start() : at] + new + text[at + 1 : match.end()]


def orders(text, code):
    for (first, first_end), (second, second_end) in statement_pairs(code):
        a, b = code[first:first_end], code[second:second_end]
        if FIXED.match(a) or FIXED.match(b) or not calls(a) or not calls(b):
            continue
        declared = DECLARATION.match(a)
        if declared and re.search(rf"\b{declared.group(1)}\b", b):
            continue
        between = text[first_end:second]
        yield first, second_end, text[second:second_end] + between + text[first:first_end]


def calls(statement):
    return re.search(r"\w\(", statement) is not None


def statement_pairs(code):
    """Neighbouring simple statements of one block, as pairs of (start, end)."""
    stack = []
    # paren depth, previous statement or None, start of the present one, whether statements run here
    level = [0, None, 0, False]
    index = 0
    while index < len(code):
        letter = code[index]
        if letter in "([":
            level[0] += 1
        elif letter in ")]":
            level[0] -= 1
        elif letter == "{":
            if level[0] == 0 and not BLOCK_OPENS_AFTER.search(code[level[2] : index] or ";"):
                if not DECLARES.match(code, level[2], index):
                    index = closing(code, index) + 1
                    continue
            stack.append(level)
            level = [0, None, index + 1, not DECLARES.match(code, level[2], index)]
        elif letter == "}":
            level = stack.pop() if stack else [0, None, 0, False]
            if level[0] == 0:
                level[1], level[2] = None, index + 1
        elif letter == ";" and level[0] == 0:
            start = level[2] + len(code[level[2] : index]) - len(code[level[2] : index].lstrip())
            span = (start, index + 1)
            if level[1] and level[3]:
                yield level[1], span
            level[1], level[2] = span, index + 1
        index += 1


def closing(code, index):
    pairs = {"(": ")", "{": "}", "[": "]"}
    opened, closed = code[index], pairs[code[index]]
    depth = 0
    while index < len(code):
        depth += (code[index] == opened) - (code[index] == closed)
        if depth == 0:
            return index
        index += 1
    return len(code)


def find(text):
    code = masked(text)
    sites = []
    for kind, finder in (("condition", conditions), ("constant", constants), ("order", orders),
                         ("text", texts)):
        for start, end, new in finder(text, code):
            line = text.count("\n", 0, start) + 1
            sites.append(Site(kind, line, start, end, text[start:end], new))
    return sites


def shuffled(sites, chance):
    """In an order in which the kinds take turns, however many there are of each."""
    by_kind = {}
    for site in sites:
        by_kind.setdefault(site.kind, []).append(site)
    for group in by_kind.values():
        chance.shuffle(group)
    result = []
    while by_kind:
        kinds = list(by_kind)
        chance.shuffle(kinds)
        for kind in kinds:
            result.append(by_kind[kind].pop())
            if not by_kind[kind]:
                del by_kind[kind]
    return result
