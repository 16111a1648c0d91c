// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/VirtualKeyboard.h"

#include "platform/linux/wayland/KeymapFile.h"

#include <chrono>

#include <wayland-client.h>

namespace platform {

namespace {

constexpr ModifierMask shift = 1;

} // namespace

VirtualKeyboard::VirtualKeyboard(zwp_virtual_keyboard_v1 *made, WaylandOutbox &outboxOfConnection)
    : device(made)
    , outbox(outboxOfConnection)
{
}

void VirtualKeyboard::setKeymap(const QByteArray &text)
{
    if (usesKeymap(text)) {
        return;
    }
    keymapInUse = text;
    state.reset();
    outbox.send([target = device.get(), text] {
        const KeymapFile file(text);
        // Without a file there will be no keys: the compositor then ends the connection.
        if (file.descriptor() >= 0) {
            zwp_virtual_keyboard_v1_keymap(target, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1,
                                           file.descriptor(), file.size());
        }
    });
}

/// Asked for every key; copies mostly share their bytes.
bool VirtualKeyboard::usesKeymap(const QByteArray &text) const
{
    return text.constData() == keymapInUse.constData() || text == keymapInUse;
}

/// With a new key map the compositor begins a state anew and tells programs only how it changes
/// from there, while some of them still go by the one before. So the first one is sent after
/// another.
bool VirtualKeyboard::setState(ModifierMask modifiers, std::uint32_t group)
{
    const State wanted{modifiers, group};
    if (state == wanted) {
        return false;
    }
    if (!state) {
        sendState({static_cast<ModifierMask>(wanted.modifiers ^ shift), wanted.group});
    }
    state = wanted;
    sendState(wanted);
    return true;
}

void VirtualKeyboard::sendState(const State &sent)
{
    outbox.send([target = device.get(), sent] {
        zwp_virtual_keyboard_v1_modifiers(target, sent.modifiers, 0, 0, sent.group);
    });
}

void VirtualKeyboard::setKey(std::uint8_t keycode, bool isDown)
{
    constexpr std::uint32_t offset = 8;
    outbox.send([target = device.get(), key = keycode - offset, isDown] {
        zwp_virtual_keyboard_v1_key(target, eventTime(), key,
                                    isDown ? WL_KEYBOARD_KEY_STATE_PRESSED
                                           : WL_KEYBOARD_KEY_STATE_RELEASED);
    });
}

std::uint32_t eventTime()
{
    using namespace std::chrono;
    const auto now = steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(duration_cast<milliseconds>(now).count());
}

} // namespace platform
