// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/ListenAddress.h"

#include <QNetworkInterface>

namespace {

const QHostAddress everywhere(QHostAddress::AnyIPv4);

} // namespace

std::optional<QHostAddress> ListenAddress::of(const QString &text)
{
    if (text.isEmpty()) {
        return everywhere;
    }
    const QHostAddress address(text);
    bool isIPv4 = false;
    address.toIPv4Address(&isIPv4);
    // Of these, only the usual form: the toolkit takes "127.1", "5" and "::ffff:127.0.0.1", too.
    const bool isUnusual =
        isIPv4 && (address.protocol() != QHostAddress::IPv4Protocol || address.toString() != text);
    return address.isNull() || isUnusual ? std::nullopt : std::optional(address);
}

QString ListenAddress::settingFor(const QHostAddress &address)
{
    return address == everywhere ? QString() : address.toString();
}

bool ListenAddress::isOurs(const QHostAddress &address)
{
    return address == everywhere || address.isLoopback() ||
           QNetworkInterface::allAddresses().contains(address);
}

bool ListenAddress::admits(const QHostAddress &listening, const QHostAddress &connectedTo)
{
    return listening == everywhere ? connectedTo.protocol() == QHostAddress::IPv4Protocol
                                   : listening == connectedTo;
}
