// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"
#include "platform/EventServices.h"
#include "platform/linux/input/ReleaseLedger.h"

#include <cstdint>
#include <vector>

#include <xcb/xcb.h>

namespace platform {

/// Moves the pointer of an X display and presses its buttons through the XTEST extension.
///
/// What it sends stays in the connection's buffer until it is flushed.
class X11Pointer
{
public:
    /// The connection must have XTEST; connection and ledger must outlive the pointer. Positions
    /// are those of `rootWindow`.
    X11Pointer(xcb_connection_t *openConnection, xcb_window_t rootWindow,
               ReleaseLedger &ledgerOfReleases);

    /// Takes in an event of the connection; false when it is not about the pointer.
    bool handleEvent(const xcb_generic_event_t *event);

    /// Where the pointer is, in pixels of the root window; (0, 0) on a broken connection. One round
    /// trip.
    Location location() const;

    /// Moves the pointer to that pixel; the server keeps it on the screens.
    void moveTo(const Location &position);

    /// Moves the pointer by that many pixels, without acceleration; false
    /// if it stays where it is.
    bool moveBy(int dx, int dy);

    /// Presses the button that has that meaning, also with a left-handed mapping. If the mapping
    /// has disabled the button, nothing is pressed.
    void press(MouseButton button);
    /// Releases the button that press() pressed, even if the mapping has changed in between.
    void release(MouseButton button);
    // The same buttons, and two more.
    void press(PointerButton button);
    void release(PointerButton button);

    /// Turns the wheel by notches, right and down; false if there are none.
    bool scroll(int right, int down);

    /// Releases every button that press() left down.
    void releaseAll();

private:
    struct HeldButton
    {
        std::uint8_t meaning = 0;
        std::uint8_t number = 0;
    };

    void readMapping();
    std::uint8_t numberOf(std::uint8_t meaning);
    void pressMeaning(std::uint8_t meaning);
    void releaseMeaning(std::uint8_t meaning);
    bool releaseHeld(std::uint8_t meaning);
    void turn(int notches, std::uint8_t back, std::uint8_t forth);
    void pressNumber(std::uint8_t number);
    void releaseNumber(std::uint8_t number);

    xcb_connection_t *connection;
    xcb_window_t root;
    ReleaseLedger &ledger;
    std::vector<std::uint8_t> mapping; ///< The meaning of button 1, of button 2, ...
    bool isMappingStale = true;
    std::vector<HeldButton> heldButtons; ///< A button at most once.
};

} // namespace platform
