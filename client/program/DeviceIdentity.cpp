// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/DeviceIdentity.h"

#include "lib/PrivateFile.h"

#include <QFile>
#include <QHostInfo>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QStandardPaths>

#include <array>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

QString path()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           u"/quillmote/identity"_s;
}

/// 128 bits from the system's secure source.
QString makeIdentity()
{
    std::array<quint32, 4> bits{};
    QRandomGenerator::system()->fillRange(bits.data(), bits.size());
    QString identity = u"quillmote-"_s;
    for (const quint32 part : bits) {
        identity += u"%1"_s.arg(part, 8, 16, QChar(u'0'));
    }
    return identity;
}

/// Empty if there is none.
QString storedIdentity()
{
    static const QRegularExpression form(u"\\Aquillmote-[0-9a-f]{32}\\z"_s);
    const QString text = QString::fromLatin1(PrivateFile::read(path())).trimmed();
    return form.match(text).hasMatch() ? text : QString();
}

/// Without a name. If there is no stored identity, a new one is made and stored.
DeviceIdentity storedOrMade()
{
    const QString stored = storedIdentity();
    if (!stored.isEmpty()) {
        return {stored, {}, {}};
    }
    QFile::remove(path());
    const QString made = makeIdentity();
    const QString problem = PrivateFile::create(path(), made.toLatin1() + '\n');
    // Another run may have made one at the same time.
    const QString kept = storedIdentity();
    if (!kept.isEmpty()) {
        return {kept, {}, {}};
    }
    return {made, {}, problem.isEmpty() ? u"%1 cannot be read"_s.arg(path()) : problem};
}

} // namespace

DeviceIdentity DeviceIdentity::get(const QString &givenName)
{
    DeviceIdentity identity = storedOrMade();
    identity.name = givenName.isEmpty() ? QHostInfo::localHostName() : givenName;
    return identity;
}

} // namespace quillmote
