// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Sample.h"

#include <QtGlobal>

#include <atomic>
#include <chrono>
#include <thread>

/// A device that asks for the server's information at a steady pace, from construction until
/// stop(), and measures how long it waits. It has a thread of its own, so that the test may do
/// anything meanwhile.
class Asker
{
public:
    Asker(quint16 port, std::chrono::milliseconds pace);
    ~Asker() { stop(); }
    Asker(const Asker &) = delete;
    Asker &operator=(const Asker &) = delete;

    /// How long the answers took, in milliseconds.
    const Sample &stop();

    /// How many answers have come so far.
    int answers() const { return answerCount; }

    /// False once an answer failed to come.
    bool isServed() const { return isAnswered; }

private:
    void run(quint16 port, std::chrono::milliseconds pace);

    std::atomic_bool isOver = false;
    std::atomic_bool isAnswered = true;
    std::atomic_int answerCount = 0;
    Sample times;
    std::thread worker; // last, so that the rest is there before it runs
};
