// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"
#include "platform/Screens.h"

namespace platform {

/// Where a desktop keeps a pointer that is pushed to where no screen is.
enum class ScreenEdge {
    OfAnyScreen, ///< As near as it gets, as wlroots does.
    OfItsScreen, ///< On the screen that it would leave, as GNOME and Plasma do.
};

/// Where the pointer is after it was pushed from one place to another; there, if there are no
/// screens. The last place on a screen is its last pixel.
Location placeOnScreens(const QList<Screen> &screens, const Location &from, const Location &to,
                        ScreenEdge edge);

} // namespace platform
