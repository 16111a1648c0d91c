// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/Request.h"

#include <QByteArray>

namespace quillmote {

/// The bytes of a request, or the reason why there are none.
struct WrittenRequest
{
    QByteArray bytes;
    /// A sentence for the user about the value that the wire cannot carry unchanged.
    QString refusal;

    bool isRefused() const { return !refusal.isEmpty(); }
};

/// The longest text, in characters, that surely fits into one packet of a network together with its
/// token.
inline constexpr qsizetype safeTextLength = 1'200;

/// Writes the request in the form that the server's reader accepts.
///
/// The tag comes back in each answer, because the server keeps every entry; Answer::holds() looks
/// for it. It must be the first entry: if the server takes two tokens as one, the braces between
/// them spoil the first entry of the second token, and the others overwrite the first token's. So
/// always the last command of a read is carried out.
WrittenRequest writeRequest(const Request &request, quint64 tag);

/// A question that the server always answers. The answer shows whether the question was read
/// together with the request in front of it; see Answer::confirmation().
QByteArray writeQuestion(quint64 tag);

/// The keys of the entries with the tag of a request and of a question.
QString tagKey();
QString questionKey();
/// The same key if the token was not the first of its read.
QString keyBehindAnotherToken(const QString &key);

} // namespace quillmote
