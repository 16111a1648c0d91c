// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHash>
#include <QString>

#include <chrono>

/// How long a device that asks to be paired has to wait before the user is asked, because the user
/// has refused before. A device that asks again and again would otherwise keep the user busy.
///
/// A refused device waits one second, and twice as long after each further refusal. A device may
/// take a new identifier each time, so after a row of refusals everyone waits likewise. The times
/// are the caller's.
class RefusalPauses
{
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::seconds longest{10};
    /// Refusals in a row that make nobody else wait.
    static constexpr int refusalsOfOthers = 3;
    /// A row ends when the user has refused nobody for that long.
    static constexpr std::chrono::minutes rowEnds{1};
    /// Devices whose refusals are remembered; of more, the one refused longest ago is forgotten.
    static constexpr qsizetype maximumDevices = 64;

    /// 0 when the user may be asked at once; `longest` at most.
    std::chrono::milliseconds pause(const QString &device, Clock::time_point now) const;

    void refused(const QString &device, Clock::time_point now);
    /// The user welcomes devices: nobody waits because of others any longer.
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
