// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <atomic>
#include <thread>

/// A device that sends the same token as fast as the server takes it, from construction until
/// stop(), and throws the answers away. It has a thread of its own.
class Flooder
{
public:
    Flooder(quint16 port, const QByteArray &token);
    ~Flooder() { stop(); }
    Flooder(const Flooder &) = delete;
    Flooder &operator=(const Flooder &) = delete;

    /// \return how many bytes the server took in all.
    qint64 stop();

    /// How many bytes the server or the system in between has taken so far.
    qint64 taken() const { return sent; }

    /// False once the server has ended the connection.
    bool isConnected() const { return isAccepted; }

private:
    void run(quint16 port, const QByteArray &bytes);

    std::atomic_bool isOver = false;
    std::atomic_bool isAccepted = true;
    std::atomic<qint64> sent = 0;
    std::thread worker; // last, so that the rest is there before it runs
};
