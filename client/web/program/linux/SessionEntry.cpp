// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/SessionEntry.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

QString entryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           u"/autostart/quillmote-web.desktop"_s;
}

/// The path as one word of an Exec line (Desktop Entry Specification 1.5, "The Exec key"): quoted,
/// with backslashes for the word and once more for the value, and "%" doubled.
QString execWord(QString path)
{
    path.replace(u'\\', u"\\\\\\\\"_s).replace(u'%', u"%%"_s);
    for (const QChar special : u"\"`$"_s) {
        path.replace(special, u"\\\\"_s + special);
    }
    return u'"' + path + u'"';
}

QByteArray entry()
{
    return u"[Desktop Entry]\nType=Application\nName=Remote control from a phone\n"
           "Exec=%1 --no-open\nIcon=quillmote-web\nX-GNOME-Autostart-enabled=true\n"_s
               .arg(execWord(QCoreApplication::applicationFilePath()))
               .toUtf8();
}

} // namespace

bool SessionEntry::exists()
{
    return QFileInfo::exists(entryPath());
}

QString SessionEntry::set(bool isWanted)
{
    const QString path = entryPath();
    if (!isWanted) {
        return !exists() || QFile::remove(path) ? QString() : u"%1 cannot be removed."_s.arg(path);
    }
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile file(path);
    const QByteArray content = entry();
    const bool isWritten =
        file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit();
    return isWritten ? QString() : u"%1 cannot be written: %2"_s.arg(path, file.errorString());
}

} // namespace quillmote
