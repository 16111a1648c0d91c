// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Waiting.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <memory>

/// Two ends of one TCP connection on the loopback interface: `peer` is the handheld's,
/// `accepted` the server's.
class SocketPair
{
public:
    SocketPair()
    {
        listener.listen(QHostAddress(QHostAddress::LocalHost), 0);
        peer.connectToHost(QHostAddress(QHostAddress::LocalHost), listener.serverPort());
        waitUntil([this] {
            return listener.hasPendingConnections() &&
                   peer.state() == QAbstractSocket::ConnectedState;
        });
        accepted.reset(listener.nextPendingConnection());
    }

    bool isConnected() const { return accepted != nullptr && accepted->isOpen(); }

private:
    QTcpServer listener;

public:
    QTcpSocket peer;
    std::unique_ptr<QTcpSocket> accepted;
};
