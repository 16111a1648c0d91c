// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/X11TraySelection.h"

namespace platform {

X11TraySelection::X11TraySelection()
{
    if (!connection.isOpen()) {
        return;
    }
    selection =
        connection.atom("_NET_SYSTEM_TRAY_S" + QByteArray::number(connection.screenNumber()));
    // A new tray announces itself to those who watch the root window's structure.
    const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection.get(), connection.root(), XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection.get());
    connection.watch([this] { readEvents(); });
}

bool X11TraySelection::hasTray() const
{
    if (selection == XCB_ATOM_NONE) {
        return false;
    }
    const auto cookie = xcb_get_selection_owner(connection.get(), selection);
    const auto reply = xcbOwned(xcb_get_selection_owner_reply(connection.get(), cookie, nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

void X11TraySelection::readEvents()
{
    while (const auto event = xcbOwned(xcb_poll_for_event(connection.get()))) {
        if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE) {
            emit appeared();
        }
    }
}

} // namespace platform
