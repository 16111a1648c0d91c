// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/Certificate.h"

#include <QDateTime>
#include <QFile>
#include <QSslCertificate>
#include <QSslKey>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// A larger file is none of these.
constexpr qint64 largestFile = 256 * 1024;

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(largestFile) : QByteArray();
}

QSslKey keyFrom(const QByteArray &content)
{
    for (const auto algorithm : {QSsl::Rsa, QSsl::Ec, QSsl::Dsa}) {
        const QSslKey key(content, algorithm);
        if (!key.isNull()) {
            return key;
        }
    }
    return {};
}

/// A wildcard names no host that could be offered.
QStringList namesOf(const QSslCertificate &certificate)
{
    QStringList names = certificate.subjectAlternativeNames().values(QSsl::DnsEntry);
    if (names.isEmpty()) {
        names = certificate.subjectInfo(QSslCertificate::CommonName);
    }
    names.removeIf([](const QString &name) { return name.contains(u'*'); });
    return names;
}

} // namespace

CertificateFiles CertificateFiles::read(const QString &certificateFile, const QString &keyFile)
{
    const QList<QSslCertificate> chain = QSslCertificate::fromData(contentOf(certificateFile));
    if (chain.isEmpty()) {
        return {{}, {}, u"%1 holds no certificate in PEM format."_s.arg(certificateFile)};
    }
    const QSslKey key = keyFrom(contentOf(keyFile));
    if (key.isNull()) {
        return {{}, {}, u"%1 holds no key in PEM format that can be read."_s.arg(keyFile)};
    }
    if (chain.first().expiryDate() < QDateTime::currentDateTimeUtc()) {
        return {{}, {}, u"The certificate in %1 has expired."_s.arg(certificateFile)};
    }
    const QStringList names = namesOf(chain.first());
    return {Certificate{chain, key}, names, {}};
}

} // namespace quillmote
