// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/x11/XcbHandles.h"

#include <QByteArray>

namespace platform {

/// The atom of a name; XCB_ATOM_NONE when the connection is broken. One round trip.
xcb_atom_t internAtom(xcb_connection_t *connection, const QByteArray &name);

/// The screen that the display's name means.
const xcb_screen_t *defaultScreen(xcb_connection_t *connection, int screenNumber);

} // namespace platform
