// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Terminal.h"

#include "lib/PrintableText.h"
#include "program/JsonOutput.h"

#include <QJsonObject>
#include <QList>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace Terminal {
namespace {

struct Complaint
{
    QString sentence;
    QString code;
};

bool isJsonWanted = false;
std::vector<Complaint> keptComplaints;

void write(FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    fflush(stream);
}

/// Colours are for terminals only.
QString coloured(const char *code, const QString &text)
{
    return errorsAreTerminal() ? u"\x1b[%1m%2\x1b[0m"_s.arg(QLatin1StringView(code), text) : text;
}

void writeJson(const QJsonObject &object)
{
    write(stderr, JsonOutput::text(QJsonDocument(object)) + u'\n');
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
    return isatty(STDOUT_FILENO) == 1;
}

bool errorsAreTerminal()
{
    return isatty(STDERR_FILENO) == 1;
}

void print(const QString &text)
{
    write(stdout, text);
}

void printLine(const QString &text)
{
    write(stdout, text + u'\n');
}

void useJson(bool isWanted)
{
    isJsonWanted = isWanted;
}

void complain(const QString &sentence, QLatin1StringView code)
{
    const QString shown = quillmote::printableLines(sentence);
    if (isJsonWanted) {
        keptComplaints.push_back({shown, code});
    } else {
        write(stderr, coloured("1;31", u"quillmote:"_s) + u' ' + shown + u'\n');
    }
}

void note(const QString &sentence)
{
    const QString shown = quillmote::printableLines(sentence);
    if (isJsonWanted) {
        writeJson({{u"note"_s, shown}});
    } else {
        write(stderr, coloured("1;33", u"note:"_s) + u' ' + shown + u'\n');
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
        write(stderr, u"\r\x1b[K"_s + fitted(quillmote::printable(line), columns() - 1));
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

} // namespace Terminal
