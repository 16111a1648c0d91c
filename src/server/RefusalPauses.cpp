// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/RefusalPauses.h"

#include <algorithm>

using namespace std::chrono_literals;

std::chrono::milliseconds RefusalPauses::pause(const QString &device, Clock::time_point now) const
{
    return std::max(devices.value(keyOf(device)).pause(1, now),
                    all.pause(1 + refusalsOfOthers, now));
}

void RefusalPauses::refused(const QString &device, Clock::time_point now)
{
    devices[keyOf(device)].lengthen(now);
    all.lengthen(now);
    if (devices.size() > maximumDevices) {
        devices.erase(std::min_element(
            devices.cbegin(), devices.cend(),
            [](const Row &one, const Row &other) { return one.last < other.last; }));
    }
}

void RefusalPauses::accepted(const QString &device)
{
    devices.remove(keyOf(device));
    all = Row();
}

void RefusalPauses::Row::lengthen(Clock::time_point now)
{
    if (now - last >= rowEnds) {
        refusals = 0;
    }
    ++refusals;
    last = now;
}

std::chrono::milliseconds RefusalPauses::Row::pause(int firstThatCounts,
                                                    Clock::time_point now) const
{
    if (refusals < firstThatCounts) {
        return 0ms;
    }
    const int doublings = std::min(refusals - firstThatCounts, 4);
    const auto whole = std::min<std::chrono::milliseconds>(1s * (1 << doublings), longest);
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(last + whole - now), 0ms);
}
