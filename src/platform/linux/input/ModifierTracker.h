// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/XkbKeyFinder.h"

#include <cstdint>
#include <deque>

namespace platform {

/// The modifiers of the desktop's keyboard, separated by why they are in effect.
struct ModifierState
{
    ModifierMask base = 0;    ///< By keys that are held, the user's and ours.
    ModifierMask latched = 0; ///< Until the next key.
    ModifierMask locked = 0;  ///< Until unlocked: Caps Lock, Num Lock.
    std::uint8_t group = 0;   ///< The layout in effect, from 0.

    bool operator==(const ModifierState &) const = default;
};

/// Knows the modifiers as they will be when the X server has processed everything that we sent,
/// without asking it.
///
/// What the server reports is late: a report that it made before our last requests does not include
/// them. A second shortcut, posted before the reports of the first have arrived, would take the
/// first one's Control for the user's. So each of our effects is added to the reports until one is
/// at least as recent as the request that caused the effect, which the request's sequence number
/// shows.
class ModifierTracker
{
public:
    /// Takes in a report: the state after the server had processed request `sequence`.
    void report(const ModifierState &state, std::uint32_t sequence);

    // Records what request `sequence` does.
    void press(ModifierMask modifiers, std::uint32_t sequence);
    void release(ModifierMask modifiers, std::uint32_t sequence);
    void lock(ModifierMask modifiers, std::uint32_t sequence);
    /// Clears locks and latches.
    void unlock(ModifierMask modifiers, std::uint32_t sequence);

    const ModifierState &state() const { return known; }

private:
    /// What one of our requests changes.
    struct Effect
    {
        std::uint32_t sequence = 0;
        ModifierMask pressed = 0;
        ModifierMask released = 0;
        ModifierMask locked = 0;
        ModifierMask unlocked = 0;
    };

    void add(const Effect &effect);
    void apply(const Effect &effect);

    ModifierState known;
    std::deque<Effect> effects; ///< Those that no report has shown yet, by rising sequence.
};

} // namespace platform
