// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "session/SessionCommons.h"

#include <QObject>
#include <QSocketNotifier>

#include <memory>
#include <vector>

namespace platform {
class ListeningPath;
class LocalStream;
} // namespace platform
class Session;

/// The socket for programs of the same user on this computer, and all of its sessions.
class SessionDoor : public QObject
{
    Q_OBJECT

public:
    static constexpr size_t maximumSessions = 128;

    /// The services must outlive this object.
    explicit SessionDoor(SessionServices services);
    /// Ends all sessions.
    ~SessionDoor() override;

    /// Listens in the directory, under the name of the display, unless it does already. Without
    /// success there is no socket, and the log says why.
    void open(const QString &runtimeDirectory);
    /// Removes the socket, and ends all sessions.
    void close();

    size_t sessions() const { return present.size(); }

private:
    struct Guest
    {
        Session *session = nullptr; // a child of the door
        std::shared_ptr<void> descriptor;
    };

    void accept();
    void admit(std::unique_ptr<platform::LocalStream> stream);
    void dismiss(Session *session);
    void pauseAccepting();

    SessionCommons commons;
    std::unique_ptr<platform::ListeningPath> listening;
    std::unique_ptr<QSocketNotifier> notifier; // must not outlive the descriptor that it watches
    std::vector<Guest> present;
};
