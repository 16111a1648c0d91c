// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <cstdio>

namespace quillmote {

/// Standard output or standard error, as UTF-8. Everything that the program prints goes through
/// here, because texts of other computers are in it.
///
/// Where the stream is a terminal, what a terminal would obey instead of showing it is escaped. A
/// pipe or a file gets what is written.
class OutputStream
{
public:
    static OutputStream output() { return OutputStream(stdout); }
    static OutputStream errors() { return OutputStream(stderr); }

    bool isTerminal() const;

    /// Line feeds and tabs lay the text out, all other control characters are escaped.
    void write(const QString &text) const;
    /// One of this program's own control sequences; nothing where the stream is no terminal.
    void control(const char *sequence) const;

private:
    explicit OutputStream(FILE *openStream) : stream(openStream) {}

    FILE *stream;
};

} // namespace quillmote
