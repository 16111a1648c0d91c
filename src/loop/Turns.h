// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QPointer>

#include <deque>
#include <functional>
#include <limits>

/// Shares the event loop's time among connections and sessions that have much to do. In each round
/// of the loop one of them does one step of its work, so the others wait for one step at most,
/// however many have much to do. If work in progress needs memory, only a limited number of them
/// work at the same time; the rest wait in line.
class Turns : public QObject
{
    Q_OBJECT

public:
    /// Does one step of the work; returns false when none is left.
    using Step = std::function<bool()>;

    explicit Turns(size_t mostAtWork = std::numeric_limits<size_t>::max()) : limit(mostAtWork) {}

    /// Takes steps from the event loop until no work is left or the worker is destroyed. A step may
    /// run an event loop, in which the others take their steps.
    void enter(QObject *worker, Step step);
    /// Whether nobody waits for a turn.
    bool isIdle() const { return atWork.empty(); }

private:
    struct Work
    {
        QPointer<QObject> worker;
        Step step;
    };

    void scheduleRound();
    void takeTurn();
    void admitWaiting();

    size_t limit;
    std::deque<Work> atWork; // the first one has the next turn
    std::deque<Work> waiting;
    bool isRoundScheduled = false;
};
