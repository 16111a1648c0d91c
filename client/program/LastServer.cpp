// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/LastServer.h"

#include "lib/PrivateFile.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace quillmote::LastServer {
namespace {

/// The longest name of a service instance (RFC 6763, section 4.1.1).
constexpr qsizetype longestName = 63; // bytes

QString path()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
           u"/quillmote/last-server.json"_s;
}

} // namespace

QString name()
{
    const auto stored = QJsonDocument::fromJson(PrivateFile::read(path())).object();
    const QString name = stored.value("name"_L1).toString();
    return name.toUtf8().size() <= longestName ? name : QString();
}

void remember(const QString &newName)
{
    if (newName != name()) {
        const QJsonObject object = {{u"name"_s, newName}};
        PrivateFile::replace(path(), QJsonDocument(object).toJson());
    }
}

} // namespace quillmote::LastServer
