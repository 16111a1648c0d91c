// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/SessionEntry.h"

#include <QCoreApplication>
#include <QDir>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

constexpr QLatin1StringView label = "com.ostrovane.quillmote-web"_L1;

} // namespace

QString SessionEntry::path()
{
    return QDir::homePath() + u"/Library/LaunchAgents/"_s + label + u".plist"_s;
}

/// A launch agent that starts with the session; see launchd.plist(5).
QByteArray SessionEntry::content()
{
    return u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n"
           "<key>Label</key><string>%1</string>\n"
           "<key>ProgramArguments</key><array><string>%2</string><string>--no-open</string></"
           "array>\n"
           "<key>RunAtLoad</key><true/>\n</dict></plist>\n"_s
               .arg(label, QCoreApplication::applicationFilePath().toHtmlEscaped())
               .toUtf8();
}

} // namespace quillmote
