// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/wayland/SwaySession.h"

#include <memory>

/// The keyboard at which the user of a sway session would sit: a virtual one of the test's, with a
/// key map of its own. It is there while this object lives.
class UserKeyboard
{
public:
    /// Keys as the kernel numbers them (linux/input-event-codes.h).
    enum class Key { A = 30, LeftShift = 42, CapsLock = 58 };

    explicit UserKeyboard(const SwaySession &session);
    ~UserKeyboard();
    UserKeyboard(const UserKeyboard &) = delete;
    UserKeyboard &operator=(const UserKeyboard &) = delete;

    /// Whether all that was asked of the compositor has been done; false without one.
    bool isConnected() const;

    /// Gives it those layouts, such as "us" or "de,fr", the first one active, and taps Shift, so
    /// that it is the keyboard in use.
    bool useLayout(const QString &layouts);
    /// Makes the layout active that has this number, from 0.
    void switchToLayout(int number);

    // Each returns once the compositor has processed the key.
    void press(Key key);
    void release(Key key);
    void tap(Key key);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
