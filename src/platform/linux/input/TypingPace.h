// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>

namespace platform {

/// How fast a text may be typed into a Wayland program.
///
/// A compositor cuts off a program that does not read while more is sent to it than its socket
/// holds: some 208 KiB, of which the system counts about a sixth for itself if the pieces are well
/// chosen. Programs stop for half a second now and then. In that time this pace makes at most 10 KB
/// + 150 KB, which leaves room for what else is sent. For those that stop for longer there is
/// TypingBrake, where the system tells of them.
class TypingPace
{
public:
    using Clock = std::chrono::steady_clock;

    // What goes to the program, in bytes.
    static constexpr int bytesPerKey = 48;         ///< Press and release.
    static constexpr int bytesPerChange = 28;      ///< Of modifiers or layout.
    static constexpr int bytesPerSecond = 300'000; ///< 6,250 keys.
    static constexpr int burst = 10'000;           ///< 208 keys.
    /// The most at once: what the system stores in one page. What is a little longer takes two, and
    /// smaller pieces waste their page.
    static constexpr int piece = 3'600;

    /// Begins with a whole burst.
    explicit TypingPace(Clock::time_point now) : last(now) {}

    /// Begins a piece.
    void begin(Clock::time_point now);
    /// Whether the piece may have another key.
    bool hasRoom() const;
    void spend(int bytes);
    /// How long it takes from now on until there is room for a whole piece.
    std::chrono::milliseconds pause() const;

private:
    double left = burst;
    int leftOfPiece = 0;
    Clock::time_point last;
};

} // namespace platform
