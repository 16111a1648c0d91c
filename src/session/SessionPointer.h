// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"
#include "session/SessionRequest.h"
#include "session/SharedHolds.h"

#include <QList>

class SessionScreens;

/// The requests of one session about the pointer, and the buttons that it holds.
class SessionPointer
{
public:
    SessionPointer(platform::DesktopInput &input, SharedHolds<platform::PointerButton> &allHeld,
                   const SessionScreens &screens);
    /// Releases what is held.
    ~SessionPointer();
    SessionPointer(const SessionPointer &) = delete;
    SessionPointer &operator=(const SessionPointer &) = delete;

    SessionReply move(const SessionRequest &request);
    SessionReply moveTo(const SessionRequest &request);
    SessionReply button(const SessionRequest &request);
    SessionReply scroll(const SessionRequest &request);

    bool isHolding() const { return !held.isEmpty(); }
    void releaseHeld();

private:
    void click(platform::PointerButton button);
    void press(platform::PointerButton button);
    void release(platform::PointerButton button);

    platform::DesktopInput &input;
    SharedHolds<platform::PointerButton> &allHeld; // by any session
    const SessionScreens &screens;
    QList<platform::PointerButton> held;
};
