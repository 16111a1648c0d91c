// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/ReadingTurns.h"

#include <utility>

void ReadingTurns::enter(QObject *worker, Step step)
{
    waiting.push_back({worker, std::move(step)});
    admitWaiting();
    scheduleRound();
}

void ReadingTurns::admitWaiting()
{
    while (atWork.size() < maximumAtWork && !waiting.empty()) {
        atWork.push_back(std::move(waiting.front()));
        waiting.pop_front();
    }
}

/// Queued: the event loop looks at the sockets between two rounds.
void ReadingTurns::scheduleRound()
{
    if (!isRoundScheduled && !atWork.empty()) {
        isRoundScheduled = true;
        QMetaObject::invokeMethod(this, &ReadingTurns::takeTurn, Qt::QueuedConnection);
    }
}

void ReadingTurns::takeTurn()
{
    isRoundScheduled = false;
    Work work = std::move(atWork.front());
    atWork.pop_front();
    // Before the step, which may run an event loop.
    scheduleRound();
    if (!work.worker.isNull() && work.step() && !work.worker.isNull()) {
        atWork.push_back(std::move(work));
    }
    admitWaiting();
    scheduleRound();
}
