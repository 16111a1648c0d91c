// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/WlrootsEventServices.h"

#include <chrono>

#include <virtual-keyboard-unstable-v1-client.h>
#include <wlr-virtual-pointer-unstable-v1-client.h>

using namespace std::chrono_literals;

namespace platform {

namespace {

constexpr auto patienceAtEnd = 1s;

using KeyboardManager =
    WaylandHandle<zwp_virtual_keyboard_manager_v1, zwp_virtual_keyboard_manager_v1_destroy>;
using PointerManager =
    WaylandHandle<zwlr_virtual_pointer_manager_v1, zwlr_virtual_pointer_manager_v1_destroy>;

PointerButton buttonOf(const MouseEvent &event)
{
    switch (event.type) {
    case MouseEventType::LeftDown:
    case MouseEventType::LeftUp:
        return PointerButton::Left;
    case MouseEventType::RightDown:
    case MouseEventType::RightUp:
        return PointerButton::Right;
    default:
        break;
    }
    switch (event.button) {
    case MouseButton::Left:
        return PointerButton::Left;
    case MouseButton::Right:
        return PointerButton::Right;
    case MouseButton::Center:
        break;
    }
    return PointerButton::Middle;
}

} // namespace

WlrootsEventServices::WlrootsEventServices(CompositorPatience patience)
    : outputs(connection)
    , outbox(connection)
    , seat(connection)
    , keyboard(outbox)
    , pointer(connection, outbox, outputs, held.get())
    , programs(ProgramSockets::nameFromEnvironment())
    , typist(connection, outbox, keyboard, [this] { return programs.unread(); })
    , desktopInput(keyboard, pointer, typist, outbox)
{
    connect(&seat, &SeatKeymap::keymapUsed, this,
            [this](const QByteArray &keymap) { keyboard.takeKeymap(keymap); });
    connect(&outbox, &WaylandOutbox::progressed, this, [this] { pointer.sendOwed(); });
    connect(&connection, &WaylandConnection::globalAdded, this, &WlrootsEventServices::begin);
    connect(&connection, &WaylandConnection::lost, this, &WlrootsEventServices::drop);
    connect(&connection, &WaylandConnection::globalRemoved, this, [this](std::uint32_t name) {
        if (seat.get() != nullptr && name == seat.globalName()) {
            drop();
            begin();
        }
    });
    // First the globals, then the seat and its keyboard, and then the key map of that.
    for (int answer = 0; answer < 3; ++answer) {
        patience.answers(connection);
    }
}

WlrootsEventServices::~WlrootsEventServices()
{
    typist.fail();
    keyboard.end();
    pointer.end();
    outbox.flush();
    // A compositor drops what it has not read of a connection that has ended.
    connection.answers(patienceAtEnd);
    connection.disconnect(this);
    seat.end();
    guard.reset();
}

void WlrootsEventServices::startGuard()
{
    guard = std::make_unique<InputGuard>(held.descriptor(), noMarker);
}

/// The seat's key map should be known before ours is made, which takes two answers.
void WlrootsEventServices::begin()
{
    if (seat.get() != nullptr || !seat.begin()) {
        return;
    }
    const auto makeForThis = [this, wanted = seat.get()] {
        if (seat.get() == wanted) {
            makeDevices();
        }
    };
    connection.afterEverything([this, makeForThis] { connection.afterEverything(makeForThis); });
}

void WlrootsEventServices::makeDevices()
{
    const KeyboardManager keyboards(connection.bind<zwp_virtual_keyboard_manager_v1>(
        zwp_virtual_keyboard_manager_v1_interface, 1));
    const PointerManager pointers(connection.bind<zwlr_virtual_pointer_manager_v1>(
        zwlr_virtual_pointer_manager_v1_interface, 1));
    if (keyboards && pointers) {
        keyboard.begin(
            zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(keyboards.get(), seat.get()));
        pointer.begin(
            zwlr_virtual_pointer_manager_v1_create_virtual_pointer(pointers.get(), seat.get()));
        outbox.flush();
    }
    connection.flush();
}

void WlrootsEventServices::drop()
{
    outbox.clear();
    keyboard.drop();
    pointer.drop();
    seat.end();
    typist.fail();
}

void WlrootsEventServices::postKeyboard(const KeyboardEvent &event)
{
    if (event.isDown) {
        keyboard.press(event.code, event.flags);
        outbox.flushLater();
    } else {
        keyboard.release(event.code);
        outbox.flush();
    }
}

void WlrootsEventServices::postMouse(std::optional<SourceState> /*source*/,
                                     std::span<const MouseEvent> events, EventTap /*tap*/)
{
    for (const MouseEvent &event : events) {
        postMouse(event);
    }
}

void WlrootsEventServices::postMouse(const MouseEvent &event)
{
    switch (event.type) {
    case MouseEventType::Moved:
        pointer.moveFromHereTo(event.position);
        break;
    case MouseEventType::LeftDown:
    case MouseEventType::RightDown:
    case MouseEventType::OtherDown:
        pointer.press(buttonOf(event));
        break;
    case MouseEventType::LeftUp:
    case MouseEventType::RightUp:
    case MouseEventType::OtherUp:
        pointer.release(buttonOf(event));
        break;
    }
}

} // namespace platform
