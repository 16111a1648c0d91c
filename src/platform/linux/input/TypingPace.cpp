// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/TypingPace.h"

#include <algorithm>

namespace platform {

void TypingPace::begin(Clock::time_point now)
{
    const std::chrono::duration<double> passed = now - last;
    last = now;
    left = std::min(left + passed.count() * bytesPerSecond, double{burst});
    leftOfPiece = piece;
}

bool TypingPace::hasRoom() const
{
    return std::min(left, double(leftOfPiece)) >= bytesPerKey + bytesPerChange;
}

void TypingPace::spend(int bytes)
{
    left -= bytes;
    leftOfPiece -= bytes;
}

std::chrono::milliseconds TypingPace::pause() const
{
    using Milliseconds = std::chrono::duration<double, std::milli>;
    const Milliseconds missing(std::max(piece - left, 0.) * 1000 / bytesPerSecond);
    return std::chrono::ceil<std::chrono::milliseconds>(missing);
}

} // namespace platform
