// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/ServerBrowser.h"
#include "program/LocalSession.h"
#include "program/Terminal.h"

#include <QString>

#include <functional>
#include <memory>

namespace quillmote {

struct Arguments;

/// The server that a command goes to, and which of its doors.
///
/// The session socket is used with the server of this desktop: if the arguments say so or name that
/// server, if it was used last, or if none was. Otherwise the server is looked for on the network,
/// and keys never go to this desktop just because another one is not found.
struct Target
{
    /// Done if there is one; otherwise the failure has been reported.
    Terminal::ExitCode code = Terminal::ExitCode::NoConnection;
    /// The open session; null for a server on the network.
    std::unique_ptr<LocalSession> local;
    QString name;           ///< for the user; printable
    QString advertisedName; ///< empty if the user has given the address
    QString host;
    quint16 port = 0;

    bool isFound() const { return code == Terminal::ExitCode::Done; }

    /// Whether the network can carry the command; reports why not, and returns an exit code then.
    using Check = std::function<Terminal::ExitCode()>;

    /// The check is made before anything is searched or connected, unless the server of this
    /// desktop may be meant, which needs none.
    static Target find(const Arguments &arguments, const Check &check = {});
    /// The same for a command that only the session socket offers.
    static Target findLocal(const Arguments &arguments);
};

} // namespace quillmote
