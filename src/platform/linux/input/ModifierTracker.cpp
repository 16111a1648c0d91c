// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/ModifierTracker.h"

namespace platform {

namespace {

ModifierMask changed(ModifierMask modifiers, ModifierMask added, ModifierMask removed)
{
    return static_cast<ModifierMask>((modifiers | added) & ~removed);
}

/// Sequence numbers wrap around.
bool isLater(std::uint32_t sequence, std::uint32_t other)
{
    return static_cast<std::int32_t>(sequence - other) > 0;
}

} // namespace

void ModifierTracker::report(const ModifierState &state, std::uint32_t sequence)
{
    while (!effects.empty() && !isLater(effects.front().sequence, sequence)) {
        effects.pop_front();
    }
    known = state;
    for (const Effect &effect : effects) {
        apply(effect);
    }
}

void ModifierTracker::press(ModifierMask modifiers, std::uint32_t sequence)
{
    add({.sequence = sequence, .pressed = modifiers});
}

void ModifierTracker::release(ModifierMask modifiers, std::uint32_t sequence)
{
    add({.sequence = sequence, .released = modifiers});
}

void ModifierTracker::lock(ModifierMask modifiers, std::uint32_t sequence)
{
    add({.sequence = sequence, .locked = modifiers});
}

void ModifierTracker::unlock(ModifierMask modifiers, std::uint32_t sequence)
{
    add({.sequence = sequence, .unlocked = modifiers});
}

void ModifierTracker::add(const Effect &effect)
{
    effects.push_back(effect);
    apply(effect);
}

void ModifierTracker::apply(const Effect &effect)
{
    known.base = changed(known.base, effect.pressed, effect.released);
    known.latched = changed(known.latched, 0, effect.unlocked);
    known.locked = changed(known.locked, effect.locked, effect.unlocked);
}

} // namespace platform
