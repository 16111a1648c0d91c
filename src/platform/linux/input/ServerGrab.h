// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <QByteArray>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace platform {

/// Keeps all other programs from using the X server for a moment, so that what was learnt of it
/// still holds when it acts on our next requests. Connections that ignoreServerGrabs() are not kept
/// off.
///
/// A grab must end within the call in which it was taken: other connections of our own, such as the
/// toolkit's, would wait for the server, and nothing would ever release it.
class ServerGrab
{
public:
    /// Connects to the display of that name; null is the one that DISPLAY names.
    explicit ServerGrab(const char *display);

    bool isOpen() const { return connection && connection->isOpen(); }

    /// Calls back from the event loop when no other program has the server, or when the connection
    /// has ended. Never waits. One question at a time; another one is ignored.
    void askWhetherFree(std::function<void()> isFree);

    /// Waits a moment for the server; false if another program has it or if it does not answer. To
    /// be called when it was free just now. An open question is dropped.
    bool take();
    void release();

private:
    void connectAgain();
    void takeInAnswer();
    void dropQuestion();

    QByteArray name;
    std::unique_ptr<X11Connection> connection;
    /// A request to grab the server cannot be withdrawn, except by the end of its connection. A new
    /// one cannot be opened while another program has the server.
    std::unique_ptr<X11Connection> spare;
    std::optional<unsigned int> question;
    std::function<void()> whenFree;
    QObject context; ///< Of calls that are queued in the event loop; they end with it.
};

} // namespace platform
