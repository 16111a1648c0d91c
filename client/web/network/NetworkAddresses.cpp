// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/network/NetworkAddresses.h"

#include "web/network/NetworkSystem.h"

#include <QNetworkInterface>
#include <QNetworkProxy>
#include <QUdpSocket>

#include <algorithm>
#include <array>
#include <tuple>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// The local end of a way to that address, over which nothing is sent; null without a way.
QHostAddress localEndTo(const QString &elsewhere)
{
    constexpr quint16 anyPort = 9;
    QUdpSocket socket;
    socket.setProxy(QNetworkProxy::NoProxy);
    socket.connectToHost(QHostAddress(elsewhere), anyPort);
    return socket.state() == QAbstractSocket::ConnectedState ? socket.localAddress()
                                                             : QHostAddress();
}

/// Bridges of containers and virtual machines have names like these; their kind does not tell.
bool isVirtual(const QNetworkInterface &interface)
{
    static constexpr std::array names{"docker"_L1, "br-"_L1,     "veth"_L1,   "virbr"_L1,
                                      "vmnet"_L1,  "vboxnet"_L1, "lxc"_L1,    "lxdbr"_L1,
                                      "podman"_L1, "cni"_L1,     "bridge"_L1, "utun"_L1};
    const bool hasName = std::any_of(names.begin(), names.end(), [&](QLatin1StringView name) {
        return interface.name().startsWith(name);
    });
    return hasName || interface.flags().testFlag(QNetworkInterface::IsPointToPoint);
}

bool isUsable(const QNetworkInterface &interface)
{
    const auto flags = interface.flags();
    return flags.testFlag(QNetworkInterface::IsUp) &&
           flags.testFlag(QNetworkInterface::IsRunning) &&
           !flags.testFlag(QNetworkInterface::IsLoopBack);
}

/// Those that only one cable understands are no use: a browser takes no interface in an address.
bool isUsable(const QHostAddress &address)
{
    return !address.isLoopback() && !address.isLinkLocal() && !address.isMulticast() &&
           !address.isNull();
}

QList<AddressTraits> addressesOf(const QNetworkInterface &interface,
                                 const QList<QHostAddress> &ends,
                                 const QList<QHostAddress> &temporary)
{
    QList<AddressTraits> found;
    const QList<QNetworkAddressEntry> entries = interface.addressEntries();
    // The way may begin at a temporary address; another one of the same interface serves as well.
    const bool hasDefault =
        std::any_of(entries.begin(), entries.end(),
                    [&](const QNetworkAddressEntry &entry) { return ends.contains(entry.ip()); });
    for (const QNetworkAddressEntry &entry : entries) {
        if (isUsable(entry.ip())) {
            found += {entry.ip(), hasDefault, isVirtual(interface), temporary.contains(entry.ip())};
        }
    }
    return found;
}

} // namespace

QList<OfferedAddress> offeredAddresses()
{
    // Addresses for documents, which the default route leads to.
    const QList<QHostAddress> ends{localEndTo(u"192.0.2.1"_s), localEndTo(u"2001:db8::1"_s)};
    const QList<QHostAddress> temporary = temporaryAddresses();
    QList<AddressTraits> found;
    for (const QNetworkInterface &interface : QNetworkInterface::allInterfaces()) {
        if (isUsable(interface)) {
            found += addressesOf(interface, ends, temporary);
        }
    }
    return sortedAddresses(found);
}

QList<OfferedAddress> sortedAddresses(QList<AddressTraits> addresses)
{
    const auto rank = [](const AddressTraits &traits) {
        return std::tuple(traits.isVirtual && !traits.isDefault, !traits.isDefault,
                          traits.isTemporary,
                          traits.address.protocol() != QAbstractSocket::IPv4Protocol);
    };
    std::stable_sort(addresses.begin(), addresses.end(),
                     [&](const AddressTraits &one, const AddressTraits &other) {
                         return rank(one) < rank(other);
                     });
    QList<OfferedAddress> offered;
    for (const AddressTraits &traits : addresses) {
        offered += {traits.address, offered.isEmpty() && traits.isDefault};
    }
    return offered;
}

} // namespace quillmote
