// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <chrono>
#include <functional>

/// Has the desktop open what peers send it: their addresses and the files that have arrived.
///
/// Each opening starts a program, so they are counted, over all peers: 50 at once, and five more a
/// second. What is beyond, and what the desktop's program would take for an option, is not opened;
/// the user is told so by a warning.
class Opener
{
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// \param clock must not go back
    explicit Opener(Clock clock = std::chrono::steady_clock::now);

    /// \param address what QUrl makes an address of; its form is not checked
    void open(const QString &address);

private:
    bool takeTurn();

    Clock now;
    std::chrono::steady_clock::time_point idleFrom; // when all openings up to now are paid off
};
