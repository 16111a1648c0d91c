// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Waiting.h"
#include "support/process/ChildProcess.h"
#include "support/session/UserSession.h"

#include <csignal>
#include <functional>
#include <optional>

/// The program of VORNA_QUILLMOTE_WEB, which serves phones, running in a session.
class WebProcess
{
public:
    WebProcess(
        const UserSession &session, const QStringList &arguments,
        std::function<void()> lastPreparation = [] {});

    qint64 processId() const { return process.processId(); }
    bool isRunning() const { return process.state() == QProcess::Running; }

    /// The address with a fresh code that it shows in the terminal; waits for it. Empty if none
    /// comes.
    QString pairingAddress();
    /// Everything that it wrote to its standard output, up to now.
    QByteArray outputText() { return output += process.readAllStandardOutput(); }
    QByteArray errorText() const;

    void kill();
    /// Asks it to end, and waits for that.
    /// \return the exit status; nothing when it crashed or did not end in time.
    std::optional<int> end();
    /// Ends it if it still runs. Returns what was wrong with its end and in what it wrote; empty if
    /// all was well.
    QByteArray problemAtEnd();

private:
    QString errorFile;
    QByteArray output;
    ChildProcess process;
};
