// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/SpareKeys.h"

#include <algorithm>
#include <utility>

namespace platform {

void SpareKeys::setKeys(const KeycodeSet &keycodes)
{
    std::erase_if(keys, [&](const SpareKey &key) { return !keycodes.test(key.keycode); });
    for (std::size_t keycode = 0; keycode < keycodes.size(); ++keycode) {
        if (keycodes.test(keycode) && !find(static_cast<std::uint8_t>(keycode))) {
            SpareKey key;
            key.keycode = static_cast<std::uint8_t>(keycode);
            keys.push_back(key);
        }
    }
}

void SpareKeys::lose(std::uint8_t keycode)
{
    std::erase_if(keys, [&](const SpareKey &key) { return key.keycode == keycode; });
}

std::optional<std::uint8_t> SpareKeys::keyOf(std::uint32_t keysym, Clock::time_point now) const
{
    const auto key = std::ranges::find(keys, keysym, &SpareKey::keysym);
    return key == keys.end() || key->lastChange.readAt > now ? std::nullopt
                                                             : std::optional(key->keycode);
}

std::vector<SpareKeys::Binding> SpareKeys::bindings() const
{
    std::vector<Binding> bound;
    for (const SpareKey &key : keys) {
        if (key.keysym) {
            bound.push_back({key.keycode, key.keysym});
        }
    }
    return bound;
}

KeycodeSet SpareKeys::boundKeys() const
{
    KeycodeSet bound;
    for (const Binding &binding : bindings()) {
        bound.set(binding.keycode);
    }
    return bound;
}

std::vector<SpareKeys::Binding> SpareKeys::bind(std::span<const std::uint32_t> wanted,
                                                Clock::time_point now)
{
    std::vector<Binding> changes;
    for (const std::uint32_t keysym : wanted) {
        SpareKey *const key = findBound(keysym) ? nullptr : oldestFree(wanted, now);
        if (key) {
            key->keysym = keysym;
            changes.push_back({key->keycode, keysym});
        }
    }
    return changes;
}

std::vector<SpareKeys::Binding> SpareKeys::unbindAll()
{
    auto bound = bindings();
    for (SpareKey &key : keys) {
        key.keysym = 0;
    }
    return bound;
}

void SpareKeys::use(std::uint8_t keycode, const Use &use)
{
    if (SpareKey *const key = find(keycode)) {
        key->lastUse = use;
        key->order = ++uses;
    }
}

void SpareKeys::announce(std::uint8_t keycode, const Use &use)
{
    if (SpareKey *const key = find(keycode)) {
        key->lastChange = use;
    }
}

bool SpareKeys::isAnyHeld() const
{
    return std::ranges::any_of(keys, &SpareKey::isHeld);
}

void SpareKeys::confirm(std::uint32_t window, std::uint32_t question)
{
    for (SpareKey &key : keys) {
        for (Use *const use : {&key.lastUse, &key.lastChange}) {
            if (use->window == window && use->question <= question) {
                use->readAt = {};
            }
        }
    }
}

void SpareKeys::countAsRead(std::uint32_t window, Clock::time_point time)
{
    for (SpareKey &key : keys) {
        if (key.lastUse.window == window) {
            key.lastUse.readAt = std::min(key.lastUse.readAt, time);
        }
    }
}

std::optional<SpareKeys::Clock::time_point> SpareKeys::nextFree() const
{
    std::optional<Clock::time_point> first;
    for (const SpareKey &key : keys) {
        if (!key.isHeld && (!first || key.lastUse.readAt < *first)) {
            first = key.lastUse.readAt;
        }
    }
    return first;
}

SpareKeys::Clock::time_point SpareKeys::lastRead() const
{
    Clock::time_point last;
    for (const SpareKey &key : keys) {
        last = std::max(last, key.lastUse.readAt);
    }
    return last;
}

SpareKeys::SpareKey *SpareKeys::find(std::uint8_t keycode)
{
    const auto key = std::ranges::find(keys, keycode, &SpareKey::keycode);
    return key == keys.end() ? nullptr : &*key;
}

SpareKeys::SpareKey *SpareKeys::findBound(std::uint32_t keysym)
{
    const auto key = std::ranges::find(keys, keysym, &SpareKey::keysym);
    return key == keys.end() ? nullptr : &*key;
}

SpareKeys::SpareKey *SpareKeys::oldestFree(std::span<const std::uint32_t> kept,
                                           Clock::time_point now)
{
    SpareKey *oldest = nullptr;
    for (SpareKey &key : keys) {
        const bool isKept = key.keysym && std::ranges::find(kept, key.keysym) != kept.end();
        const bool isFree = !key.isHeld && !isKept && key.lastUse.readAt <= now;
        const auto rank = [](const SpareKey &ranked) {
            return std::pair(ranked.keysym != 0, ranked.order);
        };
        if (isFree && (!oldest || rank(key) < rank(*oldest))) {
            oldest = &key;
        }
    }
    return oldest;
}

void SpareKeys::setHeld(std::uint8_t keycode, bool isHeld)
{
    if (SpareKey *const key = find(keycode)) {
        key->isHeld = isHeld;
    }
}

} // namespace platform
