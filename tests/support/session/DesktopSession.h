// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/session/UserSession.h"
#include "support/x11/DesktopUser.h"
#include "support/x11/DesktopView.h"
#include "support/x11/XServer.h"

#include <memory>

/// A desktop of X11: an X server, a window manager and, where wanted, a tray and a session bus.
class DesktopSession : public UserSession
{
public:
    enum Part { NoParts = 0, Tray = 1, SessionBus = 2 };
    Q_DECLARE_FLAGS(Parts, Part)

    /// Starts every part and waits until each is there; problem() reports those that are not.
    explicit DesktopSession(Parts parts = Tray);

    /// Starts the tray and waits until it takes icons.
    bool startTray();

    /// Ends that part while programs still use it.
    void endTray();
    void endDisplay();

    QString display() const override { return displayServer.display(); }
    /// For tests that halt it for a while.
    XServer &xServer() { return displayServer; }
    const XServer &xServer() const { return displayServer; }

    const DesktopView &view() const { return *screenView; }
    const DesktopUser &user() const { return *person; }

private:
    void describeDisplay(QProcessEnvironment &environment) const override;
    void startWindowManager();
    bool windowManagerAnswers() const;

    // The parts end in the reverse order: what is shown goes before what shows it.
    XServer displayServer;
    ChildProcess windowManager;
    ChildProcess tray;
    std::unique_ptr<DesktopView> screenView;
    std::unique_ptr<DesktopUser> person;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(DesktopSession::Parts)
