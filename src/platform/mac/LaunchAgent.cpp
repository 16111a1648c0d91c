// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/mac/LaunchAgent.h"

#include "messages/Messages.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QXmlStreamWriter>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

void writeText(QXmlStreamWriter &xml, const QString &key, const QString &value)
{
    xml.writeTextElement(u"key"_s, key);
    xml.writeTextElement(u"string"_s, value);
}

QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool isBundle(const QString &path)
{
    return path.endsWith(".app"_L1);
}

} // namespace

LaunchAgent::LaunchAgent(const QString &agentFolder, const QString &agentLabel)
    : folder(agentFolder)
    , label(agentLabel)
{
}

QString LaunchAgent::fileName() const
{
    return folder + u'/' + label + ".plist"_L1;
}

void LaunchAgent::setEnabled(bool enable, const QString &applicationPath)
{
    if (!enable) {
        QFile::remove(fileName());
    } else if (isBundle(applicationPath)) {
        write(text(label, applicationPath));
    }
}

void LaunchAgent::write(const QByteArray &content) const
{
    if (contentOf(fileName()) == content) {
        return;
    }
    QDir().mkpath(folder);
    QSaveFile file(fileName());
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() ||
        !file.commit()) {
        Messages::warning({QCoreApplication::translate(
                               "SessionStart", "VornaServer cannot be started at logon: the "
                                               "file %1 cannot be written.")
                               .arg(fileName())});
    }
}

/// The program is opened, not executed, so that it is not started a second time if it already runs.
QByteArray LaunchAgent::text(const QString &label, const QString &applicationPath)
{
    QByteArray content;
    QXmlStreamWriter xml(&content);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeDTD(u"<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                 "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">"_s);
    xml.writeStartElement(u"plist"_s);
    xml.writeAttribute(u"version"_s, u"1.0"_s);
    xml.writeStartElement(u"dict"_s);
    writeText(xml, u"Label"_s, label);
    writeText(xml, u"LimitLoadToSessionType"_s, u"Aqua"_s);
    xml.writeTextElement(u"key"_s, u"ProgramArguments"_s);
    xml.writeStartElement(u"array"_s);
    for (const QString &argument : {u"/usr/bin/open"_s, u"-g"_s, applicationPath}) {
        xml.writeTextElement(u"string"_s, argument);
    }
    xml.writeEndElement();
    xml.writeTextElement(u"key"_s, u"RunAtLoad"_s);
    xml.writeEmptyElement(u"true"_s);
    xml.writeEndDocument();
    return content;
}

} // namespace platform
