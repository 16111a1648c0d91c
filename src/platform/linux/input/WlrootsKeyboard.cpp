// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/WlrootsKeyboard.h"

#include "platform/linux/input/NamedKeySymbols.h"
#include "platform/linux/input/OwnKeymap.h"

#include <algorithm>
#include <array>
#include <utility>

namespace platform {

WlrootsKeyboard::WlrootsKeyboard(WaylandOutbox &outboxOfConnection)
    : outbox(outboxOfConnection)
    , layout(LayoutKeys::ofSystem())
{
}

void WlrootsKeyboard::begin(zwp_virtual_keyboard_v1 *made)
{
    heldKeys.clear();
    device.emplace(made, outbox);
    useKeymap(nullptr);
    restoreState();
}

void WlrootsKeyboard::end()
{
    releaseAll();
    drop();
}

void WlrootsKeyboard::drop()
{
    heldKeys.clear();
    device.reset();
}

void WlrootsKeyboard::takeKeymap(const QByteArray &text)
{
    // A user at the keyboard brings the same one again and again.
    if (OwnKeymap::isNamed(text) || text == lastTaken) {
        return;
    }
    lastTaken = text;
    auto keys = LayoutKeys::fromText(text);
    // Other programs bring key maps for their texts.
    const bool isOfKeyboard = keys && keys->modifierKey(0, Modifier::Control);
    if (isOfKeyboard && (!layout || keys->text() != layout->text())) {
        layout = std::move(keys);
        useKeymap(nullptr);
        restoreState();
        outbox.flush();
    }
}

void WlrootsKeyboard::press(KeyCode code, EventFlags flags)
{
    const auto found = isThere() ? layout->key(code) : std::nullopt;
    if (found && !outbox.isClogged()) {
        press(KeyName(code), *found, layout->masksOf(found->group, flags));
    }
}

bool WlrootsKeyboard::press(const Key &key, const KeyModifiers &modifiers)
{
    if (!isThere() || outbox.isClogged()) {
        return false;
    }
    if (const auto found = layout->key(key, modifiers)) {
        press(KeyName(key), *found, layout->masksOf(found->group, modifiers));
        return true;
    }
    return pressBorrowed(key, modifiers);
}

void WlrootsKeyboard::press(const KeyName &name, const LayoutKey &found, ModifierMask modifiers)
{
    release(name);
    useKeymap(nullptr);
    HeldKey held{name, found.key.keycode, layout->heldModifiers(found.key.keycode),
                 0,    found.group,       {}};
    held.modifiers = static_cast<ModifierMask>(modifiers | found.key.modifiers);
    held.modifierKeys = pressModifiers(held.group, without(held.modifiers, held.sets));
    device->setState(held.modifiers, held.group);
    device->setKey(held.keycode, true);
    heldKeys.push_back(std::move(held));
    restoreState();
}

bool WlrootsKeyboard::pressBorrowed(const Key &key, const KeyModifiers &modifiers)
{
    const auto keysyms = keysymsOf(key);
    if (keysyms.empty() || isModifier(key.name)) {
        return false;
    }
    release(KeyName(key));
    const TypingKeymap keymap(std::span(keysyms.data(), 1));
    const auto place = keymap.placeOf(keysyms.front());
    HeldKey held{KeyName(key), place->keycode, 0, layout->masksOf(0, modifiers), place->group, {}};
    held.modifierKeys = pressModifiers(0, held.modifiers);
    useKeymap(&keymap);
    device->setState(held.modifiers, held.group);
    device->setKey(held.keycode, true);
    heldKeys.push_back(std::move(held));
    return true;
}

/// Programs that show or pass on single keys see those of modifiers, too.
std::vector<std::uint8_t> WlrootsKeyboard::pressModifiers(std::uint32_t group,
                                                          ModifierMask modifiers)
{
    std::vector<std::uint8_t> pressed;
    ModifierMask missing = without(modifiers, heldModifiers());
    ModifierMask inEffect = without(modifiers, missing);
    for (const Modifier modifier : modifiersInOrder) {
        const ModifierMask mask = layout->modifierMask(group, modifier);
        const auto keycode = layout->modifierKey(group, modifier);
        if (keycode && (mask & missing) && !isHeld(*keycode)) {
            device->setKey(*keycode, true);
            inEffect |= mask;
            missing = without(missing, mask);
            device->setState(inEffect, group);
            pressed.push_back(*keycode);
        }
    }
    return pressed;
}

void WlrootsKeyboard::release(KeyCode code)
{
    release(KeyName(code));
}

void WlrootsKeyboard::release(const Key &key)
{
    release(KeyName(key));
}

void WlrootsKeyboard::release(const KeyName &name)
{
    const auto found = std::ranges::find(heldKeys, name, &HeldKey::name);
    if (found == heldKeys.end()) {
        return;
    }
    const HeldKey held = *found;
    heldKeys.erase(found);
    undo(held);
}

void WlrootsKeyboard::releaseAll()
{
    while (!heldKeys.empty()) {
        const HeldKey held = heldKeys.back();
        heldKeys.pop_back();
        undo(held);
    }
}

void WlrootsKeyboard::undo(const HeldKey &held)
{
    if (!device) {
        return;
    }
    device->setKey(held.keycode, false);
    for (auto key = held.modifierKeys.rbegin(); key != held.modifierKeys.rend(); ++key) {
        device->setKey(*key, false);
    }
    // A modifier that was held for others is no longer theirs.
    for (HeldKey &other : heldKeys) {
        other.modifiers =
            other.modifierKeys.empty() ? without(other.modifiers, held.sets) : other.modifiers;
    }
    restoreState();
}

/// The modifiers and the layout of the last key that is held, or none.
void WlrootsKeyboard::restoreState()
{
    if (!device) {
        return;
    }
    if (heldKeys.empty()) {
        device->setState(0, 0);
    } else {
        const HeldKey &last = heldKeys.back();
        device->setState(static_cast<ModifierMask>(last.modifiers | last.sets), last.group);
    }
}

/// Of all keys that are down for their own sake.
ModifierMask WlrootsKeyboard::heldModifiers() const
{
    ModifierMask all = 0;
    for (const HeldKey &held : heldKeys) {
        all |= held.sets;
    }
    return all;
}

bool WlrootsKeyboard::isHeld(std::uint8_t keycode) const
{
    return std::ranges::any_of(heldKeys, [&](const HeldKey &held) {
        return held.keycode == keycode || std::ranges::count(held.modifierKeys, keycode) > 0;
    });
}

std::optional<LayoutKey> WlrootsKeyboard::characterKey(char32_t character) const
{
    return layout ? layout->character(character) : std::nullopt;
}

void WlrootsKeyboard::useKeymap(const TypingKeymap *keymap)
{
    if (isThere()) {
        device->setKeymap(keymap ? keymap->text() : layout->text());
    }
}

bool WlrootsKeyboard::uses(const TypingKeymap &keymap) const
{
    return device && device->usesKeymap(keymap.text());
}

bool WlrootsKeyboard::tap(std::uint8_t keycode, ModifierMask modifiers, std::uint32_t group)
{
    const bool isChange = device->setState(modifiers, group);
    if (isHeld(keycode)) {
        device->setKey(keycode, false); // Its press would be none.
    }
    device->setKey(keycode, true);
    device->setKey(keycode, false);
    return isChange;
}

} // namespace platform
