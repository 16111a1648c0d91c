// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QUrl>

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

    enum class Result {
        Opened,
        Refused, ///< It would be taken for an option.
        TooMany,
        Failed, ///< The desktop has no program for it.
    };

    /// \param address a text that QUrl parses; its form is not checked
    Result open(const QString &address);
    Result open(const QUrl &address);

    /// Counts an opening that the caller makes; false, and a warning, if it is one too many.
    bool allowsOne();

private:
    bool takeTurn();

    Clock now;
    std::chrono::steady_clock::time_point
        idleFrom; // the time at which all openings so far are used up
};
