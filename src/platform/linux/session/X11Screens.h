// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Screens.h"
#include "platform/linux/x11/X11Connection.h"

namespace platform {

/// The screens of an X11 session: one root window spans them, and the pointer moves by its pixels.
class X11Screens final : public Screens
{
public:
    explicit X11Screens(X11Connection openConnection);

    QSize desktopSize() override;
    QList<Screen> all() override { return {}; }
    void watch(std::function<void()> /*changed*/) override {}

private:
    X11Connection connection;
};

} // namespace platform
