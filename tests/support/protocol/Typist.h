// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <atomic>
#include <thread>

/// A device that sends a token again and again, each by itself with the shortest of pauses behind
/// it, so that the server carries out nearly every one; from construction until stop(). It has a
/// thread of its own.
class Typist
{
public:
    Typist(quint16 port, const QByteArray &token);
    ~Typist() { stop(); }
    Typist(const Typist &) = delete;
    Typist &operator=(const Typist &) = delete;

    void stop();

private:
    void run(quint16 port, const QByteArray &token);

    std::atomic_bool isOver = false;
    std::thread worker; // last, so that the rest is there before it runs
};
