// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include "platform/linux/x11/XcbHandles.h"

/// What every test needs that is a client of a display itself, over libxcb.
namespace XcbClient {

/// Connects to the display, such as ":7"; ask isConnected().
XcbConnection connectTo(const QString &display);

bool isConnected(const XcbConnection &connection);

/// Null when the connection failed.
xcb_screen_t *firstScreen(const XcbConnection &connection);

/// The atom of that name, which is made if need be.
xcb_atom_t atom(const XcbConnection &connection, const char *name);

/// The window that owns the selection of that name; XCB_WINDOW_NONE when no window does. Its answer
/// also proves that the display server has carried out what was sent before.
xcb_window_t selectionOwner(const XcbConnection &connection, const char *selection);

} // namespace XcbClient
