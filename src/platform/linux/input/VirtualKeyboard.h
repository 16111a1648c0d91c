// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/XkbKeyFinder.h"
#include "platform/linux/wayland/WaylandHandles.h"
#include "platform/linux/wayland/WaylandOutbox.h"

#include <QByteArray>

#include <cstdint>
#include <optional>

#include <virtual-keyboard-unstable-v1-client.h>

namespace platform {

/// A keyboard that a Wayland compositor has made for us. A program that has the focus learns of
/// everything in the order in which it is called here, so keys may follow their key map at once.
///
/// The compositor derives nothing: key map, modifiers and layout are what they are set to. Nothing
/// is flushed.
class VirtualKeyboard
{
public:
    /// Owns `made`. The outbox must outlive the keyboard.
    VirtualKeyboard(zwp_virtual_keyboard_v1 *made, WaylandOutbox &outboxOfConnection);

    /// To be called before the first key. Nothing happens if it is the key map in use.
    void setKeymap(const QByteArray &text);
    /// The modifiers and the layout from now on; no lock and no latch is in effect. Whether they
    /// were others.
    bool setState(ModifierMask modifiers, std::uint32_t group);
    /// `keycode` is the kernel's plus 8, as in key maps.
    void setKey(std::uint8_t keycode, bool isDown);

    bool usesKeymap(const QByteArray &text) const;

private:
    struct State
    {
        ModifierMask modifiers = 0;
        std::uint32_t group = 0;

        bool operator==(const State &) const = default;
    };

    void sendState(const State &sent);

    WaylandMember<zwp_virtual_keyboard_v1> device;
    WaylandOutbox &outbox;
    QByteArray keymapInUse;
    std::optional<State> state; ///< Nothing after a change of the key map.
};

/// The time of an event, in milliseconds of a clock that never goes back.
std::uint32_t eventTime();

} // namespace platform
