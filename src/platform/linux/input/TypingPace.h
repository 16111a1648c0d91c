// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>

namespace platform {

/// How fast a text may be typed into a Wayland program.
///
/// A compositor cuts off a program that does not read while more is sent to it than its socket
/// holds: some 208 KiB, and 4 KiB in libwayland. Programs stop for half a second now and then. In
/// that time this pace makes at most 20 KB + 165 KB, which leaves room for what else is sent.
class TypingPace
{
public:
    using Clock = std::chrono::steady_clock;

    // What goes to the program, in bytes.
    static constexpr int bytesPerKey = 48;         ///< Press and release.
    static constexpr int bytesPerChange = 28;      ///< Of modifiers or layout.
    static constexpr int bytesPerSecond = 330'000; ///< 6,875 keys.
    static constexpr int burst = 20'000;           ///< 416 keys.

    /// Begins with a whole burst.
    explicit TypingPace(Clock::time_point now) : last(now) {}

    /// Whether another key may be typed now.
    bool hasRoom(Clock::time_point now);
    void spend(int bytes) { left -= bytes; }

private:
    double left = burst;
    Clock::time_point last;
};

} // namespace platform
