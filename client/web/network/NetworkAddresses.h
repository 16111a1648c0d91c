// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHostAddress>
#include <QList>
#include <QObject>

namespace quillmote {

/// An address of this computer that phones may reach.
struct OfferedAddress
{
    QHostAddress address;
    bool isDefault = false; ///< of the default route
};

/// The addresses of this computer, the best one first; empty without a network.
QList<OfferedAddress> offeredAddresses();

/// Tells when they change.
class NetworkChanges : public QObject
{
    Q_OBJECT

signals:
    void changed();
};

} // namespace quillmote
