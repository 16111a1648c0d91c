// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/XkbSymbolFinder.h"

#include "platform/linux/input/XkbCandidates.h"
#include "platform/linux/input/XkbHandles.h"

#include <algorithm>
#include <bit>
#include <span>

namespace platform {

namespace {

xkb_keysym_t producedSymbol(xkb_state *state, std::uint32_t group, const FoundKey &key,
                            ModifierMask others)
{
    xkb_state_update_mask(state, xkb_mod_mask_t{key.modifiers} | others, 0, 0, 0, 0, group);
    return xkb_state_key_get_one_sym(state, key.keycode);
}

bool isOfKeypad(xkb_keysym_t keysym)
{
    return keysym >= XKB_KEY_KP_Space && keysym <= XKB_KEY_KP_Equal;
}

/// 0 for a keysym that types nothing visible.
char32_t characterOf(xkb_keysym_t keysym)
{
    constexpr char32_t firstPrintable = U' ';
    constexpr char32_t deleted = 0x7f;
    constexpr char32_t lastControl = 0x9f;
    const char32_t character = isOfKeypad(keysym) ? 0 : xkb_keysym_to_utf32(keysym);
    const bool isControl =
        character < firstPrintable || (character >= deleted && character <= lastControl);
    return isControl ? 0 : character;
}

/// Keeps the key that needs the fewest modifiers, and the first one of those.
template <typename Keys, typename Name> void keepBest(Keys &keys, Name name, const FoundKey &key)
{
    const auto [place, isNew] = keys.try_emplace(name, key);
    if (!isNew && std::popcount(key.modifiers) < std::popcount(place->second.modifiers)) {
        place->second = key;
    }
}

template <typename Keys, typename Name>
std::optional<FoundKey> valueIn(const Keys &keys, const Name &name)
{
    const auto found = keys.find(name);
    return found == keys.end() ? std::nullopt : std::optional(found->second);
}

ModifierMask levelModifiers(const XkbKeyFinder &finder, std::uint32_t group)
{
    return static_cast<ModifierMask>(finder.modifierMask(group, Modifier::Shift) |
                                     finder.modifierMask(group, Modifier::Level3) |
                                     finder.modifierMask(group, Modifier::Level5));
}

} // namespace

XkbSymbolFinder::XkbSymbolFinder(xkb_keymap *keymap, const XkbKeyFinder &finder,
                                 const KeycodeSet &ignoredKeys)
{
    const std::uint32_t count = std::max(xkb_keymap_num_layouts(keymap), 1U);
    for (std::uint32_t group = 0; group < count; ++group) {
        groups.push_back(makeGroup(keymap, finder, group, ignoredKeys));
    }
    forEachKey(keymap, [&](std::uint8_t keycode) { learnSymbols(keymap, keycode); });
}

std::optional<FoundKey> XkbSymbolFinder::symbol(std::uint32_t group, std::uint32_t keysym) const
{
    return valueIn(groupAt(group).symbols, keysym);
}

std::optional<FoundKey> XkbSymbolFinder::character(std::uint32_t group, char32_t character) const
{
    return valueIn(groupAt(group).characters, character);
}

XkbSymbolFinder::Group XkbSymbolFinder::makeGroup(xkb_keymap *keymap, const XkbKeyFinder &finder,
                                                  std::uint32_t group, const KeycodeSet &ignored)
{
    const XkbState state(xkb_state_new(keymap));
    const ModifierMask harmless = finder.harmlessModifiers();
    Group made;
    for (const auto &[keysym, key] :
         candidatesOf(keymap, group, levelModifiers(finder, group), ignored)) {
        if (producedSymbol(state.get(), group, key, 0) == keysym &&
            producedSymbol(state.get(), group, key, harmless) == keysym) {
            keepBest(made.symbols, keysym, key);
            if (const char32_t character = characterOf(keysym)) {
                keepBest(made.characters, character, key);
            }
        }
    }
    return made;
}

void XkbSymbolFinder::learnSymbols(xkb_keymap *keymap, std::uint8_t keycode)
{
    const auto keysyms = keysymsOn(keymap, keycode);
    onlySymbols[keycode] = keysyms.size() == 1 ? *keysyms.begin() : 0;
}

} // namespace platform
