// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/ModifierTracker.h"
#include "platform/linux/input/ReleaseLedger.h"
#include "platform/linux/input/X11KeyboardMap.h"

#include <vector>

#include <xcb/xcb.h>

namespace platform {

/// Presses keys on an X display through its XTEST extension.
///
/// What it sends stays in the connection's buffer until it is flushed. No key needs a question to
/// the server; only after a change the key map is read, once, at the next press.
class X11Keyboard
{
public:
    /// Asks for the reports that it needs; a few round trips. The connection must have XTEST and
    /// XKEYBOARD. Connection and ledger must outlive the keyboard.
    X11Keyboard(xcb_connection_t *openConnection, ReleaseLedger &ledgerOfReleases);

    /// Takes in an event of the connection; false when it is not about the keyboard.
    bool handleEvent(const xcb_generic_event_t *event);

    /// Presses the key with exactly the modifiers that the flags name, and those that its keysym
    /// needs (XkbKeyFinder::key).
    ///
    /// Modifiers that the user happens to hold are released if they would change the result. They
    /// are not pressed again: the user may have let go of them meanwhile, and then nothing would
    /// release them. Locks (Caps Lock) are cleared until the key is released.
    ///
    /// A key that is down already is released first.
    void press(KeyCode code, EventFlags flags);

    /// Releases the key, then the modifiers that its press() pressed, the last one first, and
    /// restores the locks. It is the same key even if the key map has changed in between. A key
    /// that is not down is released nevertheless.
    void release(KeyCode code);

    /// Releases every key that press() left down.
    void releaseAll();

private:
    struct PressedKey
    {
        std::uint8_t keycode = 0;
        ModifierMask sets = 0; ///< While it is down.
    };

    /// A key that is down, and what is to be undone when it is released.
    struct HeldKey
    {
        KeyCode code = 0;
        PressedKey key;
        std::vector<PressedKey> modifierKeys; ///< Pressed for it, in that order.
        ModifierMask locks = 0;               ///< Cleared for it.
    };

    void askForReports();
    void askForState();
    bool releaseHeld(KeyCode code);
    ModifierMask masksOf(const XkbKeyFinder &finder, EventFlags flags) const;

    ModifierMask clearLocks(ModifierMask modifiers);
    void releaseKeysSetting(const XkbKeyFinder &finder, ModifierMask modifiers);
    std::vector<PressedKey> pressModifiers(const XkbKeyFinder &finder, ModifierMask modifiers);
    void undo(const HeldKey &held);

    void pressKey(const PressedKey &key);
    void releaseKey(const PressedKey &key);
    std::uint32_t changeLocks(ModifierMask affected, ModifierMask locked);

    xcb_connection_t *connection;
    ReleaseLedger &ledger;
    std::uint8_t firstEvent; ///< The event code of all keyboard reports.
    X11KeyboardMap map;
    ModifierTracker tracker;
    std::vector<HeldKey> heldKeys; ///< By time of press; a key code at most once.
};

} // namespace platform
