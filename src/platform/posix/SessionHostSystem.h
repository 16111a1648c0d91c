// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <optional>

#include <sys/types.h>

// What local sockets need of each system under a name of its own.

namespace platform {

struct Peer
{
    uid_t user = 0;
    QString program; ///< Its name for people; empty if the system does not tell.
};

/// What send() is told, and what is set at a socket, so that a peer that is gone is an error and
/// does not end this process by a signal.
extern const int sendFlags;
void preventSignal(int socket);

/// Who has connected to the socket; none if the system does not tell.
std::optional<Peer> peerOf(int socket);

} // namespace platform
