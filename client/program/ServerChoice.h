// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/ServerBrowser.h"

#include <QList>
#include <QString>

#include <optional>

namespace quillmote {

/// Which server the user means.
struct WantedServer
{
    QString name;     ///< empty when none was named
    QString lastUsed; ///< meant when none was named; may be empty
};

/// How far the search has come.
enum class SearchState {
    Running, ///< servers may be on the way
    Quiet,   ///< something was found, and nothing more has come for a while
    Over,    ///< the time is up
};

/// What follows from the servers that were seen so far.
struct ServerChoice
{
    enum class Kind {
        Undecided, ///< go on
        Clear,     ///< `server` it is
        Several,   ///< the user must choose one of `candidates`
        None,      ///< no such server; `candidates` were seen
    };
    Kind kind = Kind::Undecided;
    ServerAddress server;
    QList<ServerAddress> candidates;
};

/// A name is matched exactly if possible, else without regard to case. Without a name the server
/// used last is taken, and when it is not there at the end, the only one that is.
///
/// Another server is never taken early while the one used last may still answer: keys must not go
/// to another desktop because a message was lost.
ServerChoice chooseServer(const WantedServer &wanted, const QList<ServerAddress> &seen,
                          SearchState state);

} // namespace quillmote
