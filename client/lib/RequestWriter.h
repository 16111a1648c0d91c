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

/// Writes the request in the form that the server's reader accepts.
///
/// The tag is an entry of our own. The server keeps it and sends it back in each answer, so that an
/// answer tells up to which request everything has been read.
WrittenRequest writeRequest(const Request &request, quint64 tag);

/// The entry of a map that holds the tag.
QString tagKey();

} // namespace quillmote
