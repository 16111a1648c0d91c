// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/http/HttpRequest.h"

#include <QByteArrayView>

namespace quillmote {

/// The longest head of a request, in bytes.
inline constexpr qsizetype longestHttpHead = 8 * 1024;

/// Reads the head of a request from the first bytes of a connection. It knows what a browser sends
/// and refuses everything else: GET and HEAD of HTTP/1.1 without a body, lines that end with CRLF,
/// one Host, at most 64 fields. What it says of some bytes does not change when more arrive.
HttpReading readHttp(QByteArrayView bytes);

} // namespace quillmote
