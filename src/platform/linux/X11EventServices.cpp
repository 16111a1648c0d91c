// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "X11EventServices.h"

#include <utility>

#include <xcb/xtest.h>

namespace platform {

namespace {

/// An X server drops a connection as soon as it sees its end, with the requests that it has not yet
/// read: the last releases would be lost, and the keys would stay down for good.
void waitUntilServerIsDone(xcb_connection_t *connection)
{
    const auto cookie = xcb_get_input_focus(connection);
    xcbOwned(xcb_get_input_focus_reply(connection, cookie, nullptr));
}

} // namespace

X11EventServices::X11EventServices(X11Display openDisplay)
    : display(std::move(openDisplay))
    , keyboard(display.connection())
    , pointer(display.connection(), display.root())
    , notifier(xcb_get_file_descriptor(display.connection()), QSocketNotifier::Read)
{
    // Open menus and window managers hold the server for themselves.
    ignoreServerGrabs(display.connection());
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [this] { takeInEvents(); });
    flush();
}

X11EventServices::~X11EventServices()
{
    keyboard.releaseAll();
    pointer.releaseAll();
    waitUntilServerIsDone(display.connection());
}

Location X11EventServices::pointerLocation()
{
    return takeInEvents() ? pointer.location() : Location{};
}

void X11EventServices::postKeyboard(const KeyboardEvent &event)
{
    if (!takeInEvents()) {
        return;
    }
    if (event.isDown) {
        keyboard.press(event.code, event.flags);
        flushLater();
    } else {
        keyboard.release(event.code);
        flush();
    }
}

void X11EventServices::postMouse(std::optional<SourceState> /*source*/,
                                 std::span<const MouseEvent> events, EventTap /*tap*/)
{
    if (!takeInEvents()) {
        return;
    }
    for (const MouseEvent &event : events) {
        postMouse(event);
    }
    flush();
}

void X11EventServices::postMouse(const MouseEvent &event)
{
    switch (event.type) {
    case MouseEventType::Moved:
        pointer.moveTo(event.position);
        break;
    case MouseEventType::LeftDown:
        pointer.press(MouseButton::Left);
        break;
    case MouseEventType::LeftUp:
        pointer.release(MouseButton::Left);
        break;
    case MouseEventType::RightDown:
        pointer.press(MouseButton::Right);
        break;
    case MouseEventType::RightUp:
        pointer.release(MouseButton::Right);
        break;
    case MouseEventType::OtherDown:
        pointer.press(event.button);
        break;
    case MouseEventType::OtherUp:
        pointer.release(event.button);
        break;
    }
}

/// Brings the adapter up to date with what the server has reported; false when the connection is
/// broken. A broken one stays readable for ever, so nobody may listen to it any more.
bool X11EventServices::takeInEvents()
{
    xcb_connection_t *connection = display.connection();
    while (const auto event = xcbOwned(xcb_poll_for_event(connection))) {
        if (!keyboard.handleEvent(event.get())) {
            pointer.handleEvent(event.get());
        }
    }
    const bool isOpen = display.isOpen();
    notifier.setEnabled(isOpen);
    return isOpen;
}

void X11EventServices::flush()
{
    isFlushDue = false;
    xcb_flush(display.connection());
}

/// A press waits for its release, which usually follows in the same call of the event loop.
void X11EventServices::flushLater()
{
    if (isFlushDue) {
        return;
    }
    isFlushDue = true;
    const auto flushIfStillDue = [this] {
        if (isFlushDue) {
            flush();
        }
    };
    QMetaObject::invokeMethod(&notifier, flushIfStillDue, Qt::QueuedConnection);
}

} // namespace platform
