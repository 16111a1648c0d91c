// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/Request.h"

#include <QByteArray>

namespace quillmote {

/// The bytes of a request, or why there are none.
struct WrittenRequest
{
    QByteArray bytes;
    /// A sentence for the user that tells which value the wire cannot carry unchanged, and why.
    QString refusal;

    bool isRefused() const { return !refusal.isEmpty(); }
};

/// How long a text may be, in characters, so that one packet of a network surely holds it with the
/// token around it.
inline constexpr qsizetype safeTextLength = 1'200;

/// Writes the request in the form that the server's reader accepts.
///
/// The tag comes back in each answer, since the server keeps every entry; Answer::holds() looks for
/// it. It stands first, and so decides what a server does that takes two tokens as one: of the
/// second token its first entry is spoilt by the braces in between, and those behind it overwrite
/// the first token's. So it is always the last command of a read that is carried out.
WrittenRequest writeRequest(const Request &request, quint64 tag);

/// A question that is always answered, and whose answer tells whether it was read together with
/// what was sent just before it; see Answer::confirmation().
QByteArray writeQuestion(quint64 tag);

/// The entry of a map that holds the tag of a request, and of a question.
QString tagKey();
QString questionKey();
/// The same when the token was not the first of its read.
QString keyBehindAnotherToken(const QString &key);

} // namespace quillmote
