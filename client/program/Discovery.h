// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/ServerBrowser.h"

#include <QList>

#include <chrono>

/// What was seen on the local network.
struct DiscoveredServers
{
    QList<quillmote::ServerAddress> servers;
    QString problem; // when the system cannot discover at all
};

/// Watches the network for that long, running an event loop.
DiscoveredServers discoverServers(std::chrono::milliseconds duration);

/// Watches until the one of that name has been seen, at most that long.
DiscoveredServers discoverServer(const QString &name, std::chrono::milliseconds limit);
