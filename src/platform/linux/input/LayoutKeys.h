// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"
#include "platform/Key.h"
#include "platform/linux/input/XkbKeyFinder.h"
#include "platform/linux/input/XkbSymbolFinder.h"

#include <QByteArray>

#include <cstdint>
#include <optional>

namespace platform {

/// A key of one of the layouts of a key map.
struct LayoutKey
{
    FoundKey key;
    std::uint32_t group = 0; ///< The layout, from 0.

    bool operator==(const LayoutKey &) const = default;
};

/// The keys of a key map whose layout is ours to choose for each key: a key is taken from the first
/// layout that has it. Everything is looked up on construction.
class LayoutKeys
{
public:
    /// Nothing if that is no key map.
    static std::optional<LayoutKeys> fromText(const QByteArray &keymap);
    /// The system's own key map: what XKB_DEFAULT_LAYOUT and its kin name, else a US one. Nothing
    /// on a system without keyboard descriptions.
    static std::optional<LayoutKeys> ofSystem();

    /// The key map as libxkbcommon writes it, so that equal ones have equal texts, with our name.
    const QByteArray &text() const { return description; }

    /// The key of that code of a Mac, see XkbKeyFinder::key().
    std::optional<LayoutKey> key(KeyCode code) const;
    /// The key that does that. A character that no layout has is looked for at its usual position
    /// if it is part of a shortcut, as programs do with a layout of other letters.
    std::optional<LayoutKey> key(const Key &key, const KeyModifiers &modifiers) const;
    /// The key that types a character; a line feed is Enter, a tab is Tab.
    std::optional<LayoutKey> character(char32_t character) const;

    /// The modifiers that those flags name in that layout. Command and Control are the same here.
    ModifierMask masksOf(std::uint32_t group, EventFlags flags) const;
    ModifierMask masksOf(std::uint32_t group, const KeyModifiers &modifiers) const;
    /// The key that sets a modifier; nothing if the layout has none.
    std::optional<std::uint8_t> modifierKey(std::uint32_t group, Modifier modifier) const
    {
        return keys.modifierKey(group, modifier);
    }
    ModifierMask modifierMask(std::uint32_t group, Modifier modifier) const
    {
        return keys.modifierMask(group, modifier);
    }
    /// What a key sets while it is held. Caps Lock and Num Lock set nothing.
    ModifierMask heldModifiers(std::uint8_t keycode) const;

private:
    explicit LayoutKeys(xkb_keymap *keymap);

    std::optional<LayoutKey> symbol(std::uint32_t keysym) const;
    std::optional<LayoutKey> atPosition(char32_t character) const;

    QByteArray description;
    std::uint32_t groupCount;
    XkbKeyFinder keys;
    XkbSymbolFinder symbols;
};

} // namespace platform
