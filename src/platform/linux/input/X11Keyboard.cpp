// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/X11Keyboard.h"

#include "platform/linux/input/KeySymbols.h"
#include "platform/linux/input/NamedKeySymbols.h"
#include "platform/linux/x11/XcbHandles.h"

#include <QChar>

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
    } else if (notice->deviceID == map.device() && !isKnownChange(event->full_sequence)) {
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
    press(KeyName(code), *found, masksOf(*finder, flags));
}

bool X11Keyboard::press(const Key &key, const KeyModifiers &modifiers)
{
    const auto found = find(key, modifiers);
    if (found) {
        press(KeyName(key), *found, masksOf(*map.finder(), modifiers));
    }
    return found.has_value();
}

void X11Keyboard::press(const Key &key, const KeyModifiers &modifiers, std::uint8_t keycode)
{
    if (const XkbKeyFinder *finder = map.finder()) {
        press(KeyName(key), FoundKey{keycode, 0}, masksOf(*finder, modifiers));
    }
}

void X11Keyboard::press(const KeyName &name, const FoundKey &found, ModifierMask modifiers)
{
    const XkbKeyFinder &finder = *map.finder();
    releaseHeld(name);
    HeldKey held{name, {found.keycode, finder.modifiersSetBy(found.keycode)}, {}, 0};
    const auto wanted = static_cast<ModifierMask>(modifiers | found.modifiers);
    // Modifiers that the key itself sets are kept: Caps Lock could not be switched off if its lock
    // were cleared and restored around it.
    const auto kept =
        static_cast<ModifierMask>(wanted | held.key.sets | finder.harmlessModifiers());
    held.locks = clearLocks(without(0xff, kept));
    releaseKeysSetting(finder, without(tracker.state().base, kept));
    held.modifierKeys = pressModifiers(finder, without(wanted, held.key.sets));
    pressKey(held.key);
    heldKeys.push_back(std::move(held));
}

void X11Keyboard::release(KeyCode code)
{
    if (releaseHeld(KeyName(code))) {
        return;
    }
    const XkbKeyFinder *finder = map.finder();
    if (const auto found = finder ? finder->key(tracker.state().group, code) : std::nullopt) {
        releaseKey({found->keycode, finder->modifiersSetBy(found->keycode)});
    }
}

bool X11Keyboard::release(const Key &key)
{
    return releaseHeld(KeyName(key));
}

std::optional<FoundKey> X11Keyboard::find(const Key &key, const KeyModifiers &modifiers)
{
    const XkbSymbolFinder *symbols = map.symbols();
    if (!symbols) {
        return std::nullopt;
    }
    if (key.name == NamedKey::None) {
        const auto found = characterKey(key.character);
        const bool isShortcut = modifiers.hasControl || modifiers.hasAlt || modifiers.hasMeta;
        return found || !isShortcut ? found : findAtPosition(key.character);
    }
    for (const std::uint32_t keysym : keysymsOf(key.name)) {
        if (const auto found = symbols->symbol(tracker.state().group, keysym)) {
            return found;
        }
    }
    return std::nullopt;
}

std::optional<FoundKey> X11Keyboard::findAtPosition(char32_t character)
{
    const XkbKeyFinder &finder = *map.finder();
    const char32_t lower = QChar::toLower(character);
    const auto symbols = keySymbols();
    const auto symbol = std::ranges::find(symbols, keysymOf(lower), &KeySymbol::keysym);
    auto found =
        symbol == symbols.end() ? std::nullopt : finder.key(tracker.state().group, symbol->code);
    if (found && lower != character) {
        found->modifiers |= finder.modifierMask(tracker.state().group, Modifier::Shift);
    }
    return found;
}

std::optional<FoundKey> X11Keyboard::characterKey(char32_t character)
{
    const XkbSymbolFinder *symbols = map.symbols();
    const std::uint32_t group = tracker.state().group;
    if (!symbols) {
        return std::nullopt;
    }
    const bool isControl = character == U'\n' || character == U'\t';
    return isControl ? symbols->symbol(group, keysymOf(character))
                     : symbols->character(group, character);
}

void X11Keyboard::beginRun()
{
    const XkbKeyFinder &finder = *map.finder();
    const ModifierMask unwanted = without(0xff, finder.harmlessModifiers());
    runLocks = clearLocks(unwanted);
    releaseKeysSetting(finder, static_cast<ModifierMask>(tracker.state().base & unwanted));
}

void X11Keyboard::tap(const FoundKey &key)
{
    const XkbKeyFinder &finder = *map.finder();
    releaseRunModifiers(key.modifiers);
    for (const PressedKey &pressed : pressModifiers(finder, key.modifiers)) {
        runModifiers.push_back(pressed);
    }
    const PressedKey tapped{key.keycode, finder.modifiersSetBy(key.keycode)};
    if (isHeld(key.keycode)) {
        releaseKey(tapped); // Its press would be none.
    }
    pressKey(tapped);
    releaseKey(tapped);
}

void X11Keyboard::endRun()
{
    releaseRunModifiers(0);
    if (runLocks) {
        tracker.lock(runLocks, changeLocks(runLocks, runLocks));
    }
    runLocks = 0;
}

/// Except those that set nothing else.
void X11Keyboard::releaseRunModifiers(ModifierMask kept)
{
    for (std::size_t left = runModifiers.size(); left > 0; --left) {
        const PressedKey key = runModifiers[left - 1];
        if (without(key.sets, kept)) {
            releaseKey(key);
            runModifiers.erase(runModifiers.begin() + static_cast<std::ptrdiff_t>(left - 1));
        }
    }
}

bool X11Keyboard::isHeld(std::uint8_t keycode) const
{
    return std::ranges::any_of(heldKeys,
                               [&](const HeldKey &held) { return held.key.keycode == keycode; });
}

void X11Keyboard::ignoreMapNotices(std::uint32_t firstRequest, std::uint32_t lastRequest)
{
    firstKnownChange = firstRequest;
    lastKnownChange = lastRequest;
}

/// Sequence numbers wrap around.
bool X11Keyboard::isKnownChange(std::uint32_t request) const
{
    return request - firstKnownChange <= lastKnownChange - firstKnownChange && lastKnownChange != 0;
}

void X11Keyboard::releaseAll()
{
    while (!heldKeys.empty()) {
        undo(heldKeys.back());
        heldKeys.pop_back();
    }
}

bool X11Keyboard::releaseHeld(const KeyName &name)
{
    const auto held = std::ranges::find(heldKeys, name, &HeldKey::name);
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

ModifierMask X11Keyboard::masksOf(const XkbKeyFinder &finder, const KeyModifiers &modifiers) const
{
    const auto maskIf = [&](bool isWanted, Modifier modifier) {
        return isWanted ? finder.modifierMask(tracker.state().group, modifier) : 0;
    };
    return static_cast<ModifierMask>(maskIf(modifiers.hasControl, Modifier::Control) |
                                     maskIf(modifiers.hasAlt, Modifier::Alternate) |
                                     maskIf(modifiers.hasShift, Modifier::Shift) |
                                     maskIf(modifiers.hasMeta, Modifier::Meta) |
                                     maskIf(modifiers.hasAltGraph, Modifier::Level3));
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
