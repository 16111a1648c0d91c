// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "RecordingOpener.h"

#include <QDir>
#include <QFile>

namespace {

const char EntryName[] = "recording-opener.desktop";

/// Without a desktop environment xdg-open asks file(1) for the kind of a file, and that tells by
/// what is in it.
const QList<QByteArray> Kinds{
    "x-scheme-handler/http", "x-scheme-handler/https", "text/plain",    "application/octet-stream",
    "application/json",      "inode/x-empty",          "text/markdown", "image/png",
};

void writeFile(const QString &path, const QByteArray &text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        qFatal("Cannot write %s", qPrintable(path));
}

} // namespace

RecordingOpener::RecordingOpener(const DesktopSession &session)
    : m_program(session.path(QStringLiteral("recording-opener")))
    , m_record(session.path(QStringLiteral("opened.log")))
    , m_dataFolder(session.path(QStringLiteral("data/applications")))
    , m_configurationFolder(session.path(QStringLiteral("config")))
{
    QDir().mkpath(m_dataFolder);
    writeProgram();
    writeDesktopEntry();
    makeDefault();
}

void RecordingOpener::writeProgram() const
{
    writeFile(m_program, "#!/bin/sh\nprintf '%s\\n' \"$1\" >> '" + m_record.toUtf8() + "'\n");
    QFile::setPermissions(m_program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void RecordingOpener::writeDesktopEntry() const
{
    writeFile(m_dataFolder + QLatin1Char('/') + QLatin1String(EntryName),
              "[Desktop Entry]\nType=Application\nName=Recording opener\nNoDisplay=true\nExec=" +
                  m_program.toUtf8() + " %u\nMimeType=" + Kinds.join(';') + ";\n");
}

void RecordingOpener::makeDefault() const
{
    QByteArray list = "[Default Applications]\n";
    for (const QByteArray &kind : Kinds)
        list += kind + '=' + EntryName + '\n';
    writeFile(m_configurationFolder + QLatin1String("/mimeapps.list"), list);
}

QStringList RecordingOpener::opened() const
{
    QFile record(m_record);
    if (!record.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(record.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}
