// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/ToolkitScreens.h"
#include "platform/linux/session/X11Screens.h"

#include <QGuiApplication>

#include <utility>

namespace platform {

std::unique_ptr<Screens> makeScreens()
{
    if (QGuiApplication::platformName() == u"xcb") {
        X11Display display;
        if (display.isOpen()) {
            return std::make_unique<X11Screens>(std::move(display));
        }
    }
    return std::make_unique<ToolkitScreens>();
}

} // namespace platform
