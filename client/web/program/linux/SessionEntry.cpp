// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/SessionEntry.h"

#include <QCoreApplication>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

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

} // namespace

QString SessionEntry::path()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           u"/autostart/quillmote-web.desktop"_s;
}

QByteArray SessionEntry::content()
{
    return u"[Desktop Entry]\nType=Application\nName=Remote control from a phone\n"
           "Exec=%1 --no-open\nIcon=quillmote-web\nX-GNOME-Autostart-enabled=true\n"_s
               .arg(execWord(QCoreApplication::applicationFilePath()))
               .toUtf8();
}

} // namespace quillmote
