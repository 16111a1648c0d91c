// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Screens.h"

namespace platform {

/// The screens as the toolkit sees them, for hosts where the pointer moves in the toolkit's own
/// unit.
class ToolkitScreens : public Screens
{
public:
    QSize desktopSize() override;
    QList<Screen> all() override { return {}; }
    void watch(std::function<void()> /*changed*/) override {}
};

} // namespace platform
