// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QMetaType>
#include <QString>

/// Names one service instance of DNS Service Discovery.
struct BonjourRecord
{
    BonjourRecord() = default;
    BonjourRecord(const QString &name, const QString &type, const QString &domain)
        : serviceName(name)
        , registeredType(type)
        , replyDomain(domain)
    {
    }

    bool operator==(const BonjourRecord &) const = default;

    QString serviceName;
    QString registeredType; ///< with the protocol, such as "_quillmote._tcp"
    QString replyDomain;    ///< empty: the default domains
};

Q_DECLARE_METATYPE(BonjourRecord)
