// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// What a host system must offer to be driven by a handheld: typing, moving and clicking.
/// Used on the thread of the event loop only; no operation reports failure.
class InteractionManagerImp
{
public:
    virtual ~InteractionManagerImp();

    /// Parses a shortcut and keeps the result for generateKeyEvent().
    virtual void extractKeyCodeAndModifiers(QString shortcut) = 0;
    /// Posts one event of the key that was parsed last.
    virtual void generateKeyEvent(bool keyDown) = 0;
    /// Parses a shortcut, then presses and releases its key.
    virtual void keyboardTapKeyEvent(QString shortcut) = 0;
    /// Moves the pointer by pixels: right is positive, down is positive.
    virtual void moveMouseWithOffset(int dx, int dy) = 0;
    virtual void leftMouseButtonTapped() = 0;
    virtual void rightMouseButtonTapped() = 0;
    virtual void centerMouseButtonTapped() = 0;
    /// The event flag of a modifier's name; 0 for any other token.
    virtual quint64 getModifier(QString token) = 0;

    /// True for "Cmd", "Alt", "Ctrl" and "Shift", in exactly this spelling.
    bool isModifier(QString token);
};
