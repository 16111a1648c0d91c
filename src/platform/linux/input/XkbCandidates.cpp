// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/XkbCandidates.h"

#include <algorithm>
#include <array>
#include <bit>
#include <optional>
#include <span>

namespace platform {

namespace {

/// The keysym of a level; none for a level that produces several at once.
xkb_keysym_t keysymAt(xkb_keymap *keymap, std::uint8_t keycode, std::uint32_t group,
                      xkb_level_index_t level)
{
    const xkb_keysym_t *keysyms = nullptr;
    const int count = xkb_keymap_key_get_syms_by_level(keymap, keycode, group, level, &keysyms);
    return count == 1 ? keysyms[0] : XKB_KEY_NoSymbol;
}

/// The fewest modifiers that lead to the level; nothing when the `usable` ones are not enough.
std::optional<ModifierMask> modifiersForLevel(xkb_keymap *keymap, std::uint8_t keycode,
                                              std::uint32_t group, xkb_level_index_t level,
                                              ModifierMask usable)
{
    std::array<xkb_mod_mask_t, 32> masks{};
    const auto count = xkb_keymap_key_get_mods_for_level(keymap, keycode, group, level,
                                                         masks.data(), masks.size());
    std::optional<ModifierMask> fewest;
    for (const xkb_mod_mask_t mask : std::span(masks).first(count)) {
        const bool isUsable = (mask & ~xkb_mod_mask_t{usable}) == 0;
        if (isUsable && (!fewest || std::popcount(mask) < std::popcount(*fewest))) {
            fewest = static_cast<ModifierMask>(mask);
        }
    }
    return fewest;
}

} // namespace

std::uint8_t lastKeycode(xkb_keymap *keymap)
{
    return static_cast<std::uint8_t>(std::min(xkb_keymap_max_keycode(keymap), 255U));
}

std::vector<KeyCandidate> candidatesOf(xkb_keymap *keymap, std::uint32_t group, ModifierMask usable,
                                       const KeycodeSet &ignored)
{
    std::vector<KeyCandidate> candidates;
    forEachKey(keymap, [&](std::uint8_t keycode) {
        if (ignored.test(keycode)) {
            return;
        }
        const auto levels = xkb_keymap_num_levels_for_key(keymap, keycode, group);
        for (xkb_level_index_t level = 0; level < levels; ++level) {
            const auto keysym = keysymAt(keymap, keycode, group, level);
            const auto modifiers = modifiersForLevel(keymap, keycode, group, level, usable);
            if (keysym != XKB_KEY_NoSymbol && modifiers) {
                candidates.push_back({keysym, {keycode, *modifiers}});
            }
        }
    });
    return candidates;
}

std::set<xkb_keysym_t> keysymsOn(xkb_keymap *keymap, std::uint8_t keycode)
{
    std::set<xkb_keysym_t> all;
    const auto groups = xkb_keymap_num_layouts_for_key(keymap, keycode);
    for (xkb_layout_index_t group = 0; group < groups; ++group) {
        const auto levels = xkb_keymap_num_levels_for_key(keymap, keycode, group);
        for (xkb_level_index_t level = 0; level < levels; ++level) {
            const xkb_keysym_t *keysyms = nullptr;
            const int count =
                xkb_keymap_key_get_syms_by_level(keymap, keycode, group, level, &keysyms);
            all.insert(keysyms, keysyms + count);
        }
    }
    all.erase(XKB_KEY_NoSymbol);
    return all;
}

} // namespace platform
