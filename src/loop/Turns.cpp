// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "loop/Turns.h"

#include <utility>

void Turns::enter(QObject *worker, Step step)
{
    waiting.push_back({worker, std::move(step)});
    admitWaiting();
    scheduleRound();
}

void Turns::admitWaiting()
{
    while (atWork.size() < limit && !waiting.empty()) {
        atWork.push_back(std::move(waiting.front()));
        waiting.pop_front();
    }
}

/// Queued: the event loop handles the sockets between two rounds.
void Turns::scheduleRound()
{
    if (!isRoundScheduled && !atWork.empty()) {
        isRoundScheduled = true;
        QMetaObject::invokeMethod(this, &Turns::takeTurn, Qt::QueuedConnection);
    }
}

void Turns::takeTurn()
{
    isRoundScheduled = false;
    Work work = std::move(atWork.front());
    atWork.pop_front();
    // Scheduled before the step, which may run an event loop.
    scheduleRound();
    if (!work.worker.isNull() && work.step() && !work.worker.isNull()) {
        atWork.push_back(std::move(work));
    }
    admitWaiting();
    scheduleRound();
}
