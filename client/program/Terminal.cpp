// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Terminal.h"

#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Terminal {
namespace {

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

void complain(const QString &sentence)
{
    write(stderr, coloured("1;31", u"quillmote:"_s) + u' ' + sentence + u'\n');
}

void note(const QString &sentence)
{
    write(stderr, coloured("1;33", u"note:"_s) + u' ' + sentence + u'\n');
}

void showStatus(const QString &line)
{
    if (errorsAreTerminal()) {
        write(stderr, u"\r\x1b[K"_s + line.left(columns() - 1));
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

} // namespace Terminal
