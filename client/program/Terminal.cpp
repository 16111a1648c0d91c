// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Terminal.h"

#include "lib/PrintableText.h"
#include "program/JsonOutput.h"
#include "program/OutputStream.h"

#include <QJsonObject>
#include <QList>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace quillmote::Terminal {
namespace {

struct Complaint
{
    QString sentence;
    QString code;
};

constexpr auto red = "\x1b[1;31m";
constexpr auto yellow = "\x1b[1;33m";
constexpr auto normalColour = "\x1b[0m";
constexpr auto emptyLine = "\r\x1b[K";

bool isJsonWanted = false;
std::vector<Complaint> keptComplaints;

/// Writes a word, in colour on a terminal, and a sentence.
void writeSentence(const char *colour, const QString &word, const QString &sentence)
{
    const OutputStream errors = OutputStream::errors();
    errors.control(colour);
    errors.write(word);
    errors.control(normalColour);
    errors.write(u' ' + sentence + u'\n');
}

void writeJson(const QJsonObject &object)
{
    OutputStream::errors().write(JsonOutput::text(QJsonDocument(object)) + u'\n');
}

void writeToolkitMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    OutputStream::errors().write(qFormatLogMessage(type, context, message) + u'\n');
}

QString usualCode(ExitCode code)
{
    switch (code) {
    case ExitCode::ServerError:
        return u"server-error"_s;
    case ExitCode::NoConnection:
        return u"no-connection"_s;
    case ExitCode::Done:
    case ExitCode::Usage:
        break;
    }
    return u"usage"_s;
}

} // namespace

bool outputIsTerminal()
{
    return OutputStream::output().isTerminal();
}

bool errorsAreTerminal()
{
    return OutputStream::errors().isTerminal();
}

void print(const QString &text)
{
    OutputStream::output().write(text);
}

void printLine(const QString &text)
{
    print(text + u'\n');
}

void printRawLines(const QStringList &lines)
{
    for (const QString &line : lines) {
        OutputStream::output().write(printable(line));
        OutputStream::output().control("\r\n");
    }
}

void useJson(bool isWanted)
{
    isJsonWanted = isWanted;
}

void takeToolkitMessages()
{
    qInstallMessageHandler(writeToolkitMessage);
}

void complain(const QString &sentence, QLatin1StringView code)
{
    const QString shown = printableLines(sentence);
    if (isJsonWanted) {
        keptComplaints.push_back({shown, code});
    } else {
        writeSentence(red, u"quillmote:"_s, shown);
    }
}

ExitCode misused(const QString &sentence)
{
    complain(sentence);
    return ExitCode::Usage;
}

ExitCode cannotSend(const QString &sentence)
{
    complain(sentence, "cannot-send"_L1);
    return ExitCode::Usage;
}

void note(const QString &sentence)
{
    const QString shown = printableLines(sentence);
    if (isJsonWanted) {
        writeJson({{u"note"_s, shown}});
    } else {
        writeSentence(yellow, u"note:"_s, shown);
    }
}

int finish(ExitCode code)
{
    for (const Complaint &complaint : keptComplaints) {
        const QString error = complaint.code.isEmpty() ? usualCode(code) : complaint.code;
        writeJson({{u"error"_s, error}, {u"message"_s, complaint.sentence}});
    }
    keptComplaints.clear();
    return static_cast<int>(code);
}

void showStatus(const QString &line)
{
    if (errorsAreTerminal()) {
        OutputStream::errors().control(emptyLine);
        OutputStream::errors().write(fitted(printable(line), columns() - 1));
    }
}

void clearStatus()
{
    showStatus(QString());
}

int columns()
{
    winsize size{};
    const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : 80;
}

int width(const QString &text)
{
    int columns = 0;
    for (const char32_t character : text.toUcs4()) {
        columns += std::max(0, wcwidth(static_cast<wchar_t>(character)));
    }
    return columns;
}

QString fitted(const QString &text, int columns)
{
    QString begin;
    int used = 0;
    for (const char32_t character : text.toUcs4()) {
        used += std::max(0, wcwidth(static_cast<wchar_t>(character)));
        if (used > columns) {
            break;
        }
        begin += QString::fromUcs4(&character, 1);
    }
    return begin;
}

} // namespace quillmote::Terminal
