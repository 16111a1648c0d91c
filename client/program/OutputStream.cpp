// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/OutputStream.h"

#include "lib/PrintableText.h"

#include <unistd.h>

namespace quillmote {
namespace {

void put(FILE *stream, const QByteArray &bytes)
{
    fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    fflush(stream);
}

} // namespace

bool OutputStream::isTerminal() const
{
    return isatty(fileno(stream)) == 1;
}

void OutputStream::write(const QString &text) const
{
    put(stream, (isTerminal() ? printableLines(text) : text).toUtf8());
}

void OutputStream::writeBytes(const QByteArray &bytes) const
{
    if (isTerminal()) {
        write(QString::fromUtf8(bytes));
    } else {
        put(stream, bytes);
    }
}

void OutputStream::control(const char *sequence) const
{
    if (isTerminal()) {
        put(stream, sequence);
    }
}

} // namespace quillmote
