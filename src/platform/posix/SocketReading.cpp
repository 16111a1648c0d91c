// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/Sockets.h"

#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>

namespace platform {

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
