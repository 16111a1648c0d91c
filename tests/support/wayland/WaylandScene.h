// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/session/ServerProcess.h"

#include <QSize>

#include <memory>

/// A desktop of Wayland with the server in it, as far as tests do not depend on which one it is.
class WaylandScene
{
public:
    virtual ~WaylandScene() = default;

    /// The desktop that VORNA_DESKTOP names: "sway", "gnome" or "plasma".
    static std::unique_ptr<WaylandScene> make();

    /// Why the scene cannot be used; empty when it can.
    virtual QByteArray problem() const = 0;
    /// Starts the server and waits until it listens and its icon is in the tray.
    virtual bool start() = 0;
    /// Waits until the server may type and point, where the user has to allow that.
    virtual bool allow() = 0;
    /// Ends the server if it still runs. Returns what was wrong with its end, with what it wrote;
    /// empty if all was well.
    virtual QByteArray problemAtEnd() = 0;

    virtual UserSession &session() = 0;
    virtual ServerProcess &server() const = 0;
    /// In pixels, of the only output.
    virtual QSize outputSize() const = 0;

    quint16 port() const { return server().port(); }
    /// Where programs of the user reach the server.
    QString socketPath() { return session().serverSocket(); }
    /// The display as a path, for programs with another runtime directory.
    QString displayPath() { return session().runtimeDirectory() + u'/' + session().display(); }
};
