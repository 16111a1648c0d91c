// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/JsonOutput.h"

#include "lib/PrintableText.h"

using namespace Qt::StringLiterals;

namespace quillmote::JsonOutput {

namespace {

QString escaped(char32_t character)
{
    QString units;
    for (const QChar unit : QString::fromUcs4(&character, 1)) {
        units += u"\\u%1"_s.arg(unit.unicode(), 4, 16, QChar(u'0'));
    }
    return units;
}

} // namespace

/// The toolkit escapes only the characters that JSON requires. A terminal obeys more.
QString text(const QJsonDocument &document)
{
    return withEscapes(QString::fromUtf8(document.toJson(QJsonDocument::Compact)),
                       isObeyedByTerminals, escaped);
}

void print(const QJsonObject &object)
{
    Terminal::printLine(text(QJsonDocument(object)));
}

void print(const QJsonArray &array)
{
    Terminal::printLine(text(QJsonDocument(array)));
}

void printDone(const Arguments &arguments, Terminal::ExitCode code, QJsonObject details)
{
    if (arguments.wantsJson && code == Terminal::ExitCode::Done) {
        details.insert(u"ok"_s, true);
        print(details);
    }
}

} // namespace quillmote::JsonOutput
