// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/X11Screens.h"

#include <utility>

namespace platform {

X11Screens::X11Screens(X11Display openDisplay) : display(std::move(openDisplay))
{
    ignoreServerGrabs(display.connection());
}

QSize X11Screens::desktopSize()
{
    // Asked of the server: it alone knows after screens were added, moved or turned.
    const auto cookie = xcb_get_geometry(display.connection(), display.root());
    const XcbOwned<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(display.connection(), cookie, nullptr));
    return geometry ? QSize(geometry->width, geometry->height) : QSize(0, 0);
}

} // namespace platform
