// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QStringList>

#include <chrono>
#include <deque>

/// The balloons that are still to be shown, and when the next one may be.
///
/// A balloon costs milliseconds in which nothing else is done, and whoever reaches the port can
/// cause any number of them. So at most ten are shown within any second: those of a person's doings
/// at once, those of a storm one every tenth of a second. The times are the caller's.
class BalloonQueue
{
public:
    using Clock = std::chrono::steady_clock;

    static constexpr int maximumWaiting = 16;
    static constexpr int maximumPerSecond = 10;

    /// A text that waits already is moved to the end. Of more than `maximumWaiting` the oldest are
    /// dropped: a tray shows one at a time, so the last ones are those that a user gets to see.
    void add(const QString &text);
    bool isEmpty() const { return waiting.isEmpty(); }
    /// How long the next text still has to wait; 0 when it is due.
    std::chrono::milliseconds delay(Clock::time_point now) const;
    /// Takes out the oldest text, which is being shown now, whether it is due or not. There must be
    /// one.
    QString take(Clock::time_point now);

private:
    QStringList waiting;                 // oldest first, no text twice
    std::deque<Clock::time_point> shown; // the last ones, oldest first
};
