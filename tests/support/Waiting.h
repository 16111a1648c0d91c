// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QDeadlineTimer>
#include <QTest>

#include <chrono>

/// Long enough for a loaded machine with sanitizers; a wait ends as soon as its condition holds.
inline constexpr std::chrono::milliseconds GenerousLimit{20'000};

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
        QTest::qWait(static_cast<int>(pause.count()));
    }
    return true;
}
