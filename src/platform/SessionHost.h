// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QtGlobal>

#include <memory>
#include <optional>

/// What the session socket needs from the host system.
namespace platform {

/// The directory for the user's sockets, an absolute path; empty if the host has none.
QString runtimeDirectory();

/// The name of the display that this program shows its windows on, as docs/session.md defines it,
/// without a suffix.
QString displayName();

/// A local stream socket that listens at a path, and the lock that makes the path its own. Both go
/// with the object: the socket's file is removed, the lock's file stays.
class ListeningPath
{
public:
    virtual ~ListeningPath() = default;
    /// Owned by this object; closed on exec.
    virtual qintptr descriptor() const = 0;
};

/// Creates the directory (0700) if need be, and the socket (0600) in it. The lock's file is
/// path + ".lock". A socket that nobody holds the lock of is replaced.
/// \param reason is set to a sentence if it fails
/// \return null if another process holds the lock, the directory belongs to another user or is open
/// to others, or the system refuses
std::unique_ptr<ListeningPath> listenAt(const QString &directory, const QString &name,
                                        QString &reason);

/// Whether the other end of a local socket is a process of the same user.
bool isPeerSameUser(qintptr descriptor);
/// The name of the other end's program, for people; empty if the host does not tell.
QString peerProgram(qintptr descriptor);

} // namespace platform
