// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"
#include "session/SessionRequest.h"

#include <QList>

#include <functional>
#include <optional>

namespace platform {
class Screens;
}

/// The requests of one session about the pointer, and the buttons that it holds.
class SessionPointer
{
public:
    SessionPointer(platform::DesktopInput &input, platform::Screens &screens);
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
    SessionReply moveToShare(qint64 screen, double x, double y);
    void click(platform::PointerButton button);
    void press(platform::PointerButton button);
    void release(platform::PointerButton button);

    platform::DesktopInput &input;
    platform::Screens &screens;
    QList<platform::PointerButton> held;
};
