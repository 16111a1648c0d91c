#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
"""Draws packaging/icons/vornaserver.svg in the sizes of a Mac's icon and packs them.

    packaging/mac/make_icon.py        writes packaging/mac/VornaServer.icns

Needs rsvg-convert (Debian: librsvg2-bin). The result is committed, so that a build needs it not.
"""

import pathlib
import struct
import subprocess

HERE = pathlib.Path(__file__).resolve().parent
DRAWING = HERE.parent / "icons" / "vornaserver.svg"

# What each entry of the container holds: a PNG of so many pixels a side. Those from ic10 on are the
# doubled forms of smaller ones, for dense displays.
SIZES = {
    b"icp4": 16,
    b"icp5": 32,
    b"ic07": 128,
    b"ic08": 256,
    b"ic09": 512,
    b"ic10": 1024,
    b"ic11": 32,
    b"ic12": 64,
    b"ic13": 256,
    b"ic14": 512,
}


def picture(size):
    command = ["rsvg-convert", "-w", str(size), "-h", str(size), str(DRAWING)]
    return subprocess.run(command, check=True, capture_output=True).stdout


def block(name, content):
    """A name and a length that counts its own eight bytes, both big-endian, then the content."""
    return name + struct.pack(">I", 8 + len(content)) + content


def main():
    pictures = {size: picture(size) for size in set(SIZES.values())}
    entries = b"".join(block(name, pictures[size]) for name, size in SIZES.items())
    (HERE / "VornaServer.icns").write_bytes(block(b"icns", entries))


if __name__ == "__main__":
    main()
