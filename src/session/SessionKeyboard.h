// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"
#include "session/SessionRequest.h"
#include "session/SharedHolds.h"

#include <QList>
#include <QObject>

class SessionFields;

/// The requests of one session about the keyboard, and the keys that it holds.
///
/// An answer that is still to come when this object is destroyed does not come.
class SessionKeyboard : public QObject
{
public:
    /// How many keys a session may hold.
    static constexpr qsizetype mostHeld = 32;

    SessionKeyboard(platform::DesktopInput &input, SharedHolds<platform::Key> &allHeld);
    /// Releases what is held, and stops typing.
    ~SessionKeyboard() override;

    void key(const SessionRequest &request, const SessionAnswer &answer);
    void text(const SessionRequest &request, const SessionAnswer &answer);

    bool isHolding() const { return !held.isEmpty(); }
    void releaseHeld();

private:
    struct Stroke;

    static Stroke strokeOf(SessionFields &fields);
    void carryOut(const Stroke &stroke, const SessionAnswer &answer);
    void press(const Stroke &stroke, const SessionAnswer &answer);
    void pressed(const Stroke &stroke);
    void release(const platform::Key &key);
    platform::KeyModifiers withHeld(platform::KeyModifiers modifiers) const;

    platform::DesktopInput &input;
    SharedHolds<platform::Key> &allHeld; // by any session
    QList<platform::Key> held;           // in the order in which they were pressed
};
