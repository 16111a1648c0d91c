#!/usr/bin/python3
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

"""Presses things in the dialog of the desktop's portal, as those do who cannot see it: by the session's
accessibility. Each argument is a role and a name, such as "button:Share"; waits for each of them."""

import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

LIMIT = 30


def children_of(node):
    nodes = [node.get_child_at_index(index) for index in range(node.get_child_count())]
    return [child for child in nodes if child is not None]


def descend(node):
    yield node
    for child in children_of(node):
        yield from descend(child)


def press(role, name):
    """Whether there was one to press."""
    try:
        for application in children_of(Atspi.get_desktop(0)):
            if "portal" not in (application.get_name() or ""):
                continue
            for node in descend(application):
                is_it = role in node.get_role_name() and name in (node.get_name() or "")
                if is_it and node.get_state_set().contains(Atspi.StateType.SENSITIVE):
                    return Atspi.Action.do_action(node, 0)
    except GLib.Error:
        pass  # It changes while it is read.
    return False


for deed in sys.argv[1:]:
    end = time.monotonic() + LIMIT
    while not press(*deed.split(":")):
        if time.monotonic() > end:
            raise SystemExit("the portal's dialog has no " + deed)
        time.sleep(0.05)
