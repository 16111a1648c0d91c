// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Screens.h"
#include "platform/linux/x11/X11Display.h"

namespace platform {

/// The screens of an X11 session: one root window spans them, and the pointer moves by its pixels.
class X11Screens : public Screens
{
public:
    explicit X11Screens(X11Display display);

    QSize desktopSize() override;

private:
    X11Display display;
};

} // namespace platform
