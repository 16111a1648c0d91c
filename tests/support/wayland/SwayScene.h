// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/session/NotificationDesk.h"
#include "support/session/ServerProcess.h"
#include "support/wayland/SwaySession.h"

#include <memory>

/// A desktop of sway with the server in it, whose tray is the test itself.
class SwayScene
{
public:
    SwayScene();

    /// Why the scene cannot be used; empty when it can.
    QByteArray problem() const;

    /// Starts the server and waits until it listens and its icon is in the tray.
    bool start();
    /// Ends the server if it still runs. Returns what was wrong with its end, with what it wrote;
    /// empty if all was well.
    QByteArray problemAtEnd();

    SwaySession &session() { return sway; }
    const SwaySession &session() const { return sway; }
    ServerProcess &server() const { return *process; }
    NotificationDesk &desk() { return *panel; }
    quint16 port() const { return process->port(); }
    /// Where programs of the user reach the server.
    QString socketPath() const { return sway.serverSocket(); }

private:
    SwaySession sway{SwaySession::SessionBus};
    std::unique_ptr<NotificationDesk> panel;
    std::unique_ptr<ServerProcess> process;
};
