// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Waiting.h"

#include <QByteArray>
#include <QByteArrayView>

#include <chrono>
#include <utility>

/// A connection to quillmote-web on which any bytes are sent: a plain socket that never waits
/// without a limit. It needs no event loop, so it may be used in any thread.
class RawPeer
{
public:
    /// What a frame of a WebSocket is (RFC 6455, section 5.2).
    enum Opcode { Continuation = 0, Text = 1, Binary = 2, Close = 8, Ping = 9, Pong = 10 };
    enum End { Whole, Open }; ///< Open: fragments follow.

    /// Connects from that address of the loopback interface.
    explicit RawPeer(quint16 port, const char *from = "127.0.0.1", int receiveBuffer = 0);
    ~RawPeer();
    RawPeer(RawPeer &&other) noexcept
        : descriptor(std::exchange(other.descriptor, -1))
        , unread(std::move(other.unread))
    {
    }
    RawPeer &operator=(RawPeer &&other) noexcept
    {
        std::swap(descriptor, other.descriptor);
        std::swap(unread, other.unread);
        return *this;
    }

    bool isConnected() const { return descriptor >= 0; }

    /// Hands all bytes to the system; false when the connection is lost or the limit passed.
    bool send(QByteArrayView bytes, std::chrono::milliseconds limit = GenerousLimit);
    /// As many of them as the system takes now.
    qsizetype sendSome(QByteArrayView bytes);
    /// What has arrived by now; none of it when nothing has.
    QByteArray receive();
    /// The payload of the next frame that the other end sends; empty if none comes, or a close.
    QByteArray nextFrame(std::chrono::milliseconds limit = GenerousLimit);
    /// Whether the other end has closed the connection; forgets what has arrived.
    bool hasEnded();

    /// The request by which a page opens its WebSocket.
    static QByteArray upgradeOf(quint16 port);
    /// Sends that request and waits for its answer.
    bool upgrade(quint16 port) { return finishUpgrade(upgradeOf(port)); }
    /// The same with the rest of the request.
    bool finishUpgrade(const QByteArray &rest);
    /// A frame that announces `announced` bytes, by default those of the payload.
    static QByteArray frame(Opcode opcode, const QByteArray &payload, End end = Whole,
                            qint64 announced = -1);

private:
    bool waitFor(short events, std::chrono::milliseconds limit) const;
    void close();

    int descriptor = -1;
    QByteArray unread;
};
