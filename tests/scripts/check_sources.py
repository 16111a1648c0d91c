#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
"""check_sources.py: what every source file keeps to, and clang-tidy has no check for.

- Two SPDX lines head the file.
- An include of ours names the path from one of the include directories: not "../Other.h", and not a
  sibling by its bare name.
- Members have no prefix "m_".
- In a source, literals are written u"..."_s and "..."_L1, not QStringLiteral("...") and
  QLatin1String("..."). A header has no using directive for that.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDERS = ("src", "client", "tests", "bench", "scripts", "cmake", "packaging", ".ci")
CODE = (".h", ".cpp", ".mm")
SCRIPTS = (".py", ".sh", ".cmake", ".txt")
# Apple's headers, under the names that Apple gives them.
PLAYED_FOR_APPLE = ("tests/mac_standins/declarations", "tests/mac_standins/darwin",
                    "tests/mac_standins/linux")
INCLUDE_DIRECTORIES = ("src", "client", "tests", "bench", "tests/mac_standins")
SPDX = [re.compile(r"SPDX-FileCopyrightText: \d{4} The VornaServer developers$"),
        re.compile(r"SPDX-License-Identifier: MIT$")]
COMMENT_OR_TEXT = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'',
                             re.DOTALL)
FORBIDDEN = [(re.compile(r"\bm_\w+"), "a member with a prefix")]
FORBIDDEN_IN_SOURCES = [
    (re.compile(r'\bQStringLiteral\(""\)'), 'write u"..."_s'),
    (re.compile(r'\bQLatin1String(View)?[({]""[)}]'), 'write "..."_L1'),
]


def without_comments_and_texts(code):
    """The code with comments emptied and literals empty, line by line as before."""
    def emptied(match):
        if match[0][0] == '"':
            return '""'
        return "\n" * match[0].count("\n")
    return COMMENT_OR_TEXT.sub(emptied, code)


def is_headed(text):
    """True if the SPDX lines are the first lines behind a first line for the shell."""
    lines = text.splitlines()
    if lines and (lines[0].startswith("#!") or lines[0].startswith("# shellcheck ")):
        lines = lines[1:]
    return len(lines) >= 2 and all(rule.search(line) for rule, line in zip(SPDX, lines))


def faults_of_includes(file, text):
    """The includes in quotes that lead nowhere from every include directory."""
    for number, line in enumerate(text.splitlines(), 1):
        match = re.match(r'\s*#\s*include\s*"([^"]+)"', line)
        if not match or match[1].endswith(".moc"):
            continue
        path = match[1]
        is_rooted = any((ROOT / folder / path).is_file() for folder in INCLUDE_DIRECTORIES)
        if ".." in pathlib.PurePosixPath(path).parts or not is_rooted:
            yield f"{file}:{number}: {path} is not named from an include directory"


def faults_of_code(file, text):
    """The words that are not to be in code."""
    for number, line in enumerate(without_comments_and_texts(text).splitlines(), 1):
        for rule, advice in FORBIDDEN + ([] if file.suffix == ".h" else FORBIDDEN_IN_SOURCES):
            match = rule.search(line)
            if match:
                yield f"{file}:{number}: {match[0]}: {advice}"


def faults_of(path):
    """All faults of a file."""
    file = path.relative_to(ROOT)
    text = path.read_text(encoding="utf-8")
    if not is_headed(text):
        yield f"{file}:1: the SPDX lines are missing"
    if path.suffix in CODE and not file.as_posix().startswith(PLAYED_FOR_APPLE):
        yield from faults_of_includes(file, text)
        yield from faults_of_code(file, text)


def main():
    """Looks at every file."""
    paths = [path for folder in FOLDERS for path in sorted((ROOT / folder).rglob("*"))
             if path.suffix in CODE + SCRIPTS and "corpus" not in path.parts and path.is_file()
             and path.name not in ("imports.txt",)]
    faults = [fault for path in paths for fault in faults_of(path)]
    for fault in faults:
        print(fault)
    print(f"{len(paths)} files, {len(faults)} faults")
    return min(len(faults), 1)


if __name__ == "__main__":
    sys.exit(main())
