// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Waiting.h"
#include "support/process/ChildProcess.h"
#include "support/session/UserSession.h"

#include <csignal>
#include <functional>
#include <optional>

/// The server's executable, named by VORNA_SERVER, running in a session.
class ServerProcess
{
public:
    /// Starts it; `lastPreparation` runs in the child before the program does, and only system
    /// calls are safe in it.
    explicit ServerProcess(
        const UserSession &session, std::function<void()> lastPreparation = [] {},
        const QStringList &arguments = {});

    qint64 processId() const { return process.processId(); }
    bool isRunning() const { return process.state() == QProcess::Running; }

    /// The port it listens on, once it does; 0 when the limit passed first.
    quint16 port(std::chrono::milliseconds limit = GenerousLimit) const;
    bool isListening() const;

    /// Lets it stand still, so that what is sent meanwhile arrives for it all at once.
    void halt() const { send(SIGSTOP); }
    void resume() const { send(SIGCONT); }

    /// Sends the signal and waits for the end.
    /// \return the exit status; nothing when it crashed or did not end in time.
    std::optional<int> end(int signal = SIGTERM);

    /// \return the exit status; nothing when it crashed or did not end in time.
    std::optional<int> waitForEnd(std::chrono::milliseconds limit = GenerousLimit);

    /// The signal by which the system ended it; nothing when it ended by itself, or runs.
    std::optional<int> endingSignal() const;

    /// How many descriptors it has open.
    int openDescriptors() const;

    /// Waits that long and returns how much of a core's time it used meanwhile, in thousandths.
    int processorShare(std::chrono::milliseconds duration) const;

    /// Everything it wrote to its standard output, up to now.
    QByteArray outputText() { return output += process.readAllStandardOutput(); }

    /// Everything it wrote to its standard error.
    QByteArray errorText() const;

    /// The lines of the error text that no sound run writes: the sanitizers' reports and broken
    /// signal connections.
    QByteArray complaints() const;

    /// Ends it if it still runs. Returns what was wrong with its end and in what it wrote; empty if
    /// all was well.
    QByteArray problemAtEnd();

private:
    void send(int signal) const;

    QString errorFile;
    QByteArray output;
    ChildProcess process;
};
