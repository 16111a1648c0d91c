// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <optional>

namespace quillmote {

/// What the head of a request says, as far as it is of interest here.
struct HttpRequest
{
    bool isHead = false; ///< HEAD, otherwise GET
    QByteArray path;     ///< begins with "/"; without the query
    QByteArray host;     ///< as it was sent
    QByteArray origin;   ///< as it was sent; empty if there is none
    bool takesDeflate = false;
    bool wantsSocket = false; ///< an upgrade to a WebSocket, in all its fields

    friend bool operator==(const HttpRequest &, const HttpRequest &) = default;
};

/// What the first bytes of a connection are.
struct HttpReading
{
    std::optional<HttpRequest> request; ///< once its head is complete
    qsizetype size = 0;                 ///< of the head
    int refusal = 0;                    ///< the status with which it is refused, otherwise 0

    bool isDone() const { return request.has_value() || refusal != 0; }

    friend bool operator==(const HttpReading &, const HttpReading &) = default;
};

} // namespace quillmote
