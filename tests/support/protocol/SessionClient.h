// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Waiting.h"

#include <QByteArray>
#include <QJsonObject>
#include <QLocalSocket>
#include <QString>

#include <chrono>
#include <deque>
#include <optional>

/// A message of the server on its session socket.
struct SessionMessage
{
    QJsonObject fields;
    QByteArray body; ///< Empty without one, too.

    QString error() const { return fields.value(QStringLiteral("error")).toString(); }
    QString event() const { return fields.value(QStringLiteral("event")).toString(); }
    bool isOk() const { return fields.value(QStringLiteral("ok")).toBool(); }
};

/// A program that uses the session socket. Its waits run the event loop, so the server may be in
/// this process.
class SessionClient
{
public:
    /// Connects to the socket, and waits until that has been done or has failed.
    explicit SessionClient(const QString &path);

    bool isConnected() const { return socket.state() == QLocalSocket::ConnectedState; }
    /// The server's first message; waits for it.
    QJsonObject greeting();

    /// Sends a request with the next number as its id, and with these fields.
    /// \return the id
    int send(const QString &request, QJsonObject fields = {},
             const std::optional<QByteArray> &body = std::nullopt);
    void sendBytes(const QByteArray &bytes);
    /// The answer to that request; events before it are kept, other answers are dropped. Without
    /// fields if it does not come.
    SessionMessage answer(int id, std::chrono::milliseconds limit = GenerousLimit);
    SessionMessage ask(const QString &request, const QJsonObject &fields = {},
                       const std::optional<QByteArray> &body = std::nullopt);

    /// The next message, whatever it is.
    std::optional<SessionMessage> next(std::chrono::milliseconds limit = GenerousLimit);
    /// The next event of that name; other events and answers before it are dropped.
    std::optional<SessionMessage> event(const QString &name,
                                        std::chrono::milliseconds limit = GenerousLimit);

    /// Ends what it sends; it still reads.
    void endSending();
    void leave() { socket.abort(); }
    bool waitUntilClosed(std::chrono::milliseconds limit = GenerousLimit);

private:
    std::optional<SessionMessage> take();
    std::optional<SessionMessage> receive(std::chrono::milliseconds limit);

    QLocalSocket socket;
    QByteArray received;
    qsizetype searched = 0; ///< Bytes of it that have no line feed.
    std::deque<SessionMessage> keptEvents;
    int lastId = 0;
};
