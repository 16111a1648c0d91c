// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/http/WebDoor.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace quillmote {

/// A certificate and its key from files, for https.
struct CertificateFiles
{
    std::optional<Certificate> certificate;
    QStringList names; ///< that browsers may call this computer by; the first is offered
    QString problem;   ///< why they cannot be used; empty if they can

    /// Files in PEM format; the first one may hold the issuers' certificates behind its own.
    static CertificateFiles read(const QString &certificateFile, const QString &keyFile);
};

} // namespace quillmote
