// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/wayland/ProgramSockets.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

namespace platform {

/// Keeps a typist from filling the socket of a Wayland program that does not read. The compositor
/// would cut the program off, which ends it, and its user would lose what is not saved.
///
/// Nobody tells which program has the keys, so the brake waits for every program that has much
/// unread. The exception is one that had it when the text began and has not got more since: it
/// hangs, and it is not the one that is typed into.
class TypingBrake
{
public:
    using Clock = std::chrono::steady_clock;
    using Look = std::function<std::optional<UnreadEvents>()>;

    // In bytes. What was sent takes up to one and a half times as much of the system's memory.
    static constexpr std::uint32_t muchUnread = 64 * 1024;
    static constexpr std::uint32_t moreUnread = 2 * 1024;
    static constexpr int bytesPerLook = 30'000; ///< Typed in 0.1 s.
    /// While a program has much unread.
    static constexpr int bytesPerCloseLook = 3'000;
    /// While it holds.
    static constexpr std::chrono::milliseconds lookInterval{10};
    /// For so long it waits for a program. Some do not read for many seconds while they load
    /// something.
    static constexpr std::chrono::seconds patience{30};

    /// \param lookAtPrograms is asked what they have not read. If it does not know, nothing is
    /// held.
    explicit TypingBrake(Look lookAtPrograms) : look(std::move(lookAtPrograms)) {}

    /// To be called before the first text, and whenever one begins and no other is being typed.
    void begin();
    /// So much was sent to the program.
    void spend(int bytes) { unseen += bytes; }
    /// Whether nothing may be typed for now. Looks if that is due.
    bool holds(Clock::time_point now);
    /// Whether it has held for so long that the program will not read any more.
    bool isHopeless(Clock::time_point now) const
    {
        return heldSince && now - *heldSince > patience;
    }

private:
    void lookAt(Clock::time_point now);

    Look look;
    int unseen = 0; ///< Sent since the last look.
    bool areSomeSlow = false;
    std::optional<UnreadEvents> atBegin; ///< Of those who have had much unread since then.
    Clock::time_point lastLook;
    std::optional<Clock::time_point> heldSince;
};

} // namespace platform
