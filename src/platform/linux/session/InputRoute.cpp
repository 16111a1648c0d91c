// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/InputRoute.h"

#include <algorithm>
#include <array>

namespace platform {

/// The first row that applies counts. X sessions have portals too, which would ask for a consent
/// that nobody needs; and what is typed into an Xwayland reaches the session's X11 programs only.
InputRoute inputRouteOf(const SessionOffer &offered)
{
    using Offer = SessionOffer;

    struct Row
    {
        bool (*applies)(const Offer &offer);
        InputRoute route;
    };

    static constexpr std::array rows = {
        Row{[](const Offer &offer) {
                return offer.hasWayland && offer.hasVirtualKeyboard && offer.hasVirtualPointer;
            },
            InputRoute::Wlroots},
        Row{[](const Offer &offer) { return offer.hasWayland && offer.hasPortal; },
            InputRoute::Portal},
        Row{[](const Offer &offer) { return offer.hasWayland || offer.isXwayland; },
            InputRoute::NoneInWayland},
        Row{[](const Offer &offer) { return offer.hasX11 && offer.canFakeInput; }, InputRoute::X11},
        Row{[](const Offer &offer) { return offer.hasX11; }, InputRoute::NoneWithoutXtest},
        Row{[](const Offer & /*offer*/) { return true; }, InputRoute::NoneWithoutDisplay},
    };

    return std::ranges::find_if(rows, [&](const Row &row) { return row.applies(offered); })->route;
}

} // namespace platform
