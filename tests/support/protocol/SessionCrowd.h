// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Waiting.h"

#include <QLocalSocket>

#include <memory>
#include <vector>

/// Many programs that reach for the server's socket at once and stay.
class SessionCrowd
{
public:
    /// That many programs at the socket of that path.
    SessionCrowd(const QString &path, int size)
    {
        for (int i = 0; i < size; ++i) {
            sockets.push_back(std::make_unique<QLocalSocket>());
            sockets.back()->connectToServer(path);
        }
    }

    /// Waits until each has been answered; whether all have.
    bool isAnswered()
    {
        for (const auto &socket : sockets) {
            if (!waitUntil([&] { return socket->canReadLine(); })) {
                return false;
            }
            const QByteArray line = socket->readLine();
            numberGreeted += line.contains("\"hello\"") ? 1 : 0;
            numberSentAway += line.contains("\"goodbye\"") ? 1 : 0;
        }
        return true;
    }

    int greeted() const { return numberGreeted; }
    int sentAway() const { return numberSentAway; }

private:
    std::vector<std::unique_ptr<QLocalSocket>> sockets;
    int numberGreeted = 0;
    int numberSentAway = 0;
};
