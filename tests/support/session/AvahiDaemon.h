// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/process/ChildProcess.h"
#include "support/session/NetworkNamespaces.h"

#include <QTemporaryDir>

#include <memory>

/// The DNS-SD daemon of a host, and the system bus on which programs find it. The bus runs from the
/// beginning, the daemon from start() on.
class AvahiDaemon
{
public:
    explicit AvahiDaemon(const NetworkHost &host);

    /// Why it cannot be used; empty when it can.
    QByteArray problem() const { return failure; }

    /// The system bus's address.
    QString busAddress() const;

    bool isRunning() const { return daemon != nullptr; }
    /// Starts the daemon and waits until it serves; false when it does not.
    bool start();
    /// Ends the daemon in order: it takes back what it had announced.
    void stop();
    /// Ends the daemon at once, as when it has crashed.
    void crash();

private:
    void writeConfiguration() const;
    void startBus();
    QString path(const char *name) const { return folder.filePath(QLatin1String(name)); }

    const NetworkHost &machine;
    QTemporaryDir folder;
    QByteArray failure;
    ChildProcess bus;
    std::unique_ptr<ChildProcess> daemon;
};
