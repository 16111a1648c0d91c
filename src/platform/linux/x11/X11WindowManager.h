// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QString>

#include <vector>

namespace platform {

/// What a window manager publishes about its windows and what can be asked of it (Extended Window
/// Manager Hints 1.5). Each question is one round trip or a few.
class X11WindowManager
{
public:
    /// Connects to the display that the environment names.
    X11WindowManager() = default;

    bool isConnected() const { return connection.isOpen(); }

    /// The windows that it manages, the topmost one last if it publishes their stacking order.
    std::vector<xcb_window_t> windows() const;
    /// Whether the window is neither a panel nor the desktop's background.
    bool isOrdinary(xcb_window_t window) const;
    /// Whether the window's class or instance has that name, in any letter case.
    bool hasClass(xcb_window_t window, const QString &windowClass) const;
    /// Whether the window is the active one and keys go to it.
    bool isActive(xcb_window_t window) const;

    /// From now on an event comes when the active window or the focus of the window changes.
    void watch(xcb_window_t window);
    void askToActivate(xcb_window_t window);
    /// Waits for any event, then drops all that have come: they only say that it is time to ask
    /// again. False when none came before the deadline.
    bool waitForEvents(QDeadlineTimer deadline);

private:
    XcbOwned<xcb_get_property_reply_t> property(xcb_window_t window, xcb_atom_t name) const;
    QByteArray bytes(xcb_window_t window, xcb_atom_t name) const;
    std::vector<std::uint32_t> numbers(xcb_window_t window, xcb_atom_t name) const;
    bool hasFocus(xcb_window_t window) const;
    xcb_window_t parentOf(xcb_window_t window) const;

    X11Connection connection;
};

} // namespace platform
