// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"
#include "platform/Screens.h"
#include "platform/linux/input/Remainder.h"
#include "platform/linux/portal/PortalOutbox.h"

#include <optional>
#include <vector>

namespace platform {

/// Moves the pointer of a desktop through its portal, which never says where the pointer is. So its
/// place is counted here: from the middle of the main screen, over everything that is posted here.
/// After the user's own mouse has moved, it is wrong.
class PortalPointer
{
public:
    /// What the portal takes for one step of the wheel. Plasma takes what desktops scroll by one
    /// pixel, fifteen of which are a notch, and turns the other way when it is asked for pixels.
    enum class WheelStep { Notch, Pixel };
    /// By the name of the running desktop; nothing else shows it.
    static WheelStep wheelStepOfDesktop();

    /// Both must outlive it.
    PortalPointer(PortalOutbox &outboxOfPortal, Screens &screensOfDesktop,
                  WheelStep wheelStepOfPortal)
        : outbox(outboxOfPortal)
        , screens(screensOfDesktop)
        , wheelStep(wheelStepOfPortal)
    {
    }

    Location location();
    /// Moves it by pixels, also by parts of one.
    void moveBy(double dx, double dy);
    /// Moves it there, or as near as the screens allow.
    void moveTo(const Location &position);

    void press(PointerButton button);
    void release(PointerButton button);
    /// 120 is one notch. What is no whole notch moves as on a touchpad, or is carried over.
    void scroll(int dx, int dy);

    /// The session has ended, and nothing is down any more.
    void forget() { held.clear(); }

private:
    static constexpr int notch = 120;
    static constexpr int pixelsOfNotch = 15;
    static constexpr int mostSteps = 3'000;

    void turn(int right, int down);
    void scrollRest(int right, int down);

    PortalOutbox &outbox;
    Screens &screens;
    WheelStep wheelStep;
    Remainder stepsRight{double(notch) / pixelsOfNotch, mostSteps};
    Remainder stepsDown{double(notch) / pixelsOfNotch, mostSteps};
    std::optional<Location> place; ///< None before the first move.
    std::vector<PointerButton> held;
};

} // namespace platform
