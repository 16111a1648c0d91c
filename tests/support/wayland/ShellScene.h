// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/session/NotificationDesk.h"
#include "support/session/ServerProcess.h"
#include "support/wayland/ShellSession.h"
#include "support/wayland/WaylandScene.h"

#include <memory>

/// A large desktop of Wayland with the server in it, whose tray is the test itself.
class ShellScene : public WaylandScene
{
public:
    using Shell = ShellSession::Shell;

    explicit ShellScene(Shell shell = ofEnvironment().value_or(Shell::Gnome));

    /// The desktop that VORNA_DESKTOP names: "gnome" or "plasma".
    static std::optional<Shell> ofEnvironment();

    QByteArray problem() const override;
    bool start() override;
    /// Lets the server ask for the portal's consent, gives that, and waits until keys are posted.
    /// Then it pushes the pointer into the lower right corner, from where on the server knows its
    /// place.
    bool allow() override;
    /// What the server says to a key of a program of the user; empty if it is posted.
    QString errorOfKey() const;
    QByteArray problemAtEnd() override;

    ShellSession &session() override { return desktop; }
    const ShellSession &session() const { return desktop; }
    ServerProcess &server() const override { return *process; }
    QSize outputSize() const override { return ShellSession::OutputSize; }
    NotificationDesk &desk() { return *panel; }

private:
    ShellSession desktop;
    std::unique_ptr<NotificationDesk> panel;
    std::unique_ptr<ServerProcess> process;
};
