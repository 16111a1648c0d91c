// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/SessionHostSystem.h"

#include "platform/SessionHost.h"

#include <QFile>
#include <QFileInfo>

#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

QString programOf(pid_t process)
{
    QFile name(u"/proc/%1/comm"_s.arg(process));
    return name.open(QIODevice::ReadOnly) ? QString::fromUtf8(name.readAll()).trimmed() : QString();
}

} // namespace

const int sendFlags = MSG_NOSIGNAL;

void preventSignal(int /*socket*/) {}

/// By the XDG Base Directory Specification a relative path counts as none, and the directory must
/// be the user's.
QString runtimeDirectory()
{
    const QString path = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QFileInfo folder(path);
    const bool isUsable = path.startsWith(u'/') && folder.isDir() && folder.ownerId() == geteuid();
    return isUsable ? path : QString();
}

std::optional<Peer> peerOf(int socket)
{
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
        return std::nullopt;
    }
    return Peer{credentials.uid, programOf(credentials.pid)};
}

} // namespace platform
