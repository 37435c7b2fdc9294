"""Where a line of C++ can be made wrong, and how: one small slip at a time."""
import re
from dataclasses import dataclass

# A slip is what stands there and what is put in its place. Blanks around < and > leave templates and includes alone.
SWAPS = [(" == ", " != "), (" != ", " == "), (" < ", " <= "), (" <= ", " < "), (" > ", " >= "), (" >= ", " > "),
         (" && ", " || "), (" || ", " && "), ("return true;", "return false;"), ("return false;", "return true;")]
NEGATION = re.compile(r"(?<![\w)\]!])!(?=[\w(:])")
CONDITION = re.compile(r"\b(?:else )?(?:if|while) \((.+)\)(?: \{)?$")
# A statement of its own that ends on its line, and how the line before a statement ends.
CALL = re.compile(r"^ +((?:[\w\]\[*]|\.|->|::)+\(.*\);)$")
STATEMENT_END = re.compile(r"(?:^|[;{}]|\belse|^ *(?:else )?(?:if|while|for) \(.*\))$")
NUMBER = re.compile(r"(?<![\w.\"'])\d+U?(?![\w.\"'])")
STRING = re.compile(r'"(?:[^"\\]|\\.)*"|\'(?:[^\'\\]|\\.)*\'')
SKIPPED = re.compile(r"^\s*(?://|#|\*|using |namespace |static_assert)")


@dataclass(frozen=True)
class Place:
    file: str  # below the root of the sources
    line: int  # from 1
    column: int
    old: str
    new: str

    def __str__(self):
        return f"{self.file}:{self.line}:{self.column + 1}: {self.old.strip()} -> {self.new.strip() or 'nothing'}"

    def applied(self, text):
        lines = text.split("\n")
        line = lines[self.line - 1]
        assert line[self.column:].startswith(self.old), self
        lines[self.line - 1] = line[:self.column] + self.new + line[self.column + len(self.old):]
        return "\n".join(lines)


def code_of(line):
    """The line with strings blanked and without its comment, each character where it was."""
    return STRING.sub(lambda found: '"' + " " * (len(found[0]) - 2) + '"', line).split("//")[0]


def slips_in(line):
    """(Column, old, new) of each slip that can be made in the line."""
    code = code_of(line)
    for old, new in SWAPS:
        yield from ((found.start(), old, new) for found in re.finditer(re.escape(old), code))
    yield from ((found.start(), "!", "") for found in NEGATION.finditer(code))
    condition = CONDITION.search(code.rstrip())
    # Of a single negated term that has been done already.
    if condition and is_whole(condition[1]) and not re.fullmatch(r"![^&|]*", condition[1]):
        start, end = condition.span(1)
        yield start, line[start:end], f"!({line[start:end]})"
    for found in NUMBER.finditer(code):
        yield found.start(), found[0], f"{int(found[0].rstrip('U')) + 1}" + ("U" if found[0].endswith("U") else "")


def left_out_call(line, previous):
    """As slips_in, where the line is a call whose result nobody takes."""
    call = CALL.match(code_of(line).rstrip())
    if call and is_whole(call[1][:-1]) and STATEMENT_END.search(code_of(previous).rstrip()):
        yield call.start(1), line[call.start(1):call.end(1)], ";"


def is_whole(condition):
    """Not cut off by the end of the line, and no loop's or initialiser's list of statements."""
    depth = 0
    for character in condition:
        depth += {"(": 1, ")": -1}.get(character, 0)
        if depth < 0:
            return False
    return depth == 0 and ";" not in condition


def places_in(name, text):
    lines = text.split("\n")
    for number, (previous, line) in enumerate(zip(["", *lines], lines), 1):
        if SKIPPED.match(line):
            continue
        # An operator at the end of a line is one like any other.
        for column, old, new in [*slips_in(line + " "), *left_out_call(line, previous)]:
            if column + len(old) > len(line):
                old, new = old.rstrip(), new.rstrip()
            yield Place(name, number, column, old, new)
