// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/SessionConnection.h"
#include "program/Terminal.h"

#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quillmote {

/// An open session with the server of this desktop.
class LocalSession
{
public:
    /// A session, or the reason why there is none.
    struct Found
    {
        std::unique_ptr<LocalSession> session;
        /// A server is there but cannot be used, as opposed to none.
        bool isBroken = false;
        QString problem; ///< the second half of a sentence
    };

    /// Gives what is sent next; nothing at the end.
    using Next = std::function<std::optional<SessionMessage>()>;

    /// Connects to the server of this desktop and waits for its greeting.
    static Found find(std::chrono::milliseconds timeout);

    explicit LocalSession(std::chrono::milliseconds timeout) { link.setTimeout(timeout); }
    /// Remembers a server that has answered.
    ~LocalSession();
    LocalSession(const LocalSession &) = delete;
    LocalSession &operator=(const LocalSession &) = delete;

    SessionConnection &connection() { return link; }
    const SessionGreeting &greeting() const { return link.greeting(); }
    bool can(QLatin1StringView ability) const { return greeting().can.contains(ability); }
    /// For the user; printable.
    QString serverName() const;

    /// Sends the request and waits for its end. Failures are reported to the user.
    Terminal::ExitCode run(const SessionMessage &message, SessionOutcome *end = nullptr);
    /// Sends one after the other, a few ahead of the answers. After a failure no more are sent.
    Terminal::ExitCode runAll(const Next &next);
    Terminal::ExitCode runAll(const std::vector<SessionMessage> &messages);
    /// Lets that time pass; ends early if the connection is lost, which is reported.
    Terminal::ExitCode pause(std::chrono::milliseconds time);

    /// The exit code of an outcome; reports a failure to the user.
    static Terminal::ExitCode report(const SessionOutcome &outcome);

private:
    QString openAt(const QString &path);

    SessionConnection link;
};

} // namespace quillmote
