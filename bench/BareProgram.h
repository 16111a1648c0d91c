// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "SessionPeer.h"

/// The minimal program that a session is compared with, on the desktop of a bench: it reads bytes
/// from a local socket and posts an event for each.
class BareProgram
{
public:
    /// Starts the executable and waits until it listens.
    BareProgram(const QString &executable, const DesktopSession &session)
        : path(session.path(u"floor"_s))
    {
        process.setProcessEnvironment(session.environment());
        process.start(executable, {path});
        ServerBench::require(process.waitForReadyRead(), "start of the bare program");
    }

    SessionPeer peer() const { return SessionPeer::soon(path); }
    qint64 processId() const { return process.processId(); }

private:
    QString path;
    ChildProcess process;
};
