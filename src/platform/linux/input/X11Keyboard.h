// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Key.h"
#include "platform/linux/input/ModifierTracker.h"
#include "platform/linux/input/ReleaseLedger.h"
#include "platform/linux/input/X11KeyboardMap.h"

#include <variant>
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

    /// Presses a key by what it does, in the same way; the modifiers are those of the keyboard
    /// here, Control is Control. A character that the layout lacks is pressed at its usual position
    /// if it is part of a shortcut, see XkbKeyFinder::key. False, and nothing is pressed, if there
    /// is no such key.
    bool press(const Key &key, const KeyModifiers &modifiers);
    /// The same by a key that has been borrowed for it.
    void press(const Key &key, const KeyModifiers &modifiers, std::uint8_t keycode);
    /// Releases what press() pressed for that key; false if it is not down.
    bool release(const Key &key);

    /// The key that types a character in the layout in effect; a line feed is Enter, a tab is Tab.
    std::optional<FoundKey> characterKey(char32_t character);

    // A run of keys, of which none needs more than its own modifiers. Only to be called when the
    // state is certain: the server belongs to this program, and its reports have been taken in.
    /// Releases modifiers that are held and clears locks, as press() does.
    void beginRun();
    /// Presses and releases the key. Modifiers stay down while they are needed.
    void tap(const FoundKey &key);
    /// Releases the modifiers of the run and restores the locks.
    void endRun();

    /// Releases every key that press() left down.
    void releaseAll();

    X11KeyboardMap &keyMap() { return map; }
    /// Changes of the key map by these requests are known already.
    void ignoreMapNotices(std::uint32_t firstRequest, std::uint32_t lastRequest);

private:
    /// What was pressed: a code of the Mac, or a key by what it does.
    using KeyName = std::variant<KeyCode, Key>;

    struct PressedKey
    {
        std::uint8_t keycode = 0;
        ModifierMask sets = 0; ///< While it is down.
    };

    /// A key that is down, and what is to be undone when it is released.
    struct HeldKey
    {
        KeyName name;
        PressedKey key;
        std::vector<PressedKey> modifierKeys; ///< Pressed for it, in that order.
        ModifierMask locks = 0;               ///< Cleared for it.
    };

    void askForReports();
    void askForState();
    bool isKnownChange(std::uint32_t request) const;
    std::optional<FoundKey> find(const Key &key, const KeyModifiers &modifiers);
    std::optional<FoundKey> findAtPosition(char32_t character);
    void press(const KeyName &name, const FoundKey &found, ModifierMask modifiers);
    bool releaseHeld(const KeyName &name);
    ModifierMask masksOf(const XkbKeyFinder &finder, EventFlags flags) const;
    ModifierMask masksOf(const XkbKeyFinder &finder, const KeyModifiers &modifiers) const;

    ModifierMask clearLocks(ModifierMask modifiers);
    void releaseKeysSetting(const XkbKeyFinder &finder, ModifierMask modifiers);
    std::vector<PressedKey> pressModifiers(const XkbKeyFinder &finder, ModifierMask modifiers);
    void undo(const HeldKey &held);
    void releaseRunModifiers(ModifierMask kept);
    bool isHeld(std::uint8_t keycode) const;

    void pressKey(const PressedKey &key);
    void releaseKey(const PressedKey &key);
    std::uint32_t changeLocks(ModifierMask affected, ModifierMask locked);

    xcb_connection_t *connection;
    ReleaseLedger &ledger;
    std::uint8_t firstEvent; ///< The event code of all keyboard reports.
    X11KeyboardMap map;
    ModifierTracker tracker;
    std::vector<HeldKey> heldKeys;        ///< By time of press; a name at most once.
    std::vector<PressedKey> runModifiers; ///< Pressed for the last keys of a run, in that order.
    ModifierMask runLocks = 0;            ///< Cleared for the run.
    std::uint32_t firstKnownChange = 0;
    std::uint32_t lastKnownChange = 0;
};

} // namespace platform
