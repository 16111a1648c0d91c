// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/ServerBrowser.h"

#include <QList>
#include <QString>

#include <optional>

namespace quillmote {

/// The server that the user wants.
struct WantedServer
{
    QString name;     ///< empty if none is named
    QString lastUsed; ///< the default if none is named; may be empty
};

/// The progress of the search.
enum class SearchState {
    Running, ///< more servers may be found
    Quiet,   ///< a server was found, and no other one for a while after it
    Over,    ///< the time is up
};

/// The decision after the servers that were seen so far.
struct ServerChoice
{
    enum class Kind {
        Undecided, ///< keep searching
        Clear,     ///< use `server`
        Several,   ///< the user must pick one of `candidates`
        None,      ///< there is no such server; `candidates` were seen
    };
    Kind kind = Kind::Undecided;
    ServerAddress server;
    QList<ServerAddress> candidates;
};

/// A name is matched exactly if possible, else without regard to case. Without a name the server
/// used last is taken. If that one is not found by the end of the search, the only other server is.
///
/// No other server is taken while the one used last may still answer: keys must not go to another
/// desktop because a message was lost.
ServerChoice chooseServer(const WantedServer &wanted, const QList<ServerAddress> &seen,
                          SearchState state);

} // namespace quillmote
