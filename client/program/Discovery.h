// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/ServerBrowser.h"

#include <QList>

#include <chrono>
#include <functional>
#include <optional>

namespace quillmote {

/// The servers on the local network.
struct DiscoveredServers
{
    QList<ServerAddress> servers;
    QString problem; // if the system cannot discover at all
};

/// Watches the network for that long, running an event loop.
DiscoveredServers discoverServers(std::chrono::milliseconds duration);

/// Reports each server that appears, and the name of each that disappears, until the limit if there
/// is one. Runs an event loop. Returns why it ended early; empty at the limit.
QString watchServers(std::optional<std::chrono::milliseconds> limit,
                     const std::function<void(const ServerAddress &)> &came,
                     const std::function<void(const QString &)> &went);

} // namespace quillmote
