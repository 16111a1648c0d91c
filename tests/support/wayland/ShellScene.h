// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/session/NotificationDesk.h"
#include "support/session/ServerProcess.h"
#include "support/wayland/ShellSession.h"

#include <memory>

/// A large desktop of Wayland with the server in it, whose tray is the test itself.
class ShellScene
{
public:
    using Shell = ShellSession::Shell;

    explicit ShellScene(Shell shell = ofEnvironment().value_or(Shell::Gnome));

    /// The desktop that VORNA_DESKTOP names: "gnome" or "plasma".
    static std::optional<Shell> ofEnvironment();

    /// Why the scene cannot be used; empty when it can.
    QByteArray problem() const;

    /// Starts the server and waits until it listens and its icon is in the tray.
    bool start();
    /// Lets the server ask for the portal's consent, gives that, and waits until keys are posted.
    /// Then it pushes the pointer into the lower right corner, from where on the server knows its
    /// place.
    bool allow();
    /// What the server says to a key of a program of the user; empty if it is posted.
    QString errorOfKey() const;
    /// Ends the server if it still runs. Returns what was wrong with its end, with what it wrote;
    /// empty if all was well.
    QByteArray problemAtEnd();

    ShellSession &session() { return desktop; }
    const ShellSession &session() const { return desktop; }
    ServerProcess &server() const { return *process; }
    NotificationDesk &desk() { return *panel; }
    quint16 port() const { return process->port(); }
    /// Where programs of the user reach the server.
    QString socketPath() const { return desktop.serverSocket(); }

private:
    ShellSession desktop;
    std::unique_ptr<NotificationDesk> panel;
    std::unique_ptr<ServerProcess> process;
};
