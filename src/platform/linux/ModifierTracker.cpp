// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "ModifierTracker.h"

namespace platform {

namespace {

ModifierMask changed(ModifierMask modifiers, ModifierMask added, ModifierMask removed)
{
    return static_cast<ModifierMask>((modifiers | added) & ~removed);
}

/// Sequence numbers start again at 0 after the last one.
bool isLater(std::uint32_t sequence, std::uint32_t other)
{
    return static_cast<std::int32_t>(sequence - other) > 0;
}

} // namespace

void ModifierTracker::report(const ModifierState &state, std::uint32_t sequence)
{
    while (!m_effects.empty() && !isLater(m_effects.front().sequence, sequence)) {
        m_effects.pop_front();
    }
    m_state = state;
    for (const Effect &effect : m_effects) {
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
    m_effects.push_back(effect);
    apply(effect);
}

void ModifierTracker::apply(const Effect &effect)
{
    m_state.base = changed(m_state.base, effect.pressed, effect.released);
    m_state.latched = changed(m_state.latched, 0, effect.unlocked);
    m_state.locked = changed(m_state.locked, effect.locked, effect.unlocked);
}

} // namespace platform
