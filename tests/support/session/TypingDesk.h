// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/session/ControlsProgram.h"
#include "support/session/ServerProcess.h"

#include <memory>

/// A desktop with the server, as far as typing and pointing into programs depends on what kind of
/// desktop it is.
class TypingDesk
{
public:
    /// What may be in the way of the typist: keys of the user's own keyboard.
    enum class Hindrance { None, CapsLock, HeldShift };

    virtual ~TypingDesk() = default;

    /// A desktop of the kind that VORNA_DESKTOP names: "sway", "gnome" or "plasma", or one of X11
    /// without it.
    static std::unique_ptr<TypingDesk> make();
    static bool isWayland() { return !qEnvironmentVariableIsEmpty("VORNA_DESKTOP"); }
    static bool isGnome() { return qgetenv("VORNA_DESKTOP") == "gnome"; }
    static bool isPlasma() { return qgetenv("VORNA_DESKTOP") == "plasma"; }

    /// Whether the keys that the user holds count for what the server types, too.
    static bool sharesKeyboard() { return isGnome(); }
    /// Whether the server can type what the user's layouts lack.
    static bool typesAnything() { return !isGnome(); }

    /// Starts the server; false if it cannot.
    virtual bool start() = 0;
    /// See ServerProcess::problemAtEnd().
    virtual QByteArray problemAtEnd() = 0;
    virtual const UserSession &session() const = 0;
    virtual std::unique_ptr<ControlsProgram> open(ControlsProgram::Kind kind) = 0;

    /// Gives the user's keyboard these layouts, such as "us" or "de,fr", the first one active.
    virtual bool useLayout(const QString &layouts) = 0;
    /// Makes the layout active that has this number, from 0.
    virtual void switchToLayout(int number) = 0;
    /// Whether a test can press keys of the user's own keyboard. KWin lets no program do that.
    static bool canHinder() { return !isPlasma(); }
    /// Presses what the hindrance consists of, or lets go of it.
    virtual void hinder(Hindrance hindrance, bool begins) = 0;

    /// Whether the pointer is there; true where the desktop tells nobody.
    virtual bool isPointerAt(const QPoint &place) const = 0;
};
