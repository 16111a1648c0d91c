// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/XkbHandles.h"
#include "platform/linux/input/XkbKeyFinder.h"
#include "platform/linux/input/XkbSymbolFinder.h"

#include <optional>

struct xcb_connection_t;

namespace platform {

/// The keys of the keyboard on which an X server plays faked events.
///
/// That keyboard has a key map of its own, which decides what a faked key means. The core
/// keyboard's map is no help: it is a copy of the map of the keyboard that was used last, so it
/// alternates between the user's and this one.
class X11KeyboardMap
{
public:
    /// Finds the keyboard; if the server does not name it, takes the core keyboard. A few round
    /// trips; the connection must outlive the map.
    explicit X11KeyboardMap(xcb_connection_t *openConnection);

    /// The keyboard's XInput number, as in events.
    int device() const { return deviceNumber; }

    /// To be called when the keys of the keyboard have changed.
    void markStale() { stale = true; }
    bool isStale() const { return stale; }
    /// How often the keys have been read; 0 before the first time.
    int edition() const { return readings; }

    /// Keys that we have borrowed: the finders do not find them, from the next reading on.
    void setBorrowedKeys(const KeycodeSet &keycodes) { borrowed = keycodes; }

    /// The current keys; null when they cannot be read. Reads them again, with round trips, only if
    /// they have changed since the last call.
    const XkbKeyFinder *finder();
    /// The same keys by what they produce.
    const XkbSymbolFinder *symbols();

private:
    void read();

    xcb_connection_t *connection;
    int deviceNumber;
    XkbContext context;
    KeycodeSet borrowed;
    std::optional<XkbKeyFinder> current;
    std::optional<XkbSymbolFinder> currentSymbols;
    bool stale = true;
    int readings = 0;
};

} // namespace platform
