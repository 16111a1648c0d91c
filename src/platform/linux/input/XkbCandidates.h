// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/XkbKeyFinder.h"

#include <set>
#include <vector>

#include <xkbcommon/xkbcommon.h>

namespace platform {

/// A keysym of a layout, and what must be pressed and held to produce it.
struct KeyCandidate
{
    xkb_keysym_t keysym = XKB_KEY_NoSymbol;
    FoundKey key;
};

/// The X protocol's key codes are bytes.
std::uint8_t lastKeycode(xkb_keymap *keymap);

template <typename Action> void forEachKey(xkb_keymap *keymap, Action action)
{
    for (xkb_keycode_t keycode = xkb_keymap_min_keycode(keymap); keycode <= lastKeycode(keymap);
         ++keycode) {
        action(static_cast<std::uint8_t>(keycode));
    }
}

/// All that the keys of a layout produce with the `usable` modifiers, or fewer.
std::vector<KeyCandidate> candidatesOf(xkb_keymap *keymap, std::uint32_t group, ModifierMask usable,
                                       const KeycodeSet &ignored);

/// The keysyms of a key, in all layouts and on all levels.
std::set<xkb_keysym_t> keysymsOn(xkb_keymap *keymap, std::uint8_t keycode);

} // namespace platform
