// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/ToolkitScreens.h"

#include <QGuiApplication>
#include <QScreen>

namespace platform {

QSize ToolkitScreens::desktopSize()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    return screen == nullptr ? QSize(0, 0) : screen->virtualSize();
}

} // namespace platform
