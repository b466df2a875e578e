"""What is changed in a source: one operator, constant, condition or statement at a time.

A light reading of C++ is enough, since the sources are laid out by a program: a binary operator
stands between blanks, a template's bracket does not, and bodies of `if` stand in braces.
"""

import re
from dataclasses import dataclass

# Each operator and what takes its place.
OPERATORS = {
    "<": ["<=", ">="],
    "<=": ["<", ">"],
    ">": [">=", "<="],
    ">=": [">", "<"],
    "==": ["!="],
    "!=": ["=="],
    "+": ["-"],
    "-": ["+"],
    "*": ["/"],
    "/": ["*"],
    "%": ["*"],
    "+=": ["-="],
    "-=": ["+="],
    "&": ["|"],
    "|": ["&"],
    "^": ["&"],
    "<<": [">>"],
    ">>": ["<<"],
    "&&": ["||"],
    "||": ["&&"],
}

BINARY = re.compile(r"(?<= )(<<|>>|<=|>=|==|!=|\+=|-=|&&|\|\||[-<>+*/%&|^])(?= |$)")
STEP = re.compile(r"\+\+|--")
NOT = re.compile(r"!(?=[\w(])")
BOOL = re.compile(r"\b(true|false)\b")
NUMBER = re.compile(r"(?<![\w.])(0x[0-9a-fA-F]+|\d+)([uUlL]*)(?![\w.])")
CONDITION = re.compile(r"\b(?:if|while)(?: constexpr)? (?=\()")

# What begins with a type and a name declares something; without it the rest does not compile.
DECLARATION = re.compile(r"[\w:<>,]+[*&]*(?: const)? +[*&]*(?:const )?\w+(?: =|;|\[|\(|\{)")
NO_STATEMENT = re.compile(
    r"(?:using|class|struct|enum|friend|template|typedef|extern|namespace|return \S|static|constexpr|"
    r"const|inline|auto|virtual|explicit|case|default|public|private|protected|[}~)])|.*\boperator"
)
# The one statement of a body that stands on its function's line.
ONLY_STATEMENT = re.compile(r"(?<=\{ )(?!return )[^{};]+;(?= \})")
JUMP = re.compile(r"(?:throw|break|continue|return;)")


@dataclass(frozen=True)
class Mutant:
    path: str
    number: int  # of its first line, from 1
    line: str  # that line without the blanks around it
    change: str  # in words, as survivors.txt says it
    begin: int  # of what is replaced, in the whole text
    end: int
    text: str  # that takes its place

    @property
    def name(self):
        return f"{self.path}:{self.number}: {self.change}: {self.line}"

    @property
    def key(self):
        return self.path, self.line, self.change

    def apply(self, source):
        return source[: self.begin] + self.text + source[self.end :]


def blanked(source):
    """The source with blanks for what is no code to be changed."""
    parts = re.compile(
        r"//[^\n]*|/\*.*?\*/"
        r'|"(?:\\.|[^"\\\n])*"'
        r"|(?<![0-9a-fA-F])'(?:\\.|[^'\\\n])+'"
        r"|^[ \t]*#[^\n]*"
        r"|\[\[.*?\]\]"
        r"|\bstatic_assert\(.*?\);",
        re.DOTALL | re.MULTILINE,
    )
    return parts.sub(lambda match: re.sub(r"[^\n]", " ", match.group()), source)


def numbers_instead(text):
    octal = re.fullmatch("0[0-7]+", text) is not None
    value = int(text, 8 if octal else 0)
    others = [value + 1] + ([value - 1] if value > 0 else []) + ([0] if value > 1 else [])
    write = hex if text.startswith("0x") else "0{:o}".format if octal else str
    return [write(other) for other in others]


def closing(code, position):
    """Behind the bracket that closes the one at a position, or None."""
    depth = 0
    for i in range(position, len(code)):
        depth += {"(": 1, ")": -1}.get(code[i], 0)
        if depth == 0:
            return i + 1
    return None


def replacements(code):
    """(begin, end, text, change) of everything but statements, in one source."""
    for match in BINARY.finditer(code):
        for other in OPERATORS[match.group()]:
            yield *match.span(), other, f"{match.group()} -> {other}"
    for match in STEP.finditer(code):
        other = "--" if match.group() == "++" else "++"
        yield *match.span(), other, f"{match.group()} -> {other}"
    for match in NOT.finditer(code):
        yield *match.span(), "", "! -> nothing"
    for match in BOOL.finditer(code):
        other = "false" if match.group() == "true" else "true"
        yield *match.span(), other, f"{match.group()} -> {other}"
    for match in NUMBER.finditer(code):
        for other in numbers_instead(match.group(1)):
            yield *match.span(1), other, f"{match.group(1)} -> {other}"
    for match in ONLY_STATEMENT.finditer(code):
        yield *match.span(), ";", "deleted"
    for match in CONDITION.finditer(code):
        end = closing(code, match.end())
        if end is not None:
            inner = code[match.end() : end]
            if ";" not in inner:
                yield match.end(), end, None, "condition negated"


def statements(code):
    """(begin, end) of statements that may be left out."""
    lines = code.split("\n")
    begins = [0]
    for line in lines:
        begins.append(begins[-1] + len(line) + 1)
    before = "{"
    i = 0
    while i < len(lines):
        first = lines[i].strip()
        if not first:
            i += 1
            continue
        last = i
        if before[-1] in ";{}:" and lines[i].startswith("    "):
            while last + 1 < len(lines) and lines[last].strip()[-1:] not in (";", "{", "}", ":"):
                last += 1
        text = " ".join(line.strip() for line in lines[i : last + 1])
        complete = (
            before[-1] in ";{}:"
            and lines[i].startswith("    ")
            and text.endswith(";")
            and text.count("(") == text.count(")")
            and text.count("{") == text.count("}")
        )
        if complete and (
            JUMP.match(text) or not (NO_STATEMENT.match(text) or DECLARATION.match(text))
        ):
            begin = begins[i] + len(lines[i]) - len(lines[i].lstrip())
            yield begin, begins[last] + len(lines[last])
        before = lines[last].strip() or before
        i = last + 1


def mutants_of(path, source):
    """Every mutant of a source, in the order of its text."""
    code = blanked(source)
    found = list(replacements(code)) + [
        (begin, end, ";", "deleted") for begin, end in statements(code)
    ]
    found.sort(key=lambda item: (item[0], item[3]))
    seen = {}
    for begin, end, text, change in found:
        number = source.count("\n", 0, begin) + 1
        occurrence = seen[number, change] = seen.get((number, change), 0) + 1
        if occurrence > 1:
            change += f" ({occurrence})"
        if text is None:
            text = f"(!{source[begin:end]})"
        line = source.split("\n")[number - 1].strip()
        yield Mutant(path, number, line, change, begin, end, text)
