// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Screens.h"
#include "platform/linux/wayland/CompositorPatience.h"
#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/wayland/WaylandOutputs.h"

namespace platform {

/// The screens of a Wayland session, in the compositor's logical unit, which the pointer moves by.
/// None while the compositor is away.
class WaylandScreens final : public Screens
{
public:
    /// Waits until the compositor has described them, as long as there is patience.
    WaylandScreens(std::unique_ptr<WaylandConnection> openConnection, CompositorPatience patience);

    QSize desktopSize() override;
    QList<Screen> all() override;
    void watch(std::function<void()> changed) override;

private:
    void compare();

    std::unique_ptr<WaylandConnection> connection;
    WaylandOutputs outputs;
    std::function<void()> report;
    QList<Screen> latest;
};

} // namespace platform
