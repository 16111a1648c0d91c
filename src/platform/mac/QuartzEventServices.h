// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"
#include "platform/mac/QuartzDesktopInput.h"

namespace platform {

/// Posts to the window server. Keyboard events have no source; their flags are set, not added, so
/// modifiers that the user holds are ignored.
class QuartzEventServices final : public EventServices
{
public:
    /// Asks the user for the Accessibility permission if it is missing.
    QuartzEventServices();

    Location pointerLocation() override;
    void postKeyboard(const KeyboardEvent &event) override;
    void postMouse(std::optional<SourceState> source, std::span<const MouseEvent> events,
                   EventTap tap) override;
    DesktopInput &input() override { return desktopInput; }

private:
    void warnOnceWithoutPermission();

    /// Nothing needs to be reported any more.
    bool isSettled;
    QuartzDesktopInput desktopInput;
};

} // namespace platform
