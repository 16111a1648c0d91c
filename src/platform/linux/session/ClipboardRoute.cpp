// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/ClipboardRoute.h"

#include <algorithm>
#include <array>

namespace platform {

/// The first row that applies counts. On Wayland never the toolkit's: without the focus it gives
/// back its own text, whatever others copy. Nor that of an Xwayland, which shows only a part. What
/// the portal can do is seen when it runs.
ClipboardRoute clipboardRouteOf(const ClipboardOffer &offered)
{
    using Offer = ClipboardOffer;

    struct Row
    {
        bool (*applies)(const Offer &offer);
        ClipboardRoute route;
    };

    static constexpr std::array rows = {
        Row{[](const Offer &offer) { return offer.hasWayland && offer.hasDataControl; },
            ClipboardRoute::DataControl},
        Row{[](const Offer &offer) { return offer.hasWayland && offer.isInputByPortal; },
            ClipboardRoute::Portal},
        Row{[](const Offer &offer) { return offer.hasWayland; }, ClipboardRoute::NoneInWayland},
        Row{[](const Offer &offer) { return offer.isToolkitOnX11; }, ClipboardRoute::X11},
        Row{[](const Offer & /*offer*/) { return true; }, ClipboardRoute::Toolkit},
    };

    return std::ranges::find_if(rows, [&](const Row &row) { return row.applies(offered); })->route;
}

} // namespace platform
