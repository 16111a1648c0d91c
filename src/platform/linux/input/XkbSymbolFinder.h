// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/XkbKeyFinder.h"

#include <array>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace platform {

/// Finds the keys of one key map by what they produce. Everything is looked up on construction; the
/// key map is not needed afterwards.
class XkbSymbolFinder
{
public:
    /// The finder is that of the same key map. `ignoredKeys` are not found.
    XkbSymbolFinder(xkb_keymap *keymap, const XkbKeyFinder &finder,
                    const KeycodeSet &ignoredKeys = {});

    /// The key that produces that keysym in that layout, with the fewest modifiers: Shift and the
    /// level shifts (AltGr). What Num Lock changes is not found.
    std::optional<FoundKey> symbol(std::uint32_t group, std::uint32_t keysym) const;
    /// The same by the character that programs make of the keysym. The keypad is left out, and so
    /// are keys without a printable character.
    std::optional<FoundKey> character(std::uint32_t group, char32_t character) const;

    /// The only keysym of a key, in all layouts and on all levels; 0 if there are several or none.
    std::uint32_t onlySymbol(std::uint8_t keycode) const { return onlySymbols[keycode]; }

private:
    struct Group
    {
        std::unordered_map<std::uint32_t, FoundKey> symbols;
        std::unordered_map<char32_t, FoundKey> characters;
    };

    static Group makeGroup(xkb_keymap *keymap, const XkbKeyFinder &finder, std::uint32_t group,
                           const KeycodeSet &ignored);
    void learnSymbols(xkb_keymap *keymap, std::uint8_t keycode);
    const Group &groupAt(std::uint32_t group) const { return groups[group % groups.size()]; }

    std::vector<Group> groups; ///< Never empty.
    std::array<std::uint32_t, 256> onlySymbols{};
};

} // namespace platform
