// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/XkbHandles.h"
#include "platform/linux/input/XkbKeyFinder.h"

#include <optional>

struct xcb_connection_t;

namespace platform {

/// The keys of the keyboard through which an X server plays faked events.
///
/// That keyboard has a key map of its own, and a faked key means what it says there. The core
/// keyboard's map is another matter: it is a copy of the map of the keyboard that was used last, so
/// it changes to and fro between the user's and this one.
class X11KeyboardMap
{
public:
    /// Finds the keyboard (the core one on a server that does not tell). A few round trips; the
    /// connection must outlive the map.
    explicit X11KeyboardMap(xcb_connection_t *openConnection);

    /// The keyboard's XInput number, as events tell it.
    int device() const { return deviceNumber; }

    /// To be called when the keyboard has got other keys.
    void markStale() { isStale = true; }

    /// The keys as they are now; null when the server does not tell them. Reads them anew, with
    /// round trips, only when they have changed since the last question.
    const XkbKeyFinder *finder();

private:
    xcb_connection_t *connection;
    int deviceNumber;
    XkbContext context;
    std::optional<XkbKeyFinder> current;
    bool isStale = true;
};

} // namespace platform
