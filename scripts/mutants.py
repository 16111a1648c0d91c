# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
"""Which faults can be put into a source, and which of them a seed draws."""

import dataclasses
import pathlib
import random
import re

FOLDERS = ["src/net", "src/server", "src/interaction", "src/app", "src/startup", "client/lib"]
# A long table must not take most of the faults: a file counts as if it had at most so many lines.
MOST_LINES = 30

OPERATORS = [
    ("==", "!="), ("!=", "=="), ("<", "<="), ("<=", "<"), (">", ">="), (">=", ">"),
    ("&&", "||"), ("||", "&&"), ("+", "-"), ("-", "+"), ("*", "/"), ("/", "*"),
    ("+=", "-="), ("-=", "+="), ("|", "&"), ("&", "|"), ("|=", "&="), ("&=", "|="),
]
NUMBER = r"(?<![\w.'])(?:0x[\da-fA-F']+|\d[\d']*)"
TEXT = r'"(?:\\.|[^"\\\n])*"'
CHARACTER = r"'(?:\\.|[^'\\\n])'"
NO_CODE = re.compile(rf"//[^\n]*|/\*.*?\*/|^#[^\n]*|{NUMBER}|{TEXT}|{CHARACTER}", re.S | re.M)
CALL = re.compile(
    r"^ +((?:emit )?[A-Za-z_]\w*(?:(?:::|\.|->)\w+|\([^;{}]*?\)(?=\.|->))*\([^;]*?\);)$", re.M)
# A text that only the log shows is promised to nobody.
LOG_ONLY = re.compile(r"\b(?:Messages::debug|qDebug|qInfo|closeConnection)\(")


@dataclasses.dataclass(frozen=True)
class Fault:
    """A stretch of a source that is replaced; positions count from 0, lines from 1."""
    path: str
    line: int
    start: int
    old: str
    new: str

    def applied_to(self, text):
        """The other lines stay where they are."""
        lines = "\n" * (self.old.count("\n") - self.new.count("\n"))
        return text[:self.start] + self.new + lines + text[self.start + len(self.old):]

    def difference(self, text):
        """The change, with the line on which it stands."""
        end = self.start + len(self.old)
        head = text[text.rfind("\n", 0, self.start) + 1:self.start]
        tail = text[end:text.find("\n", end)]
        return "\n".join("   " + sign + " " + " ".join((head + middle + tail).split())
                         for sign, middle in (("-", self.old), ("+", self.new)))


def only_code(text):
    """Of the same length; comments are blank and texts are filled with a letter."""
    def hide(match):
        found = match.group()
        if found[0].isdigit():
            return found
        return re.sub(r"[^\n]", "x" if found[0] in "\"'" else " ", found)
    return NO_CODE.sub(hide, text)


def statement_around(code, position):
    begin = max(code.rfind(end, 0, position) for end in (";\n", "{\n", "}\n"))
    return code[begin + 1:code.find(";", position) + 1]


def is_excluded(code, position):
    statement = statement_around(code, position)
    return "static_assert" in statement or re.search(r"\bvirtual\b.*= 0;", statement, re.S)


def changed_operators(code):
    for old, new in OPERATORS:
        for match in re.finditer(rf"(?<= ){re.escape(old)}(?= )", code):
            yield match.start(), old, new
    for match in re.finditer(r"!(?=[\w(])", code):
        yield match.start(), "!", ""
    for match in re.finditer(r"\+\+|--", code):
        yield match.start(), match.group(), "--" if match.group() == "++" else "++"


def other_number(number):
    """Nobody could see a delay of 10,001 ms instead of 10,000, so a large number doubles."""
    value = int(number.replace("'", ""), 0)
    return str(value + 1 if value < 100 else 2 * value)


def other_text(text):
    if text[0] == "'":
        return "'~'"
    return '"~"' if text == '""' else '""'


def changed_constants(text, code):
    for match in re.finditer(r"\b(?:true|false)\b", code):
        yield match.start(), match.group(), "false" if match.group() == "true" else "true"
    for match in re.finditer(NUMBER, code):
        yield match.start(), match.group(), other_number(match.group())
    for match in NO_CODE.finditer(text):
        old, position = match.group(), match.start()
        if old[0] in "\"'" and not LOG_ONLY.search(statement_around(code, position)):
            yield position, old, other_text(old)


def deleted_calls(text, code):
    for match in CALL.finditer(code):
        yield match.start(1), text[match.start(1):match.end(1)], ";"


def faults_of(path, text):
    """Every fault that can be put into this source."""
    code = only_code(text)
    changes = [*changed_operators(code), *changed_constants(text, code)]
    if not path.endswith(".h"):
        changes += deleted_calls(text, code)
    return [Fault(path, text.count("\n", 0, start) + 1, start, old, new)
            for start, old, new in sorted(changes) if not is_excluded(code, start)]


def one_fault_a_line(path, text, generator):
    by_line = {}
    for fault in faults_of(path, text):
        by_line.setdefault(fault.line, []).append(fault)
    chosen = [generator.choice(faults) for faults in by_line.values()]
    generator.shuffle(chosen)
    return chosen


def drawn(root, seed):
    """All faults in the order in which the seed draws them, at most one for each line."""
    generator = random.Random(seed)
    paths = [path for folder in FOLDERS for path in sorted((root / folder).iterdir())
             if path.suffix in (".cpp", ".h")]
    files = [one_fault_a_line(str(path.relative_to(root)), path.read_text(), generator)
             for path in paths]
    while any(files):
        weights = [min(len(faults), MOST_LINES) for faults in files]
        yield generator.choices(files, weights)[0].pop()
