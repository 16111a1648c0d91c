// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "X11KeyboardMap.h"

#include "XInputDevices.h"

#include <xkbcommon/xkbcommon-x11.h>

namespace platform {

namespace {

int fakedKeyboard(xcb_connection_t *connection)
{
    const auto device = inputDeviceNumber(connection, XtestKeyboardName);
    return device ? *device : xkb_x11_get_core_keyboard_device_id(connection);
}

} // namespace

X11KeyboardMap::X11KeyboardMap(xcb_connection_t *connection)
    : m_connection(connection)
    , m_device(fakedKeyboard(connection))
    , m_context(xkb_context_new(XKB_CONTEXT_NO_FLAGS))
{
}

const XkbKeyFinder *X11KeyboardMap::finder()
{
    if (m_isStale) {
        m_isStale = false;
        m_finder.reset();
        const XkbKeymap keymap(xkb_x11_keymap_new_from_device(
            m_context.get(), m_connection, m_device, XKB_KEYMAP_COMPILE_NO_FLAGS));
        if (keymap) {
            m_finder.emplace(keymap.get());
        }
    }
    return m_finder ? &*m_finder : nullptr;
}

} // namespace platform
