// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHostAddress>
#include <QList>

namespace quillmote {

/// An address at which a phone may reach this computer.
struct OfferedAddress
{
    QHostAddress address;
    bool isDefault = false; ///< of the interface by which this computer reaches other networks

    friend bool operator==(const OfferedAddress &, const OfferedAddress &) = default;
};

/// What an address is like, for the order in which addresses are offered.
struct AddressTraits
{
    QHostAddress address;
    bool isDefault = false;
    bool isVirtual = false;   ///< of a bridge to machines inside of this one, or of a tunnel
    bool isTemporary = false; ///< IPv6 changes it after hours, and phones remember it
};

/// The addresses of this computer that others can reach, the best one first; none without a
/// network. At most one is the default.
QList<OfferedAddress> offeredAddresses();

/// The order: what others can reach before bridges and tunnels, the default before the rest,
/// lasting addresses before temporary ones, and IPv4 before IPv6, which is longer to type.
QList<OfferedAddress> sortedAddresses(QList<AddressTraits> addresses);

} // namespace quillmote
