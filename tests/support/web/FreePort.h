// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QRandomGenerator>
#include <QTcpServer>

/// A port that was free a moment ago, and that the system gives to no connection by itself.
inline quint16 freePort()
{
    QTcpServer server;
    do {
        server.listen(QHostAddress::Any,
                      static_cast<quint16>(QRandomGenerator::global()->bounded(10'000, 30'000)));
    } while (!server.isListening());
    return server.serverPort();
}
