// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/AnswerScanner.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QVariant>

#include <optional>

namespace quillmote {

/// What became of a request that is not answered, as the answer to the question behind it tells.
enum class Confirmation {
    None,         ///< the answer is to something else
    CarriedOut,   ///< the request was read, and the question in another read
    NotCarriedOut ///< both came in one read, which carries out the last only; or it was not read
};

/// One token from the server: its whole map, in which an answer's own entries are "serverResponse"
/// and, for some commands, "cmdParameters".
struct Answer
{
    QHash<QString, QVariant> entries;

    QString response() const;
    QStringList parameters() const;
    /// Whether the request of that tag has been read.
    bool holds(quint64 tag) const;
    /// About a request and the question behind it, both of that tag.
    Confirmation confirmation(quint64 tag) const;
};

/// Cuts the server's compact tokens out of the stream, in whatever pieces they arrive.
///
/// Nothing is escaped on the wire, so a text that looks just like the border of two entries is
/// taken for one.
class AnswerReader
{
public:
    /// What an unfinished answer may hold, in bytes; more is no answer. A server answers with what
    /// it remembers of a client, up to 16 MiB, and with its clipboard's text, up to 16 MiB.
    static constexpr qsizetype maximumSize = 64 * 1024 * 1024;

    void append(const QByteArray &bytes) { buffer += bytes; }

    /// The first whole answer, taken out of the stream; none when more bytes are needed.
    std::optional<Answer> take();

    /// True when what has arrived cannot become an answer.
    bool isGarbage() const;

    /// Bytes of an unfinished answer, or of answers not yet taken.
    qsizetype size() const { return buffer.size(); }

private:
    QByteArray buffer;
    AnswerScanner scanner; // of the answer at its start
};

} // namespace quillmote
