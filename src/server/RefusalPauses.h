// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHash>
#include <QString>

#include <chrono>

/// How long a device that asks to be paired has to wait before the user is asked, because the user
/// has refused earlier requests. Otherwise a device that keeps asking would keep the user busy.
///
/// A refused device waits one second, and twice as long after each further refusal. A device may
/// use a new identifier each time, so after several refusals in a row every device waits. The
/// caller passes the current time.
class RefusalPauses
{
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::seconds longest{10};
    /// The number of refusals in a row after which other devices do not wait yet.
    static constexpr int refusalsOfOthers = 3;
    /// A row of refusals ends when the user has refused nobody for this long.
    static constexpr std::chrono::minutes rowEnds{1};
    /// The number of devices whose refusals are remembered. Beyond it, the one refused longest ago
    /// is forgotten.
    static constexpr qsizetype maximumDevices = 64;

    /// 0 if the user may be asked at once; `longest` at most.
    std::chrono::milliseconds pause(const QString &device, Clock::time_point now) const;

    void refused(const QString &device, Clock::time_point now);
    /// The user has accepted a device: no device waits any longer because of others.
    void accepted(const QString &device);

private:
    struct Row
    {
        int refusals = 0;
        Clock::time_point last;

        void lengthen(Clock::time_point now);
        std::chrono::milliseconds pause(int firstThatCounts, Clock::time_point now) const;
    };

    static size_t keyOf(const QString &device) { return qHash(device, QHashSeed::globalSeed()); }

    QHash<size_t, Row> devices; // by a hash, since an identifier may be long
    Row all;
};
