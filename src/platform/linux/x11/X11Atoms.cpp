// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/x11/X11Atoms.h"

namespace platform {

xcb_atom_t internAtom(xcb_connection_t *connection, const QByteArray &name)
{
    const auto cookie =
        xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.constData());
    const XcbOwned<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

const xcb_screen_t *defaultScreen(xcb_connection_t *connection, int screenNumber)
{
    auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int passed = 0; passed < screenNumber && screen.rem > 1; ++passed) {
        xcb_screen_next(&screen);
    }
    return screen.data;
}

} // namespace platform
