// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/SessionHostSystem.h"

#include "platform/SessionHost.h"

#include <QDir>
#include <QFile>

#include <array>
#include <climits>

#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

namespace platform {

const int sendFlags = 0;

void preventSignal(int socket)
{
    const int on = 1;
    setsockopt(socket, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
}

QString runtimeDirectory()
{
    std::array<char, PATH_MAX> path{};
    const size_t size = confstr(_CS_DARWIN_USER_TEMP_DIR, path.data(), path.size());
    const bool isWhole = size > 0 && size <= path.size();
    return isWhole ? QDir::cleanPath(QFile::decodeName(path.data())) : QString();
}

/// The program's name would take private interfaces.
std::optional<Peer> peerOf(int socket)
{
    uid_t user = 0;
    gid_t group = 0;
    if (getpeereid(socket, &user, &group) != 0) {
        return std::nullopt;
    }
    return Peer{user, QString()};
}

} // namespace platform
