// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/session/NotificationDesk.h"
#include "support/session/ServerProcess.h"
#include "support/wayland/SwaySession.h"
#include "support/wayland/WaylandScene.h"

#include <memory>

/// A desktop of sway with the server in it, whose tray is the test itself.
class SwayScene : public WaylandScene
{
public:
    SwayScene();

    QByteArray problem() const override;
    bool start() override;
    bool allow() override { return true; }
    QByteArray problemAtEnd() override;

    SwaySession &session() override { return sway; }
    const SwaySession &session() const { return sway; }
    ServerProcess &server() const override { return *process; }
    QSize outputSize() const override { return SwaySession::OutputSize; }
    NotificationDesk &desk() { return *panel; }

private:
    SwaySession sway{SwaySession::SessionBus};
    std::unique_ptr<NotificationDesk> panel;
    std::unique_ptr<ServerProcess> process;
};
