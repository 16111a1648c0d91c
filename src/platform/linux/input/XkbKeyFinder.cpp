// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/XkbKeyFinder.h"

#include "platform/linux/input/KeySymbols.h"
#include "platform/linux/input/XkbCandidates.h"
#include "platform/linux/input/XkbHandles.h"

#include <algorithm>
#include <bit>
#include <tuple>

namespace platform {

namespace {

constexpr ModifierMask shiftLockControl = 0b111;

std::optional<FoundKey> bestCandidate(std::span<const KeyCandidate> candidates,
                                      std::uint32_t keysym, std::uint32_t position)
{
    const auto cost = [&](const KeyCandidate &candidate) {
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
    case Modifier::Meta:
        return {XKB_KEY_Super_L, 133};
    case Modifier::Level5:
        return {XKB_KEY_ISO_Level5_Shift, 203};
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

XkbKeyFinder::XkbKeyFinder(xkb_keymap *keymap, const KeycodeSet &ignoredKeys) : ignored(ignoredKeys)
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
    const auto plain = candidatesOf(keymap, group, 0, ignored);
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
    const auto candidates = candidatesOf(
        keymap, group,
        static_cast<ModifierMask>(maskOf(Modifier::Shift) | maskOf(Modifier::Level3)), ignored);
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
        for (const KeyCandidate &candidate : candidatesOf(keymap, group, 0, ignored)) {
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
