// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionTurns.h"

#include <utility>

void SessionTurns::enter(QObject *worker, Step step)
{
    waiting.push_back({worker, std::move(step)});
    scheduleRound();
}

/// Queued: the event loop handles sockets, timers and windows between two rounds.
void SessionTurns::scheduleRound()
{
    if (!isRoundScheduled && !waiting.empty()) {
        isRoundScheduled = true;
        QMetaObject::invokeMethod(this, &SessionTurns::takeTurn, Qt::QueuedConnection);
    }
}

void SessionTurns::takeTurn()
{
    isRoundScheduled = false;
    Work work = std::move(waiting.front());
    waiting.pop_front();
    // Scheduled before the step, which may run an event loop.
    scheduleRound();
    if (!work.worker.isNull() && work.step() && !work.worker.isNull()) {
        waiting.push_back(std::move(work));
        scheduleRound();
    }
}
