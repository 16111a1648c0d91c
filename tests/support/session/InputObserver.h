// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/session/UserSession.h"

#include <QByteArrayList>
#include <QPointF>

#include <memory>

/// Another program of the desktop, over the whole screen and with the focus, that notes what it
/// gets from the keyboard and the pointer, on X11 and on Wayland in the same words.
class InputObserver
{
public:
    virtual ~InputObserver() = default;

    /// Waits until it has the focus; null if it does not get it.
    static std::unique_ptr<InputObserver> of(const UserSession &session);

    /// Forgets what came up to now.
    virtual void clear() = 0;

    /// In pixels from the upper left corner of the screen.
    virtual QPointF pointer() = 0;
    /// "left", "middle" and "right", as often as they were pressed, in order.
    virtual QByteArrayList pressedButtons() = 0;
    virtual bool isButtonDown() = 0;
    /// Notches to the right and down, with fractions where the desktop has them.
    virtual QPointF wheel() = 0;
    /// The keys that were pressed, in order, by the names of keysyms, behind the modifiers in
    /// effect: "Control_L", "Control+c".
    virtual QByteArrayList pressedKeys() = 0;
    /// Whether no key and no button is down.
    virtual bool isNothingDown() = 0;
};
