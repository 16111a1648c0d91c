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

/// What the answer to a question says about the request in front of it, which has no answer.
enum class Confirmation {
    None,         ///< the answer is to something else
    CarriedOut,   ///< request and question were read apart
    NotCarriedOut ///< one read brought both, and only the last is carried out; or none was read
};

/// One token from the server: its whole map, in which an answer's own entries are "serverResponse"
/// and, for some commands, "cmdParameters".
struct Answer
{
    QHash<QString, QVariant> entries;

    QString response() const;
    QStringList parameters() const;
    /// Whether the request with that tag has been read.
    bool holds(quint64 tag) const;
    /// About a request and the question behind it, which both have that tag.
    Confirmation confirmation(quint64 tag) const;
};

/// Cuts the server's compact tokens out of the stream. The stream may arrive in pieces of any size.
///
/// The wire escapes nothing, so a text that looks like the border between two entries is taken for
/// one.
class AnswerReader
{
public:
    /// The most bytes that an unfinished answer may have; more is garbage. A server answers with
    /// what it remembers of a client, up to 16 MiB, and with its clipboard's text, up to 16 MiB.
    static constexpr qsizetype maximumSize = 64 * 1024 * 1024;

    void append(const QByteArray &bytes) { buffer += bytes; }

    /// Takes the first complete answer out of the stream; none if more bytes are needed.
    std::optional<Answer> take();

    /// True if the bytes that have arrived cannot become an answer.
    bool isGarbage() const;

    /// Bytes of answers that are unfinished or not yet taken.
    qsizetype size() const { return buffer.size(); }

private:
    QByteArray buffer;
    AnswerScanner scanner; // of the answer at the start of the buffer
};

} // namespace quillmote
