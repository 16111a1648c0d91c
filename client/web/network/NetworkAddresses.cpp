// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/network/NetworkAddresses.h"

#include <QNetworkInterface>

namespace quillmote {

QList<OfferedAddress> offeredAddresses()
{
    QList<OfferedAddress> offered;
    for (const QHostAddress &address : QNetworkInterface::allAddresses()) {
        if (!address.isLoopback() && !address.isLinkLocal()) {
            offered.append({address, offered.isEmpty()});
        }
    }
    return offered;
}

} // namespace quillmote
