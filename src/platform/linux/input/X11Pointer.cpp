// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/X11Pointer.h"

#include "platform/linux/x11/XcbHandles.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include <xcb/xtest.h>

namespace platform {

namespace {

/// The button number by which the X protocol knows each meaning: 1 is the main button, 2 the middle
/// one.
std::uint8_t meaningOf(MouseButton button)
{
    switch (button) {
    case MouseButton::Left:
        return 1;
    case MouseButton::Center:
        return 2;
    case MouseButton::Right:
        return 3;
    }
    return 0;
}

std::uint8_t meaningOf(PointerButton button)
{
    switch (button) {
    case PointerButton::Left:
        return 1;
    case PointerButton::Middle:
        return 2;
    case PointerButton::Right:
        return 3;
    case PointerButton::Back:
        return 8;
    case PointerButton::Forward:
        return 9;
    }
    return 0;
}

/// Positions are sent as 16 bits; anything beyond is beyond every screen too.
std::int16_t coordinate(double pixels)
{
    using Limits = std::numeric_limits<std::int16_t>;
    const double inRange =
        std::clamp(std::floor(pixels), double{Limits::min()}, double{Limits::max()});
    return std::isnan(inRange) ? std::int16_t{0} : static_cast<std::int16_t>(inRange);
}

std::uint32_t fakeButton(xcb_connection_t *connection, std::uint8_t type, std::uint8_t number)
{
    return xcb_test_fake_input(connection, type, number, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0)
        .sequence;
}

} // namespace

X11Pointer::X11Pointer(xcb_connection_t *openConnection, xcb_window_t rootWindow,
                       ReleaseLedger &ledgerOfReleases)
    : connection(openConnection)
    , root(rootWindow)
    , ledger(ledgerOfReleases)
{
    readMapping();
}

bool X11Pointer::handleEvent(const xcb_generic_event_t *event)
{
    if ((event->response_type & 0x7f) != XCB_MAPPING_NOTIFY) {
        return false;
    }
    const auto *notice = reinterpret_cast<const xcb_mapping_notify_event_t *>(event);
    isMappingStale = isMappingStale || notice->request == XCB_MAPPING_POINTER;
    return true;
}

Location X11Pointer::location() const
{
    const auto cookie = xcb_query_pointer(connection, root);
    const auto reply = xcbOwned(xcb_query_pointer_reply(connection, cookie, nullptr));
    return reply ? Location{double(reply->root_x), double(reply->root_y)} : Location{};
}

void X11Pointer::moveTo(const Location &position)
{
    constexpr std::uint8_t absolute = 0;
    xcb_test_fake_input(connection, XCB_MOTION_NOTIFY, absolute, XCB_CURRENT_TIME, root,
                        coordinate(position.x), coordinate(position.y), 0);
}

bool X11Pointer::moveBy(int dx, int dy)
{
    using Limits = std::numeric_limits<std::int16_t>;
    constexpr std::uint8_t relative = 1;
    const bool isMove = dx != 0 || dy != 0;
    while (dx != 0 || dy != 0) {
        const auto x = static_cast<std::int16_t>(std::clamp<int>(dx, Limits::min(), Limits::max()));
        const auto y = static_cast<std::int16_t>(std::clamp<int>(dy, Limits::min(), Limits::max()));
        xcb_test_fake_input(connection, XCB_MOTION_NOTIFY, relative, XCB_CURRENT_TIME, XCB_NONE, x,
                            y, 0);
        dx -= x;
        dy -= y;
    }
    return isMove;
}

void X11Pointer::press(MouseButton button)
{
    pressMeaning(meaningOf(button));
}

void X11Pointer::release(MouseButton button)
{
    releaseMeaning(meaningOf(button));
}

void X11Pointer::press(PointerButton button)
{
    pressMeaning(meaningOf(button));
}

void X11Pointer::release(PointerButton button)
{
    releaseMeaning(meaningOf(button));
}

bool X11Pointer::scroll(int right, int down)
{
    constexpr std::uint8_t wheelUp = 4;
    constexpr std::uint8_t wheelDown = 5;
    constexpr std::uint8_t wheelLeft = 6;
    constexpr std::uint8_t wheelRight = 7;
    turn(down, wheelUp, wheelDown);
    turn(right, wheelLeft, wheelRight);
    return right != 0 || down != 0;
}

/// A notch is a click with a button.
void X11Pointer::turn(int notches, std::uint8_t back, std::uint8_t forth)
{
    const std::uint8_t meaning = notches < 0 ? back : forth;
    for (int left = std::abs(notches); left > 0; --left) {
        pressMeaning(meaning);
        releaseHeld(meaning);
    }
}

void X11Pointer::pressMeaning(std::uint8_t meaning)
{
    releaseHeld(meaning);
    if (const std::uint8_t number = numberOf(meaning)) {
        pressNumber(number);
        heldButtons.push_back({meaning, number});
    }
}

void X11Pointer::releaseMeaning(std::uint8_t meaning)
{
    if (releaseHeld(meaning)) {
        return;
    }
    if (const std::uint8_t number = numberOf(meaning)) {
        releaseNumber(number);
    }
}

void X11Pointer::releaseAll()
{
    while (!heldButtons.empty()) {
        releaseHeld(heldButtons.back().meaning);
    }
}

void X11Pointer::readMapping()
{
    const auto cookie = xcb_get_pointer_mapping(connection);
    const auto reply = xcbOwned(xcb_get_pointer_mapping_reply(connection, cookie, nullptr));
    mapping.clear();
    if (reply) {
        const std::uint8_t *first = xcb_get_pointer_mapping_map(reply.get());
        mapping.assign(first, first + xcb_get_pointer_mapping_map_length(reply.get()));
    }
    isMappingStale = false;
}

/// The number of the button with that meaning: faked buttons are mapped as those of a mouse are.
std::uint8_t X11Pointer::numberOf(std::uint8_t meaning)
{
    if (isMappingStale) {
        readMapping();
    }
    const auto found = std::ranges::find(mapping, meaning);
    return found == mapping.end() ? std::uint8_t{0}
                                  : static_cast<std::uint8_t>(found - mapping.begin() + 1);
}

bool X11Pointer::releaseHeld(std::uint8_t meaning)
{
    const auto held = std::ranges::find(heldButtons, meaning, &HeldButton::meaning);
    if (held == heldButtons.end()) {
        return false;
    }
    releaseNumber(held->number);
    heldButtons.erase(held);
    return true;
}

void X11Pointer::pressNumber(std::uint8_t number)
{
    ledger.press(ReleaseLedger::Kind::Button, number);
    fakeButton(connection, XCB_BUTTON_PRESS, number);
}

void X11Pointer::releaseNumber(std::uint8_t number)
{
    const auto sequence = fakeButton(connection, XCB_BUTTON_RELEASE, number);
    ledger.release(ReleaseLedger::Kind::Button, number, sequence);
}

} // namespace platform
