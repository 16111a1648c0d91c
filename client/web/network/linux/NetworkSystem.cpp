// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/network/NetworkSystem.h"

#include <QFile>

#include <linux/if_addr.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillmote {

int openNetworkNews()
{
    const int descriptor =
        ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    sockaddr_nl groups{};
    groups.nl_family = AF_NETLINK;
    groups.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR | RTMGRP_IPV4_ROUTE |
                       RTMGRP_IPV6_ROUTE;
    if (descriptor >= 0 &&
        ::bind(descriptor, reinterpret_cast<const sockaddr *>(&groups), sizeof groups) != 0) {
        ::close(descriptor);
        return -1;
    }
    return descriptor;
}

/// A line: the address, the number of the interface, the size of the network, the scope, the flags,
/// all in hexadecimal digits, and the name (proc(5)).
QList<QHostAddress> temporaryAddresses()
{
    QList<QHostAddress> found;
    QFile file(u"/proc/net/if_inet6"_s);
    if (!file.open(QIODevice::ReadOnly)) {
        return found; // there is no IPv6
    }
    for (const QByteArray &line : file.readAll().split('\n')) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        const QByteArray bytes = QByteArray::fromHex(fields.first());
        const uint flags = fields.value(4).toUInt(nullptr, 16);
        if (bytes.size() == 16 && (flags & (IFA_F_TEMPORARY | IFA_F_DEPRECATED)) != 0) {
            found += QHostAddress(reinterpret_cast<const quint8 *>(bytes.constData()));
        }
    }
    return found;
}

} // namespace quillmote
