// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/Pacing.h"

#include <algorithm>

namespace quillmote {
namespace {

using namespace std::chrono_literals;

constexpr Pacing::Duration shortestGap = 50us;
constexpr Pacing::Duration longestGap = 20ms;
constexpr Pacing::Duration shortestPatience = 3ms;
constexpr int mostDoublings = 8;

} // namespace

Pacing::Duration Pacing::patience(int earlierTries) const
{
    const Duration first = std::max(shortestPatience, 4 * smoothedRoundTrip);
    return first * (1 << std::min(earlierTries, mostDoublings));
}

void Pacing::noteAnswer(Duration roundTrip)
{
    smoothedRoundTrip =
        smoothedRoundTrip == 0us ? roundTrip : (7 * smoothedRoundTrip + roundTrip) / 8;
    currentGap = std::max(shortestGap, currentGap * 255 / 256);
}

void Pacing::noteSilence()
{
    currentGap = std::min(longestGap, currentGap * 2);
}

} // namespace quillmote
