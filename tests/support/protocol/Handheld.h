// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Waiting.h"
#include "support/protocol/Answers.h"
#include "support/protocol/Tokens.h"

#include <QByteArray>

#include <optional>

/// A client of the server as a handheld is one: a plain blocking socket, every wait has its limit.
class Handheld
{
public:
    /// Connects to the port on the loopback address.
    explicit Handheld(quint16 port);
    ~Handheld();
    Handheld(const Handheld &) = delete;
    Handheld &operator=(const Handheld &) = delete;

    bool isConnected() const { return descriptor >= 0; }

    /// Hands all bytes to the system; false when the connection is lost or the limit passed.
    bool send(const QByteArray &bytes, std::chrono::milliseconds limit = GenerousLimit);

    /// The next answer; nothing when none comes in time or the connection ends.
    std::optional<QVariantMap> answer(std::chrono::milliseconds limit = GenerousLimit);

    /// Sends a token and waits for its answer.
    std::optional<QVariantMap> ask(const QByteArray &token,
                                   std::chrono::milliseconds limit = GenerousLimit);

    /// Whether the server says OK to its question.
    bool isServed(std::chrono::milliseconds limit = GenerousLimit);

    /// Waits until the server has taken every byte sent, so that what is sent next is a read of
    /// its own; false when the limit passed or the connection is lost.
    bool waitUntilRead(std::chrono::milliseconds limit = GenerousLimit);

    /// How many bytes wait unread at the server, as they do while it is halted. May be called from
    /// any thread.
    qint64 unreadAtServer() const;

    /// Sends bytes that are not to be answered and waits until the server is done with them, which
    /// it shows by answering another connection afterwards.
    bool sendAndSettle(const QByteArray &bytes);

    /// Whether bytes are waiting that no answer() has taken yet.
    bool hasUnreadAnswer();

    /// Throws away everything that has come so far; false when the connection has ended.
    bool throwUnreadAway();

    /// Waits until the server has ended the connection.
    bool waitUntilClosed(std::chrono::milliseconds limit = GenerousLimit);

    /// Ends the connection in order.
    void leave();

    /// Ends the connection at once with a reset, as a lost peer's system does.
    void reset();

private:
    bool waitFor(short pollEvents, std::chrono::steady_clock::time_point end) const;
    bool receiveMore(std::chrono::steady_clock::time_point end);

    int descriptor = -1;
    quint16 serverPort = 0;
    quint16 ownPort = 0;
    QByteArray unanswered; ///< Bytes that came and that no answer has used.
};
