#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
"""Writes compile commands for clang-tidy that compile many small programs as one.

clang-tidy takes seconds for the toolkit's headers and a moment for a source. A test is a program of
one source, so two dozen of them can be looked at together, each in a namespace of its own, but for
those that do not go into a namespace. Other sources of a folder that the build did not unite can be
looked at together as they are.

Usage: unite_for_tidy.py BUILD_FOLDER SOURCE_FOLDER...

Run in the folder of the project. Reads BUILD_FOLDER/compile_commands.json and writes
BUILD_FOLDER/tidy/compile_commands.json, with the sources in SOURCE_FOLDERs and the united sources of
BUILD_FOLDER. What clang-tidy is to look for in a folder is copied to its counterpart.
"""

import collections
import json
import pathlib
import re
import shlex
import shutil
import sys

AT_ONCE = 24
INCLUDE = re.compile(r'^#include (["<].*[">])', re.MULTILINE)
# Definitions of what others declared: of C, of a namespace, of a template, of a class of the toolkit.
STAYS_GLOBAL = re.compile(
    r'^extern "C"|^struct _|^namespace (?!\{)|^template ?<>'
    r"|^\w[\w:<>]* [*&]?((?!tst_)[a-z]\w*|Q[A-Z]\w*)::\w+\(|\bQ_INIT_RESOURCE",
    re.MULTILINE,
)
PROGRAM = re.compile(r"^(int main\(|QTEST_[A-Z_]*MAIN\()", re.MULTILINE)
PATHS = ("-I", "-isystem")


def arguments(entry):
    """Those of the compiler, without the name of the output."""
    words = shlex.split(entry["command"])
    if "-o" in words:
        position = words.index("-o")
        del words[position : position + 2]
    return [word for word in words if word != "-c" and word != entry["file"]]


def options(words):
    """The macros and folders among these arguments, each of them a tuple of words."""
    position = 0
    while position < len(words):
        if words[position] in PATHS:
            yield (words[position], words[position + 1])
            position += 1
        elif words[position].startswith(("-D", "-I")) and "QT_TESTCASE" not in words[position]:
            yield (words[position],)
        position += 1


def text_of_parts(sources):
    return "".join(f'#include "{source}"\n' for source in sources)


def text_of_programs(sources):
    """All of their headers, then each source in a namespace, where these headers are skipped."""
    headers = dict.fromkeys(
        header
        for source in sources
        for header in INCLUDE.findall(source.read_text())
        if not header.endswith('.moc"')
    )
    lines = [f"#include {header}" for header in headers]
    # It specialises a template of the toolkit, which no longer needs it.
    lines += ["#undef Q_DECLARE_METATYPE", "#define Q_DECLARE_METATYPE(type)"]
    for number, source in enumerate(sources, 1):
        lines += [f"namespace source_{number} {{", f'#include "{source}"', "}"]
    return "\n".join(lines) + "\n"


def unite(entries, path, text_of):
    """The entry of one source at the path that stands for these."""
    path.write_text(text_of([pathlib.Path(entry["file"]) for entry in entries]))
    words = arguments(entries[0])
    known = set(options(words))
    for entry in entries:
        own_folder = ("-I", str(pathlib.Path(entry["file"]).parent))
        for option in (*options(arguments(entry)), own_folder):
            if option not in known:
                known.add(option)
                words += option
    return {
        "directory": entries[0]["directory"],
        "arguments": words + ["-c", str(path)],
        "file": str(path),
    }


def copy_checks(build, folders):
    for folder in (".", *folders):
        checks = pathlib.Path(folder, ".clang-tidy")
        if checks.exists():
            shutil.copy(checks, build / folder)


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    folders = sys.argv[2:]
    copy_checks(build, folders)
    kept = []
    programs = collections.defaultdict(list)
    parts = collections.defaultdict(list)
    seen = set()
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["file"])
        if path.suffix not in (".cpp", ".cxx") or path in seen:
            continue
        seen.add(path)
        if path.is_relative_to(build):
            if re.fullmatch(r"unity_.*\.cxx", path.name):
                kept.append(entry)
            continue
        folder = path.relative_to(pathlib.Path.cwd()).parts[0]
        text = path.read_text()
        if folder not in folders:
            continue
        if not PROGRAM.search(text):
            # Without precompiled headers are those with macros of their own.
            parts[folder, path.parent, "-include-pch" in entry["command"]].append(entry)
        elif STAYS_GLOBAL.search(text):
            kept.append(entry)
        else:
            programs[folder].append(entry)
    for folder, entries in programs.items():
        entries.sort(key=lambda entry: entry["file"])
        for number, start in enumerate(range(0, len(entries), AT_ONCE), 1):
            path = build / folder / f"programs_{number}.cxx"
            kept.append(unite(entries[start : start + AT_ONCE], path, text_of_programs))
    for number, ((folder, *_), entries) in enumerate(parts.items(), 1):
        kept.append(unite(entries, build / folder / f"parts_{number}.cxx", text_of_parts))
    target = build / "tidy"
    target.mkdir(exist_ok=True)
    (target / "compile_commands.json").write_text(json.dumps(kept, indent=1))
    print(f"{len(seen)} sources, {len(kept)} of them after uniting")


main()
