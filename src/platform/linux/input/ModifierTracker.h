// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/XkbKeyFinder.h"

#include <cstdint>
#include <deque>

namespace platform {

/// The modifiers of the desktop's keyboard, apart by why they are in effect.
struct ModifierState
{
    ModifierMask base = 0;    ///< By keys that are held, the user's and ours.
    ModifierMask latched = 0; ///< Until the next key.
    ModifierMask locked = 0;  ///< Until unlocked: Caps Lock, Num Lock.
    std::uint8_t group = 0;   ///< The layout in effect, from 0.

    bool operator==(const ModifierState &) const = default;
};

/// Knows the modifiers as they will be once the X server has dealt with all that we sent, without
/// asking it.
///
/// What the server reports is late: a report that was made before our last requests knows nothing
/// of them. A second shortcut, posted before the reports of the first have come, would take the
/// first one's Control for the user's. So every effect of ours is kept until a report is as young
/// as the request that caused it (the request's sequence number tells), and is added to older
/// reports.
class ModifierTracker
{
public:
    /// Takes a report in: the state after the server had dealt with request `sequence`.
    void report(const ModifierState &state, std::uint32_t sequence);

    // Notes what request `sequence` does.
    void press(ModifierMask modifiers, std::uint32_t sequence);
    void release(ModifierMask modifiers, std::uint32_t sequence);
    void lock(ModifierMask modifiers, std::uint32_t sequence);
    /// Takes back locks and latches.
    void unlock(ModifierMask modifiers, std::uint32_t sequence);

    const ModifierState &state() const { return known; }

private:
    /// What one request of ours changes.
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
