// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QStringList>

#include <chrono>
#include <deque>

/// The balloons that are still to be shown, and the time at which the next one may be shown.
///
/// Showing a balloon blocks the event loop for milliseconds, and anybody who reaches the port can
/// cause any number of them. So at most ten are shown within any second. Those that a person causes
/// are shown at once, those of a storm one every tenth of a second. The caller passes the current
/// time.
class BalloonQueue
{
public:
    using Clock = std::chrono::steady_clock;

    static constexpr int maximumWaiting = 16;
    static constexpr int maximumPerSecond = 10;

    /// Adds a text. If the same text is already waiting, it moves to the end. Beyond
    /// `maximumWaiting` the oldest are dropped: a tray shows one at a time, so the user sees the
    /// last ones.
    void add(const QString &text);
    bool isEmpty() const { return waiting.isEmpty(); }
    /// How long the next text still has to wait; 0 when it is due.
    std::chrono::milliseconds delay(Clock::time_point now) const;
    /// Removes and returns the oldest text, whether it is due or not; the caller shows it now. The
    /// queue must not be empty.
    QString take(Clock::time_point now);

private:
    QStringList waiting;                 // oldest first, no text twice
    std::deque<Clock::time_point> shown; // the last ones, oldest first
};
