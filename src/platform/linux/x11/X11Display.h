// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/x11/XcbHandles.h"

namespace platform {

/// A connection of our own to an X display, apart from the toolkit's: what it waits for, and how it
/// ends, is no business of the windows.
class X11Display
{
public:
    /// Connects to the display of that name; null is the one that DISPLAY names.
    explicit X11Display(const char *name = nullptr);

    bool isOpen() const;
    /// Whether the display's server is one that shows its windows in a Wayland session; input faked
    /// there reaches the X11 programs of the session only. Asks the server.
    bool isXwayland() const;
    /// Whether input can be faked here: XTEST and XKEYBOARD are there. Asks the server.
    bool canFakeInput() const;

    xcb_connection_t *connection() const { return xcb.get(); }
    /// The root window of the screen that the display's name means. The display must be open.
    xcb_window_t root() const;

private:
    int screen = 0; ///< Its number; in front of the connection, whose making sets it.
    XcbConnection xcb;
};

/// Lets requests on this connection be answered even while another program keeps the display server
/// for itself. Does nothing where the server lacks XTEST.
void ignoreServerGrabs(xcb_connection_t *connection);

} // namespace platform
