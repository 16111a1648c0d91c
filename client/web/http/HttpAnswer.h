// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

namespace quillmote {

/// What a request is answered with. Every answer ends its connection.
struct HttpAnswer
{
    static constexpr int switchingProtocols = 101; ///< hands the connection to a WebSocket
    static constexpr int ok = 200;
    static constexpr int noContent = 204;
    static constexpr int forbidden = 403;
    static constexpr int notFound = 404;
    static constexpr int requestTimeout = 408;
    static constexpr int misdirected = 421;
    static constexpr int upgradeRequired = 426;

    int status = ok;
    QByteArray type;
    QByteArray content;
    bool isDeflated = false;
    QByteArray socketSource; ///< where its scripts may open WebSockets, besides its own origin

    /// An answer that says why not, in a sentence of plain text.
    static HttpAnswer refusal(int status);

    /// The bytes to send; without the content where the request was HEAD.
    QByteArray toBytes(bool isHead) const;
};

} // namespace quillmote
