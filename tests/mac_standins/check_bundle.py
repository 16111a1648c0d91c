#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
"""check_bundle.py INFO_PLIST ICON ENTITLEMENTS: whether a Mac can read them and finds what it needs."""

import pathlib
import plistlib
import struct
import sys
import unittest

info_file, icon_file, entitlements_file = sys.argv[1:4]

# Pixels a side that a Mac expects in each entry.
SIDES = {
    b"icp4": 16, b"icp5": 32, b"ic07": 128, b"ic08": 256, b"ic09": 512, b"ic10": 1024,
    b"ic11": 32, b"ic12": 64, b"ic13": 256, b"ic14": 512,
}


def read_plist(name):
    return plistlib.loads(pathlib.Path(name).read_bytes(), fmt=plistlib.FMT_XML)


def blocks(content):
    """Name and content of each block; ends the test when the lengths do not add up."""
    while content:
        name, length = struct.unpack(">4sI", content[:8])
        assert 8 <= length <= len(content), (name, length, len(content))
        yield name, content[8:length]
        content = content[length:]


class Bundle(unittest.TestCase):
    def test_the_program_is_named_and_lives_in_the_menu_bar(self):
        info = read_plist(info_file)
        self.assertEqual(info["CFBundleExecutable"], "VornaServer")
        self.assertEqual(info["CFBundleIdentifier"], "com.ostrovane.VornaServer")
        self.assertEqual(info["CFBundlePackageType"], "APPL")
        self.assertRegex(info["CFBundleShortVersionString"], r"^\d+\.\d+")
        self.assertEqual(info["CFBundleVersion"], info["CFBundleShortVersionString"])
        self.assertEqual(info["LSMinimumSystemVersion"], "11.0")
        self.assertIs(info["LSUIElement"], True)

    def test_the_icon_is_the_one_of_the_bundle(self):
        self.assertEqual(read_plist(info_file)["CFBundleIconFile"], pathlib.Path(icon_file).name)

    def test_the_system_has_its_questions(self):
        info = read_plist(info_file)
        for key in ("NSAppleEventsUsageDescription", "NSLocalNetworkUsageDescription"):
            self.assertIn("VornaServer", info[key])
        self.assertEqual(info["NSBonjourServices"], ["_quillmote._tcp"])

    def test_nothing_is_left_to_be_filled_in(self):
        self.assertNotRegex(pathlib.Path(info_file).read_text(), r"@\w*@|\$\{|<string></string>")

    def test_other_applications_may_be_controlled(self):
        self.assertEqual(read_plist(entitlements_file),
                         {"com.apple.security.automation.apple-events": True})

    def test_the_icon_has_a_picture_of_each_size(self):
        whole = list(blocks(pathlib.Path(icon_file).read_bytes()))
        self.assertEqual([name for name, _ in whole], [b"icns"])
        sides = {}
        for name, picture in blocks(whole[0][1]):
            self.assertEqual(picture[:16], b"\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR")
            self.assertEqual(picture[-8:-4], b"IEND")
            width, height = struct.unpack(">II", picture[16:24])
            self.assertEqual(width, height)
            sides[name] = width
        self.assertEqual(sides, SIDES)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
