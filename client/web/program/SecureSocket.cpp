// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/SecureSocket.h"

#include "web/program/Farewell.h"

#include <utility>

namespace quillmote {

SecureSocket::SecureSocket(std::unique_ptr<QWebSocket> webSocket, Channel keys)
    : socket(std::move(webSocket))
    , channel(std::move(keys))
    , address(socket->peerAddress())
{
    silence.setSingleShot(true);
    silence.start(longestSilence);
    connect(&silence, &QTimer::timeout, this, [this] { end(CloseCode::GoingAway); });
    connect(socket.get(), &QWebSocket::binaryMessageReceived, this, &SecureSocket::open);
    connect(socket.get(), &QWebSocket::textMessageReceived, this,
            [this] { end(CloseCode::BrokenMessage); });
    connect(socket.get(), &QWebSocket::bytesWritten, this, &SecureSocket::taken);
    connect(socket.get(), &QWebSocket::disconnected, this, [this] { end(CloseCode::GoingAway); });
}

SecureSocket::~SecureSocket()
{
    close(CloseCode::GoingAway);
    socket->disconnect(this);
    farewell(std::move(socket));
}

void SecureSocket::send(const QJsonObject &object, const QByteArray &body)
{
    if (!isClosed) {
        socket->sendBinaryMessage(channel.seal(WireText{object, body}.toBytes()));
    }
}

void SecureSocket::close(CloseCode code, const QString &reason)
{
    if (std::exchange(isClosed, true)) {
        return;
    }
    silence.stop();
    socket->close(static_cast<QWebSocketProtocol::CloseCode>(code), reason);
}

void SecureSocket::open(const QByteArray &sealed)
{
    if (isClosed) {
        return;
    }
    const auto plain = channel.open(sealed);
    const auto text = plain ? WireText::fromBytes(*plain) : std::nullopt;
    if (!text) {
        end(CloseCode::BrokenMessage);
        return;
    }
    silence.start(longestSilence);
    emit received(*text);
}

void SecureSocket::end(CloseCode code)
{
    if (!isClosed) {
        close(code);
        emit ended();
    }
}

} // namespace quillmote
