// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "net/TokenText.h"
#include "support/protocol/Delivery.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <memory>

/// The answer's `serverResponse`, such as "OK"; empty when there is none.
inline QString response(const TokenMap &answer)
{
    return answer.value(QStringLiteral("serverResponse")).toString();
}

/// A handheld in the process of the server that it talks to, so the event loop must run for both.
class ServedPeer
{
public:
    explicit ServedPeer(const QTcpServer &listeningServer,
                        const QHostAddress &address = QHostAddress(QHostAddress::LocalHost))
        : server(listeningServer)
    {
        socket.connectToHost(address, server.serverPort());
        waitUntil([this] { return isConnected(); });
        port = socket.localPort();
        waitUntil([this] { return served() != nullptr; });
    }

    bool isConnected() const { return socket.state() == QAbstractSocket::ConnectedState; }

    /// Sends a chunk without waiting for anything.
    void post(const QByteArray &chunk) { socket.write(chunk); }

    /// Sends a chunk; true as soon as the server has taken and, if it is a token, carried it out.
    bool send(const QByteArray &chunk)
    {
        post(chunk);
        return waitUntilTaken(socket, served(), chunk.size());
    }

    /// The next answer; empty when none comes. Values must not hold a "}".
    TokenMap answer()
    {
        waitUntil([this] { return received().contains('}'); });
        const qsizetype end = unread.indexOf('}');
        if (end < 0) {
            return {};
        }
        const QByteArray text = unread.first(end);
        unread.remove(0, end + 1);
        TokenMap map;
        TokenText::read("{ " + text.sliced(1) + " }",
                        [&](const QString &key, const QVariant &value) { map.insert(key, value); });
        return map;
    }

    /// Sends a command and returns its answer.
    TokenMap ask(const QByteArray &command)
    {
        post(command);
        return answer();
    }

    /// What has arrived and was not taken as an answer.
    QByteArray received()
    {
        unread += socket.readAll();
        return unread;
    }

    /// Whether all that was posted has arrived at the server's system, taken or not.
    bool hasArrived() const { return waitUntilArrived(socket); }

    void leave() { socket.disconnectFromHost(); }

    /// The server's end of the connection; null once the server has deleted it.
    QTcpSocket *served() const
    {
        for (QTcpSocket *candidate : server.findChildren<QTcpSocket *>()) {
            if (candidate->peerPort() == port) {
                return candidate;
            }
        }
        return nullptr;
    }

private:
    const QTcpServer &server;
    QTcpSocket socket;
    quint16 port = 0;
    QByteArray unread;
};
