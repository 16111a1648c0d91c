// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/ServerBrowser.h"
#include "program/ServerChoice.h"

#include <QList>

#include <chrono>
#include <functional>
#include <optional>

namespace quillmote {

/// What was seen on the local network.
struct DiscoveredServers
{
    QList<ServerAddress> servers;
    QString problem; // when the system cannot discover at all
};

/// Watches the network for that long, running an event loop.
DiscoveredServers discoverServers(std::chrono::milliseconds duration);

/// Tells of each server that comes and of the name of each that goes, until the limit if there is
/// one. Returns why it ended, or nothing at the limit.
QString watchServers(std::optional<std::chrono::milliseconds> limit,
                     const std::function<void(const ServerAddress &)> &came,
                     const std::function<void(const QString &)> &went);

/// Where a search has led to.
struct SearchResult
{
    ServerChoice choice;
    QString problem; // when the system cannot discover at all
};

/// Looks for the server until it is clear which one is meant, at most that long.
SearchResult searchServer(const WantedServer &wanted, std::chrono::milliseconds limit);

} // namespace quillmote
