#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
"""check_arrows.py: compares what the files of src/ and client/ include with the arrows of
docs/architecture.md.

A room is a folder of src/ or client/ (named with "client/"), with all folders below it that are not
rooms themselves. Each line of the document's block "arrows" names a room and the rooms from which it
may include. The check fails on an
include without an arrow, on an arrow without an include, on a file in no room, and on arrows that
lead in a circle.
"""
import graphlib
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
DRAWING = ROOT / "docs" / "architecture.md"
# Where includes begin, and what the names of the rooms there begin with.
SOURCES = {ROOT / "src": "", ROOT / "client": "client"}


def drawn_arrows():
    """The rooms of the drawing, each with those that it may include from."""
    block = re.search(r"^```arrows\n(.*?)^```$", DRAWING.read_text(), re.MULTILINE | re.DOTALL)
    if not block:
        sys.exit(f"{DRAWING} has no block of arrows.")
    arrows = {}
    for line in block[1].splitlines():
        room, _, targets = line.partition("->")
        arrows[room.strip()] = set(targets.split())
    for target in set().union(*arrows.values()) - arrows.keys():
        sys.exit(f"An arrow leads to {target}, which has no line of its own.")
    return arrows


def room_of(path, prefix, rooms):
    """The room of a file, by its path below its root; None if it is in no room."""
    folders = (str(pathlib.PurePosixPath(prefix) / folder) for folder in path.parents)
    return next((folder for folder in folders if folder in rooms), None)


def room_of_include(included, rooms):
    """The room of an included file; None if it is generated, or no file of ours."""
    for root, prefix in SOURCES.items():
        if (root / included).is_file():
            return room_of(pathlib.PurePosixPath(included), prefix, rooms)
    return None


def found_arrows(rooms, complain):
    """All (room, other room) between which a file includes, with one such file."""
    found = {}
    files = [(root, prefix, file) for root, prefix in SOURCES.items()
             for file in sorted(root.rglob("*")) if file.suffix in (".h", ".cpp", ".mm")]
    for root, prefix, file in files:
        room = room_of(file.relative_to(root), prefix, rooms)
        if room is None:
            complain(f"{file.relative_to(ROOT)} is in no room.")
            continue
        for included in re.findall(r'^\s*#\s*include\s*"([^"]+)"', file.read_text(), re.MULTILINE):
            target = room_of_include(included, rooms)
            if target not in (None, room):
                found.setdefault((room, target), file.relative_to(ROOT))
    return found


def main():
    """Compares the drawing and the code."""
    complaints = []
    drawn = drawn_arrows()
    found = found_arrows(drawn, complaints.append)
    allowed = {(room, target) for room, targets in drawn.items() for target in targets}
    for room, target in sorted(found.keys() - allowed):
        complaints.append(f"{found[room, target]} includes from {target}: {room} may not.")
    for room, target in sorted(allowed - found.keys()):
        complaints.append(f"The arrow from {room} to {target} is drawn, but nothing includes so.")
    try:
        graphlib.TopologicalSorter(drawn).prepare()
    except graphlib.CycleError as error:
        complaints.append("The arrows lead in a circle: " + " ".join(error.args[1]))
    for complaint in complaints:
        print(complaint)
    print(f"{len(drawn)} rooms, {len(found)} arrows, {len(complaints)} complaints")
    return min(len(complaints), 1)


if __name__ == "__main__":
    sys.exit(main())
