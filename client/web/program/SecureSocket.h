// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/program/CloseCode.h"
#include "web/wire/Channel.h"
#include "web/wire/WireText.h"

#include <QHostAddress>
#include <QObject>
#include <QTimer>
#include <QWebSocket>

#include <chrono>
#include <memory>

namespace quillmote {

/// A browser's connection whose other end has shown that it has the secret. What is received was
/// sent by it, in this order and without a gap; anything else closes the connection.
class SecureSocket : public QObject
{
    Q_OBJECT

public:
    /// How long a peer may be silent.
    static constexpr std::chrono::seconds longestSilence{10};

    SecureSocket(std::unique_ptr<QWebSocket> socket, Channel channel);
    ~SecureSocket() override;

    QHostAddress peer() const { return address; }
    /// False once either side has closed it.
    bool isOpen() const { return !isClosed; }
    /// Bytes that the browser has not taken yet.
    qint64 unsent() const { return socket->bytesToWrite(); }

    /// Does nothing on a closed connection.
    void send(const QJsonObject &object, const QByteArray &body = {});
    /// Nothing is received any more, and ended() is not emitted.
    void close(CloseCode code, const QString &reason = {});

signals:
    void received(const quillmote::WireText &text);
    /// The browser has taken some of what was unsent.
    void taken();
    /// The other end has closed the connection, or has broken its rules.
    void ended();

private:
    void open(const QByteArray &sealed);
    void end(CloseCode code);

    std::unique_ptr<QWebSocket> socket;
    Channel channel;
    QHostAddress address; // the socket forgets it when it is closed
    QTimer silence;
    bool isClosed = false;
};

} // namespace quillmote
