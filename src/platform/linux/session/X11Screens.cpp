// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/X11Screens.h"

#include "platform/linux/x11/X11Server.h"

#include <utility>

namespace platform {

X11Screens::X11Screens(X11Connection openConnection) : connection(std::move(openConnection))
{
    ignoreServerGrabs(connection);
}

QSize X11Screens::desktopSize()
{
    // Only the server knows the size after screens were added, moved or turned.
    const auto cookie = xcb_get_geometry(connection.get(), connection.root());
    const auto geometry = xcbOwned(xcb_get_geometry_reply(connection.get(), cookie, nullptr));
    return geometry ? QSize(geometry->width, geometry->height) : QSize(0, 0);
}

} // namespace platform
