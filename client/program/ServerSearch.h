// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/ServerBrowser.h"
#include "program/ServerChoice.h"

#include <QEventLoop>
#include <QMap>
#include <QTimer>

#include <chrono>

namespace quillmote {

struct SearchResult
{
    ServerChoice choice;
    QString problem; // if the system cannot discover at all
};

/// Watches the network until it is clear which server the user wants.
class ServerSearch
{
public:
    explicit ServerSearch(const WantedServer &which);

    /// Runs an event loop, for at most that time.
    SearchResult run(std::chrono::milliseconds limit);

private:
    void decide(SearchState state);

    WantedServer wanted;
    QMap<QString, ServerAddress> seen; // by name
    SearchResult result;
    QEventLoop loop;
    QTimer quiet; // runs out when no server has been found for a while
    ServerBrowser browser;
};

} // namespace quillmote
