// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/Connection.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>

/// A server on the loopback interface that does what the test says.
class StandInServer : public QTcpServer
{
public:
    /// Gets the bytes of each read, and the socket to answer on.
    std::function<void(QTcpSocket &, const QByteArray &)> onRead;
    std::function<void(QTcpSocket &)> onConnected;
    /// The latest connection; null before the first.
    QTcpSocket *socket = nullptr;

    StandInServer()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, peer = socket] {
                const QByteArray bytes = peer->readAll();
                if (onRead) {
                    onRead(*peer, bytes);
                }
            });
            if (onConnected) {
                onConnected(*socket);
            }
        });
    }

    /// Waits until the connection to this server is open.
    bool isReachedBy(quillmote::Connection &connection) const
    {
        QSignalSpy opened(&connection, &quillmote::Connection::opened);
        connection.open(QStringLiteral("127.0.0.1"), serverPort());
        return opened.wait(5'000);
    }
};
