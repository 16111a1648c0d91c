// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/RecordingOpener.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

namespace {

const char EntryName[] = "recording-opener.desktop";

/// Without a desktop environment xdg-open asks file(1) for the kind of a file, which decides by
/// what is in it.
const QList<QByteArray> Kinds{
    "x-scheme-handler/http",
    "x-scheme-handler/https",
    "text/plain",
    "text/html",
    "application/octet-stream",
    "application/json",
    "inode/x-empty",
    "text/markdown",
    "image/png",
};

void writeFile(const QString &path, const QByteArray &text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
        qFatal("Cannot write %s", qPrintable(path));
    }
}

} // namespace

RecordingOpener::RecordingOpener(const DesktopSession &session)
    : program(session.path(u"recording-opener"_s))
    , recordFile(session.path(u"opened.log"_s))
    , dataFolder(session.path(u"data/applications"_s))
    , configurationFolder(session.path(u"config"_s))
{
    QDir().mkpath(dataFolder);
    writeProgram();
    writeDesktopEntry();
    makeDefault();
}

void RecordingOpener::writeProgram() const
{
    writeFile(program, "#!/bin/sh\nprintf '%s\\n' \"$1\" >> '" + recordFile.toUtf8() + "'\n");
    QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void RecordingOpener::writeDesktopEntry() const
{
    writeFile(dataFolder + QLatin1Char('/') + QLatin1String(EntryName),
              "[Desktop Entry]\nType=Application\nName=Recording opener\nNoDisplay=true\nExec=" +
                  program.toUtf8() + " %u\nMimeType=" + Kinds.join(';') + ";\n");
}

void RecordingOpener::makeDefault() const
{
    QByteArray list = "[Default Applications]\n";
    for (const QByteArray &kind : Kinds) {
        list += kind + '=' + EntryName + '\n';
    }
    writeFile(configurationFolder + "/mimeapps.list"_L1, list);
}

QStringList RecordingOpener::opened() const
{
    QFile record(recordFile);
    if (!record.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(record.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void RecordingOpener::clear() const
{
    QFile::remove(recordFile);
}
