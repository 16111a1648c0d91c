// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/PlainAddress.h"

#include <QByteArray>
#include <QtEndian>

namespace quillmote {

QHostAddress plainAddress(const QHostAddress &address)
{
    if (address.protocol() != QAbstractSocket::IPv6Protocol) {
        return address;
    }
    const Q_IPV6ADDR bytes = address.toIPv6Address();
    const QByteArrayView view(reinterpret_cast<const char *>(bytes.c), 16);
    if (view.first(12) == QByteArray(10, '\0') + "\xff\xff") {
        return QHostAddress(qFromBigEndian<quint32>(view.sliced(12).data()));
    }
    QHostAddress plain = address;
    plain.setScopeId(QString());
    return plain;
}

/// An IPv4 address stays as it is, also where it came in by an IPv6 socket.
QByteArray computerOf(const QHostAddress &address)
{
    constexpr qsizetype networkSize = 8;
    const QHostAddress plain = plainAddress(address);
    if (plain.protocol() == QAbstractSocket::IPv4Protocol) {
        return QByteArray::number(plain.toIPv4Address());
    }
    const Q_IPV6ADDR bytes = plain.toIPv6Address();
    return QByteArray(reinterpret_cast<const char *>(bytes.c), networkSize).toHex() + ":";
}

} // namespace quillmote
