// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/TypingPace.h"

#include <algorithm>

namespace platform {

bool TypingPace::hasRoom(Clock::time_point now)
{
    const std::chrono::duration<double> passed = now - last;
    last = now;
    left = std::min(left + passed.count() * bytesPerSecond, double{burst});
    return left >= bytesPerKey + bytesPerChange;
}

} // namespace platform
