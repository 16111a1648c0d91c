// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/SessionEntry.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

constexpr QLatin1StringView label = "com.ostrovane.quillmote-web"_L1;

QString agentPath()
{
    return QDir::homePath() + u"/Library/LaunchAgents/"_s + label + u".plist"_s;
}

/// A launch agent that starts with the session; see launchd.plist(5).
QByteArray agent()
{
    return u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n"
           "<key>Label</key><string>%1</string>\n"
           "<key>ProgramArguments</key><array><string>%2</string><string>--no-open</string></"
           "array>\n"
           "<key>RunAtLoad</key><true/>\n</dict></plist>\n"_s
               .arg(label, QCoreApplication::applicationFilePath().toHtmlEscaped())
               .toUtf8();
}

} // namespace

bool SessionEntry::exists()
{
    return QFileInfo::exists(agentPath());
}

QString SessionEntry::set(bool isWanted)
{
    const QString path = agentPath();
    if (!isWanted) {
        return !exists() || QFile::remove(path) ? QString() : u"%1 cannot be removed."_s.arg(path);
    }
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile file(path);
    const QByteArray content = agent();
    const bool isWritten =
        file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit();
    return isWritten ? QString() : u"%1 cannot be written: %2"_s.arg(path, file.errorString());
}

} // namespace quillmote
