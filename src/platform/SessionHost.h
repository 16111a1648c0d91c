// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QtGlobal>

#include <memory>
#include <optional>
#include <span>

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
    /// Owned by this object; closed on exec. Signals for reading while connections wait.
    virtual qintptr descriptor() const = 0;
};

/// Creates the directory (0700) if need be, and the socket (0600) in it. The lock's file is
/// path + ".lock". A socket that nobody holds the lock of is replaced.
/// \param name of the socket's file, ".socket" included
/// \param reason is set to a sentence if it fails
/// \return null if another process holds the lock, the directory belongs to another user or is open
/// to others, or the system refuses
std::unique_ptr<ListeningPath> listenAt(const QString &directory, const QString &name,
                                        QString &reason);

/// One end of a local stream, which never waits; closed on exec, and with the object.
class LocalStream
{
public:
    explicit LocalStream(qintptr opened) : number(opened) {}
    ~LocalStream();
    LocalStream(const LocalStream &) = delete;
    LocalStream &operator=(const LocalStream &) = delete;

    qintptr descriptor() const { return number; }
    /// Takes what has arrived; nothing now is 0.
    /// \return none if the other end has ended its sending, or the stream is broken
    std::optional<qsizetype> receive(std::span<char> room) const { return receive({}, room); }
    /// The same into two places, of which the first is filled first.
    std::optional<qsizetype> receive(std::span<char> first, std::span<char> second) const;
    /// Hands over as many of the bytes as the system takes, perhaps none.
    /// \return none if the other end is gone
    std::optional<qsizetype> send(std::span<const char> bytes) const;
    /// Whether the other end is gone, and not merely done with sending.
    bool isPeerGone() const;
    /// Whether the other end is a process of the same user.
    bool isPeerSameUser() const;
    /// The name of the other end's program, for people; empty if the host does not tell.
    QString peerProgram() const;

private:
    qintptr number;
};

/// What accepting a connection has come to.
struct Accepted
{
    std::unique_ptr<LocalStream> stream; ///< Null if none waits, or if the system refuses.
    bool isShort = false;                ///< The system refuses for want of descriptors or memory.
};

Accepted acceptFrom(const ListeningPath &listening);

} // namespace platform
