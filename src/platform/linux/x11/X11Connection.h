// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/x11/XcbHandles.h"

#include <QByteArray>
#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace platform {

/// A connection of our own to an X display, apart from the toolkit's, which belongs to our windows
/// and need not be an X connection at all.
class X11Connection
{
public:
    /// Connects to the display of that name; null is the one that DISPLAY names.
    explicit X11Connection(const char *displayName = nullptr);

    /// The name of the display; null is the one that DISPLAY names.
    const QByteArray &displayName() const { return display; }
    /// Whether the display could be opened and the connection has not broken since.
    bool isOpen() const;

    xcb_connection_t *get() const { return connection.get(); }
    /// The number of the screen that the display's name means.
    int screenNumber() const { return screen; }
    /// The root window of that screen. The connection must be open.
    xcb_window_t root() const;
    /// The atom of a name; XCB_ATOM_NONE when the connection is broken. One round trip.
    xcb_atom_t atom(const QByteArray &name) const;

    /// From now on calls the handler from the event loop when the display sends something, until
    /// the connection breaks. Events that arrive together with a reply are not announced: whoever
    /// waits for a reply must poll for events afterwards. To be called once; needs an event loop.
    void watch(std::function<void()> handler);

private:
    QByteArray display;
    int screen = 0;           // Before the connection, whose constructor sets it.
    XcbConnection connection; // Never null.
    std::unique_ptr<QSocketNotifier> notifier;
};

} // namespace platform
