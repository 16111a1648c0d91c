// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/x11/XcbClient.h"

namespace XcbClient {

XcbConnection connectTo(const QString &display)
{
    return XcbConnection(xcb_connect(display.toLatin1().constData(), nullptr));
}

bool isConnected(const XcbConnection &connection)
{
    return connection && xcb_connection_has_error(connection.get()) == 0;
}

xcb_screen_t *firstScreen(const XcbConnection &connection)
{
    return isConnected(connection) ? xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data
                                   : nullptr;
}

xcb_atom_t atom(const XcbConnection &connection, const char *name)
{
    const auto cookie =
        xcb_intern_atom(connection.get(), false, static_cast<uint16_t>(qstrlen(name)), name);
    const auto reply = xcbOwned(xcb_intern_atom_reply(connection.get(), cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

xcb_window_t selectionOwner(const XcbConnection &connection, const char *selection)
{
    const auto cookie = xcb_get_selection_owner(connection.get(), atom(connection, selection));
    const auto reply = xcbOwned(xcb_get_selection_owner_reply(connection.get(), cookie, nullptr));
    return reply ? reply->owner : xcb_window_t(XCB_WINDOW_NONE);
}

} // namespace XcbClient
