// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/XkbKeyFinder.h"

#include "platform/linux/input/KeySymbols.h"
#include "platform/linux/input/XkbHandles.h"

#include <algorithm>
#include <bit>
#include <tuple>

namespace platform {

namespace {

constexpr ModifierMask shiftLockControl = 0b111;

/// A keysym of the layout, and what must be pressed and held to produce it.
struct Candidate
{
    xkb_keysym_t keysym = XKB_KEY_NoSymbol;
    FoundKey key;
};

/// The X protocol's key codes are bytes.
std::uint8_t lastKeycode(xkb_keymap *keymap)
{
    return static_cast<std::uint8_t>(std::min(xkb_keymap_max_keycode(keymap), 255U));
}

template <typename Action> void forEachKey(xkb_keymap *keymap, Action action)
{
    for (xkb_keycode_t keycode = xkb_keymap_min_keycode(keymap); keycode <= lastKeycode(keymap);
         ++keycode) {
        action(static_cast<std::uint8_t>(keycode));
    }
}

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

std::vector<Candidate> candidatesOf(xkb_keymap *keymap, std::uint32_t group, ModifierMask usable)
{
    std::vector<Candidate> candidates;
    forEachKey(keymap, [&](std::uint8_t keycode) {
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

std::optional<FoundKey> bestCandidate(std::span<const Candidate> candidates, std::uint32_t keysym,
                                      std::uint32_t position)
{
    const auto cost = [&](const Candidate &candidate) {
        return std::tuple(candidate.keysym != keysym, std::popcount(candidate.key.modifiers),
                          candidate.key.keycode != position, candidate.key.keycode);
    };
    const auto best = std::ranges::min_element(candidates, {}, cost);
    if (best == candidates.end() || best->keysym != keysym) {
        return std::nullopt;
    }
    return best->key;
}

std::optional<FoundKey> keyAtPosition(xkb_keymap *keymap, std::uint32_t position)
{
    if (position < xkb_keymap_min_keycode(keymap) || position > lastKeycode(keymap)) {
        return std::nullopt;
    }
    return FoundKey{static_cast<std::uint8_t>(position), 0};
}

/// Keysym and usual position of a modifier's key.
std::pair<std::uint32_t, std::uint32_t> keysymAndPositionOf(Modifier modifier)
{
    switch (modifier) {
    case Modifier::Control:
        return {XKB_KEY_Control_L, 37};
    case Modifier::Alternate:
        return {XKB_KEY_Alt_L, 64};
    case Modifier::Shift:
        return {XKB_KEY_Shift_L, 50};
    case Modifier::Level3:
        return {XKB_KEY_ISO_Level3_Shift, 108};
    }
    return {};
}

/// The modifiers that are set while the key is held, found by pressing it on a virtual keyboard.
ModifierMask heldModifiers(xkb_keymap *keymap, std::uint32_t group, std::uint8_t keycode)
{
    const XkbState state(xkb_state_new(keymap));
    xkb_state_update_mask(state.get(), 0, 0, 0, 0, 0, group);
    xkb_state_update_key(state.get(), keycode, XKB_KEY_DOWN);
    return static_cast<ModifierMask>(
        xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_DEPRESSED));
}

std::uint32_t groupCount(xkb_keymap *keymap)
{
    return std::max(xkb_keymap_num_layouts(keymap), 1U);
}

} // namespace

XkbKeyFinder::XkbKeyFinder(xkb_keymap *keymap)
{
    learnWhatKeysSet(keymap);
    for (std::uint32_t group = 0; group < groupCount(keymap); ++group) {
        groups.push_back(makeGroup(keymap, group));
    }
    findHarmlessModifiers(keymap);
}

std::optional<FoundKey> XkbKeyFinder::key(std::uint32_t group, KeyCode code) const
{
    const Group &answers = groupAt(group);
    return code < answers.keys.size() ? answers.keys[code] : std::nullopt;
}

std::optional<std::uint8_t> XkbKeyFinder::modifierKey(std::uint32_t group, Modifier modifier) const
{
    return groupAt(group).modifiers[static_cast<std::size_t>(modifier)].keycode;
}

ModifierMask XkbKeyFinder::modifierMask(std::uint32_t group, Modifier modifier) const
{
    return groupAt(group).modifiers[static_cast<std::size_t>(modifier)].mask;
}

std::vector<std::uint8_t> XkbKeyFinder::keysSetting(ModifierMask modifiers) const
{
    std::vector<std::uint8_t> keycodes;
    for (std::size_t keycode = 0; keycode < setBy.size(); ++keycode) {
        if (setBy[keycode] & modifiers) {
            keycodes.push_back(static_cast<std::uint8_t>(keycode));
        }
    }
    return keycodes;
}

void XkbKeyFinder::learnWhatKeysSet(xkb_keymap *keymap)
{
    for (std::uint32_t group = 0; group < groupCount(keymap); ++group) {
        forEachKey(keymap, [&](std::uint8_t keycode) {
            setBy[keycode] |= heldModifiers(keymap, group, keycode);
        });
    }
}

XkbKeyFinder::Group XkbKeyFinder::makeGroup(xkb_keymap *keymap, std::uint32_t group) const
{
    Group answers;
    const auto plain = candidatesOf(keymap, group, 0);
    for (const Modifier modifier : modifiersInOrder) {
        const auto [keysym, position] = keysymAndPositionOf(modifier);
        if (const auto found = bestCandidate(plain, keysym, position)) {
            answers.modifiers[static_cast<std::size_t>(modifier)] = {
                found->keycode, heldModifiers(keymap, group, found->keycode)};
        }
    }
    const auto maskOf = [&](Modifier modifier) {
        return answers.modifiers[static_cast<std::size_t>(modifier)].mask;
    };
    const auto candidates =
        candidatesOf(keymap, group,
                     static_cast<ModifierMask>(maskOf(Modifier::Shift) | maskOf(Modifier::Level3)));
    for (const KeySymbol &symbol : keySymbols()) {
        const auto found = bestCandidate(candidates, symbol.keysym, symbol.position);
        answers.keys[symbol.code] = found ? found : keyAtPosition(keymap, symbol.position);
    }
    return answers;
}

void XkbKeyFinder::findHarmlessModifiers(xkb_keymap *keymap)
{
    ModifierMask ofLocks = 0;
    ModifierMask inUse = shiftLockControl;
    for (std::uint32_t group = 0; group < groups.size(); ++group) {
        for (const Candidate &candidate : candidatesOf(keymap, group, 0)) {
            if (candidate.keysym == XKB_KEY_Num_Lock || candidate.keysym == XKB_KEY_Scroll_Lock) {
                ofLocks |= setBy[candidate.key.keycode];
            }
        }
        for (const ModifierKey &modifier : groups[group].modifiers) {
            inUse |= modifier.mask;
        }
    }
    harmless = static_cast<ModifierMask>(ofLocks & ~inUse);
}

const XkbKeyFinder::Group &XkbKeyFinder::groupAt(std::uint32_t group) const
{
    return groups[group % groups.size()];
}

} // namespace platform
