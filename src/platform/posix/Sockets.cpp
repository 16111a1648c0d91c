// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/Sockets.h"

#include "platform/posix/SocketSystem.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>

namespace platform {
namespace {

void setOption(qintptr descriptor, int level, int name, int value)
{
    setsockopt(static_cast<int>(descriptor), level, name, &value, sizeof value);
}

} // namespace

void tuneAcceptedSocket(qintptr descriptor)
{
    setOption(descriptor, SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(descriptor, IPPROTO_TCP, keepaliveIdleOption, 15);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, 5);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPCNT, 3);
    setOption(descriptor, IPPROTO_TCP, TCP_NODELAY, 1);
}

int descriptorsLeftAfter(qintptr descriptor)
{
    return grantedDescriptors() - static_cast<int>(descriptor) - 1;
}

QByteArray takeArrived(qintptr descriptor, qsizetype size)
{
    int arrived = 0;
    if (ioctl(static_cast<int>(descriptor), FIONREAD, &arrived) != 0 || arrived <= 0) {
        return {};
    }
    QByteArray bytes(std::min<qsizetype>(arrived, size), Qt::Uninitialized);
    const ssize_t taken = recv(static_cast<int>(descriptor), bytes.data(),
                               static_cast<size_t>(bytes.size()), MSG_DONTWAIT);
    bytes.truncate(std::max<qsizetype>(taken, 0));
    return bytes;
}

} // namespace platform
