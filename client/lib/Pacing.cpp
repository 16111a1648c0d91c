// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/Pacing.h"

#include <algorithm>

namespace quillmote {
namespace {

using namespace std::chrono_literals;

constexpr Pacing::Duration shortestGap = 20us;
/// Longer than the sleep of a radio, which holds packets back and then delivers them together.
constexpr Pacing::Duration longestGap = 500ms;

} // namespace

void Pacing::noteReadApart()
{
    // Growing by 1/2 and shrinking by 1/64 balance when about one wait in thirty is too short.
    const Duration step = currentGap / (wasTooShort ? 64 : 8);
    currentGap = std::max(shortestGap, currentGap - std::max(step, Duration(1us)));
}

void Pacing::noteReadTogether()
{
    wasTooShort = true;
    currentGap = std::min(longestGap, currentGap * 3 / 2);
}

} // namespace quillmote
