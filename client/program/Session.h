// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/Connection.h"
#include "program/Arguments.h"
#include "program/Terminal.h"

namespace quillmote {

struct Target;

/// A connection to a server on the network.
class Session
{
public:
    /// Connects. A failure is reported to the user, and exitCode() is not Done then.
    Session(const Target &target, const Arguments &arguments);
    /// Remembers a server that has answered. If the server shows something about the command, the
    /// connection is kept open for some seconds; see ConnectionKeeper.
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    bool isOpen() const { return code == Terminal::ExitCode::Done; }
    Terminal::ExitCode exitCode() const { return code; }
    Connection &connection() { return link; }
    /// The server's name or address, printable.
    QString serverName() const { return name; }

    /// Sends the request and waits for its end. Failures are reported to the user.
    Terminal::ExitCode run(const Request &request, Answer *answer = nullptr);

    /// The exit code of an outcome; reports a failure to the user, with that advice if no answer
    /// came in time.
    static Terminal::ExitCode report(const Outcome &outcome, const QString &timeoutAdvice);
    /// The same, with the advice to try a longer --timeout.
    static Terminal::ExitCode report(const Outcome &outcome);

private:
    void connectTo(const Target &target, const Arguments &arguments);

    Connection link;
    QString name;              // for the user; printable
    QString advertisedName;    // empty if the user has given the address
    bool isShownThere = false; // whether the server shows something about the command
    Terminal::ExitCode code = Terminal::ExitCode::NoConnection;
};

} // namespace quillmote
