// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/WlrootsDesktopInput.h"

#include <utility>

namespace platform {

WlrootsDesktopInput::WlrootsDesktopInput(WlrootsKeyboard &keyboardOfSeat,
                                         WlrootsPointer &pointerOfSeat, WlrootsTypist &typistOfSeat,
                                         WaylandOutbox &outboxOfConnection)
    : keyboard(keyboardOfSeat)
    , pointer(pointerOfSeat)
    , typist(typistOfSeat)
    , outbox(outboxOfConnection)
{
}

DesktopInput::Abilities WlrootsDesktopInput::abilities() const
{
    return {.keys = true,
            .text = true,
            .anyText = true,
            .pointer = true,
            .scroll = true,
            .fineScroll = true,
            .drag = true};
}

/// A key is pressed at once, so the context is still there.
void WlrootsDesktopInput::press(const Key &key, const KeyModifiers &modifiers,
                                QObject * /*context*/, Done done)
{
    const bool isPressed = keyboard.press(key, modifiers);
    outbox.flushLater();
    done(isPressed);
}

void WlrootsDesktopInput::release(const Key &key)
{
    keyboard.release(key);
    outbox.flush();
}

void WlrootsDesktopInput::type(const QString &text, QObject *context, Done done)
{
    typist.type(text, context, std::move(done));
}

} // namespace platform
