// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/JsonOutput.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace JsonOutput {

QString text(const QJsonDocument &document)
{
    QString escaped;
    // The toolkit escapes what JSON must have escaped; a terminal obeys these too.
    for (const QChar character : QString::fromUtf8(document.toJson(QJsonDocument::Compact))) {
        const bool isControl = character.unicode() >= 0x7f && character.unicode() <= 0x9f;
        escaped += isControl ? u"\\u%1"_s.arg(character.unicode(), 4, 16, QChar(u'0'))
                             : QString(character);
    }
    return escaped;
}

void print(const QJsonDocument &document)
{
    Terminal::printLine(text(document));
}

void printDone(const Arguments &arguments, Terminal::ExitCode code)
{
    if (arguments.wantsJson && code == Terminal::ExitCode::Done) {
        print(QJsonDocument(QJsonObject{{u"ok"_s, true}}));
    }
}

} // namespace JsonOutput
