// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/network/NetworkAddresses.h"

#include <QHostAddress>
#include <QList>
#include <QString>

#include <functional>

namespace quillmote {

/// How phones reach the page on this computer.
struct PageAddress
{
    quint16 port = 0;
    QString certifiedName; ///< of the certificate; empty without https, where addresses serve
    QList<QHostAddress> listening; ///< the only addresses that are listened at; empty for all
    /// Of all that this computer has.
    std::function<QList<OfferedAddress>()> addresses = offeredAddresses;

    /// The addresses that phones may use, the best one first; empty without a network.
    QList<OfferedAddress> offered() const;
    /// The page at that address of this computer.
    QString url(const QHostAddress &address) const;
};

} // namespace quillmote
