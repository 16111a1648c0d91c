// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QTcpSocket>

#include <algorithm>
#include <utility>

/// The accepted end of a connection that never touches a network: what the peer sends is put into
/// it, and what is written for the peer is kept.
class MemorySocket final : public QTcpSocket
{
public:
    explicit MemorySocket(QObject *parent = nullptr) : QTcpSocket(parent)
    {
        setSocketState(ConnectedState);
        setOpenMode(ReadWrite | Unbuffered);
    }

    /// Bytes come in; says nothing yet.
    void receive(const QByteArray &bytes) { incoming += bytes; }
    qsizetype unread() const { return incoming.size(); }

    /// What was written since the last call.
    QByteArray takeWritten() { return std::exchange(outgoing, QByteArray()); }
    /// Pretends that the peer does not read: that many bytes wait to be sent.
    void setUnsent(qint64 bytes) { unsent = bytes; }

    /// As the system's socket, holds no more than its limit at a time.
    qint64 bytesAvailable() const override
    {
        const qint64 limit = readBufferSize();
        return limit == 0 ? incoming.size() : std::min<qint64>(limit, incoming.size());
    }
    qint64 bytesToWrite() const override { return unsent; }

    void disconnectFromHost() override
    {
        if (state() != UnconnectedState) {
            setSocketState(UnconnectedState);
            incoming.clear();
            unsent = 0;
            emit disconnected();
        }
    }

protected:
    qint64 readData(char *data, qint64 maximum) override
    {
        // A caller that asks for more than the limit gets the rest from the system.
        const qint64 size = std::min<qint64>(maximum, incoming.size());
        std::copy_n(incoming.constData(), size, data);
        incoming.remove(0, size);
        return size;
    }
    qint64 writeData(const char *data, qint64 size) override
    {
        outgoing.append(data, size);
        return size;
    }

private:
    QByteArray incoming;
    QByteArray outgoing;
    qint64 unsent = 0;
};
