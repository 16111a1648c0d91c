// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/LayoutKeys.h"
#include "platform/linux/input/TypingKeymap.h"
#include "platform/linux/input/VirtualKeyboard.h"

#include <optional>
#include <variant>
#include <vector>

namespace platform {

/// Presses keys on a virtual keyboard of a Wayland compositor, which has the seat's own key map, or
/// for a while one that is made for a text. Without a device nothing is pressed.
class WlrootsKeyboard
{
public:
    /// The outbox must outlive the keyboard.
    explicit WlrootsKeyboard(WaylandOutbox &outboxOfConnection);

    /// From now on keys go to that device, which the keyboard owns then.
    void begin(zwp_virtual_keyboard_v1 *made);
    /// Releases what is down and destroys the device.
    void end();
    /// The device is gone.
    void drop();
    bool isThere() const { return device.has_value() && layout.has_value(); }

    /// The seat uses that key map now. Our own ones, of which the seat tells as well, are ignored.
    void takeKeymap(const QByteArray &text);

    /// Presses the key with exactly the modifiers that the flags name, and those that its character
    /// needs. Keys of missing modifiers are pressed as well; those that are held in excess have no
    /// effect as long as this key is the last one that was pressed. A key that is down already is
    /// released first.
    void press(KeyCode code, EventFlags flags);
    /// The same by what the key does. A key that the layout lacks gets a key map of its own. False
    /// if there is no such key.
    bool press(const Key &key, const KeyModifiers &modifiers);
    /// Releases the key, then the modifiers that its press pressed. Nothing if it is not down.
    void release(KeyCode code);
    void release(const Key &key);
    void releaseAll();

    // For texts, of which each character is tapped with its own modifiers and no others.
    /// The key of the layout that types a character.
    std::optional<LayoutKey> characterKey(char32_t character) const;
    /// The key map that the next taps are for: null is the layout's.
    void useKeymap(const TypingKeymap *keymap);
    bool uses(const TypingKeymap &keymap) const;
    /// Presses and releases the key; whether the modifiers or the layout had to be changed for it.
    bool tap(std::uint8_t keycode, ModifierMask modifiers, std::uint32_t group);
    /// Brings back the modifiers that are held.
    void endTaps() { restoreState(); }

private:
    /// What was pressed: a code of the Mac, or a key by what it does.
    using KeyName = std::variant<KeyCode, Key>;

    struct HeldKey
    {
        KeyName name;
        std::uint8_t keycode = 0;
        ModifierMask sets = 0;      ///< While it is down.
        ModifierMask modifiers = 0; ///< In effect while it is the last one.
        std::uint32_t group = 0;
        std::vector<std::uint8_t> modifierKeys; ///< Pressed for it, in that order.
    };

    void press(const KeyName &name, const LayoutKey &found, ModifierMask modifiers);
    bool pressBorrowed(const Key &key, const KeyModifiers &modifiers);
    std::vector<std::uint8_t> pressModifiers(std::uint32_t group, ModifierMask modifiers);
    void release(const KeyName &name);
    void undo(const HeldKey &held);
    void restoreState();
    ModifierMask heldModifiers() const;
    bool isHeld(std::uint8_t keycode) const;

    WaylandOutbox &outbox;
    std::optional<LayoutKeys> layout;
    QByteArray lastTaken; ///< The key map of the seat that was looked at last.
    std::optional<VirtualKeyboard> device;
    std::vector<HeldKey> heldKeys; ///< By time of press; a name at most once.
};

} // namespace platform
