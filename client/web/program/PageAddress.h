// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHostAddress>
#include <QString>

namespace quillmote {

/// How phones reach the page on this computer.
struct PageAddress
{
    quint16 port = 0;
    QString certifiedName; ///< of the certificate; empty without https, where addresses serve

    /// The page at that address of this computer.
    QString url(const QHostAddress &address) const;
};

} // namespace quillmote
