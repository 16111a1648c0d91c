// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/X11TraySelection.h"

#include "platform/linux/x11/X11Atoms.h"

#include <QSocketNotifier>

namespace platform {
X11TraySelection::X11TraySelection() : connection(xcb_connect(nullptr, &screenNumber))
{
    if (xcb_connection_has_error(connection.get()) != 0) {
        return;
    }
    selection =
        internAtom(connection.get(), "_NET_SYSTEM_TRAY_S" + QByteArray::number(screenNumber));
    // A new tray announces itself to those who watch the root window's structure.
    const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection.get(),
                                 defaultScreen(connection.get(), screenNumber)->root,
                                 XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection.get());
    auto *notifier =
        new QSocketNotifier(xcb_get_file_descriptor(connection.get()), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
        readEvents();
        notifier->setEnabled(xcb_connection_has_error(connection.get()) == 0);
    });
}

X11TraySelection::~X11TraySelection() = default;

bool X11TraySelection::hasTray() const
{
    if (selection == XCB_ATOM_NONE) {
        return false;
    }
    const auto cookie = xcb_get_selection_owner(connection.get(), selection);
    const XcbOwned<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection.get(), cookie, nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

void X11TraySelection::readEvents()
{
    while (const auto event = XcbOwned<xcb_generic_event_t>(xcb_poll_for_event(connection.get()))) {
        if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE) {
            emit appeared();
        }
    }
}

} // namespace platform
