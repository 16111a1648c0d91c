// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalKeyboard.h"

#include <algorithm>
#include <array>

namespace platform {

namespace {

struct Modifier
{
    NamedKey name;
    bool KeyModifiers::*isWanted;
};

/// In the order in which they are pressed: with Shift held the Alt key is a Meta key.
constexpr std::array modifierKeys = {
    Modifier{NamedKey::Control, &KeyModifiers::hasControl},
    Modifier{NamedKey::Alt, &KeyModifiers::hasAlt},
    Modifier{NamedKey::Meta, &KeyModifiers::hasMeta},
    Modifier{NamedKey::Shift, &KeyModifiers::hasShift},
    Modifier{NamedKey::AltGraph, &KeyModifiers::hasAltGraph},
};

/// Command and Control are the same key here.
KeyModifiers modifiersOf(EventFlags flags)
{
    return {.hasControl = (flags & (Flag::Command | Flag::Control)) != 0,
            .hasShift = (flags & Flag::Shift) != 0,
            .hasAlt = (flags & Flag::Alternate) != 0};
}

} // namespace

bool PortalKeyboard::press(const Key &key, const KeyModifiers &modifiers)
{
    if (const auto place =
            key.name == NamedKey::None ? layout.placeOf(key.character) : std::nullopt) {
        return pressPlace(key, *place, modifiers);
    }
    return pressNamed(key, keys.press(key), modifiers);
}

bool PortalKeyboard::pressPlace(const Key &key, const PortalLayout::Place &place,
                                KeyModifiers modifiers)
{
    modifiers.hasShift = modifiers.hasShift || place.isShifted;
    modifiers.hasAltGraph = modifiers.hasAltGraph || place.isWithAltGraph;
    return pressNamed(key, PortalEvent{PortalEvent::Kind::Key, place.code, true, 0, 0}, modifiers);
}

bool PortalKeyboard::press(KeyCode code, EventFlags flags)
{
    return pressNamed(code, keys.press(code), modifiersOf(flags));
}

void PortalKeyboard::release(const Key &key)
{
    releaseNamed(key);
}

void PortalKeyboard::release(KeyCode code)
{
    releaseNamed(code);
}

bool PortalKeyboard::tap(char32_t character)
{
    const std::optional<std::uint32_t> keysym = layout.keysymOf(character);
    if (!keysym) {
        return false;
    }
    if (const auto place = layout.placeOf(character)) {
        const Key key{NamedKey::None, character};
        const bool isPressed = pressPlace(key, *place, {});
        releaseNamed(key);
        return isPressed;
    }
    liftModifiersExcept({});
    const PortalEvent press{PortalEvent::Kind::Character, static_cast<std::int32_t>(*keysym), true,
                            0, 0};
    if (!down(press)) {
        return false;
    }
    up(press);
    return true;
}

void PortalKeyboard::forget()
{
    held.clear();
    counts.clear();
}

bool PortalKeyboard::pressNamed(const Name &name, const std::optional<PortalEvent> &key,
                                const KeyModifiers &modifiers)
{
    releaseNamed(name);
    if (!key) {
        return false;
    }
    std::vector<PortalEvent> presses = pressesOf(modifiers);
    std::erase(presses, *key);
    presses.push_back(*key);
    liftModifiersExcept(presses);
    held.push_back({name, {}});
    const bool areDown = std::ranges::all_of(presses, [this](const PortalEvent &press) {
        const bool isDown = down(press);
        if (isDown) {
            held.back().presses.push_back(press);
        }
        return isDown;
    });
    if (!areDown) {
        releaseNamed(name);
    }
    return areDown;
}

void PortalKeyboard::releaseNamed(const Name &name)
{
    const auto found = std::ranges::find(held, name, &HeldKey::name);
    if (found == held.end()) {
        return;
    }
    std::vector<PortalEvent> presses = std::move(found->presses);
    held.erase(found);
    for (; !presses.empty(); presses.pop_back()) {
        up(presses.back());
    }
}

bool PortalKeyboard::down(const PortalEvent &press)
{
    if (!counts.contains({press.kind, press.code}) && !outbox.add(press)) {
        return false;
    }
    ++counts[{press.kind, press.code}];
    return true;
}

/// It may have been lifted for another key.
void PortalKeyboard::up(PortalEvent press)
{
    const auto count = counts.find({press.kind, press.code});
    if (count == counts.end() || --count->second > 0) {
        return;
    }
    counts.erase(count);
    press.isDown = false;
    outbox.add(press);
}

/// They are not pressed again afterwards: whoever held them may have let go meanwhile.
void PortalKeyboard::liftModifiersExcept(const std::vector<PortalEvent> &wanted)
{
    constexpr KeyModifiers all{true, true, true, true, true};
    for (const PortalEvent &press : pressesOf(all)) {
        if (counts.contains({press.kind, press.code}) && std::ranges::count(wanted, press) == 0) {
            counts[{press.kind, press.code}] = 1;
            up(press);
        }
    }
}

std::vector<PortalEvent> PortalKeyboard::pressesOf(const KeyModifiers &modifiers) const
{
    std::vector<PortalEvent> presses;
    for (const Modifier &modifier : modifierKeys) {
        if (!(modifiers.*(modifier.isWanted))) {
            continue;
        }
        if (const auto press = keys.press(Key{modifier.name, 0})) {
            presses.push_back(*press);
        }
    }
    return presses;
}

} // namespace platform
