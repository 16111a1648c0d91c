// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/X11Keyboard.h"

#include "platform/linux/x11/XcbHandles.h"

#include <algorithm>
#include <utility>

#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-x11.h>

#include "platform/linux/x11/XcbXkb.h"

namespace platform {

namespace {

constexpr std::uint16_t coreKeyboard = XCB_XKB_ID_USE_CORE_KBD;

/// Returns the code of the extension's events.
std::uint8_t useKeyboardExtension(xcb_connection_t *connection)
{
    std::uint8_t firstEvent = 0;
    xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION,
                                XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                                nullptr, nullptr, &firstEvent, nullptr);
    return firstEvent;
}

/// Event and reply have fields of the same names.
template <typename Report> ModifierState stateIn(const Report &report)
{
    return {report.baseMods, report.latchedMods, report.lockedMods, report.group};
}

std::uint32_t fakeKey(xcb_connection_t *connection, std::uint8_t type, std::uint8_t keycode)
{
    return xcb_test_fake_input(connection, type, keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0)
        .sequence;
}

ModifierMask without(ModifierMask modifiers, ModifierMask removed)
{
    return static_cast<ModifierMask>(modifiers & ~removed);
}

} // namespace

X11Keyboard::X11Keyboard(xcb_connection_t *openConnection, ReleaseLedger &ledgerOfReleases)
    : connection(openConnection)
    , ledger(ledgerOfReleases)
    , firstEvent(useKeyboardExtension(openConnection))
    , map(openConnection)
{
    askForReports();
    askForState();
    map.finder();
}

bool X11Keyboard::handleEvent(const xcb_generic_event_t *event)
{
    if ((event->response_type & 0x7f) != firstEvent) {
        return false;
    }
    // All reports have their kind in the same place, and both notices their device. A client that
    // has asked for the notices of one keyboard gets those of all.
    const auto *state = reinterpret_cast<const xcb_xkb_state_notify_event_t *>(event);
    const auto *notice = reinterpret_cast<const xcb_xkb_map_notify_event_t *>(event);
    if (state->xkbType == XCB_XKB_STATE_NOTIFY) {
        tracker.report(stateIn(*state), event->full_sequence);
    } else if (notice->deviceID == map.device()) {
        map.markStale();
    }
    return true;
}

void X11Keyboard::press(KeyCode code, EventFlags flags)
{
    const XkbKeyFinder *finder = map.finder();
    const auto found = finder ? finder->key(tracker.state().group, code) : std::nullopt;
    if (!found) {
        return;
    }
    releaseHeld(code);
    HeldKey held{code, {found->keycode, finder->modifiersSetBy(found->keycode)}, {}, 0};
    const auto wanted = static_cast<ModifierMask>(masksOf(*finder, flags) | found->modifiers);
    // Modifiers that the key itself sets are kept: Caps Lock could not be switched off if its lock
    // were cleared and restored around it.
    const auto kept =
        static_cast<ModifierMask>(wanted | held.key.sets | finder->harmlessModifiers());
    held.locks = clearLocks(without(0xff, kept));
    releaseKeysSetting(*finder, without(tracker.state().base, kept));
    held.modifierKeys = pressModifiers(*finder, without(wanted, held.key.sets));
    pressKey(held.key);
    heldKeys.push_back(std::move(held));
}

void X11Keyboard::release(KeyCode code)
{
    if (releaseHeld(code)) {
        return;
    }
    const XkbKeyFinder *finder = map.finder();
    if (const auto found = finder ? finder->key(tracker.state().group, code) : std::nullopt) {
        releaseKey({found->keycode, finder->modifiersSetBy(found->keycode)});
    }
}

void X11Keyboard::releaseAll()
{
    while (!heldKeys.empty()) {
        undo(heldKeys.back());
        heldKeys.pop_back();
    }
}

bool X11Keyboard::releaseHeld(KeyCode code)
{
    const auto held = std::ranges::find(heldKeys, code, &HeldKey::code);
    if (held == heldKeys.end()) {
        return false;
    }
    undo(*held);
    heldKeys.erase(held);
    return true;
}

