// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/SpareKeyRecord.h"

#include "platform/linux/input/KeyRange.h"
#include "platform/linux/input/KeySymbols.h"
#include "platform/linux/input/XkbCandidates.h"
#include "platform/linux/input/XkbHandles.h"
#include "platform/linux/x11/TimedReply.h"
#include "platform/linux/x11/XInputDevices.h"

#include <algorithm>
#include <array>

#include <xcb/xcbext.h>
#include <xkbcommon/xkbcommon-x11.h>

#include "platform/linux/x11/XcbXkb.h"

namespace platform {

namespace {

using namespace std::chrono_literals;

constexpr std::uint8_t firstKeycode = 8;

/// Much longer than a server takes that has nothing else to do.
constexpr auto answerPatience = 200ms;

KeycodeSet allKeys()
{
    return KeycodeSet().set();
}

/// The keys that have no keysym on that keyboard; none if it cannot be read.
KeycodeSet unusedKeys(xcb_connection_t *connection, int device)
{
    const XkbContext context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    const XkbKeymap keymap(xkb_x11_keymap_new_from_device(context.get(), connection, device,
                                                          XKB_KEYMAP_COMPILE_NO_FLAGS));
    KeycodeSet unused;
    if (keymap) {
        forEachKey(keymap.get(), [&](std::uint8_t keycode) {
            unused.set(keycode, keysymsOn(keymap.get(), keycode).empty());
        });
    }
    return unused;
}

KeycodeSet modifierKeys(xcb_connection_t *connection)
{
    const auto cookie = xcb_get_modifier_mapping(connection);
    const auto reply = xcbOwned(xcb_get_modifier_mapping_reply(connection, cookie, nullptr));
    KeycodeSet keycodes = reply ? KeycodeSet() : allKeys();
    if (reply) {
        const auto *first = xcb_get_modifier_mapping_keycodes(reply.get());
        const int length = xcb_get_modifier_mapping_keycodes_length(reply.get());
        std::for_each(first, first + length, [&](xcb_keycode_t key) { keycodes.set(key); });
    }
    return keycodes;
}

/// Takes the keysyms off those keys that still have them; false if there are none.
bool takeOff(std::span<const SpareKeys::Binding> bindings, KeyRange &keys)
{
    bool isAny = false;
    for (const SpareKeys::Binding &binding : bindings) {
        if (keys.has(binding)) {
            keys.set({binding.keycode, XCB_NO_SYMBOL});
            isAny = true;
        }
    }
    return isAny;
}

/// Keys that are posted by their position, whatever is on them.
KeycodeSet keysKnownByPosition()
{
    KeycodeSet keycodes;
    for (const KeySymbol &symbol : keySymbols()) {
        keycodes.set(symbol.position);
    }
    return keycodes;
}

/// The core protocol's way, with a notice for each key. A single keysym would become a pair of a
/// lower and an upper case letter.
void setEachKey(xcb_connection_t *connection, std::span<const SpareKeys::Binding> bindings)
{
    for (const SpareKeys::Binding &binding : bindings) {
        const std::array keysyms{binding.keysym, binding.keysym};
        xcb_change_keyboard_mapping(connection, 1, binding.keycode, keysyms.size(), keysyms.data());
    }
}

} // namespace

SpareKeyRecord::SpareKeyRecord(const X11Connection &openConnection)
    : connection(openConnection)
    , marker(xcb_generate_id(openConnection.get()))
    , name(openConnection.atom("_VORNASERVER_SPARE_KEYS"))
{
    const std::uint32_t isUnmanaged = 1;
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, marker, connection.root(), 0, 0, 1, 1,
                      0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT, &isUnmanaged);
    if (isOwner(XCB_NONE)) {
        recover();
    }
}

SpareKeyRecord::~SpareKeyRecord()
{
    xcb_destroy_window(connection.get(), marker);
}

bool SpareKeyRecord::claim()
{
    if (isOwner(marker)) {
        return true;
    }
    if (!isOwner(XCB_NONE)) {
        return false;
    }
    xcb_set_selection_owner(connection.get(), marker, name, XCB_CURRENT_TIME);
    recover();
    return isOwner(marker);
}

KeycodeSet SpareKeyRecord::spareKeys()
{
    KeycodeSet spare = allKeys();
    learnKeyboards();
    for (const std::uint16_t device : keyboards) {
        spare &= unusedKeys(connection.get(), device);
    }
    for (int keycode = 0; keycode <= firstKeycode; ++keycode) {
        spare.reset(static_cast<std::size_t>(keycode)); // The kernel knows no such keys.
    }
    return spare & ~keysKnownByPosition() & ~modifierKeys(connection.get());
}

SpareKeyRecord::Requests SpareKeyRecord::bind(std::span<const SpareKeys::Binding> changes,
                                              std::span<const SpareKeys::Binding> before,
                                              std::span<const SpareKeys::Binding> all)
{
    // This process may end between any two requests, so at first the record has both.
    Bindings both(before.begin(), before.end());
    both.insert(both.end(), changes.begin(), changes.end());
    const std::uint32_t first = record(both);
    setKeysyms(changes);
    return {first, record({all.begin(), all.end()})};
}

void SpareKeyRecord::giveBack(std::span<const SpareKeys::Binding> bindings)
{
    if (bindings.empty()) {
        return;
    }
    change(keyboards, bindings, [&](KeyRange &keys) { return takeOff(bindings, keys); });
    giveBackCoreKeys(bindings);
    record({});
}

