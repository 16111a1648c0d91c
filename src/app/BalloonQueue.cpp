// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/BalloonQueue.h"

#include <algorithm>

using namespace std::chrono_literals;

void BalloonQueue::add(const QString &text)
{
    waiting.removeOne(text);
    waiting.append(text);
    if (waiting.size() > maximumWaiting) {
        waiting.removeFirst();
    }
}

std::chrono::milliseconds BalloonQueue::delay(Clock::time_point now) const
{
    Clock::time_point due = now;
    if (shown.size() == maximumPerSecond) {
        due = std::max(due, shown.front() + 1s);
    }
    const bool isStorm = waiting.size() > 1;
    if (isStorm && !shown.empty()) {
        due = std::max(due, shown.back() + 1'000ms / maximumPerSecond);
    }
    return std::chrono::ceil<std::chrono::milliseconds>(due - now);
}

QString BalloonQueue::take(Clock::time_point now)
{
    shown.push_back(now);
    if (shown.size() > maximumPerSecond) {
        shown.pop_front();
    }
    return waiting.takeFirst();
}
