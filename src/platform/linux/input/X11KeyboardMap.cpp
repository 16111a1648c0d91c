// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/X11KeyboardMap.h"

#include "platform/linux/x11/XInputDevices.h"

#include <xkbcommon/xkbcommon-x11.h>

namespace platform {

namespace {

int fakedKeyboard(xcb_connection_t *connection)
{
    const auto device = inputDeviceNumber(connection, xtestKeyboardName);
    return device ? *device : xkb_x11_get_core_keyboard_device_id(connection);
}

} // namespace

X11KeyboardMap::X11KeyboardMap(xcb_connection_t *openConnection)
    : connection(openConnection)
    , deviceNumber(fakedKeyboard(openConnection))
    , context(xkb_context_new(XKB_CONTEXT_NO_FLAGS))
{
}

const XkbKeyFinder *X11KeyboardMap::finder()
{
    if (stale) {
        read();
    }
    return current ? &*current : nullptr;
}

const XkbSymbolFinder *X11KeyboardMap::symbols()
{
    return finder() ? &*currentSymbols : nullptr;
}

void X11KeyboardMap::read()
{
    stale = false;
    ++readings;
    current.reset();
    const XkbKeymap keymap(xkb_x11_keymap_new_from_device(context.get(), connection, deviceNumber,
                                                          XKB_KEYMAP_COMPILE_NO_FLAGS));
    if (keymap) {
        current.emplace(keymap.get(), borrowed);
        currentSymbols.emplace(keymap.get(), *current, borrowed);
    }
}

} // namespace platform