/// The core keyboard may have the map of a keyboard that is no longer there.
void SpareKeyRecord::giveBackCoreKeys(std::span<const SpareKeys::Binding> bindings)
{
    Bindings left;
    change({XCB_XKB_ID_USE_CORE_KBD}, bindings, [&](const KeyRange &keys) {
        for (const SpareKeys::Binding &binding : bindings) {
            if (keys.has(binding)) {
                left.push_back({binding.keycode, XCB_NO_SYMBOL});
            }
        }
        return false;
    });
    setEachKey(connection.get(), left);
}

bool SpareKeyRecord::isOwner(xcb_window_t window) const
{
    const auto cookie = xcb_get_selection_owner(connection.get(), name);
    const auto reply = xcbOwned(xcb_get_selection_owner_reply(connection.get(), cookie, nullptr));
    return reply && reply->owner == window;
}

void SpareKeyRecord::recover()
{
    learnKeyboards();
    giveBack(recorded());
}

void SpareKeyRecord::learnKeyboards()
{
    keyboards = keyboardNumbers(connection.get());
    coreKeyboards = coreKeyboardNumbers(connection.get());
}

SpareKeyRecord::Bindings SpareKeyRecord::recorded() const
{
    constexpr std::uint32_t mostWords = 1024;
    const auto cookie = xcb_get_property(connection.get(), 0, connection.root(), name,
                                         XCB_ATOM_CARDINAL, 0, mostWords);
    const auto reply = xcbOwned(xcb_get_property_reply(connection.get(), cookie, nullptr));
    Bindings found;
    if (reply && reply->format == 32) {
        const auto *words = static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
        for (std::uint32_t index = 0; index + 1 < reply->value_len; index += 2) {
            found.push_back({static_cast<std::uint8_t>(words[index]), words[index + 1]});
        }
    }
    return found;
}

/// Returns the number of the request.
std::uint32_t SpareKeyRecord::record(const Bindings &bindings)
{
    if (bindings.empty()) {
        return xcb_delete_property(connection.get(), connection.root(), name).sequence;
    }
    std::vector<std::uint32_t> words;
    for (const SpareKeys::Binding &binding : bindings) {
        words.insert(words.end(), {binding.keycode, binding.keysym});
    }
    return xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, connection.root(), name,
                               XCB_ATOM_CARDINAL, 32, static_cast<std::uint32_t>(words.size()),
                               words.data())
        .sequence;
}

/// On all keyboards, so that the user's own keyboard does not bring back another map. Each keeps
/// its own keys in between, so no change may be sent to all of them.
void SpareKeyRecord::setKeysyms(std::span<const SpareKeys::Binding> bindings)
{
    const bool isSet = change(keyboards, bindings, [&](KeyRange &keys) {
        for (const SpareKeys::Binding &binding : bindings) {
            keys.set(binding);
        }
        return true;
    });
    if (isSet) {
        setCoreKeysyms(bindings);
    } else {
        setEachKey(connection.get(), bindings);
    }
}

/// If the core keyboard has the map of another keyboard than XTEST's, it has XTEST's from the next
/// key on. Programs must learn that before the key.
void SpareKeyRecord::setCoreKeysyms(std::span<const SpareKeys::Binding> bindings)
{
    change(coreKeyboards, bindings, [&](KeyRange &keys) {
        bool isAnyMissing = false;
        for (const SpareKeys::Binding &binding : bindings) {
            if (!keys.has(binding)) {
                keys.set(binding);
                isAnyMissing = true;
            }
        }
        return isAnyMissing;
    });
}

/// Shows the action the keys of each keyboard, from the first to the last of the bindings, and
/// sends them if it returns true. False if a keyboard could not be changed, or there is none.
template <typename Action>
bool SpareKeyRecord::change(const std::vector<std::uint16_t> &changed,
                            std::span<const SpareKeys::Binding> bindings, Action action)
{
    const auto [first, last] = std::ranges::minmax(bindings, {}, &SpareKeys::Binding::keycode);
    std::vector<unsigned int> questions;
    questions.reserve(changed.size());
    for (const std::uint16_t keyboard : changed) {
        questions.push_back(KeyRange::ask(connection.get(), keyboard, first.keycode, last.keycode));
    }
    std::vector<xcb_void_cookie_t> changes;
    for (std::size_t index = 0; index < changed.size(); ++index) {
        const auto answer = replyWithin(connection.get(), questions[index], answerPatience);
        auto keys = KeyRange::read(answer.get());
        if (keys && action(*keys)) {
            changes.push_back(keys->send(connection.get(), changed[index]));
        }
    }
    return areDone(changes);
}

/// Whether there are any, and the server has made them without an error.
bool SpareKeyRecord::areDone(std::span<const xcb_void_cookie_t> changes) const
{
    // After this answer no question about an error waits for the server.
    const auto end = xcb_get_input_focus(connection.get());
    if (!replyWithin(connection.get(), end.sequence, answerPatience)) {
        std::ranges::for_each(changes, [this](xcb_void_cookie_t cookie) {
            xcb_discard_reply(connection.get(), cookie.sequence);
        });
        return true; // It makes them later.
    }
    return !changes.empty() &&
           std::ranges::count_if(changes, [this](xcb_void_cookie_t cookie) {
               return xcbOwned(xcb_request_check(connection.get(), cookie)) != nullptr;
           }) == 0;
}

} // namespace platform
