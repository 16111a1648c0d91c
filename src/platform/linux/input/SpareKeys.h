// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/XkbKeyFinder.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace platform {

/// Decides which of the key map's spare keys produces which keysym. It knows no display.
///
/// A program looks up what a key means when it reads the event, so a key must not be given another
/// keysym before the program has read the last event of that key. A program that answers pings
/// shows that; of others it is assumed after a while.
///
/// Some programs, such as Chromium, learn changes of the key map on another connection than their
/// keys, and may see a change after the key that it was made for. So a key that was bound for a
/// program that answers is not typed before it has answered once more: then it has been back in its
/// event loop.
class SpareKeys
{
public:
    using Clock = std::chrono::steady_clock;

    struct Binding
    {
        std::uint8_t keycode = 0;
        std::uint32_t keysym = 0;

        bool operator==(const Binding &) const = default;
    };

    /// Who got the events of a key, or of its change, and when they count as read.
    struct Use
    {
        std::uint32_t window = 0;   ///< Whose answer shows it; 0 if it gives none.
        std::uint32_t question = 0; ///< The number of that answer or of any later one.
        Clock::time_point readAt;   ///< Without an answer.
    };

    /// Those keys may be used from now on. Keys that are bound and not among them are given up.
    void setKeys(const KeycodeSet &keycodes);
    /// That key is no longer ours: another program has changed it.
    void lose(std::uint8_t keycode);
    std::size_t count() const { return keys.size(); }

    /// The key that produces the keysym, if the change counts as read.
    std::optional<std::uint8_t> keyOf(std::uint32_t keysym, Clock::time_point now) const;
    /// What is bound now.
    std::vector<Binding> bindings() const;
    KeycodeSet boundKeys() const;

    /// Binds as many of the missing keysyms as possible, in their order, and returns the changes.
    /// Of the keys that may be bound anew it takes the one that has not been used for longest. The
    /// keysyms among `wanted` that are bound already stay so.
    std::vector<Binding> bind(std::span<const std::uint32_t> wanted, Clock::time_point now);
    /// Unbinds everything and returns what was bound.
    std::vector<Binding> unbindAll();

    void use(std::uint8_t keycode, const Use &use);
    /// What the key is bound to goes to that program.
    void announce(std::uint8_t keycode, const Use &use);
    /// While held, a key is never bound anew.
    void hold(std::uint8_t keycode) { setHeld(keycode, true); }
    void letGo(std::uint8_t keycode) { setHeld(keycode, false); }
    bool isAnyHeld() const;

    /// The window has answered that question, so it has read all that came before it.
    void confirm(std::uint32_t window, std::uint32_t question);

    /// What that window got counts as read then at the latest.
    void countAsRead(std::uint32_t window, Clock::time_point time);

    /// When the first key may be bound anew; nothing if all of them are held or there is none.
    std::optional<Clock::time_point> nextFree() const;
    /// When the events of all keys count as read.
    Clock::time_point lastRead() const;

private:
    struct SpareKey
    {
        std::uint8_t keycode = 0;
        std::uint32_t keysym = 0; ///< 0 if it is not bound.
        bool isHeld = false;
        Use lastUse;
        Use lastChange;
        std::uint64_t order = 0; ///< Rises with each use.
    };

    SpareKey *find(std::uint8_t keycode);
    SpareKey *findBound(std::uint32_t keysym);
    SpareKey *oldestFree(std::span<const std::uint32_t> kept, Clock::time_point now);
    void setHeld(std::uint8_t keycode, bool isHeld);

    std::vector<SpareKey> keys;
    std::uint64_t uses = 0;
};

} // namespace platform
