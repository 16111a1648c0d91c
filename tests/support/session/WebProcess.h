// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Waiting.h"
#include "support/process/ChildProcess.h"
#include "support/process/PseudoTerminal.h"
#include "support/session/UserSession.h"

#include <csignal>
#include <functional>
#include <optional>

/// The program of VORNA_QUILLMOTE_WEB, which serves phones, running in a terminal of a session.
class WebProcess
{
public:
    WebProcess(
        const UserSession &session, const QStringList &arguments,
        std::function<void()> lastPreparation = [] {});

    qint64 processId() const { return process.processId(); }
    bool isRunning() const { return process.state() == QProcess::Running; }

    /// The address of a fresh code, as it is in the picture that the terminal shows; waits for it.
    /// Empty if none comes.
    QString pairingAddress();
    /// The file that leads the desktop's browser to its own page.
    QString pageFile() const { return redirection; }
    /// Everything that it wrote to its terminal, up to now.
    QByteArray text() { return terminal.text(); }

    void kill();
    /// Asks it to end, and waits for that.
    /// \return the exit status; nothing when it crashed or did not end in time.
    std::optional<int> end();
    /// Ends it if it still runs. Returns what was wrong with its end and in what it wrote; empty if
    /// all was well.
    QByteArray problemAtEnd();

private:
    QString redirection;
    PseudoTerminal terminal;
    ChildProcess process;
};
