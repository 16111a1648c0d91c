// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"

#include <array>
#include <bitset>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

struct xkb_keymap;

namespace platform {

/// A set of the keyboard's eight real modifiers: Shift is bit 0, Lock 1, Control 2, Mod1 to Mod5
/// bits 3 to 7 (the same in every X server and every key map).
using ModifierMask = std::uint8_t;
inline constexpr int modifierCount = 8;

/// The modifiers but those that are removed.
inline ModifierMask without(ModifierMask modifiers, ModifierMask removed)
{
    return static_cast<ModifierMask>(modifiers & ~removed);
}

/// A modifier by its purpose; which real modifier that is depends on the key map.
enum class Modifier { Control, Alternate, Shift, Level3, Meta, Level5 };

/// In the order in which they are pressed. Shift comes after Alt, because with Shift held
/// the Alt key is a Meta key.
inline constexpr std::array modifiersInOrder = {Modifier::Control, Modifier::Alternate,
                                                Modifier::Meta,    Modifier::Shift,
                                                Modifier::Level3,  Modifier::Level5};

/// Keys by their code.
using KeycodeSet = std::bitset<256>;

/// A key, and the modifiers that must be held for it to produce the keysym that was looked for.
struct FoundKey
{
    std::uint8_t keycode = 0;
    ModifierMask modifiers = 0;

    bool operator==(const FoundKey &) const = default;
};

/// Finds the keys of one key map by the Mac's key codes. Everything is looked up on construction,
/// so later queries are cheap; the key map is not needed afterwards.
///
/// A `group` is one of the key map's layouts, from 0; numbers beyond the last one wrap around, as
/// they do in the X server.
class XkbKeyFinder
{
public:
    /// The `ignoredKeys` produce nothing: we have borrowed them.
    explicit XkbKeyFinder(xkb_keymap *keymap, const KeycodeSet &ignoredKeys = {});

    /// The key that produces the keysym of `code` in that layout.
    ///
    /// A key that needs no modifier comes first; if there are several, the one at the usual
    /// position. Next is the key that needs the fewest modifiers, which may be Shift and the third
    /// level's (AltGr). These belong to the character: on a German layout "=" is Shift and the key
    /// 0, and without Shift that key would type a 0. If no key of the layout produces the keysym,
    /// as no key of a Russian one produces Latin letters, it is the key at the usual position:
    /// programs know the shortcuts of such a layout by position.
    ///
    /// Nothing when the code has no meaning on this host or the key map has no such key.
    std::optional<FoundKey> key(std::uint32_t group, KeyCode code) const;

    /// The key that sets a modifier in that layout (Control_L, Alt_L, Shift_L, Super_L and the
    /// level shifts); nothing when the layout has none.
    std::optional<std::uint8_t> modifierKey(std::uint32_t group, Modifier modifier) const;
    /// What the key of modifierKey() sets; 0 without a key.
    ModifierMask modifierMask(std::uint32_t group, Modifier modifier) const;

    /// What a key sets while it is held, in any layout.
    ModifierMask modifiersSetBy(std::uint8_t keycode) const { return setBy[keycode]; }
    /// All keys that set at least one of the modifiers while they are held.
    std::vector<std::uint8_t> keysSetting(ModifierMask modifiers) const;

    /// The modifiers that never change what our keys produce: those of Num Lock and Scroll Lock.
    ModifierMask harmlessModifiers() const { return harmless; }

private:
    struct ModifierKey
    {
        std::optional<std::uint8_t> keycode;
        ModifierMask mask = 0;
    };

    /// All answers for one layout.
    struct Group
    {
        std::array<std::optional<FoundKey>, 128> keys; ///< By the Mac's key code.
        std::array<ModifierKey, modifiersInOrder.size()> modifiers;
    };

    void learnWhatKeysSet(xkb_keymap *keymap);
    Group makeGroup(xkb_keymap *keymap, std::uint32_t group) const;
    void findHarmlessModifiers(xkb_keymap *keymap);
    const Group &groupAt(std::uint32_t group) const;

    KeycodeSet ignored;
    std::array<ModifierMask, 256> setBy{}; ///< By key code.
    std::vector<Group> groups;             ///< Never empty.
    ModifierMask harmless = 0;
};

} // namespace platform
