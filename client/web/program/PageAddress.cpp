// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/PageAddress.h"

using namespace Qt::StringLiterals;

namespace quillmote {

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
