// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <chrono>
#include <functional>

/// Has the desktop open what peers send: addresses, and files that have arrived.
///
/// Each opening starts a program, so their number is limited over all peers: 50 at once, and five
/// more per second. What exceeds that, and what the desktop's program would take for an option, is
/// not opened; a warning reports it to the user.
class Opener
{
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// \param clock must not go back
    explicit Opener(Clock clock = std::chrono::steady_clock::now);

    /// \param address a text that QUrl parses; its form is not checked
    void open(const QString &address);

private:
    bool takeTurn();

    Clock now;
    std::chrono::steady_clock::time_point
        idleFrom; // the time at which all openings so far are used up
};
