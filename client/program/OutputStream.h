// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <cstdio>

namespace quillmote {

/// Standard output or standard error, as UTF-8. Everything that the program prints goes through
/// here, because it may contain texts of other computers.
///
/// If the stream is a terminal, characters that a terminal would obey are escaped. A pipe or a file
/// gets the text unchanged.
class OutputStream
{
public:
    static OutputStream output() { return OutputStream(stdout); }
    static OutputStream errors() { return OutputStream(stderr); }

    bool isTerminal() const;

    /// Line feeds and tabs are written as they are; all other control characters are escaped.
    void write(const QString &text) const;
    /// Writes the bytes as they are; on a terminal like a text of UTF-8.
    void writeBytes(const QByteArray &bytes) const;
    /// Writes one of this program's own control sequences; does nothing if the stream is not a
    /// terminal.
    void control(const char *sequence) const;

private:
    explicit OutputStream(FILE *openStream) : stream(openStream) {}

    FILE *stream;
};

} // namespace quillmote
