// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/PageAddress.h"

using namespace Qt::StringLiterals;

namespace quillmote {

QList<OfferedAddress> PageAddress::offered() const
{
    const QList<OfferedAddress> all = addresses();
    if (listening.isEmpty()) {
        return all;
    }
    QList<OfferedAddress> wanted;
    for (const OfferedAddress &one : all) {
        if (listening.contains(one.address)) {
            wanted.append(one);
        }
    }
    // Only who asks for it, such as for a tunnel, is offered this computer's address to itself.
    for (const QHostAddress &address : listening) {
        if (address.isLoopback()) {
            wanted.append({address, wanted.isEmpty()});
        }
    }
    return wanted;
}

QString PageAddress::url(const QHostAddress &address) const
{
    if (!certifiedName.isEmpty()) {
        return u"https://%1:%2/"_s.arg(certifiedName, QString::number(port));
    }
    const bool isLong = address.protocol() == QAbstractSocket::IPv6Protocol;
    return (isLong ? u"http://[%1]:%2/"_s : u"http://%1:%2/"_s)
        .arg(address.toString(), QString::number(port));
}

} // namespace quillmote
