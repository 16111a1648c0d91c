// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QPointer>

#include <deque>
#include <functional>

/// Shares the event loop's time among sessions that have requests to serve: in each round of the
/// loop one of them serves a few. So a session that sends without a pause delays neither the others
/// nor the handhelds by more than that.
class SessionTurns : public QObject
{
    Q_OBJECT

public:
    /// Serves a few requests; returns whether there may be more.
    using Step = std::function<bool()>;

    /// Takes steps from the event loop until one returns false or the worker is destroyed. A worker
    /// must not enter again before that.
    void enter(QObject *worker, Step step);

private:
    struct Work
    {
        QPointer<QObject> worker;
        Step step;
    };

    void scheduleRound();
    void takeTurn();

    std::deque<Work> waiting; // the first one has the next turn
    bool isRoundScheduled = false;
};
