// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Waiting.h"
#include "support/process/ChildProcess.h"
#include "support/session/AvahiDaemon.h"

#include <QHostAddress>
#include <QMap>

#include <optional>

/// A service as a browser on the network sees it.
struct SeenService
{
    QHostAddress address;
    quint16 port = 0;
    QByteArray text; ///< The TXT record's strings as avahi-browse shows them.

    bool operator==(const SeenService &) const = default;
};

/// Looks for the services of one type from a host, by avahi-browse, for as long as it lives. The
/// host's daemon must run all the while.
class ServiceBrowser
{
public:
    ServiceBrowser(const NetworkHost &host, const AvahiDaemon &daemon, const QString &type);

    /// The services that are there now and have been resolved, by their names.
    const QMap<QString, SeenService> &services();

    /// The service of that name, once it is there.
    std::optional<SeenService> waitFor(const QString &name,
                                       std::chrono::milliseconds limit = GenerousLimit);
    /// False when a service of that name is still there after the limit.
    bool waitUntilGone(const QString &name, std::chrono::milliseconds limit = GenerousLimit);

private:
    void take(const QByteArray &line);

    ChildProcess browse;
    QMap<QString, SeenService> resolved;
};
