// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/Farewell.h"

#include <QTimer>
#include <QWebSocket>

#include <chrono>

namespace quillmote {

using namespace std::chrono_literals;

void farewell(std::unique_ptr<QWebSocket> socket)
{
    QWebSocket *leaving = socket.release();
    if (leaving->state() == QAbstractSocket::UnconnectedState) {
        leaving->deleteLater();
        return;
    }
    QObject::connect(leaving, &QWebSocket::disconnected, leaving, &QObject::deleteLater);
    QTimer::singleShot(1s, leaving, [leaving] {
        leaving->abort();
        leaving->deleteLater();
    });
}

} // namespace quillmote