void X11Keyboard::askForReports()
{
    constexpr std::uint16_t notices =
        XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr std::uint16_t allParts = 0xff;
    xcb_xkb_select_events(connection, static_cast<std::uint16_t>(map.device()), notices, 0, notices,
                          allParts, allParts, nullptr);
    xcb_xkb_select_events_details_t details{};
    details.affectState = XCB_XKB_STATE_PART_MODIFIER_BASE | XCB_XKB_STATE_PART_MODIFIER_LATCH |
                          XCB_XKB_STATE_PART_MODIFIER_LOCK | XCB_XKB_STATE_PART_GROUP_STATE;
    details.stateDetails = details.affectState;
    xcb_xkb_select_events_aux(connection, coreKeyboard, XCB_XKB_EVENT_TYPE_STATE_NOTIFY, 0, 0, 0, 0,
                              &details);
}

void X11Keyboard::askForState()
{
    const auto cookie = xcb_xkb_get_state(connection, coreKeyboard);
    const auto reply = xcbOwned(xcb_xkb_get_state_reply(connection, cookie, nullptr));
    if (reply) {
        tracker.report(stateIn(*reply), cookie.sequence);
    }
}

ModifierMask X11Keyboard::masksOf(const XkbKeyFinder &finder, EventFlags flags) const
{
    const auto maskIf = [&](EventFlags flag, Modifier modifier) {
        return flags & flag ? finder.modifierMask(tracker.state().group, modifier) : 0;
    };
    // Command and Control are the same key here.
    return static_cast<ModifierMask>(maskIf(Flag::Command | Flag::Control, Modifier::Control) |
                                     maskIf(Flag::Alternate, Modifier::Alternate) |
                                     maskIf(Flag::Shift, Modifier::Shift));
}

/// Returns the locks that were in effect and are to be restored. Latches are used up, as by any
/// key.
ModifierMask X11Keyboard::clearLocks(ModifierMask modifiers)
{
    const ModifierState &state = tracker.state();
    const auto affected = static_cast<ModifierMask>((state.locked | state.latched) & modifiers);
    const auto locks = static_cast<ModifierMask>(state.locked & modifiers);
    if (affected) {
        tracker.unlock(affected, changeLocks(affected, 0));
    }
    return locks;
}

void X11Keyboard::releaseKeysSetting(const XkbKeyFinder &finder, ModifierMask modifiers)
{
    if (!modifiers) {
        return;
    }
    for (const std::uint8_t keycode : finder.keysSetting(modifiers)) {
        releaseKey({keycode, finder.modifiersSetBy(keycode)});
    }
}

std::vector<X11Keyboard::PressedKey> X11Keyboard::pressModifiers(const XkbKeyFinder &finder,
                                                                 ModifierMask modifiers)
{
    std::vector<PressedKey> pressed;
    for (const Modifier modifier : modifiersInOrder) {
        const ModifierState &state = tracker.state();
        const ModifierMask mask = finder.modifierMask(state.group, modifier);
        const bool isMissing = mask & modifiers & ~(state.base | state.locked);
        if (const auto keycode = finder.modifierKey(state.group, modifier); keycode && isMissing) {
            pressed.push_back({*keycode, mask});
            pressKey(pressed.back());
        }
    }
    return pressed;
}

void X11Keyboard::undo(const HeldKey &held)
{
    releaseKey(held.key);
    for (auto key = held.modifierKeys.rbegin(); key != held.modifierKeys.rend(); ++key) {
        releaseKey(*key);
    }
    if (held.locks) {
        tracker.lock(held.locks, changeLocks(held.locks, held.locks));
    }
}

void X11Keyboard::pressKey(const PressedKey &key)
{
    ledger.press(ReleaseLedger::Kind::Key, key.keycode);
    const auto sequence = fakeKey(connection, XCB_KEY_PRESS, key.keycode);
    if (key.sets) {
        tracker.press(key.sets, sequence);
    }
}

void X11Keyboard::releaseKey(const PressedKey &key)
{
    const auto sequence = fakeKey(connection, XCB_KEY_RELEASE, key.keycode);
    ledger.release(ReleaseLedger::Kind::Key, key.keycode, sequence);
    if (key.sets) {
        tracker.release(key.sets, sequence);
    }
}

/// Locks those modifiers of `affected` that are in `locked`; the others lose lock and latch.
std::uint32_t X11Keyboard::changeLocks(ModifierMask affected, ModifierMask locked)
{
    return xcb_xkb_latch_lock_state(connection, coreKeyboard, affected, locked, false, 0,
                                    without(affected, locked), false, 0)
        .sequence;
}

} // namespace platform
