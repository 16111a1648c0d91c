// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTest>
#include <QTimer>

#include <chrono>

/// Long enough for a loaded machine with sanitizers; a wait ends as soon as its condition holds.
inline constexpr std::chrono::milliseconds GenerousLimit{20'000};
/// The same for the toolkit's functions that wait.
inline constexpr auto GenerousMilliseconds = static_cast<int>(GenerousLimit.count());

/// Runs the event loop for so long. QTest::qWait() sleeps between its looks at the events, so what
/// is served in this thread would be ten milliseconds late each time.
inline void runEventLoop(std::chrono::milliseconds duration)
{
    bool isOver = false;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    timer.callOnTimeout([&] { isOver = true; });
    timer.start(duration);
    while (!isOver) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

/// Runs the event loop until `condition` holds, asking it once every `pause`; false when the limit
/// passed first.
template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds limit = GenerousLimit,
               std::chrono::milliseconds pause = std::chrono::milliseconds(10))
{
    const QDeadlineTimer end(limit);
    while (!condition()) {
        if (end.hasExpired()) {
            return condition();
        }
        runEventLoop(pause);
    }
    return true;
}
