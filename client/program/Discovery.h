// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/ServerBrowser.h"

#include <QList>

#include <chrono>
#include <functional>
#include <optional>

/// What was seen on the local network.
struct DiscoveredServers
{
    QList<quillmote::ServerAddress> servers;
    QString problem; // when the system cannot discover at all
};

/// Watches the network for that long, running an event loop.
DiscoveredServers discoverServers(std::chrono::milliseconds duration);

/// Tells of each server that comes and of the name of each that goes, until the limit if there is
/// one. Returns why it ended, or nothing at the limit.
QString watchServers(std::optional<std::chrono::milliseconds> limit,
                     const std::function<void(const quillmote::ServerAddress &)> &came,
                     const std::function<void(const QString &)> &went);

/// Watches until the one of that name has been seen, at most that long.
DiscoveredServers discoverServer(const QString &name, std::chrono::milliseconds limit);
